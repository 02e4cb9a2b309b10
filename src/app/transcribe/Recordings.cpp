#include "app/transcribe/Recordings.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::string_view, 28> extensions{
    ".3gp", ".aac", ".aif", ".aiff", ".amr", ".ape", ".au",   ".avi", ".caf", ".flac", ".m4a", ".m4b", ".m4v",  ".mka",
    ".mkv", ".mov", ".mp2", ".mp3",  ".mp4", ".mpg", ".mpeg", ".oga", ".ogg", ".opus", ".w64", ".wav", ".webm", ".wma"};

bool looksLikeRecording(const fs::path& file) {
    return std::ranges::count(extensions, text::lower(file.extension().string())) > 0;
}

class Search {
public:
    explicit Search(FoundRecordings& found) : m_found(found) {}

    void add(const fs::path& file) {
        std::error_code unknown;
        const std::uintmax_t bytes = fs::is_regular_file(file, unknown) ? fs::file_size(file, unknown) : 0;
        m_found.recordings.push_back({file, unknown ? 0 : bytes});
    }

    /// How many recordings it holds.
    std::size_t addFolder(const fs::path& folder) {
        std::error_code error;
        std::vector<fs::path> entries;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
            entries.push_back(entry->path());
        if (error)
            m_found.faults.push_back(folder.string() + ": " + error.message() + "; the folder is left out");
        std::ranges::sort(entries);
        std::size_t count = 0;
        for (const fs::path& entry : entries) {
            if (entry.filename().string().starts_with('.'))
                continue;
            if (fs::is_directory(fs::symlink_status(entry, error))) {
                count += addFolder(entry);
            } else if (looksLikeRecording(entry) && fs::is_regular_file(entry, error)) {
                ++count;
                if (!isNamed(entry))
                    add(entry);
            }
        }
        return count;
    }

private:
    bool isNamed(const fs::path& file) const {
        return std::ranges::any_of(m_found.recordings, [&](const InputRecording& named) {
            return named.file.lexically_normal() == file.lexically_normal();
        });
    }

    FoundRecordings& m_found;
};

} // namespace

FoundRecordings findRecordings(const std::vector<std::string>& names, bool recursive) {
    FoundRecordings found;
    Search search(found);
    std::error_code error;
    for (const std::string& name : names)
        if (name == "-" || !fs::is_directory(name, error))
            search.add(name);
        else if (!recursive)
            found.faults.push_back(name + " is a folder; add --recursive for the recordings in it");
        else if (search.addFolder(name) == 0)
            found.faults.push_back(name + ": there is no recording in this folder");
    return found;
}

} // namespace fenlo
