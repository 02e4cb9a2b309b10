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

CompiledFile openCompiled(const ModelPlace& place, CompiledKind kind, ComputeUnit unit) {
    if (place.checkpoint.empty())
        throw modelFault("Model folder is not set.");
    CompiledFile file(compiledPath(place.compiled, kind, unit));
    if (file.identity().kind != kind || file.identity().unit != unit)
        file.refuse("holds another part of a model");
    if (file.identity().fingerprint != checkpointFingerprint(place.checkpoint))
        file.refuse("belongs to another checkpoint than " + place.checkpoint.string());
    file.readAhead();
    return file;
}

} // namespace

bool isCompiled(const ModelPlace& place, const ModelComputeOptions& options) {
    try {
        const Fingerprint fingerprint = checkpointFingerprint(place.checkpoint);
        return isCurrent(place.compiled, CompiledKind::melSpectrogram, options.melCompute, fingerprint) &&
               isCurrent(place.compiled, CompiledKind::audioEncoder, options.audioEncoderCompute, fingerprint) &&
               isCurrent(place.compiled, CompiledKind::textDecoder, options.textDecoderCompute, fingerprint);
    } catch (const WhisperError&) {
        return false; // the compiler finds out what is wrong
    }
}

std::unique_ptr<MelSpectrogramModel> loadMelSpectrogram(const ModelPlace& place, const ModelComputeOptions& options,
                                                        ThreadPool& pool) {
    return std::make_unique<MelSpectrogramNetwork>(
        openCompiled(place, CompiledKind::melSpectrogram, options.melCompute), pool);
}

std::unique_ptr<AudioEncoderModel> loadAudioEncoder(const ModelPlace& place, const ModelComputeOptions& options,
                                                    ThreadPool& pool) {
    return std::make_unique<AudioEncoderNetwork>(
        openCompiled(place, CompiledKind::audioEncoder, options.audioEncoderCompute), pool);
}

std::unique_ptr<TextDecoderModel> loadTextDecoder(const ModelPlace& place, const ModelComputeOptions& options,
                                                  ThreadPool& pool) {
    return std::make_unique<TextDecoderNetwork>(
        openCompiled(place, CompiledKind::textDecoder, options.textDecoderCompute), pool);
}

} // namespace fenlo::whisper
