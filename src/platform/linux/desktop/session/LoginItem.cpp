#include "platform/linux/desktop/session/LoginItem.h"

#include "base/Environment.h"
#include "base/Files.h"
#include "platform/linux/desktop/Glib.h"
#include "platform/linux/desktop/session/OwnFile.h"

#include <chrono>
#include <cstdlib>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr char enabledKey[] = "X-GNOME-Autostart-enabled";
constexpr char hiddenKey[] = "Hidden";
constexpr char iconKey[] = "Icon";
constexpr char icon[] = "org.fenlo.Fenlo";

constexpr char freshEntry[] = "[Desktop Entry]\n"
                              "Type=Application\n"
                              "Name=Fenlo\n"
                              "Comment=Voice dictation\n"
                              "Icon=org.fenlo.Fenlo\n"
                              "Terminal=false\n"
                              "X-GNOME-Autostart-enabled=true\n";

bool load(GKeyFile* file, const std::string& content) {
    const auto flags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
    return g_key_file_load_from_data(file, content.data(), content.size(), flags, nullptr) &&
           g_key_file_has_group(file, G_KEY_FILE_DESKTOP_GROUP);
}

bool isSwitchedOff(GKeyFile* file) {
    const bool saysEnabled = g_key_file_has_key(file, G_KEY_FILE_DESKTOP_GROUP, enabledKey, nullptr);
    return g_key_file_get_boolean(file, G_KEY_FILE_DESKTOP_GROUP, hiddenKey, nullptr) ||
           (saysEnabled && !g_key_file_get_boolean(file, G_KEY_FILE_DESKTOP_GROUP, enabledKey, nullptr));
}

} // namespace

LoginItem LoginItem::ofThisProgram() {
    const fs::path folder = environment("XDG_CONFIG_HOME", files::homeDirectory() / ".config");
    // A bundle that unpacks itself runs from a folder that is removed when it ends.
    const fs::path executable = environment("APPIMAGE", ownFile());
    LoginItem item(folder / "autostart" / "org.fenlo.Fenlo.desktop", executable);
    item.takeOver(folder / "autostart" / "fenlo.desktop");
    return item;
}

void LoginItem::takeOver(const fs::path& earlier) const {
    const auto content = files::read(earlier);
    const GlibOwned<GKeyFile> file(g_key_file_new());
    if (!content || !load(file.get(), *content))
        return;
    std::error_code failed;
    if (!fs::exists(m_file, failed)) {
        if (g_key_file_has_key(file.get(), G_KEY_FILE_DESKTOP_GROUP, iconKey, nullptr))
            g_key_file_set_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, iconKey, icon);
        if (!files::writeAtomically(m_file, takeString(g_key_file_to_data(file.get(), nullptr, nullptr))))
            return;
    }
    fs::remove(earlier, failed);
}

LoginItem::State LoginItem::state() const {
    const auto content = files::read(m_file);
    const GlibOwned<GKeyFile> file(g_key_file_new());
    if (!content || !load(file.get(), *content))
        return State::missing;
    if (isSwitchedOff(file.get()))
        return State::off;
    const std::string program =
        takeString(g_key_file_get_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, "Exec", nullptr));
    return program == quoted(m_executable) ? State::on : State::missing;
}

std::optional<std::string> LoginItem::write() const {
    return isDecided() ? std::nullopt : save(Switch::leave);
}

std::optional<std::string> LoginItem::set(bool on) const {
    return isOn() == on && isDecided() ? std::nullopt : save(on ? Switch::on : Switch::off);
}

std::optional<std::string> LoginItem::save(Switch position) const {
    const GlibOwned<GKeyFile> file(g_key_file_new());
    const auto content = files::read(m_file);
    if (content && !load(file.get(), *content))
        files::setAside(m_file, std::chrono::system_clock::now());
    if (!g_key_file_has_group(file.get(), G_KEY_FILE_DESKTOP_GROUP))
        load(file.get(), freshEntry);
    g_key_file_set_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, "Exec", quoted(m_executable).c_str());
    // The session passes over the entry once the program was removed.
    g_key_file_set_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, "TryExec", m_executable.c_str());
    if (position == Switch::on) {
        g_key_file_remove_key(file.get(), G_KEY_FILE_DESKTOP_GROUP, hiddenKey, nullptr);
        g_key_file_set_boolean(file.get(), G_KEY_FILE_DESKTOP_GROUP, enabledKey, true);
    } else if (position == Switch::off) {
        g_key_file_set_boolean(file.get(), G_KEY_FILE_DESKTOP_GROUP, hiddenKey, true);
    }
    std::error_code failed;
    fs::create_directories(m_file.parent_path(), failed);
    if (failed || !files::writeAtomically(m_file, takeString(g_key_file_to_data(file.get(), nullptr, nullptr))))
        return "cannot write " + m_file.string();
    return std::nullopt;
}

std::string LoginItem::quoted(const fs::path& program) {
    std::string line = "\"";
    for (const char c : program.string()) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            line += '\\';
        line += c;
        if (c == '%')
            line += '%';
    }
    return line + "\"";
}

} // namespace fenlo
