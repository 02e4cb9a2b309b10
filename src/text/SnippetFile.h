#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fenlo {

class Clock;

/// A stored text and the words that call it up.
struct Snippet {
    std::optional<std::string> trigger; // an entry that lacks one of the two calls up nothing
    std::optional<std::string> text;
    std::vector<std::pair<std::string, std::string>> others; // keys that this version does not know

    bool operator==(const Snippet&) const = default;
};

/// What a file of snippets holds.
struct StoredSnippets {
    enum class Fault {
        none,
        damaged,    // it does not have the form, so it holds no snippets
        unreadable, // it is there, but the system does not let it be read
    };
    std::vector<Snippet> snippets;
    Fault fault = Fault::none;
};

/// A missing file holds none.
StoredSnippets readSnippets(const std::filesystem::path& file);

/// Changes the snippets of the file as it is at this moment, so that nothing is lost which another program wrote
/// meanwhile. A damaged file is set aside first. False when nothing could be written; the file is then as it was.
///
/// Threads: any; one writer at a time.
bool changeSnippets(const std::filesystem::path& file, const Clock& clock,
                    const std::function<void(std::vector<Snippet>&)>& change);

} // namespace fenlo
