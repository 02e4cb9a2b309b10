// Products of a block of rows with 8-bit weights. The instructions that multiply bytes are not in Highway: each width
// stands in a target region of its own here, opened after all includes.

#include "WhisperEngine/runtime/ByteBlocks.h"

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Intrinsics.h"
#include "WhisperEngine/runtime/Tiles.h"

#include <algorithm>
#include <cstring>

namespace fenlo::whisper::kernels {

namespace {

using Multiply = void(const ByteMatrix& matrix, const Panel& panel, int first, int count, float* dst, std::byte* work);

/// Rows of weights in whole lanes of 32 bits, and what is left of each.
struct WeightRows {
    const std::byte* values;
    std::size_t stride; // bytes between two rows
    std::size_t steps;  // whole lanes of a row
    std::size_t rest;   // bytes
};

constexpr int mostOutputs = 8; // of all forms

int stepsOf(int inputs, int perLane) {
    return (inputs + perLane - 1) / perLane;
}

/// Bytes as they lie, or widened to 16 bits.
template <class Lanes>
WeightRows weightRows(const ByteMatrix& matrix, int first, int count, std::byte* work) {
    const auto inputs = static_cast<std::size_t>(matrix.columns);
    const std::int8_t* const from = matrix.weights + static_cast<std::size_t>(first) * inputs;
    if (Lanes::isBytes)
        return {reinterpret_cast<const std::byte*>(from), inputs, inputs / 4, inputs % 4};
    const std::size_t stride = inputs + inputs % 2;
    auto* const shorts = reinterpret_cast<std::int16_t*>(work);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        for (std::size_t j = 0; j < inputs; ++j)
            shorts[i * stride + j] = std::int16_t{from[i * inputs + j]};
        if (stride > inputs)
            shorts[i * stride + inputs] = 0;
    }
    return {work, 2 * stride, stride / 2, 0};
}

/// Any processor.
namespace plain {
struct Lanes {
    static constexpr bool isBytes = false;
    static constexpr int count = 1, vectors = 4, outputs = 2;
    using Vector = std::int32_t;
    static Vector zero() { return 0; }
    static Vector load(const std::int32_t* from) { return *from; }
    static void store(Vector sums, std::int32_t* to) { *to = sums; }
    static Vector all(std::int32_t lane) { return lane; }
    static Vector dot(Vector sums, Vector rows, Vector all) {
        const auto low = [](Vector pair) { return static_cast<std::int16_t>(pair); };
        return sums + low(rows) * low(all) + (rows >> 16) * (all >> 16);
    }
};
#include "WhisperEngine/runtime/ByteBlocks-inl.h"
} // namespace plain

} // namespace

#if HWY_ARCH_X86

HWY_PUSH_ATTRIBUTES("sse4.1")
namespace sse4 {
namespace {
struct Lanes {
    static constexpr bool isBytes = false;
    static constexpr int count = 4, vectors = 2, outputs = 6;
    using Vector = __m128i;
    static Vector zero() { return _mm_setzero_si128(); }
    static Vector load(const std::int32_t* from) { return _mm_load_si128(reinterpret_cast<const Vector*>(from)); }
    static void store(Vector sums, std::int32_t* to) { _mm_store_si128(reinterpret_cast<Vector*>(to), sums); }
    static Vector all(std::int32_t lane) { return _mm_set1_epi32(lane); }
    static Vector dot(Vector sums, Vector rows, Vector all) { return _mm_add_epi32(sums, _mm_madd_epi16(rows, all)); }
};
#include "WhisperEngine/runtime/ByteBlocks-inl.h"
} // namespace
} // namespace sse4
HWY_POP_ATTRIBUTES

HWY_PUSH_ATTRIBUTES("avx2,fma")
namespace avx2 {
namespace {
struct Lanes {
    static constexpr bool isBytes = false;
    static constexpr int count = 8, vectors = 2, outputs = 6;
    using Vector = __m256i;
    static Vector zero() { return _mm256_setzero_si256(); }
    static Vector load(const std::int32_t* from) { return _mm256_load_si256(reinterpret_cast<const Vector*>(from)); }
    static void store(Vector sums, std::int32_t* to) { _mm256_store_si256(reinterpret_cast<Vector*>(to), sums); }
    static Vector all(std::int32_t lane) { return _mm256_set1_epi32(lane); }
    static Vector dot(Vector sums, Vector rows, Vector all) {
        return _mm256_add_epi32(sums, _mm256_madd_epi16(rows, all));
    }
};
#include "WhisperEngine/runtime/ByteBlocks-inl.h"
} // namespace
} // namespace avx2
HWY_POP_ATTRIBUTES

HWY_PUSH_ATTRIBUTES("avx2,fma,avxvnni")
namespace avx2vnni {
namespace {
struct Lanes : avx2::Lanes {
    static constexpr bool isBytes = true;
    static Vector dot(Vector sums, Vector rows, Vector all) { return _mm256_dpbusd_avx_epi32(sums, rows, all); }
};
#include "WhisperEngine/runtime/ByteBlocks-inl.h"
} // namespace
} // namespace avx2vnni
HWY_POP_ATTRIBUTES

