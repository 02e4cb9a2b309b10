#include "platform/linux/desktop/session/ApplicationIdentity.h"

#include "base/Text.h"
#include "platform/linux/desktop/session/ApplicationTable.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace fenlo {

namespace {

const KnownApplication* findKnown(const std::vector<std::string>& keys) {
    for (const auto& key : keys)
        for (const KnownApplication& known : knownApplications())
            if (!key.empty() && known.key == text::lower(key))
                return &known;
    return nullptr;
}

bool hasCategory(const DesktopFile& file, std::string_view category) {
    return std::find(file.categories.begin(), file.categories.end(), category) != file.categories.end();
}

/// The id with the word of its kind, unless the id holds the word already.
std::string idWithKind(const DesktopFile& file) {
    for (const KnownCategory& known : knownCategories())
        if (hasCategory(file, known.category))
            return text::lower(file.id).find(known.word) != std::string::npos ? file.id
                                                                              : file.id + "." + std::string(known.word);
    return file.id;
}

} // namespace

void addProcess(WindowIdentity& window, std::uint32_t process) {
    std::error_code gone;
    window.isOwn = process == static_cast<std::uint32_t>(::getpid());
    window.program =
        std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", gone).filename().string();
}

FrontApplication identifyApplication(const WindowIdentity& window, DesktopFiles& desktopFiles) {
    std::vector<std::string> keys{window.windowClass, window.instance, window.program};
    std::optional<DesktopFile> file;
    for (std::size_t i = 0; i < keys.size() && !file; ++i)
        if (!keys[i].empty())
            file = desktopFiles.find(keys[i]);
    const auto named = std::find_if(keys.begin(), keys.end(), [](const std::string& key) { return !key.empty(); });

    FrontApplication application;
    application.isOwn = window.isOwn;
    application.name = file && !file->name.empty() ? file->name : named != keys.end() ? *named : "";
    application.id = file ? idWithKind(*file) : text::lower(application.name);
    application.isTerminal = file && hasCategory(*file, "TerminalEmulator");
    if (application.isTerminal)
        application.paste = PasteChord::controlShiftV;
    if (file)
        keys.push_back(file->id);
    if (const KnownApplication* const known = findKnown(keys)) {
        application.id = known->id;
        application.isTerminal = known->terminal.has_value();
        application.paste = known->terminal.value_or(known->paste);
    }
    return application;
}

} // namespace fenlo
