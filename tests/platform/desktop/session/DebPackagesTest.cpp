#include "platform/linux/desktop/session/DebPackages.h"

#include "base/ChildOutput.h"
#include "base/Files.h"
#include "support/EnvironmentVariable.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

/// A program in dpkg-query's place that runs this script.
class StubPackageList {
public:
    explicit StubPackageList(const std::string& script) {
        files::writeAtomically(m_folder / "dpkg-query", "#!/bin/sh\n" + script);
        std::filesystem::permissions(m_folder / "dpkg-query", std::filesystem::perms::owner_all);
    }

private:
    const TemporaryFolder m_folder;
    const EnvironmentVariable m_path{"PATH", (m_folder.path.string() + ":" + std::getenv("PATH")).c_str()};
};

std::string listOf(const std::string& owner) {
    return "case $1 in --search) echo \"diversion by x from: $2\"; echo \"" + owner +
           ": $2\" ;; --show) test \"$3\" = fenlo && printf "
           "'Package: fenlo\\nVersion: 1.4.0-2\\nArchitecture: amd64\\n' ;; esac\n";
}

} // namespace

TEST(DebPackages, APackageTellsItsNameVersionAndSystem) {
    const TemporaryFolder folder;
    const std::string file = folder / "-x $(id).deb";
    std::filesystem::create_directories(folder / "tree/DEBIAN");
    files::writeAtomically(folder / "tree/DEBIAN/control",
                           "Package: fenlo\nVersion: 2:1.5.0~rc1-3\nArchitecture: all\nMaintainer: x <x@y.org>\n"
                           "Description: Version: 9\n Package: other\n");
    ASSERT_EQ(outputOf({"dpkg-deb", "--root-owner-group", "--build", folder / "tree", file}, 20, {}).value().exitStatus,
              0);
    DebPackages packages;
    const auto facts = packages.read(file, {});
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->name + " " + facts->version + " " + facts->architecture, "fenlo 2:1.5.0~rc1-3 all");
    files::writeAtomically(file, "no package");
    EXPECT_FALSE(packages.read(file, {}));
    EXPECT_FALSE(packages.read(folder / "absent.deb", {}));
}

TEST(DebPackages, ThePackageOfThisProgramIsFound) {
    for (const char* owner : {"fenlo", "fenlo:amd64", "fenlo:amd64, other"}) {
        const StubPackageList list(listOf(owner));
        const auto own = DebPackages().ownPackage({});
        ASSERT_TRUE(own) << owner;
        EXPECT_EQ(own->name + own->version + own->architecture, "fenlo1.4.0-2amd64");
    }
    for (const char* script : {"echo 'no path found' >&2; exit 1\n", "exit 0\n", "echo 'fenlo: /usr/bin/other'\n"}) {
        const StubPackageList list(script);
        EXPECT_FALSE(DebPackages().ownPackage({})) << script;
    }
    const TemporaryFolder empty;
    const EnvironmentVariable path("PATH", empty.path.c_str());
    EXPECT_FALSE(DebPackages().ownPackage({})) << "a system without dpkg";
}
