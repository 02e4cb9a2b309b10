#include "hub/HubClient.h"

namespace fenlo::hub {

/// Every `*` first stands for nothing and grows when the rest does not fit; only the last one seen ever needs to grow,
/// so that no pattern takes longer than path times pattern.
bool matchesGlob(const std::string& path, const std::string& glob) {
    std::size_t at = 0;
    std::size_t in = 0;
    std::size_t star = std::string::npos;
    std::size_t starEnd = 0; // where the text that the star stands for ends
    while (at < path.size()) {
        if (in < glob.size() && glob[in] == '*') {
            star = in++;
            starEnd = at;
        } else if (in < glob.size() && (glob[in] == '?' || glob[in] == path[at])) {
            ++in;
            ++at;
        } else if (star != std::string::npos) {
            in = star + 1;
            at = ++starEnd;
        } else {
            return false;
        }
    }
    return glob.find_first_not_of('*', in) == std::string::npos;
}

} // namespace fenlo::hub
