#include "WhisperEngine/runtime/InstructionTrial.h"

#include "WhisperEngine/runtime/OneDnn.h"
#include "WhisperEngine/runtime/Processor.h"
#include "base/ChildProcess.h"
#include "base/Files.h"
#include "base/Log.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <sstream>
#include <sys/wait.h>

namespace fenlo::whisper {

namespace {

namespace fs = std::filesystem;

TrialResult resultOf(int status) {
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {};
    if (WIFEXITED(status) && WEXITSTATUS(status) == 1)
        return {"its results are wrong"};
    if (WIFEXITED(status))
        return {"its trial failed with status " + std::to_string(WEXITSTATUS(status)), false};
    switch (WTERMSIG(status)) {
    case SIGILL:
        return {"it ends in an illegal instruction"};
    case SIGSEGV:
    case SIGBUS:
    case SIGFPE:
    case SIGABRT:
        return {std::string("it ends in a fault (") + ::strsignal(WTERMSIG(status)) + ")"};
    case SIGXCPU:
        return {"it does not come to an end"};
    default: // killed from outside, or out of memory: this says nothing about the step
        return {"", false};
    }
}

/// The file's first line is the key; each other one is a step's name and, behind a blank, its fault.
class Memory {
public:
    Memory(fs::path file, std::string key) : m_file(std::move(file)), m_key(std::move(key)) {
        std::istringstream lines(files::read(m_file).value_or(""));
        std::string line;
        if (!std::getline(lines, line) || line != m_key)
            return;
        while (std::getline(lines, line)) {
            const std::size_t blank = line.find(' ');
            if (blank != std::string::npos)
                m_faults[line.substr(0, blank)] = line.substr(blank + 1);
        }
    }

    const std::string* find(std::string_view step) const {
        const auto found = m_faults.find(step);
        return found == m_faults.end() ? nullptr : &found->second;
    }

    void add(std::string_view step, const std::string& fault) {
        m_faults[std::string(step)] = fault;
        std::string text = m_key + "\n";
        for (const auto& [name, found] : m_faults)
            text += name + " " + found + "\n";
        if (files::makePrivateDirectory(m_file.parent_path()))
            files::writeAtomically(m_file, text);
    }

private:
    fs::path m_file;
    std::string m_key;
    std::map<std::string, std::string, std::less<>> m_faults;
};

} // namespace

InstructionTrial trialInChild(std::function<std::vector<std::string>(InstructionSet)> command) {
    return [command = std::move(command)](InstructionSet step) -> TrialResult {
        pid_t process = 0;
        if (const int error = startChild(command(step), {}, process); error != 0) {
            logInfo("the engine's instructions cannot be tried out: {}", ::strerror(error));
            return {"", false};
        }
        int status = 0;
        while (::waitpid(process, &status, 0) < 0)
            if (errno != EINTR)
                return {"", false};
        TrialResult result = resultOf(status);
        if (!result.fault.empty())
            logError("the engine does not use {}: {}", nameOf(step), result.fault);
        return result;
    };
}

InstructionTrial remembered(InstructionTrial trial, fs::path file, std::string key) {
    return [trial = std::move(trial), file = std::move(file), key = std::move(key)](InstructionSet step) {
        Memory memory(file, key);
        if (const std::string* fault = memory.find(nameOf(step)))
            return TrialResult{*fault};
        const TrialResult result = trial(step);
        if (result.lasts)
            memory.add(nameOf(step), result.fault);
        return result;
    };
}

std::string trialKey() {
    decltype(::dnnl_version)* const tellVersion = dnnl::dnnl_version;
    const dnnl_version_t& version = *tellVersion();
    std::ostringstream key;
    key << readProcessor().identity << "; oneDNN " << version.major << '.' << version.minor << '.' << version.patch;
    Dl_info library{}; // a distribution repairs a library without changing its version
    std::error_code error;
    if (::dladdr(reinterpret_cast<const void*>(tellVersion), &library) != 0)
        key << " of " << fs::last_write_time(library.dli_fname, error).time_since_epoch().count();
    return key.str();
}

} // namespace fenlo::whisper
