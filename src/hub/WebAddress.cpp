#include "hub/WebAddress.h"

#include "base/Text.h"

namespace fenlo::hub {

std::string nextPage(std::string_view linkHeader) {
    for (;;) {
        const std::size_t open = linkHeader.find('<');
        const std::size_t close = linkHeader.find('>', open);
        if (close == std::string_view::npos)
            return {};
        const std::string_view address = linkHeader.substr(open + 1, close - open - 1);
        linkHeader.remove_prefix(close + 1);
        const std::string parameters = text::lower(linkHeader.substr(0, linkHeader.find('<')));
        for (const std::string& parameter : text::split(text::replaceAll(parameters, ",", ";"), ';')) {
            const std::string plain = text::replaceAll(text::replaceAll(parameter, "\"", ""), " ", "");
            if (plain == "rel=next")
                return std::string(address);
        }
    }
}

} // namespace fenlo::hub
