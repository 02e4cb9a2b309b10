#include "WhisperEngine/network/ModelFiles.h"

#include "WhisperEngine/network/CompiledFileWriter.h"
#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/PackedTensors.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "base/Files.h"

#include <algorithm>
#include <cmath>
#include <list>
#include <numeric>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

using Form = PackedTensor::Form;

constexpr int blockElements = 1 << 20; // of one conversion: bounds the memory and the time to a stop

struct Job {
    CompiledIdentity identity;
    std::vector<PackedTensor> tensors;
};

std::vector<Job> jobsOf(const ModelConfig& config, const Fingerprint& fingerprint, const ModelComputeOptions& options) {
    const auto identity = [&](CompiledKind kind, ComputeUnit unit) {
        return CompiledIdentity{kind, unit, config.architecture, fingerprint};
    };
    return {{identity(CompiledKind::melSpectrogram, options.melCompute), packedMelSpectrogram(config)},
            {identity(CompiledKind::audioEncoder, options.audioEncoderCompute), packedAudioEncoder(config)},
            {identity(CompiledKind::textDecoder, options.textDecoderCompute), packedTextDecoder(config)}};
}

bool isQuantised(const PackedTensor& tensor, ComputeUnit unit) {
    return (tensor.form == Form::linear || tensor.form == Form::embedding) && unit == ComputeUnit::automatic;
}

/// A quantised weight is several tensors of the file: the numbers, the scales and, of an embedding, the mean and the
/// shares.
std::size_t tensorsOf(const PackedTensor& tensor, ComputeUnit unit) {
    return !isQuantised(tensor, unit) ? 1 : tensor.form == Form::embedding ? 4 : 2;
}

std::vector<CompiledFileWriter::Tensor> tableOf(const Job& job) {
    std::vector<CompiledFileWriter::Tensor> table;
    for (const PackedTensor& tensor : job.tensors) {
        const auto rows = static_cast<std::uint32_t>(tensor.rows);
        std::vector<std::uint32_t> shape{rows};
        if (tensor.columns > 0)
            shape.push_back(static_cast<std::uint32_t>(tensor.columns));
        const bool quantised = isQuantised(tensor, job.identity.unit);
        table.push_back({tensor.name, quantised ? compiled::NumberType::int8 : compiled::NumberType::float32, shape});
        if (quantised)
            table.push_back({tensor.name + ".scales", compiled::NumberType::float32, {rows}});
        if (quantised && tensor.form == Form::embedding) {
            table.push_back({tensor.name + ".mean", compiled::NumberType::float32, {shape[1]}});
            table.push_back({tensor.name + ".shares", compiled::NumberType::float32, {rows}});
        }
    }
    return table;
}

std::uint64_t numberBytes(const std::vector<CompiledFileWriter::Tensor>& table) {
    std::uint64_t total = 0;
    for (const auto& tensor : table) {
        std::uint64_t bytes = tensor.type == compiled::NumberType::float32 ? sizeof(float) : 1;
        for (const std::uint32_t size : tensor.shape)
            bytes *= size;
        total += bytes;
    }
    return total;
}

std::vector<std::uint64_t> sourceShape(const PackedTensor& tensor, const PackedPart& part) {
    const auto rows = static_cast<std::uint64_t>(part.rows), columns = static_cast<std::uint64_t>(tensor.columns);
    if (tensor.columns == 0)
        return {rows};
    return tensor.form == Form::convolution ? std::vector{rows, columns / 3, std::uint64_t{3}}
                                            : std::vector{rows, columns};
}

/// [channels, 3] of each row to [3, channels], the order in which neighbouring frames lie in memory.
void reorder(std::span<float> values, std::size_t columns) {
    std::vector<float> row(columns);
    for (std::size_t start = 0; start < values.size(); start += columns) {
        for (std::size_t i = 0; i < columns; ++i)
            row[i % 3 * (columns / 3) + i / 3] = values[start + i];
        std::ranges::copy(row, values.begin() + static_cast<std::ptrdiff_t>(start));
    }
}

