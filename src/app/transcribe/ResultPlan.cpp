#include "app/transcribe/ResultPlan.h"

#include <algorithm>
#include <map>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

std::string plainName(const fs::path& recording) {
    return recording == "-" ? "stdin" : recording.stem().string();
}

/// The folder that a recording lies in, by its name alone.
std::string folderName(const fs::path& recording) {
    const fs::path folder = fs::absolute(recording).lexically_normal().parent_path();
    return folder.filename().string();
}

class Planner {
public:
    Planner(const std::vector<std::string>& outputs, const fs::path& folder, ExistingResults existing,
            const std::function<bool(const fs::path&)>& exists)
        : m_outputs(outputs), m_folder(folder), m_existing(existing), m_exists(exists) {}

    /// Each name goes to the first recording that has it.
    void claimPlainNames(const std::vector<fs::path>& recordings) {
        for (std::size_t i = 0; i < recordings.size(); ++i)
            m_owners.try_emplace(plainName(recordings[i]), i);
    }

    PlannedResult plan(const std::vector<fs::path>& recordings, std::size_t index) {
        const fs::path& recording = recordings[index];
        const std::string plain = plainName(recording);
        const std::size_t owner = m_owners.at(plain);
        const std::string parent = folderName(recording);
        const bool isTold = owner != index && !parent.empty() && parent != folderName(recordings[owner]);
        const std::string first = isTold ? plain + "-" + parent : plain;
        const std::string chosen = choose(first, index);
        m_owners.try_emplace(chosen, index);
        PlannedResult result{.stem = m_folder / chosen, .outputs = {}, .hasPartial = false, .note = {}};
        result.hasPartial = m_exists(result.partial());
        result.outputs = missing(result);
        if (result.outputs.empty())
            result.note =
                recording.string() + ": " + result.file(m_outputs.front()).string() + " is there already; skipped";
        else if (chosen != plain)
            result.note = recording.string() + ": its results are called " + result.stem.string() + ", as " +
                          (owner == index ? "an earlier result" : recordings[owner].string()) + " has the name";
        return result;
    }

private:
    bool isLeft(const std::string& name) const {
        return std::ranges::any_of(m_outputs,
                                   [&](const auto& output) { return m_exists(m_folder / (name + "." + output)); });
    }
    bool hasPartial(const std::string& name) const { return m_exists(m_folder / (name + ".partial")); }

    /// `name`, or that with the first number that is free.
    std::string choose(const std::string& name, std::size_t index) const {
        std::string firstFree;
        for (int number = 1;; ++number) {
            const std::string candidate = number == 1 ? name : name + "-" + std::to_string(number);
            const auto owner = m_owners.find(candidate);
            if (owner != m_owners.end() && owner->second != index)
                continue;
            if (firstFree.empty())
                firstFree = candidate;
            const bool left = isLeft(candidate);
            if (m_existing == ExistingResults::keep ? !left : m_existing != ExistingResults::resume)
                return candidate;
            if (m_existing != ExistingResults::resume)
                continue;
            // The interrupted run may have given it a number because of results that lay there before.
            if (hasPartial(candidate))
                return candidate;
            if (!left)
                return firstFree;
        }
    }

    std::vector<std::string> missing(const PlannedResult& result) const {
        std::vector<std::string> outputs = m_outputs;
        const bool skips =
            m_existing == ExistingResults::skip || (m_existing == ExistingResults::resume && !result.hasPartial);
        if (skips)
            std::erase_if(outputs, [&](const auto& output) { return m_exists(result.file(output)); });
        return outputs;
    }

    const std::vector<std::string>& m_outputs;
    const fs::path& m_folder;
    const ExistingResults m_existing;
    const std::function<bool(const fs::path&)>& m_exists;
    std::map<std::string, std::size_t> m_owners; // names, with the index of the recording whose results have them
};

} // namespace

std::vector<PlannedResult> planResults(const std::vector<fs::path>& recordings, const std::vector<std::string>& outputs,
                                       const fs::path& folder, ExistingResults existing,
                                       const std::function<bool(const fs::path&)>& exists) {
    Planner planner(outputs, folder, existing, exists);
    planner.claimPlainNames(recordings);
    std::vector<PlannedResult> results;
    for (std::size_t i = 0; i < recordings.size(); ++i)
        results.push_back(planner.plan(recordings, i));
    return results;
}

fs::path stillFreeStem(const PlannedResult& planned, const std::function<bool(const fs::path&)>& exists) {
    PlannedResult free = planned;
    const auto isTaken = [&] {
        return std::ranges::any_of(free.outputs, [&](const auto& output) { return exists(free.file(output)); });
    };
    for (int number = 2; isTaken(); ++number)
        free.stem = planned.stem.string() + "-" + std::to_string(number);
    return free.stem;
}

} // namespace fenlo
