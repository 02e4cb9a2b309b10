#include "WhisperEngine/runtime/AttendInt8Kernels.h"
#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/Product.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <vector>

namespace fenlo::whisper {

void attendAllInt8(const float* q, const float* k, const float* v, float* dst, int positions, int heads, int headWidth,
                   ThreadPool& pool) {
    if (positions <= 0)
        return;
    const auto stride = static_cast<std::size_t>(heads) * headWidth;
    const kernels::PackedLayout layout = kernels::packedLayout();
    const kernels::PackedSize size(layout, positions, headWidth);
    auto* const memory = scratchOf<std::byte>(Slot::packed, size.bytes * heads);
    const auto head = [&](int index) { return size.place(memory + size.bytes * index); };
    pool.run(heads, [&](int index) {
        const std::size_t column = static_cast<std::size_t>(index) * headWidth;
        auto* const work = scratchOf<float>(Slot::row, kernels::packWork(headWidth));
        kernels::packHead({q + column, k + column, v + column, stride, positions, headWidth}, head(index), work);
    });
    pool.run(heads * size.groups, [&](int task) {
        const int index = task / size.groups;
        auto* const work = scratchOf<std::byte>(Slot::results, kernels::attendWork(layout, headWidth));
        kernels::attendGroup(head(index), task % size.groups, dst + static_cast<std::size_t>(index) * headWidth, stride,
                             work);
    });
}

} // namespace fenlo::whisper
