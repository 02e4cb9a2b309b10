#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/Product.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>

namespace fenlo::whisper {

namespace {

using Description = dnnl::memory::desc;
using Type = dnnl::memory::data_type;

constexpr int block = 96; // query rows: their scores stay in the second-level cache

/// The two products of one block of query rows with one head's keys and values.
struct BlockProducts {
    Product scores;
    Product mixture;

    BlockProducts(int rows, int positions, int width, int stride)
        : scores({{rows, width}, Type::f32, {stride, 1}}, {{width, positions}, Type::f32, {1, stride}}, {},
                 {{rows, positions}, Type::f32, {positions, 1}}),
          mixture({{rows, positions}, Type::f32, {positions, 1}}, {{positions, width}, Type::f32, {stride, 1}}, {},
                  {{rows, width}, Type::f32, {stride, 1}}) {}
};

} // namespace

void attendAll(const float* q, const float* k, const float* v, float* dst, int positions, int heads, int headWidth,
               ThreadPool& pool) {
    if (positions <= 0)
        return;
    const int stride = heads * headWidth;
    const int blocks = (positions + block - 1) / block;
    const int rest = positions - (blocks - 1) * block;
    const BlockProducts whole(std::min(block, positions), positions, headWidth, stride);
    const BlockProducts last(rest, positions, headWidth, stride);
    pool.run(heads * blocks, [&](int task) {
        const int head = task / blocks;
        const int first = task % blocks * block;
        const int rows = std::min(block, positions - first);
        const BlockProducts& products = rows == rest ? last : whole;
        const std::size_t column = static_cast<std::size_t>(head) * headWidth;
        const std::size_t at = static_cast<std::size_t>(first) * stride + column;
        const std::size_t cells = static_cast<std::size_t>(rows) * positions;
        auto* scores = scratchOf<float>(Slot::results, cells);
        products.scores.execute(q + at, k + column, nullptr, scores);
        for (int row = 0; row < rows; ++row)
            kernels::softmax(scores + static_cast<std::size_t>(row) * positions, positions);
        products.mixture.execute(scores, v + column, nullptr, dst + at);
    });
}

} // namespace fenlo::whisper
