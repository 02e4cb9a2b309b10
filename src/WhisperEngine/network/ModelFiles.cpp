#include "WhisperEngine/network/ModelFiles.h"

#include "WhisperEngine/network/AudioEncoderNetwork.h"
#include "WhisperEngine/network/MelSpectrogramNetwork.h"
#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/TextDecoderNetwork.h"

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

bool isCurrent(const fs::path& folder, CompiledKind kind, ComputeUnit unit, const Fingerprint& fingerprint) {
    const CompiledIdentity identity = CompiledFile(compiledPath(folder, kind, unit)).identity();
    return identity.kind == kind && identity.unit == unit && identity.fingerprint == fingerprint;
}

CompiledFile openCompiled(const fs::path& folder, CompiledKind kind, ComputeUnit unit) {
    if (folder.empty())
        throw modelFault("Model folder is not set.");
    CompiledFile file(compiledPath(folder, kind, unit));
    if (file.identity().kind != kind || file.identity().unit != unit)
        file.refuse("holds another part of a model");
    if (file.identity().fingerprint != checkpointFingerprint(folder))
        file.refuse("belongs to another checkpoint than the one in its folder");
    return file;
}

} // namespace

bool isCompiled(const fs::path& modelFolder, const ModelComputeOptions& options) {
    try {
        const Fingerprint fingerprint = checkpointFingerprint(modelFolder);
        return isCurrent(modelFolder, CompiledKind::melSpectrogram, options.melCompute, fingerprint) &&
               isCurrent(modelFolder, CompiledKind::audioEncoder, options.audioEncoderCompute, fingerprint) &&
               isCurrent(modelFolder, CompiledKind::textDecoder, options.textDecoderCompute, fingerprint);
    } catch (const WhisperError&) {
        return false; // the compiler finds out what is wrong
    }
}

std::unique_ptr<MelSpectrogramModel> loadMelSpectrogram(const fs::path& modelFolder, const ModelComputeOptions& options,
                                                        ThreadPool& pool) {
    return std::make_unique<MelSpectrogramNetwork>(
        openCompiled(modelFolder, CompiledKind::melSpectrogram, options.melCompute), pool);
}

std::unique_ptr<AudioEncoderModel> loadAudioEncoder(const fs::path& modelFolder, const ModelComputeOptions& options,
                                                    ThreadPool& pool) {
    return std::make_unique<AudioEncoderNetwork>(
        openCompiled(modelFolder, CompiledKind::audioEncoder, options.audioEncoderCompute), pool);
}

std::unique_ptr<TextDecoderModel> loadTextDecoder(const fs::path& modelFolder, const ModelComputeOptions& options,
                                                  ThreadPool& pool) {
    return std::make_unique<TextDecoderNetwork>(
        openCompiled(modelFolder, CompiledKind::textDecoder, options.textDecoderCompute), pool);
}

} // namespace fenlo::whisper
