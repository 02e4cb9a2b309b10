#include "app/LocalEngine.h"

#include "WhisperEngine/ModelSetup.h"
#include "WhisperEngine/Models/LocalModels.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/network/CheckpointFiles.h"
#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/InstructionTrial.h"
#include "base/Files.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Deployment.h"
#include "speech/ClipEngine.h"

#include <memory>
#include <system_error>

namespace fenlo {

namespace fs = std::filesystem;

fs::path modelsDirectory() {
    return files::dataDirectory() / "models";
}

fs::path bundledModelsDirectory() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path installed = program.parent_path().parent_path() / "share/fenlo/models";
    return fs::is_directory(installed, error) ? installed : program.parent_path() / SOURCE_MODELS;
}

whisper::InstructionTrial instructionTrial() {
    constexpr const char* program = "/proc/self/exe"; // this very program, even if its file was replaced
    std::error_code error;
    const auto built = fs::last_write_time(program, error).time_since_epoch().count();
    const auto command = [](whisper::InstructionSet step) {
        return std::vector<std::string>{program, "engine-check", std::string(whisper::nameOf(step))};
    };
    return whisper::remembered(whisper::trialInChild(command), files::cacheDirectory() / "instructions",
                               whisper::trialKey() + "; built " + std::to_string(built));
}

whisper::WhisperEngineConfig engineConfig(const Deployment& deployment) {
    whisper::WhisperEngineConfig config;
    config.instructionTrial = instructionTrial();
    config.downloadBase = modelsDirectory();
    config.bundledModels = bundledModelsDirectory();
    config.repairCommand = "fenlo models repair";
    if (!deployment.modelRepository.empty())
        config.modelRepo = deployment.modelRepository;
    return config;
}

ModelCheck checkModel(const fs::path& folder, const Deployment& deployment, Clock& clock) try {
    const whisper::ModelComputeOptions compute;
    if (!isCompiled(whisper::placeOf(folder, modelsDirectory(), compute), compute)) {
        whisper::checkCheckpoint(folder, compute);
        const whisper::WhisperTokenizer loads(hub::Tokenizer::load(folder / "tokenizer.json"));
        return {};
    }
    CurlHttpClient http; // nothing is fetched
    whisper::WhisperEngineConfig config = engineConfig(deployment);
    config.modelFolder = folder;
    config.prewarm = false;
    whisper::WhisperEngine::create(std::move(config), http, clock, {});
    return {"", true};
} catch (const whisper::ModelDamage& damage) {
    return {damage.fault, false};
} catch (const std::runtime_error& error) {
    return {error.what(), false};
}

std::optional<fs::path> findInstalledModel(const std::string& name) {
    // The shortest name that contains it: "small" is "openai_whisper-small" before "openai_whisper-small.en".
    std::optional<whisper::LocalModel> found;
    for (whisper::LocalModel& model : whisper::listLocalModels(modelsDirectory()))
        if (model.isComplete() && model.name.find(name) != std::string::npos &&
            (!found || model.name.size() < found->name.size()))
            found = std::move(model);
    return found ? std::optional(found->folder) : std::nullopt;
}

fs::path installedModel(const std::string& name, const Deployment& deployment, HttpClient& http, Clock& clock,
                        std::stop_token stop) {
    if (name.find('/') != std::string::npos)
        return name;
    if (const auto folder = findInstalledModel(name))
        return *folder;
    if (!whisper::isModelName(name) || whisper::checkpointFault(bundledModelsDirectory() / name)) {
        const std::string remedy = "; fetch it with: fenlo models download " + name;
        for (const whisper::LocalModel& model : whisper::listLocalModels(modelsDirectory()))
            if (model.name == name && model.fault)
                throw std::runtime_error("the model \"" + name + "\" " + *model.fault + remedy);
        throw std::runtime_error("there is no model \"" + name + "\" on this machine" + remedy);
    }
    whisper::WhisperEngineConfig config = engineConfig(deployment);
    config.model = name;
    return whisper::installModel(config, http, clock, {}, stop);
}

bool removeModel(const std::string& name) {
    if (whisper::isModelName(name))
        whisper::removeCached(modelsDirectory() / name);
    return whisper::removeLocalModel(modelsDirectory(), name);
}

void tellSteps(whisper::WhisperEngineConfig& config, const LocalTranscriber::Steps& steps) {
    config.downloadProgress = [steps](const hub::DownloadProgress& step) {
        steps({SetupStep::Kind::downloading, step.received, step.total});
    };
    config.compileProgress = [steps](double fraction) {
        steps({SetupStep::Kind::preparing, static_cast<std::uint64_t>(fraction * 1000), 1000});
    };
}

LocalTranscriber::EngineMaker localEngineMaker(const Deployment& deployment, HttpClient& http, Clock& clock) {
    return [&](const std::string& name, const fs::path& folder, const LocalTranscriber::Steps& steps,
               std::stop_token stop) -> LocalTranscriber::Engine {
        whisper::WhisperEngineConfig config = engineConfig(deployment);
        config.model = name;
        config.downloadBase = folder;
        if (steps)
            tellSteps(config, steps);
        return clipEngine(whisper::WhisperEngine::create(std::move(config), http, clock, stop));
    };
}

} // namespace fenlo