class Compilation {
public:
    Compilation(const ModelPlace& place, const ModelComputeOptions& options,
                const std::function<void(double)>& progress, std::stop_token stop)
        : m_place(place), m_checkpoint(place.checkpoint), m_config(readModelConfig(place.checkpoint)),
          m_jobs(jobsOf(m_config, checkpointFingerprint(place.checkpoint), options)), m_progress(progress),
          m_stop(std::move(stop)) {}

    void checkSources() const {
        for (const Job& job : m_jobs)
            for (const PackedTensor& tensor : job.tensors)
                for (const PackedPart& part : tensor.parts)
                    if (!part.source.empty())
                        m_checkpoint.tensor(part.source, sourceShape(tensor, part));
    }

    void run() {
        checkSources(); // before anything is written
        const Folders folders(m_place, m_jobs);
        std::uint64_t room = 0;
        for (const Job& job : m_jobs) {
            room += CompiledFileWriter::fileSize(tableOf(job));
            m_total += numberBytes(tableOf(job));
        }
        checkRoom(room);
        // All or nothing: on a full disk two of the three files would only take up room.
        std::list<CompiledFileWriter> writers;
        for (const Job& job : m_jobs)
            write(job, writers.emplace_back(pathOf(job), job.identity, tableOf(job)));
        for (CompiledFileWriter& writer : writers)
            writer.commit();
    }

private:
    /// Makes the folders of the compiled files and removes leftovers; folders that stay empty are removed at the end.
    class Folders {
    public:
        Folders(const ModelPlace& place, const std::vector<Job>& jobs) {
            if (place.compiled != place.checkpoint) {
                files::makePrivateDirectory(place.compiled);
                m_made.push_back(place.compiled);
            }
            for (const Job& job : jobs) {
                const fs::path folder =
                    compiledPath(place.compiled, job.identity.kind, job.identity.unit).parent_path();
                std::error_code ignored;
                if (fs::create_directory(folder, ignored))
                    m_made.push_back(folder);
                CompiledFileWriter::removeLeftovers(folder);
            }
        }
        ~Folders() {
            std::error_code ignored;
            for (auto folder = m_made.rbegin(); folder != m_made.rend(); ++folder)
                fs::remove(*folder, ignored);
        }
        Folders(const Folders&) = delete;
        Folders& operator=(const Folders&) = delete;

    private:
        std::vector<fs::path> m_made;
    };

    fs::path pathOf(const Job& job) const {
        return compiledPath(m_place.compiled, job.identity.kind, job.identity.unit);
    }

    void checkRoom(std::uint64_t needed) const {
        std::error_code error;
        const fs::space_info room = fs::space(m_place.compiled, error);
        if (!error && room.available < needed)
            throw modelFault("The disk of " + m_place.compiled.string() + " is too full: the compiled model needs " +
                             std::to_string(needed / 1'000'000 + 1) + " MB. Make room.");
    }

    void write(const Job& job, CompiledFileWriter& writer) {
        std::size_t index = 0;
        for (const PackedTensor& tensor : job.tensors) {
            write(tensor, writer, index, isQuantised(tensor, job.identity.unit));
            index += tensorsOf(tensor, job.identity.unit);
        }
    }

    void write(const PackedTensor& tensor, CompiledFileWriter& writer, std::size_t index, bool quantised) {
        if (tensor.form == Form::constant) {
            put(writer, index, 0, std::as_bytes(std::span(tensor.values)));
            return;
        }
        const int columns = std::max(tensor.columns, 1);
        const int blockRows = std::max(1, blockElements / columns);
        const auto forBlocks = [&](const auto& take) {
            std::vector<float> block;
            for (const PackedPart& part : tensor.parts)
                for (int row = 0; row < part.rows; row += blockRows) {
                    const int rows = std::min(blockRows, part.rows - row);
                    block.assign(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns), 0.0f);
                    read(tensor, part, row, block);
                    take(block);
                }
        };
        std::uint64_t written = 0; // elements
        if (!quantised)
            return forBlocks([&](const std::vector<float>& block) {
                put(writer, index, written * sizeof(float), std::as_bytes(std::span(block)));
                written += block.size();
            });

