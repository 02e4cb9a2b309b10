#pragma once

#include "WhisperEngine/ModelCalls.h"
#include "WhisperEngine/network/ModelComputeOptions.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>

/// From the publishers' checkpoints to models that answer calls. A model folder holds a checkpoint (`config.json`,
/// `generation_config.json`, `tokenizer.json`, `model.safetensors` in one file or in shards) and, once compiled, the
/// packed files "MelSpectrogram", "AudioEncoder" and "TextDecoder", which are mapped into memory and never read whole;
/// those of the reference precision lie in its subfolder "float32". A compiled file remembers its checkpoint (the
/// configuration, and size, time of change and header of the weights) and serves no other.
///
/// Threads: any; calls block.
/// Errors:  WhisperError of the kind modelsUnavailable: one line with the file, the fault and the remedy. A file of any
///          content is refused or loaded, never trusted.
namespace fenlo::whisper {

class ThreadPool;

/// True when the compiled files are there, belong to the checkpoint that lies beside them and have the wanted
/// precision.
bool isCompiled(const std::filesystem::path& modelFolder, const ModelComputeOptions& options);

/// Compiles the checkpoint: packs and quantises the weights into the three files, each moved into place whole.
/// `progress` in [0, 1].
void compileModel(const std::filesystem::path& modelFolder, const ModelComputeOptions& options,
                  const std::function<void(double)>& progress, std::stop_token stop);

/// Each maps its file. The pool outlives the model.
std::unique_ptr<MelSpectrogramModel> loadMelSpectrogram(const std::filesystem::path& modelFolder,
                                                        const ModelComputeOptions& options, ThreadPool& pool);
std::unique_ptr<AudioEncoderModel> loadAudioEncoder(const std::filesystem::path& modelFolder,
                                                    const ModelComputeOptions& options, ThreadPool& pool);
std::unique_ptr<TextDecoderModel> loadTextDecoder(const std::filesystem::path& modelFolder,
                                                  const ModelComputeOptions& options, ThreadPool& pool);

} // namespace fenlo::whisper
