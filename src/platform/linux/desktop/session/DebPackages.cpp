#include "platform/linux/desktop/session/DebPackages.h"

#include "base/ChildOutput.h"
#include "base/Descriptor.h"
#include "base/Environment.h"
#include "base/Log.h"
#include "base/Text.h"
#include "platform/linux/desktop/Glib.h"
#include "platform/linux/desktop/session/OwnFile.h"
#include "platform/linux/desktop/session/ShowInFolder.h"

#include <csignal>
#include <fcntl.h>
#include <gio/gdesktopappinfo.h>

namespace fenlo {

namespace {

constexpr double dpkgLimit = 10; // seconds

/// Newest name first; a program may know the old ones only.
constexpr const char* packageTypes[] = {"application/vnd.debian.binary-package", "application/x-deb",
                                        "application/x-debian-package"};

/// The output of a program that ended well; else empty.
std::string outputOfGood(std::vector<std::string> command, std::stop_token stop) {
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    const auto output = outputOf(std::move(command), dpkgLimit, std::move(stop), nowhere.number());
    return output && output->exitStatus == 0 ? output->text : "";
}

/// The package in dpkg's answer "name: /file" or "name:amd64, other: /file"; empty when there is none.
std::string packageIn(const std::string& answer, const std::string& file) {
    for (const std::string& line : text::split(answer, '\n'))
        if (line.ends_with(": " + file) && !line.starts_with("diversion "))
            return line.substr(0, line.find_first_of(":,"));
    return {};
}

std::string firstLine(const std::string& lines, const std::string& beginning) {
    for (const std::string& line : text::split(lines, '\n'))
        if (line.starts_with(beginning))
            return line.substr(beginning.size());
    return {};
}

std::optional<PackageFacts> factsIn(const std::string& fields) {
    PackageFacts facts{firstLine(fields, "Package: "), firstLine(fields, "Version: "),
                       firstLine(fields, "Architecture: ")};
    return facts.name.empty() || facts.version.empty() || facts.architecture.empty() ? std::nullopt
                                                                                     : std::optional(std::move(facts));
}

GlibObject<GDesktopAppInfo> installer() {
    for (const char* type : packageTypes)
        if (GAppInfo* const program = g_app_info_get_default_for_type(type, false))
            return GlibObject<GDesktopAppInfo>(G_DESKTOP_APP_INFO(program));
    return nullptr;
}

/// In the child, before it becomes the program: this one blocks signals for all its threads.
void unblockSignals(void*) {
    sigset_t none;
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

std::optional<PackageFacts> DebPackages::ownPackage(std::stop_token stop) {
    const std::string file = ownFile().string();
    const std::string name = packageIn(outputOfGood({"dpkg-query", "--search", file}, stop), file);
    if (name.empty())
        return std::nullopt;
    constexpr char format[] = "Package: ${Package}\nVersion: ${Version}\nArchitecture: ${Architecture}\n";
    return factsIn(outputOfGood({"dpkg-query", "--show", std::string("--showformat=") + format, name}, stop));
}

std::optional<PackageFacts> DebPackages::read(const std::filesystem::path& file, std::stop_token stop) {
    const std::string place = std::filesystem::absolute(file).string(); // never taken for an option
    return factsIn(outputOfGood({"dpkg-deb", "--field", place, "Package", "Version", "Architecture"}, std::move(stop)));
}

bool DebPackages::open(const std::filesystem::path& file) {
    const auto program = installer();
    const GlibOwned<char> uri(g_filename_to_uri(file.c_str(), nullptr, nullptr));
    if (!program || !uri)
        return false;
    const GlibObject<GAppLaunchContext> context(g_app_launch_context_new());
    for (const std::string& name : variablesNotForOthers())
        g_app_launch_context_unsetenv(context.get(), name.c_str());
    GList uris{uri.get(), nullptr, nullptr};
    GError* fault = nullptr;
    const bool isStarted =
        g_desktop_app_info_launch_uris_as_manager(program.get(), &uris, context.get(), G_SPAWN_SEARCH_PATH,
                                                  unblockSignals, nullptr, nullptr, nullptr, &fault) != 0;
    const GlibOwned<GError> owned(fault);
    if (!isStarted)
        logInfo("The program for packages does not start: {}", owned ? owned->message : "no reason was given");
    return isStarted;
}

void DebPackages::showInFolder(const std::filesystem::path& file, std::stop_token stop) {
    fenlo::showInFolder(file, std::move(stop));
}

} // namespace fenlo
