#include "platform/linux/desktop/session/OwnFile.h"
#include "support/ChildProcess.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

constexpr char updated[] = "FENLO_TEST_UPDATED_FILE"; // set in the copy of this program that an update replaces

void replaceAsAnUpdateDoes(const std::filesystem::path& file) {
    std::ofstream(file.string() + ".new") << "the newer version";
    std::filesystem::rename(file.string() + ".new", file);
}

} // namespace

TEST(OwnFile, IsKnownAlsoAfterAnUpdateHasReplacedIt) {
    if (const char* const file = std::getenv(updated)) {
        ASSERT_EQ(ownFile(), file);
        replaceAsAnUpdateDoes(file);
        EXPECT_EQ(ownFile(), file);
        return;
    }
    EXPECT_EQ(ownFile(), std::filesystem::canonical("/proc/self/exe"));
    const TemporaryFolder folder;
    const std::filesystem::path copy = std::filesystem::canonical(folder) / "fenlo";
    std::filesystem::copy_file("/proc/self/exe", copy);
    const EnvironmentVariable told(updated, copy.c_str());
    ChildProcess child({copy.string(), "--gtest_filter=OwnFile.*"});
    EXPECT_EQ(child.wait(), 0);
}