HWY_PUSH_ATTRIBUTES("avx2,fma,avx512f,avx512bw")
namespace avx512 {
namespace {
struct Lanes {
    static constexpr bool isBytes = false;
    static constexpr int count = 16, vectors = 3, outputs = 8;
    using Vector = __m512i;
    static Vector zero() { return _mm512_setzero_si512(); }
    static Vector load(const std::int32_t* from) { return _mm512_load_si512(from); }
    static void store(Vector sums, std::int32_t* to) { _mm512_store_si512(to, sums); }
    static Vector all(std::int32_t lane) { return _mm512_set1_epi32(lane); }
    static Vector dot(Vector sums, Vector rows, Vector all) {
        return _mm512_add_epi32(sums, _mm512_madd_epi16(rows, all));
    }
};
#include "WhisperEngine/runtime/ByteBlocks-inl.h"
} // namespace
} // namespace avx512
HWY_POP_ATTRIBUTES

HWY_PUSH_ATTRIBUTES("avx2,fma,avx512f,avx512bw,avx512vnni")
namespace avx512vnni {
namespace {
struct Lanes : avx512::Lanes {
    static constexpr bool isBytes = true;
    static Vector dot(Vector sums, Vector rows, Vector all) { return _mm512_dpbusd_epi32(sums, rows, all); }
};
#include "WhisperEngine/runtime/ByteBlocks-inl.h"
} // namespace
} // namespace avx512vnni
HWY_POP_ATTRIBUTES

namespace amx {
namespace {

/// Whole tiles; what does not fill one is left to the vectors. A panel has the order of a tile's right side, and rows
/// of weights lie as its left one.
void multiply(const ByteMatrix& matrix, const Panel& panel, int first, int count, float* dst, std::byte* work) {
    static_assert(panelLanes == 3 * tiles::columns);
    constexpr std::size_t stride = panelLanes * sizeof(std::int32_t);
    const auto inputs = static_cast<std::size_t>(matrix.columns);
    int i = 0;
    if (inputs % tiles::rowBytes == 0 && count >= tiles::rows) {
        alignas(64) std::int32_t sums[tiles::rows * panelLanes];
        const tiles::InUse use;
        for (; i + tiles::rows <= count; i += tiles::rows) {
            const std::int8_t* const weights = matrix.weights + static_cast<std::size_t>(first + i) * inputs;
            tiles::multiply16x48({weights, inputs, panel.lanes, stride, inputs, sums, stride});
            for (int row = 0; row < tiles::rows; ++row)
                avx512vnni::finish(matrix, panel, first + i + row, sums + std::ptrdiff_t{row} * panelLanes,
                                   dst + std::ptrdiff_t{i + row} * panelLanes);
        }
    }
    avx512vnni::multiply(matrix, panel, first + i, count - i, dst + std::ptrdiff_t{i} * panelLanes, work);
}

} // namespace
} // namespace amx

#endif

namespace {

struct Form {
    Multiply* multiply;
    bool isBytes;
};

Form choose() {
#if HWY_ARCH_X86
    switch (allowedInstructionSet()) {
    case InstructionSet::scalar:
        break;
    case InstructionSet::sse4:
    case InstructionSet::avx:
        return {sse4::multiply, sse4::Lanes::isBytes};
    case InstructionSet::avx2:
        return {avx2::multiply, avx2::Lanes::isBytes};
    case InstructionSet::avx2vnni:
        return {avx2vnni::multiply, avx2vnni::Lanes::isBytes};
    case InstructionSet::avx512:
        return {avx512::multiply, avx512::Lanes::isBytes};
    case InstructionSet::avx512vnni:
    case InstructionSet::avx512bf16:
        return {avx512vnni::multiply, avx512vnni::Lanes::isBytes};
    case InstructionSet::amx:
        return {amx::multiply, true};
    }
#endif
    return {plain::multiply, plain::Lanes::isBytes};
}

const Form& form() {
    static const Form chosen = choose();
    return chosen;
}

/// False, and nothing is added, where there is no room.
bool add(WidePanel& panel, std::size_t row, const WideChannels& found) {
    const auto known = [&panel](int channel) {
        return std::find(panel.channels, panel.channels + panel.count, channel) - panel.channels;
    };
    const auto unknown =
        std::count_if(found.channels, found.channels + found.count, [&](int it) { return known(it) == panel.count; });
    if (unknown > WidePanel::most - panel.count)
        return false;
    for (int i = 0; i < found.count; ++i) {
        const auto at = known(found.channels[i]);
        if (at == panel.count) {
            panel.channels[panel.count++] = found.channels[i];
            std::fill_n(panel.values[at], panelLanes, 0.0F);
        }
        panel.values[at][row] = found.values[i];
    }
    return true;
}

float quantizeInto(WidePanel& panel, std::size_t row, const float* src, std::int8_t* dst, int count) {
    WideChannels found;
    const float scale = quantize(src, dst, count, found);
    return add(panel, row, found) ? scale : quantize(src, dst, count);
}

} // namespace

