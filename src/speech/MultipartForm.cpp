#include "speech/MultipartForm.h"

#include "base/Files.h"
#include "base/Text.h"

#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t roomForFields = 4096;

/// The name without characters that would end the quoted string or its line.
std::string quotable(std::string_view name) {
    return text::replaceAll(text::replaceAll(text::replaceAll(name, "\"", "%22"), "\r", "%0D"), "\n", "%0A");
}

} // namespace

MultipartForm::MultipartForm() : m_boundary(files::makeUuid()) {}

std::string MultipartForm::contentType() const {
    return "multipart/form-data; boundary=" + m_boundary;
}

void MultipartForm::addFile(std::string_view name, std::string_view fileName, std::string_view type,
                            std::string_view bytes) {
    m_body.reserve(m_body.size() + bytes.size() + roomForFields);
    open(name);
    m_body.append("; filename=\"").append(quotable(fileName)).append("\"\r\nContent-Type: ").append(type);
    m_body.append("\r\n\r\n").append(bytes).append("\r\n");
}

void MultipartForm::addField(std::string_view name, std::string_view value) {
    open(name);
    m_body.append("\r\n\r\n").append(value).append("\r\n");
}

std::string MultipartForm::finish() {
    m_body.append("--").append(m_boundary).append("--\r\n");
    return std::exchange(m_body, {});
}

void MultipartForm::open(std::string_view name) {
    m_body.append("--").append(m_boundary).append("\r\nContent-Disposition: form-data; name=\"");
    m_body.append(name).append("\"");
}

} // namespace fenlo
