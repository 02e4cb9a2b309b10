#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace fenlo {

/// An application as its desktop file names it.
struct DesktopFile {
    std::string id;   // the file's name without its ending
    std::string name; // in the user's language
    std::vector<std::string> categories;
};

/// The installed applications' desktop files, read on first use and again when a folder has changed.
///
/// Threads: one.
class DesktopFiles {
public:
    /// Of two files with the same id, the one in the earlier folder counts.
    explicit DesktopFiles(std::vector<std::filesystem::path> folders) : m_folders(std::move(folders)) {}

    /// The folders of the session, the user's own first.
    static std::vector<std::filesystem::path> sessionFolders();

    /// Reads the folders that have changed. find() calls it.
    void read();

    /// Looks the key up as window class, then as id, then as the program that is started, in any case.
    std::optional<DesktopFile> find(const std::string& key);

private:
    using Index = std::unordered_map<std::string, std::size_t>; // lower-case key to place in m_files

    void readFolder(const std::filesystem::path& folder);
    void readFile(const std::filesystem::path& file, std::string id);

    const std::vector<std::filesystem::path> m_folders;
    std::vector<std::optional<std::filesystem::file_time_type>> m_times; // the folders' times when they were read
    std::vector<DesktopFile> m_files;
    Index m_byClass, m_byId, m_byProgram;
};

} // namespace fenlo
