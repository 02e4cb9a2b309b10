#include "base/Files.h"
#include "base/Text.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>

using namespace fenlo;
namespace fs = std::filesystem;

namespace {

class Files : public ::testing::Test {
protected:
    std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder.path), fs::directory_iterator()));
    }

    const test::TemporaryFolder folder;
};

} // namespace

TEST_F(Files, AtomicWriteKeepsPermissionsAndFollowsLinks) {
    const fs::path real = folder / "real";
    const fs::path link = folder / "link";
    ASSERT_TRUE(files::writeAtomically(real, "one"));
    EXPECT_EQ(fs::status(real).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    fs::permissions(real, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    fs::create_symlink("real", link);

    ASSERT_TRUE(files::writeAtomically(link, "two"));

    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(files::read(real), "two");
    EXPECT_NE(fs::status(real).permissions() & fs::perms::group_read, fs::perms::none);
    EXPECT_EQ(entries(), 2u);
}

TEST_F(Files, FailedWriteLeavesNothingBehind) {
    EXPECT_FALSE(files::writeAtomically(folder / "missing" / "file", "x"));
    fs::create_directory(folder / "taken");
    EXPECT_FALSE(files::writeAtomically(folder / "taken", "x"));
    EXPECT_EQ(entries(), 1u);
    EXPECT_FALSE(files::read(folder / "taken").has_value());
    EXPECT_FALSE(files::read(folder / "absent").has_value());
}

TEST_F(Files, ANewFileTakesNobodysPlace) {
    EXPECT_TRUE(files::writeNew(folder / "new", "one"));
    EXPECT_FALSE(files::writeNew(folder / "new", "two"));
    EXPECT_EQ(errno, EEXIST);
    fs::create_symlink("nowhere", folder / "link");
    EXPECT_FALSE(files::writeNew(folder / "link", "three"));
    EXPECT_EQ(files::read(folder / "new"), "one");
    EXPECT_EQ(entries(), 2u);
    EXPECT_TRUE(files::read("/proc/self/status").value().starts_with("Name:")) << "a file that does not tell its size";
}

TEST_F(Files, DamagedFilesAreSetAsideUnderADatedNameEachItsOwn) {
    const fs::path file = folder / "config.json";
    const std::chrono::system_clock::time_point date(std::chrono::seconds(1'700'000'000));
    for (const char* content : {"{broken", "{broken again", "{and again"}) {
        ASSERT_TRUE(files::writeAtomically(file, content));
        const auto kept = files::setAside(file, date);
        ASSERT_TRUE(kept.has_value());
        EXPECT_EQ(kept->filename().string().rfind("config.json.damaged-2023-11-1", 0), 0u) << *kept;
        EXPECT_EQ(files::read(*kept), content);
        EXPECT_FALSE(fs::exists(file));
    }
    EXPECT_EQ(files::thoseSetAside(file).size(), 3u);
    EXPECT_FALSE(files::setAside(file, date).has_value()) << "there is none";
}

TEST_F(Files, UuidsAreUpperCaseVersionFourAndDiffer) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const std::string uuid = files::makeUuid();
        ASSERT_EQ(uuid.size(), 36u);
        EXPECT_EQ(uuid, text::upper(uuid));
        EXPECT_EQ(uuid[14], '4');
        EXPECT_NE(std::string("89AB").find(uuid[19]), std::string::npos);
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 100u);
}

TEST_F(Files, PrivateDirectoryIsForItsOwnerAlone) {
    ASSERT_TRUE(files::makePrivateDirectory(folder / "a" / "b"));
    EXPECT_EQ(fs::status(folder / "a" / "b").permissions(), fs::perms::owner_all);
    ASSERT_TRUE(files::writeAtomically(folder / "file", ""));
    EXPECT_FALSE(files::makePrivateDirectory(folder / "file"));
    const auto shared = fs::perms::all | fs::perms::sticky_bit;
    fs::permissions(folder / "a", shared);
    ASSERT_TRUE(files::makePrivateDirectory(folder / "a"));
    EXPECT_EQ(fs::status(folder / "a").permissions(), shared) << "a folder that all share";
}