        std::vector<double> mean(static_cast<std::size_t>(columns));
        double square = 0;
        if (tensor.form == Form::embedding) {
            forBlocks([&](const std::vector<float>& block) {
                for (std::size_t i = 0; i < block.size(); ++i)
                    mean[i % mean.size()] += static_cast<double>(block[i]) / tensor.rows;
            });
            square = std::inner_product(mean.begin(), mean.end(), mean.begin(), 0.0);
            const std::vector<float> narrow(mean.begin(), mean.end());
            put(writer, index + 2, 0, std::as_bytes(std::span(narrow)));
        }
        std::vector<float> scales, shares;
        std::vector<std::int8_t> bytes;
        forBlocks([&](std::vector<float>& block) {
            bytes.resize(block.size());
            for (std::size_t at = 0; at < block.size(); at += mean.size()) {
                if (square > 0) {
                    const double share = std::inner_product(mean.begin(), mean.end(), &block[at], 0.0) / square;
                    for (std::size_t i = 0; i < mean.size(); ++i)
                        block[at + i] -= static_cast<float>(share * mean[i]);
                    shares.push_back(static_cast<float>(share));
                }
                scales.push_back(kernels::quantize(&block[at], &bytes[at], columns));
            }
            put(writer, index, written, std::as_bytes(std::span(bytes)));
            written += block.size();
        });
        put(writer, index + 1, 0, std::as_bytes(std::span(scales)));
        if (tensor.form == Form::embedding) {
            shares.resize(scales.size()); // zeros of a mean of zeros
            put(writer, index + 3, 0, std::as_bytes(std::span(shares)));
        }
    }

    void read(const PackedTensor& tensor, const PackedPart& part, int firstRow, std::span<float> block) const {
        if (part.source.empty())
            return;
        const auto columns = static_cast<std::size_t>(std::max(tensor.columns, 1));
        widen(m_checkpoint.tensor(part.source, sourceShape(tensor, part)), static_cast<std::size_t>(firstRow) * columns,
              block);
        for (float& value : block)
            value *= part.factor;
        if (!std::ranges::all_of(block, [](float value) { return std::isfinite(value); }))
            throw ModelDamage("The weights in " + m_place.checkpoint.string() + ": tensor " + part.source +
                              " has values that are no numbers");
        if (tensor.form == Form::convolution)
            reorder(block, columns);
    }

    void put(CompiledFileWriter& writer, std::size_t index, std::uint64_t byte, std::span<const std::byte> numbers) {
        if (m_stop.stop_requested())
            throw WhisperError(WhisperError::Kind::cancelled, "The compilation of the model was stopped.");
        writer.write(index, byte, numbers);
        m_written += numbers.size();
        if (m_progress)
            m_progress(std::min(1.0, static_cast<double>(m_written) / static_cast<double>(m_total)));
    }

    ModelPlace m_place;
    Checkpoint m_checkpoint;
    ModelConfig m_config;
    std::vector<Job> m_jobs;
    const std::function<void(double)>& m_progress;
    std::stop_token m_stop;
    std::uint64_t m_total = 0; // bytes of all numbers
    std::uint64_t m_written = 0;
};

} // namespace

void checkCheckpoint(const fs::path& modelFolder, const ModelComputeOptions& options) {
    Compilation(modelFolder, options, {}, {}).checkSources();
}

void compileModel(const ModelPlace& place, const ModelComputeOptions& options,
                  const std::function<void(double)>& progress, std::stop_token stop) {
    if (place.checkpoint.empty())
        throw modelFault("Model folder is not set.");
    Compilation(place, options, progress, std::move(stop)).run();
    if (place.compiled != place.checkpoint)
        removeCached(place.checkpoint, place.compiled);
    if (progress)
        progress(1.0);
}

} // namespace fenlo::whisper
