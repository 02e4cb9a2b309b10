#include "hub/HubClient.h"

namespace fenlo::hub {

/// Each `*` first matches nothing and takes in more when the rest does not fit. Only the last one ever needs to grow,
/// so the time is at most the length of the path times that of the pattern.
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
