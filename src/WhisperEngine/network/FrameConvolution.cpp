#include "WhisperEngine/network/FrameConvolution.h"

#include "WhisperEngine/network/PackedLinear.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>

namespace fenlo::whisper {

FrameConvolution FrameConvolution::load(const CompiledFile& file, const std::string& name, int outputs, int channels,
                                        int step) {
    const PackedLinear linear = PackedLinear::load(file, name, outputs, 3 * channels);
    if (file.identity().unit == ComputeUnit::automatic)
        return {OrderedProduct(linear.weights, linear.bias, outputs, linear.inputs), channels, step};
    return {linear.matMul(), channels, step};
}

void FrameConvolution::run(const float* padded, float* dst, int rows, float* gathered, ThreadPool& pool) const {
    const auto stride = static_cast<std::size_t>(m_step) * m_channels;
    if (const auto* ordered = std::get_if<OrderedProduct>(&m_weights))
        return ordered->run(padded, stride, dst, rows, pool);
    const auto length = static_cast<std::size_t>(3) * m_channels;
    constexpr int taskRows = 64;
    pool.run((rows + taskRows - 1) / taskRows, [&](int task) {
        const auto last = static_cast<std::size_t>(std::min(rows, (task + 1) * taskRows));
        for (auto row = static_cast<std::size_t>(task) * taskRows; row < last; ++row)
            std::copy_n(padded + row * stride, length, gathered + row * length);
    });
    std::get<MatMul>(m_weights).run(gathered, dst, rows, Activation::gelu, false, pool);
}

} // namespace fenlo::whisper
