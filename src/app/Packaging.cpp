#include "app/Packaging.h"

#include "Version.h"
#include "base/Files.h"
#include "base/Text.h"

#include <QString>
#include <QSysInfo>
#include <QtGlobal>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

/// The folder that bin, lib and share are in, where the program is installed.
fs::path prefix() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error).parent_path().parent_path();
}

} // namespace

std::string packagingType() {
    const auto said = files::read(prefix() / "share/fenlo/packaging");
    const std::string type = said ? text::trimWhitespaceAndNewlines(*said) : "";
    return type.empty() ? "built from source" : type;
}

std::string packagingLine() {
    const std::string commit = *buildName ? buildName : "of a working copy";
    return packagingType() + ", build " + commit + " (" + compilerName + ", " +
           QSysInfo::buildCpuArchitecture().toStdString() + "), Qt " + qVersion();
}

std::string versionText() {
    return std::string("fenlo ") + version + "\n" + packagingLine();
}

fs::path noticesFile() {
    std::error_code error;
    const fs::path file = prefix() / "share/doc/fenlo/copyright";
    return fs::exists(file, error) ? file : fs::path();
}

} // namespace fenlo
