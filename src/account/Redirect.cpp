#include "account/Redirect.h"

#include "base/Text.h"
#include "base/Url.h"

namespace fenlo {

namespace {

std::optional<std::string> codeIn(std::string_view target) {
    const auto question = target.find('?');
    if (question == std::string_view::npos)
        return std::nullopt;
    for (const std::string& item : text::split(target.substr(question + 1), '&'))
        if (const auto equals = item.find('='); item.substr(0, equals) == "code") {
            auto code = equals == std::string::npos ? std::nullopt : url::percentDecode(item.substr(equals + 1));
            return code && !code->empty() ? code : std::nullopt;
        }
    return std::nullopt;
}

} // namespace

std::optional<Redirect> readRedirect(std::string_view request) {
    const auto words = text::split(request.substr(0, request.find_first_of("\r\n")), ' ');
    if (words.size() != 3 || words[0].empty() || words[1].empty() || !words[2].starts_with("HTTP/"))
        return std::nullopt;
    return Redirect{codeIn(words[1])};
}

} // namespace fenlo
