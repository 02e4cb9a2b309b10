// Dependencies between the folders of src/ point one way. CMake does not see a header that breaks this; this test does.

#include "base/Files.h"
#include "base/Text.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

/// What the sources of a folder may include, apart from their own folder. A folder below another has a line of its own
/// where it may include more: the models of the windows stand above the session.
const std::map<std::string, std::set<std::string>> allowed{
    {"base", {}},
    {"platform", {"base"}},
    {"media", {"base"}},
    {"hub", {"base", "platform"}},
    {"WhisperEngine", {"base", "platform", "media", "hub"}},
    {"settings", {"base", "platform"}},
    {"audio", {"base", "platform", "media", "settings"}},
    {"text", {"base", "platform", "settings"}},
    {"speech", {"base", "platform", "settings", "audio", "hub", "WhisperEngine"}},
    {"shell", {"base", "platform", "settings", "text"}},
    {"account", {"base", "platform", "settings", "text", "shell"}},
    {"session", {"base", "platform", "settings", "audio", "speech", "text", "shell", "account"}},
    {"meeting", {"base", "platform", "media", "settings", "audio", "speech", "text", "shell", "account", "session"}},
    {"shell/home",
     {"base", "platform", "media", "hub", "WhisperEngine", "settings", "audio", "speech", "text", "shell", "account",
      "session"}},
    {"shell/onboarding",
     {"base", "platform", "media", "hub", "WhisperEngine", "settings", "audio", "speech", "text", "shell", "shell/home",
      "account", "session"}},
    {"ui", {"base", "platform", "settings", "shell", "shell/home", "shell/onboarding", "account", "meeting"}},
    {"app",
     {"base", "platform", "media", "hub", "WhisperEngine", "settings", "audio", "speech", "text", "shell", "shell/home",
      "shell/onboarding", "account", "session", "meeting", "ui"}},
};

/// The line of the table that counts for a path below src/; empty when there is none.
std::string folderOf(const std::string& path) {
    const auto first = path.find('/');
    const std::string two = path.substr(0, path.find('/', first + 1));
    const std::string one = path.substr(0, first);
    return allowed.contains(two) ? two : allowed.contains(one) ? one : "";
}

std::vector<std::string> quotedIncludes(const std::string& source) {
    constexpr std::string_view opening = "#include \"";
    std::vector<std::string> includes;
    for (const std::string& line : text::split(source, '\n'))
        if (line.starts_with(opening))
            includes.push_back(line.substr(opening.size(), line.find('"', opening.size()) - opening.size()));
    return includes;
}

} // namespace

TEST(Includes, PointOneWay) {
    const fs::path root = SOURCE_FOLDER;
    int seen = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.path().extension() != ".h" && entry.path().extension() != ".cpp")
            continue;
        const fs::path file = fs::relative(entry.path(), root);
        const std::string folder = folderOf(file.string());
        ASSERT_FALSE(folder.empty()) << file << ": a new folder needs its line in this test";
        for (const std::string& include : quotedIncludes(files::read(entry.path()).value())) {
            const std::string target = folderOf(include);
            if (target.empty())
                continue; // a generated header beside its source
            ++seen;
            EXPECT_TRUE(target == folder || allowed.at(folder).contains(target)) << file << " includes " << include;
            // Adapters are known to the composition root only.
            EXPECT_TRUE(!include.starts_with("platform/linux/") || folder == "app" ||
                        file.string().starts_with("platform/linux/"))
                << file << " includes " << include;
        }
    }
    EXPECT_GT(seen, 100);
}

TEST(Includes, OnlyAdaptersAndTheInterfaceKnowTheToolkit) {
    for (const auto& entry : fs::recursive_directory_iterator(fs::path(SOURCE_FOLDER))) {
        const std::string file = fs::relative(entry.path(), SOURCE_FOLDER).string();
        if (!entry.is_regular_file() || file.starts_with("ui/") || file.starts_with("app/") ||
            file.starts_with("platform/linux/"))
            continue;
        const std::string source = files::read(entry.path()).value();
        for (const char* toolkit : {"#include <Q", "#include <X11", "#include <glib", "#include <atspi",
                                    "#include <pulse", "#include <curl", "#include <libsecret"})
            EXPECT_EQ(source.find(toolkit), std::string::npos) << file << " has " << toolkit;
    }
}
