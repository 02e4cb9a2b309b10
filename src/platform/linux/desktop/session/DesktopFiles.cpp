#include "platform/linux/desktop/session/DesktopFiles.h"

#include "base/Environment.h"
#include "base/Files.h"
#include "base/Text.h"
#include "platform/linux/desktop/Glib.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr char group[] = G_KEY_FILE_DESKTOP_GROUP;

std::string value(GKeyFile* file, const char* key) {
    return takeString(g_key_file_get_string(file, group, key, nullptr));
}

/// The program of an Exec line, without its folder. Empty when the line starts a launcher of many programs.
std::string programOf(const std::string& exec) {
    constexpr std::array starters{"sh", "bash", "python3", "flatpak", "snap", "java", "gapplication", "wine"};
    for (const auto& word : text::words(exec)) {
        const std::string name = fs::path(text::replaceAll(word, "\"", "")).filename().string();
        if (name == "env" || name.find('=') != std::string::npos)
            continue;
        return std::find(starters.begin(), starters.end(), name) == starters.end() ? name : "";
    }
    return "";
}

} // namespace

std::vector<fs::path> DesktopFiles::sessionFolders() {
    std::vector<fs::path> folders;
    const auto own = environment("XDG_DATA_HOME", files::homeDirectory() / ".local" / "share");
    const auto shared = environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    for (const auto& folder : text::split(own + ":" + shared, ':'))
        if (!folder.empty())
            folders.push_back(fs::path(folder) / "applications");
    return folders;
}

std::optional<DesktopFile> DesktopFiles::find(const std::string& key) {
    read();
    const std::string lowered = text::lower(key);
    for (const Index* index : {&m_byClass, &m_byId, &m_byProgram})
        if (const auto found = index->find(lowered); found != index->end())
            return m_files[found->second];
    return std::nullopt;
}

void DesktopFiles::read() {
    std::vector<std::optional<fs::file_time_type>> times;
    for (const auto& folder : m_folders) {
        std::error_code absent;
        const auto time = fs::last_write_time(folder, absent);
        times.push_back(absent ? std::nullopt : std::optional(time));
    }
    if (times == m_times)
        return;
    m_times = std::move(times);
    m_files.clear();
    m_byClass.clear();
    m_byId.clear();
    m_byProgram.clear();
    for (const auto& folder : m_folders)
        readFolder(folder);
}

void DesktopFiles::readFolder(const fs::path& folder) {
    std::error_code absent;
    constexpr auto options = fs::directory_options::skip_permission_denied;
    fs::recursive_directory_iterator entry(folder, options, absent);
    for (; !absent && entry != fs::recursive_directory_iterator(); entry.increment(absent)) {
        if (entry->path().extension() != ".desktop")
            continue;
        // A file in a subfolder carries the subfolder in its id.
        const std::string relative = entry->path().lexically_relative(folder).replace_extension().string();
        readFile(entry->path(), text::replaceAll(relative, "/", "-"));
    }
}

void DesktopFiles::readFile(const fs::path& path, std::string id) {
    const auto [place, isNew] = m_byId.emplace(text::lower(id), m_files.size());
    const GlibOwned<GKeyFile> file(g_key_file_new());
    if (!isNew || !g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_KEEP_TRANSLATIONS, nullptr))
        return;
    DesktopFile entry{std::move(id),
                      takeString(g_key_file_get_locale_string(file.get(), group, "Name", nullptr, nullptr)),
                      text::split(value(file.get(), "Categories"), ';')};
    if (const auto windowClass = value(file.get(), "StartupWMClass"); !windowClass.empty())
        m_byClass.emplace(text::lower(windowClass), m_files.size());
    if (const auto program = programOf(value(file.get(), "Exec")); !program.empty())
        m_byProgram.emplace(text::lower(program), m_files.size());
    m_files.push_back(std::move(entry));
}

} // namespace fenlo
