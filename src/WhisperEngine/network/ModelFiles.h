#pragma once

#include "WhisperEngine/ModelCalls.h"
#include "WhisperEngine/network/ModelComputeOptions.h"
#include "WhisperEngine/network/ModelPlace.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>

/// From the publishers' checkpoints to models that answer calls. A model folder holds a checkpoint (`config.json`,
/// `generation_config.json`, `tokenizer.json`, `model.safetensors` in one file or in shards) and, once compiled, the
/// packed files "MelSpectrogram", "AudioEncoder" and "TextDecoder", which are mapped into memory and never read whole;
/// those of the reference precision lie in its subfolder "float32". They may lie in another folder than the checkpoint
/// (ModelPlace). A compiled file remembers its checkpoint (the configuration, and size, time of change and header of
/// the weights) and serves no other.
///
/// Threads: any; calls block.
/// Errors:  WhisperError of the kind modelsUnavailable, ModelDamage where that is the fault: one line with the file,
/// the
///          fault and the remedy. A file of any content is refused or loaded, never trusted.
namespace fenlo::whisper {

class ThreadPool;

/// True when the compiled files are there, belong to the checkpoint and have the wanted precision.
bool isCompiled(const ModelPlace& place, const ModelComputeOptions& options);

/// Checks that the checkpoint can be compiled: its configuration, and each tensor's presence, type and shape. The
/// weights themselves are not read.
void checkCheckpoint(const std::filesystem::path& modelFolder, const ModelComputeOptions& options);

/// Compiles the checkpoint: packs and quantises the weights into the three files, which are moved into place when all
/// are whole. A compilation that fails leaves nothing behind, and removes what an interrupted one left. `progress` in
/// [0, 1].
void compileModel(const ModelPlace& place, const ModelComputeOptions& options,
                  const std::function<void(double)>& progress, std::stop_token stop);

/// Each maps its file, and has the system begin to read it. The pool outlives the model.
std::unique_ptr<MelSpectrogramModel> loadMelSpectrogram(const ModelPlace& place, const ModelComputeOptions& options,
                                                        ThreadPool& pool);
std::unique_ptr<AudioEncoderModel> loadAudioEncoder(const ModelPlace& place, const ModelComputeOptions& options,
                                                    ThreadPool& pool);
std::unique_ptr<TextDecoderModel> loadTextDecoder(const ModelPlace& place, const ModelComputeOptions& options,
                                                  ThreadPool& pool);

} // namespace fenlo::whisper