std::size_t panelBytes(int inputs) {
    return sizeof(std::int32_t) * panelLanes * static_cast<std::size_t>(stepsOf(inputs, form().isBytes ? 4 : 2));
}

std::size_t panelWork(int inputs) {
    return form().isBytes ? 0 : sizeof(std::int16_t) * mostOutputs * (static_cast<std::size_t>(inputs) + 1);
}

void packPanel(const float* src, int inputs, const Panel& panel, std::int8_t* work) {
    const std::size_t columns = static_cast<std::size_t>(inputs);
    const std::size_t stride = columns + 4; // the last step's lanes end with zeros
    panel.wide->count = 0;
    for (std::size_t row = 0; row < panelLanes; ++row) {
        std::int8_t* const to = work + row * stride;
        const bool isThere = row < static_cast<std::size_t>(panel.rows);
        std::fill_n(to + (isThere ? columns : 0), isThere ? stride - columns : stride, std::int8_t{0});
        panel.factors[row] = isThere ? quantizeInto(*panel.wide, row, src + row * columns, to, inputs) : 0.0F;
    }
    const bool isBytes = form().isBytes;
    const auto steps = static_cast<std::size_t>(stepsOf(inputs, isBytes ? 4 : 2));
    for (std::size_t step = 0; step < steps; ++step)
        for (std::size_t row = 0; row < panelLanes; ++row) {
            const std::int8_t* const from = work + row * stride;
            std::uint32_t lane;
            if (isBytes) {
                std::memcpy(&lane, from + 4 * step, sizeof lane);
                lane ^= 0x80808080U;
            } else {
                const std::int16_t pair[2] = {from[2 * step], from[2 * step + 1]};
                std::memcpy(&lane, pair, sizeof lane);
            }
            std::memcpy(&panel.lanes[step * panelLanes + row], &lane, sizeof lane);
        }
}

/// A row with wide channels is taken out, quantised as all rows are, and put back.
void packLanes(const float* src, int inputs, const Panel& panel, float* row, std::int8_t* work) {
    const bool isBytes = form().isBytes;
    std::int32_t wide[panelLanes];
    quantizeLanes(src, inputs, panel, isBytes, wide);
    panel.wide->count = 0;
    for (int lane = 0; lane < panel.rows; ++lane) {
        if (wide[lane] == 0 || wide[lane] > wideAtOnce(inputs))
            continue;
        for (std::ptrdiff_t i = 0; i < inputs; ++i)
            row[i] = src[i * panelLanes + lane];
        panel.factors[lane] = quantizeInto(*panel.wide, static_cast<std::size_t>(lane), row, work, inputs);
        auto* const numbers = reinterpret_cast<std::byte*>(panel.lanes + lane);
        for (std::ptrdiff_t i = 0; i < inputs; ++i)
            if (isBytes) {
                numbers[i / 4 * panelLanes * 4 + i % 4] = static_cast<std::byte>(work[i] ^ -128);
            } else {
                const auto number = std::int16_t{work[i]};
                std::memcpy(numbers + i / 2 * panelLanes * 4 + i % 2 * 2, &number, sizeof number);
            }
    }
}

void multiplyPanel(const ByteMatrix& matrix, const Panel& panel, int first, int count, float* dst, std::byte* work) {
    form().multiply(matrix, panel, first, count, dst, work);
}

/// Rows outside, so that each row's results are written one behind the other: rows may lie a multiple of 4 KiB apart,
/// and would take each other's place in the cache.
void unpackPanel(const float* src, int rows, int count, float* dst, std::size_t stride, bool accumulate) {
    int row = 0;
#if HWY_ARCH_X86
    for (; row + 4 <= rows && count % 4 == 0; row += 4)
        for (int i = 0; i < count; i += 4) {
            __m128 lines[4];
#pragma GCC unroll 4
            for (int k = 0; k < 4; ++k)
                lines[k] = _mm_loadu_ps(src + static_cast<std::size_t>(i + k) * panelLanes + row);
            _MM_TRANSPOSE4_PS(lines[0], lines[1], lines[2], lines[3]);
#pragma GCC unroll 4
            for (int k = 0; k < 4; ++k) {
                float* const to = dst + static_cast<std::size_t>(row + k) * stride + i;
                _mm_storeu_ps(to, accumulate ? _mm_add_ps(_mm_loadu_ps(to), lines[k]) : lines[k]);
            }
        }
#endif
    for (; row < rows; ++row)
        for (int i = 0; i < count; ++i) {
            float& to = dst[static_cast<std::size_t>(row) * stride + i];
            to = src[i * panelLanes + row] + (accumulate ? to : 0.0F);
        }
}

} // namespace fenlo::whisper::kernels
