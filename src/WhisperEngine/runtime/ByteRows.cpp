// Products of 8-bit rows, exact in 32-bit integers. The instructions that multiply bytes are not in Highway: each width
// stands in a target region of its own here, opened after all includes. What has none of them is in DotKernels.cpp.

#include "WhisperEngine/runtime/ByteRows.h"

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Intrinsics.h"

#include <algorithm>
#include <utility>

namespace fenlo::whisper::kernels {

void finish(const ByteMatrix& matrix, const ByteVector& vector, const std::int32_t* sums, int firstRow, int rows) {
    float* const __restrict dst = vector.dst + firstRow;
    const float* const __restrict scales = matrix.rowScales + firstRow;
    const float scale = vector.scale;
    for (int i = 0; i < rows; ++i)
        dst[i] = static_cast<float>(sums[i]) * (scales[i] * scale);
    if (const float* const __restrict bias = matrix.bias ? matrix.bias + firstRow : nullptr)
        for (int i = 0; i < rows; ++i)
            dst[i] += bias[i];
    const auto columns = static_cast<std::size_t>(matrix.columns);
    for (int k = 0; vector.wide && k < vector.wide->count; ++k) {
        const std::int8_t* weights =
            matrix.weights + static_cast<std::size_t>(firstRow) * columns + vector.wide->channels[k];
        for (int i = 0; i < rows; ++i, weights += columns)
            dst[i] += static_cast<float>(*weights) * (scales[i] * vector.wide->values[k]);
    }
}

#if HWY_ARCH_X86

namespace {
constexpr int sumBlock = 32; // rows whose sums are held before they become floats
}

HWY_PUSH_ATTRIBUTES("avx2")
namespace avx2 {
namespace {
/// |row| times x with the row's sign, in 16-bit pairs: at most 2 * 128 * 127, so that nothing saturates.
struct Lanes {
    using Vector = __m256i;
    static constexpr std::size_t bytes = 32;
    static Vector zero() { return _mm256_setzero_si256(); }
    static Vector load(const std::int8_t* from) { return _mm256_loadu_si256(reinterpret_cast<const Vector*>(from)); }
    static Vector prepared(Vector row) { return row; }
    static Vector sum(Vector sums, Vector row, Vector x) {
        const Vector pairs = _mm256_maddubs_epi16(_mm256_abs_epi8(row), _mm256_sign_epi8(x, row));
        return _mm256_add_epi32(sums, _mm256_madd_epi16(pairs, _mm256_set1_epi16(1)));
    }
    static void store4(Vector a, Vector b, Vector c, Vector d, std::int32_t* to) {
        const Vector all = _mm256_hadd_epi32(_mm256_hadd_epi32(a, b), _mm256_hadd_epi32(c, d));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                         _mm_add_epi32(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1)));
    }
};
#include "WhisperEngine/runtime/ByteRows-inl.h"
} // namespace
} // namespace avx2
HWY_POP_ATTRIBUTES

HWY_PUSH_ATTRIBUTES("avx2,avxvnni")
namespace avx2vnni {
namespace {
/// The instruction wants one side without signs: the row's bytes are moved up by 128.
struct Lanes : avx2::Lanes {
    static Vector prepared(Vector row) { return _mm256_xor_si256(row, _mm256_set1_epi8(-128)); }
    static Vector sum(Vector sums, Vector row, Vector x) { return _mm256_dpbusd_avx_epi32(sums, row, x); }
};
#include "WhisperEngine/runtime/ByteRows-inl.h"
} // namespace
} // namespace avx2vnni
HWY_POP_ATTRIBUTES

HWY_PUSH_ATTRIBUTES("avx2,avx512f,avx512bw,avx512vl,avx512vnni")
namespace avx512vnni {
namespace {
struct Lanes {
    using Vector = __m512i;
    static constexpr std::size_t bytes = 64;
    static Vector zero() { return _mm512_setzero_si512(); }
    static Vector load(const std::int8_t* from) { return _mm512_loadu_si512(from); }
    static Vector prepared(Vector row) { return _mm512_xor_si512(row, _mm512_set1_epi8(-128)); }
    static Vector sum(Vector sums, Vector row, Vector x) { return _mm512_dpbusd_epi32(sums, row, x); }
    static __m256i half(Vector v) {
        return _mm256_add_epi32(_mm512_castsi512_si256(v), _mm512_extracti64x4_epi64(v, 1));
    }
    static void store4(Vector a, Vector b, Vector c, Vector d, std::int32_t* to) {
        avx2::Lanes::store4(half(a), half(b), half(c), half(d), to);
    }
};
#include "WhisperEngine/runtime/ByteRows-inl.h"
} // namespace
} // namespace avx512vnni
HWY_POP_ATTRIBUTES

namespace {
/// For one vector, two and so on; null where the step has no product of bytes.
Multiply* const* byteProducts() {
    switch (allowedInstructionSet()) {
    case InstructionSet::scalar:
    case InstructionSet::sse4:
    case InstructionSet::avx:
        return nullptr;
    case InstructionSet::avx2:
    case InstructionSet::avx512: // without VNNI there is no wider form
        return avx2::multiplications;
    case InstructionSet::avx2vnni:
        return avx2vnni::multiplications;
    case InstructionSet::avx512vnni:
    case InstructionSet::avx512bf16:
    case InstructionSet::amx:
        return avx512vnni::multiplications;
    }
    return nullptr;
}
} // namespace

#else

namespace {
Multiply* const* byteProducts() {
    return nullptr;
}
} // namespace

#endif

void matVecsInt8(const ByteMatrix& matrix, std::span<const ByteVector> vectors, int firstRow, int lastRow) {
    static Multiply* const* const products = byteProducts();
    if (!products)
        return multiplyWidened(matrix, vectors, firstRow, lastRow);
    for (std::size_t at = 0; at < vectors.size(); at += mostByteVectors) {
        const std::size_t together = std::min<std::size_t>(vectors.size() - at, mostByteVectors);
        products[together - 1](matrix, vectors.data() + at, firstRow, lastRow);
    }
}

void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns) {
    const ByteVector vector{x, xScale, dst};
    matVecsInt8({weights, rowScales, bias, columns}, {&vector, 1}, firstRow, lastRow);
}

} // namespace fenlo::whisper::kernels
