#include "support/LogCapture.h"

#include "base/Files.h"
#include "base/Log.h"
#include "base/Text.h"

#include <algorithm>

namespace fenlo::test {

LogCapture::LogCapture() : m_start(files::read(logFile()).value_or("").size()) {}

std::vector<std::string> LogCapture::lines() const {
    const std::string text = files::read(logFile()).value_or("");
    auto lines = text::split(std::string_view(text).substr(std::min(m_start, text.size())), '\n');
    lines.pop_back();
    return lines;
}

bool LogCapture::contains(const std::string& line) const {
    const auto all = lines();
    return std::find(all.begin(), all.end(), line) != all.end();
}

bool LogCapture::containsPrefix(const std::string& prefix) const {
    const auto all = lines();
    return std::any_of(all.begin(), all.end(), [&](const std::string& line) { return line.starts_with(prefix); });
}

} // namespace fenlo::test
