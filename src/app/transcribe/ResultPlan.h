#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// Where the result of each recording goes, decided before the first of them is begun.
namespace fenlo {

/// What happens where a result of the same name lies in the folder from an earlier run.
enum class ExistingResults {
    keep,    // the new one gets a number
    replace, // the new one takes its place
    skip,    // there is nothing to do
    resume,  // as skip, but an interrupted run is continued
};

struct PlannedResult {
    std::filesystem::path stem;       // the path of the results without their extensions
    std::vector<std::string> outputs; // extensions of the results that are still to be written
    bool hasPartial = false;          // an interrupted run has left something
    std::string note;                 // a line for the user where a name was taken; empty otherwise

    std::filesystem::path file(const std::string& extension) const { return stem.string() + "." + extension; }
    std::filesystem::path partial() const { return file("partial"); }
};

/// One plan for each recording ("-" is standard input), in their order. No two results share a name: each is called
/// like its recording's file, and where several files have one name, all but the first get their folder's name
/// appended, or a number. `exists` tells of files from earlier runs. The names depend only on the order of the
/// recordings, and with `keep` on these files, so that the same command resumes the same results.
std::vector<PlannedResult> planResults(const std::vector<std::filesystem::path>& recordings,
                                       const std::vector<std::string>& outputs, const std::filesystem::path& folder,
                                       ExistingResults existing,
                                       const std::function<bool(const std::filesystem::path&)>& exists);

/// The stem to write to in the end: the planned one, with a number if another run has written results there meanwhile.
std::filesystem::path stillFreeStem(const PlannedResult& planned,
                                    const std::function<bool(const std::filesystem::path&)>& exists);

} // namespace fenlo
