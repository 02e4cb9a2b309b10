#include "support/account/Forms.h"

#include "base/Text.h"
#include "base/Url.h"

#include <charconv>

namespace fenlo::test {

namespace {

std::string percentDecode(std::string_view text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned char byte = 0;
        const char* digits = text.data() + at + 1;
        if (text[at] == '%' && at + 2 < text.size() && std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2)
            at += 2;
        else
            byte = static_cast<unsigned char>(text[at] == '+' ? ' ' : text[at]);
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

} // namespace

FormFields parseForm(std::string_view encoded) {
    FormFields fields;
    for (const std::string& pair : text::split(encoded, '&')) {
        const std::size_t equals = pair.find('=');
        if (equals != std::string::npos)
            fields[percentDecode(std::string_view(pair).substr(0, equals))] =
                percentDecode(std::string_view(pair).substr(equals + 1));
    }
    return fields;
}

FormFields queryOf(const WireRequest& request) {
    const std::size_t mark = request.target.find('?');
    return mark == std::string::npos ? FormFields() : parseForm(std::string_view(request.target).substr(mark + 1));
}

std::string fieldOf(const FormFields& fields, const std::string& name) {
    const auto found = fields.find(name);
    return found == fields.end() ? "" : found->second;
}

std::string withQuery(const std::string& address, const FormFields& fields) {
    std::string query;
    for (const auto& [name, value] : fields)
        query += (query.empty() ? "?" : "&") + url::percentEncode(name, "") + "=" + url::percentEncode(value, "");
    return address + query;
}

} // namespace fenlo::test
