#include "WhisperEngine/runtime/OrderedProduct.h"

#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/Product.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>

namespace fenlo::whisper {

namespace {

constexpr int together = kernels::orderedOutputs;
/// Rows of a task: whole blocks of the kernels', and enough tasks for many threads.
constexpr int taskRows = 96;
/// Inputs at a time: their weights stay in the first-level cache while all rows of a task pass by.
constexpr int taskInputs = 128;

int groupsOf(int outputs) {
    return (outputs + together - 1) / together;
}

} // namespace

OrderedProduct::OrderedProduct(const float* weights, const float* bias, int outputs, int inputs)
    : m_outputs(outputs), m_inputs(inputs), m_weights(static_cast<std::size_t>(groupsOf(outputs)) * inputs * together),
      m_bias(bias, bias + outputs) {
    m_bias.resize(static_cast<std::size_t>(groupsOf(outputs)) * together);
    float* to = m_weights.data();
    for (int group = 0; group < groupsOf(outputs); ++group)
        for (int input = 0; input < inputs; ++input)
            for (int output = group * together; output < (group + 1) * together; ++output)
                *to++ = output < outputs ? weights[static_cast<std::size_t>(output) * inputs + input] : 0.0F;
}

void OrderedProduct::run(const float* src, std::size_t stride, float* dst, int rows, ThreadPool& pool) const {
    pool.run((rows + taskRows - 1) / taskRows, [&](int task) {
        const int first = task * taskRows;
        runTask(src + first * stride, stride, dst + static_cast<std::size_t>(first) * m_outputs,
                std::min(taskRows, rows - first));
    });
}

void OrderedProduct::runTask(const float* src, std::size_t stride, float* dst, int rows) const {
    auto* const sums = scratchOf<float>(Slot::results, std::size_t{taskRows} * together);
    for (int output = 0; output < m_outputs; output += together) {
        for (std::ptrdiff_t row = 0; row < rows; ++row)
            std::copy_n(m_bias.data() + output, together, sums + row * together);
        const float* weights = m_weights.data() + static_cast<std::size_t>(output) * m_inputs;
        for (int input = 0; input < m_inputs; input += taskInputs)
            kernels::multiplyOrdered(src + input, stride, rows, weights + static_cast<std::size_t>(input) * together,
                                     std::min(taskInputs, m_inputs - input), sums);
        kernels::gelu(sums, rows * together);
        for (std::ptrdiff_t row = 0; row < rows; ++row)
            std::copy_n(sums + row * together, std::min(together, m_outputs - output), dst + row * m_outputs + output);
    }
}

} // namespace fenlo::whisper
