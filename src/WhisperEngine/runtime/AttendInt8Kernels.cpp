// Attention in products of 8-bit values. This file is compiled once for each instruction set.
//
// Queries lie across the lanes and keys one behind the other, so that the largest score, the sum and the scales of a
// query are lanes as well and nothing is ever added up across a vector.

#include "WhisperEngine/runtime/AttendInt8Kernels.h"

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Tiles.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/AttendInt8Kernels.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

#ifndef FENLO_ATTEND_INT8_CONSTANTS
#define FENLO_ATTEND_INT8_CONSTANTS
namespace fenlo::whisper::kernels {
constexpr float lowest = -1e8F;          // stands for minus infinity, and is an integer of 32 bits
constexpr float highest = 0x7FFFFF80p0F; // the largest that is an integer of 32 bits
/// Scores are powers of two in 256ths, as integers.
constexpr int scoreBits = 8;
constexpr float scoreUnit = 1.44269504F * (1 << scoreBits); // of a natural power
} // namespace fenlo::whisper::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

const hn::RebindToSigned<decltype(floats)> ints;
using Ints = hn::Vec<decltype(ints)>;

/// Values of 16 bits in pairs, for every processor: exact, since a pair's sum is one of 32 bits.
struct Pairs {
    using Unsigned = std::int16_t;
    using Signed = std::int16_t;
    static constexpr std::size_t perLane = 2;
    static HWY_INLINE Ints dot(Ints sum, Ints left, Ints right) {
#if HWY_TARGET == HWY_SCALAR
        const auto low = [](Ints pair) { return hn::ShiftRight<16>(hn::ShiftLeft<16>(pair)); };
        const auto high = [](Ints pair) { return hn::ShiftRight<16>(pair); };
        return hn::Add(sum, hn::Add(hn::Mul(low(left), low(right)), hn::Mul(high(left), high(right))));
#else
        const hn::Repartition<std::int16_t, decltype(floats)> shorts;
        Ints odd = hn::Zero(ints); // Highway adds the odd products here where the processor has no sum of pairs
        sum = hn::ReorderWidenMulAccumulate(ints, hn::BitCast(shorts, left), hn::BitCast(shorts, right), sum, odd);
        return hn::Add(sum, odd);
#endif
    }
};

#if HWY_TARGET == HWY_AVX3
/// Four 8-bit values at a time, where the processor has AVX512-VNNI. Highway has no such product, and its vectors for
/// such processors ask for more than many of them have; the assembler needs no leave.
struct Quads {
    using Unsigned = std::uint8_t;
    using Signed = std::int8_t;
    static constexpr std::size_t perLane = 4;
    static HWY_INLINE Ints dot(Ints sum, Ints left, Ints right) {
        __asm__("vpdpbusd %2, %1, %0" : "+v"(sum.raw) : "v"(left.raw), "v"(right.raw));
        return sum;
    }
};
/// The same values in the processor's tiles.
struct Tiles : Quads {};
#else
using Quads = Pairs;
using Tiles = Pairs;
#endif

/// The nearest integer, where Highway would take five instructions to make the largest one of what is larger.
HWY_INLINE Ints nearest(Floats value) {
#if HWY_TARGET == HWY_AVX3
    return Ints{_mm512_cvtps_epi32(hn::Min(value, hn::Set(floats, highest)).raw)};
#else
    return hn::NearestInt(value);
#endif
}

/// What a thread holds while it multiplies so.
template <class Product>
struct Holding {};
#if HWY_TARGET == HWY_AVX3
template <>
struct Holding<Tiles> {
    tiles::InUse use;
};
#endif

/// Rows whose sums are held at a time: two vectors each, besides three for the operands.
constexpr std::size_t rowsInRegisters = HWY_TARGET == HWY_AVX3 ? 8 : 4;

HWY_INLINE Ints lanesOf(const void* values) {
    std::int32_t lane;
    std::memcpy(&lane, values, sizeof lane);
    return hn::Set(ints, lane);
}

/// For each of `rowCount` rows of signed values: finish(row, sums, sums) with the products of the row and each of two
/// vectors of queries, over `steps` lanes. `work` has room for the sums.
template <class Product, class Finish>
HWY_INLINE void multiplyRows(Product /*unused*/, const typename Product::Signed* rows, std::size_t rowStride,
                             std::size_t rowCount, const std::int32_t* columns, std::size_t steps,
                             std::int32_t* /*work*/, const Finish& finish) {
    const std::size_t lanes = hn::Lanes(ints);
    for (std::size_t row = 0; row < rowCount; row += rowsInRegisters) {
        Ints sum0[rowsInRegisters];
        Ints sum1[rowsInRegisters];
#pragma GCC unroll 8
        for (std::size_t r = 0; r < rowsInRegisters; ++r)
            sum0[r] = sum1[r] = hn::Zero(ints);
        const typename Product::Signed* from = rows + row * rowStride;
        const std::int32_t* column = columns;
        for (std::size_t step = 0; step < steps; ++step, from += Product::perLane, column += 2 * lanes) {
            const Ints column0 = hn::Load(ints, column);
            const Ints column1 = hn::Load(ints, column + lanes);
#pragma GCC unroll 8
            for (std::size_t r = 0; r < rowsInRegisters; ++r) {
                const Ints lane = lanesOf(from + r * rowStride);
                sum0[r] = Product::dot(sum0[r], column0, lane);
                sum1[r] = Product::dot(sum1[r], column1, lane);
            }
        }
#pragma GCC unroll 8
        for (std::size_t r = 0; r < rowsInRegisters; ++r)
            finish(row + r, sum0[r], sum1[r]);
    }
}

#if HWY_TARGET == HWY_AVX3
template <class Finish>
HWY_INLINE void multiplyRows(Tiles /*unused*/, const std::int8_t* rows, std::size_t rowStride, std::size_t rowCount,
                             const std::int32_t* columns, std::size_t steps, std::int32_t* work, const Finish& finish) {
    const std::size_t lanes = hn::Lanes(ints);
    const std::size_t stride = 2 * lanes * sizeof *work;
    constexpr std::size_t together = 2 * tiles::rows;
    for (std::size_t row = 0; row < rowCount; row += together)
        tiles::multiply32x32({rows + row * rowStride, rowStride, columns, stride, steps * Tiles::perLane,
                              work + row * 2 * lanes, stride});
    for (std::size_t row = 0; row < rowCount; ++row, work += 2 * lanes)
        finish(row, hn::Load(ints, work), hn::Load(ints, work + lanes));
}
#endif

/// 2^-(down / 256) in 255ths, rounded, for down >= 0: a whole power of two, and a polynomial for the rest. It is the
/// one of its degree whose largest relative error is the least: 0.0018, less than half a 255th.
constexpr int shareAt0 = 32584; // the value, slope and curve of 128 * 255 * 2^-x, to 15 binary digits
constexpr int shareSlope = -21738;
constexpr int shareCurve = 5503;

#if HWY_TARGET == HWY_AVX3
/// In 16 bits, two vectors in one: four of the first by turns with four of the second.
HWY_INLINE hn::Vec<hn::Repartition<std::int16_t, decltype(floats)>> sharesOf(Ints down0, Ints down1) {
    const hn::Repartition<std::int16_t, decltype(floats)> shorts;
    const hn::RebindToUnsigned<decltype(shorts)> words;
    const auto down = hn::ReorderDemote2To(shorts, down0, down1); // what is too far down for 16 bits has no share
    const auto rest = hn::And(hn::ShiftLeft<15 - scoreBits>(down), hn::Set(shorts, 0x7FFF));
    const auto slope = hn::Add(hn::Set(shorts, shareSlope), hn::MulFixedPoint15(rest, hn::Set(shorts, shareCurve)));
    const auto share = hn::Add(hn::Set(shorts, shareAt0), hn::MulFixedPoint15(rest, slope));
    const auto whole = hn::ShiftRight<scoreBits>(hn::BitCast(words, down));
    const auto power = hn::BitCast(shorts, hn::Shr(hn::Set(words, 256), whole));
    return hn::MulFixedPoint15(share, power);
}

/// The shares of a lane's keys, from how far down from the largest their scores are.
HWY_INLINE Ints laneOfShares(Pairs /*unused*/, const Ints* down) {
    HWY_ALIGN static constexpr std::uint8_t byTurns[16] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
    const hn::Repartition<std::uint8_t, decltype(floats)> bytes;
    const auto shares = hn::BitCast(bytes, sharesOf(down[0], down[1]));
    return hn::BitCast(ints, hn::TableLookupBytes(shares, hn::LoadDup128(bytes, byTurns)));
}
HWY_INLINE Ints laneOfShares(Quads /*unused*/, const Ints* down) {
    HWY_ALIGN static constexpr std::uint8_t byTurns[16] = {0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};
    const hn::Repartition<std::uint8_t, decltype(floats)> bytes;
    const auto odd = hn::ShiftLeft<8>(sharesOf(down[2], down[3]));
    const auto shares = hn::BitCast(bytes, hn::Or(sharesOf(down[0], down[1]), odd));
    return hn::BitCast(ints, hn::TableLookupBytes(shares, hn::LoadDup128(bytes, byTurns)));
}
#else
/// The same in 32 bits.
HWY_INLINE Ints shareOf(Ints down) {
    const auto times = [](Ints a, Ints b) {
        return hn::ShiftRight<15>(hn::Add(hn::Mul(a, b), hn::Set(ints, 1 << 14)));
    };
    const Ints rest = hn::And(hn::ShiftLeft<15 - scoreBits>(down), hn::Set(ints, 0x7FFF));
    const Ints slope = hn::Add(hn::Set(ints, shareSlope), times(rest, hn::Set(ints, shareCurve)));
    const Ints share = hn::Add(hn::Set(ints, shareAt0), times(rest, slope));
    const Ints whole = hn::Min(hn::ShiftRight<scoreBits>(down), hn::Set(ints, 9));
    return times(share, hn::Shr(hn::Set(ints, 256), whole));
}

HWY_INLINE Ints laneOfShares(Pairs /*unused*/, const Ints* down) {
    return hn::Or(shareOf(down[0]), hn::ShiftLeft<16>(shareOf(down[1])));
}
#endif

/// 2^(x / 256) for x <= 0, off by at most 7.5e-5 of its value; 2^-40 for less than that. x / 256 = n + r with |r| <=
/// 1/2, and the polynomial is the one of its degree whose largest relative error is the least.
HWY_INLINE Floats powerOfTwo(Ints x) {
    const Floats least = hn::Set(floats, -40.0F);
    const Floats whole = hn::Max(hn::Mul(hn::ConvertTo(floats, x), hn::Set(floats, 1.0F / (1 << scoreBits))), least);
    const Ints n = hn::NearestInt(whole);
    const Floats r = hn::Sub(whole, hn::ConvertTo(floats, n));
    Floats poly = hn::Set(floats, 0.05517166909261008F);
    poly = hn::MulAdd(poly, r, hn::Set(floats, 0.24261112222375328F));
    poly = hn::MulAdd(poly, r, hn::Set(floats, 0.6932609854542462F));
    poly = hn::MulAdd(poly, r, hn::Set(floats, 0.9999280735351597F));
    return hn::BitCast(floats, hn::Add(hn::BitCast(ints, poly), hn::ShiftLeft<23>(n)));
}

/// What a group of queries has gathered so far, in work memory: two vectors of lanes each.
struct Gathered {
    std::int32_t* scores;  // [keyBlock or depth][queries]; the mixture's sums later on
    std::int32_t* share;   // [keyBlock / perLane][queries]
    std::int32_t* largest; // [queries]
    float* mixture;        // [depth][queries]
    float* total;          // [queries]

    Gathered(std::byte* work, std::size_t depth) {
        const std::size_t queries = 2 * hn::Lanes(floats);
        scores = reinterpret_cast<std::int32_t*>(work);
        share = scores + std::max(keyBlock, depth) * queries;
        largest = share + keyBlock / 2 * queries;
        mixture = reinterpret_cast<float*>(largest + queries);
        total = mixture + depth * queries;
        std::fill_n(mixture, depth * queries, 0.0F);
        std::fill_n(largest, queries, static_cast<std::int32_t>(lowest));
        std::fill_n(total, queries, 0.0F);
    }
};

/// The largest scores of a block, for two vectors of queries.
struct Largest {
    Ints first, second;
};

template <class Product>
HWY_INLINE Largest scoreBlock(const PackedHead& head, std::size_t group, std::size_t firstKey, std::size_t keys,
                              std::int32_t* scores) {
    const std::size_t lanes = hn::Lanes(floats);
    const std::size_t depth = head.depth;
    const std::size_t steps = depth / Product::perLane;
    const auto* columns = static_cast<const std::int32_t*>(head.queries) + group * steps * 2 * lanes;
    const float* factors = head.queryFactor + group * 2 * lanes;
    const Floats factor0 = hn::Load(floats, factors);
    const Floats factor1 = hn::Load(floats, factors + lanes);
    const Ints least = hn::Set(ints, static_cast<std::int32_t>(lowest));
    Largest found{least, least};
    const auto* rows = static_cast<const typename Product::Signed*>(head.keys) + firstKey * depth;
    multiplyRows(Product(), rows, depth, keys, columns, steps, scores, [&](std::size_t row, Ints sum0, Ints sum1) {
        const std::size_t key = firstKey + row;
        const Ints offset = hn::Set(ints, head.keyOffset[key]);
        const Floats scale = hn::Set(floats, head.keyScale[key]);
        const Floats bias = hn::Set(floats, head.keyBias[key]);
        const auto scoreOf = [&](Ints sum, Floats factor) {
            const Floats scaled = hn::Mul(hn::ConvertTo(floats, hn::Add(sum, offset)), scale);
            return nearest(hn::MulAdd(scaled, factor, bias));
        };
        const Ints score0 = scoreOf(sum0, factor0);
        const Ints score1 = scoreOf(sum1, factor1);
        hn::Store(score0, ints, scores + row * 2 * lanes);
        hn::Store(score1, ints, scores + row * 2 * lanes + lanes);
        found.first = hn::Max(found.first, score0);
        found.second = hn::Max(found.second, score1);
    });
    return found;
}

/// Shares of 0 to 255 in the lanes of a product, for one of the two vectors of queries; returns their sums.
template <class Product>
HWY_INLINE Ints shareBlock(const std::int32_t* scores, Ints largest, std::size_t keys, std::int32_t* share) {
    const std::size_t queries = 2 * hn::Lanes(ints);
    const Ints ones = hn::Set(ints, Product::perLane == 4 ? 0x01010101 : 0x00010001);
    Ints total = hn::Zero(ints);
    for (std::size_t key = 0; key < keys; key += Product::perLane, share += queries) {
        Ints down[Product::perLane];
#pragma GCC unroll 4
        for (std::size_t i = 0; i < Product::perLane; ++i)
            down[i] = hn::Sub(largest, hn::Load(ints, scores + (key + i) * queries));
        const Ints lane = laneOfShares(Product(), down);
        hn::Store(lane, ints, share);
        total = Product::dot(total, lane, ones);
    }
    return total;
}

/// What the queries have gathered is kept in part, and what the block brings is added in part.
struct Weights {
    Floats kept, added;
};

HWY_INLINE Weights join(std::int32_t* largest, float* total, Ints largestOfBlock, Ints totalOfBlock) {
    const Ints before = hn::Load(ints, largest);
    const Ints now = hn::Max(before, largestOfBlock);
    const Weights weights{powerOfTwo(hn::Sub(before, now)), powerOfTwo(hn::Sub(largestOfBlock, now))};
    hn::Store(now, ints, largest);
    const Floats added = hn::Mul(hn::ConvertTo(floats, totalOfBlock), weights.added);
    hn::Store(hn::MulAdd(hn::Load(floats, total), weights.kept, added), floats, total);
    return weights;
}

template <class Product>
HWY_INLINE void mixBlock(const PackedHead& head, std::size_t firstKey, std::size_t keys, const Gathered& gathered,
                         const Weights& first, const Weights& second) {
    const std::size_t lanes = hn::Lanes(floats);
    const auto* rows = static_cast<const typename Product::Signed*>(head.values) + firstKey;
    multiplyRows(Product(), rows, head.keyCount, head.depth, gathered.share, keys / Product::perLane, gathered.scores,
                 [&](std::size_t row, Ints sum0, Ints sum1) {
                     float* at = gathered.mixture + row * 2 * lanes;
                     const auto mix = [](float* to, Ints sum, const Weights& weights) {
                         const Floats added = hn::Mul(hn::ConvertTo(floats, sum), weights.added);
                         hn::Store(hn::MulAdd(hn::Load(floats, to), weights.kept, added), floats, to);
                     };
                     mix(at, sum0, first);
                     mix(at + lanes, sum1, second);
                 });
}

/// dst[row * stride + i] = src[i * columns + row]; squares of four where they fit.
void transpose(const float* src, std::size_t columns, std::size_t width, std::size_t rows, float* dst,
               std::size_t stride) {
    std::size_t row = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::CappedTag<float, 4> four;
    const hn::RepartitionToWide<decltype(hn::RebindToUnsigned<decltype(four)>())> pairs;
    const auto joined = [&](auto a, auto b, float* lower, float* upper) {
        const auto wideA = hn::BitCast(pairs, a);
        const auto wideB = hn::BitCast(pairs, b);
        hn::StoreU(hn::BitCast(four, hn::InterleaveLower(pairs, wideA, wideB)), four, lower);
        hn::StoreU(hn::BitCast(four, hn::InterleaveUpper(pairs, wideA, wideB)), four, upper);
    };
    for (; width >= 4 && row + 4 <= rows; row += 4)
        for (std::size_t i = 0; i < width; i += 4) {
            if (i + 4 > width)
                i = width - 4; // the last square overlaps the one before
            const float* from = src + i * columns + row;
            const auto a = hn::LoadU(four, from);
            const auto b = hn::LoadU(four, from + columns);
            const auto c = hn::LoadU(four, from + 2 * columns);
            const auto d = hn::LoadU(four, from + 3 * columns);
            float* to = dst + row * stride + i;
            joined(hn::InterleaveLower(four, a, b), hn::InterleaveLower(four, c, d), to, to + stride);
            joined(hn::InterleaveUpper(four, a, b), hn::InterleaveUpper(four, c, d), to + 2 * stride, to + 3 * stride);
        }
#endif
    for (; row < rows; ++row)
        for (std::size_t i = 0; i < width; ++i)
            dst[row * stride + i] = src[i * columns + row];
}

/// The mixture, divided by the shares' total and in its own units, row by row.
void writeRows(const PackedHead& head, std::size_t group, const Gathered& gathered, float* dst, std::size_t stride) {
    const std::size_t lanes = hn::Lanes(floats);
    const std::size_t queries = 2 * lanes;
    const Floats share0 = hn::Div(hn::Set(floats, 1.0F), hn::Load(floats, gathered.total));
    const Floats share1 = hn::Div(hn::Set(floats, 1.0F), hn::Load(floats, gathered.total + lanes));
    const auto width = static_cast<std::size_t>(head.width);
    for (std::size_t i = 0; i < width; ++i) {
        float* at = gathered.mixture + i * queries;
        const Floats scale = hn::Set(floats, head.valueScale[i]);
        const Floats mean = hn::Set(floats, head.valueMean[i]);
        hn::Store(hn::MulAdd(hn::Mul(hn::Load(floats, at), share0), scale, mean), floats, at);
        hn::Store(hn::MulAdd(hn::Mul(hn::Load(floats, at + lanes), share1), scale, mean), floats, at + lanes);
    }
    const std::size_t first = group * queries;
    const std::size_t count = std::min(queries, head.positions - first);
    transpose(gathered.mixture, queries, width, count, dst + first * stride, stride);
}

template <class Product>
void attend(const PackedHead& head, std::size_t group, float* dst, std::size_t stride, std::byte* work) {
    const std::size_t lanes = hn::Lanes(floats);
    const Gathered gathered(work, head.depth);
    [[maybe_unused]] const Holding<Product> holding;
    const std::size_t keyCount = head.keyCount;
    for (std::size_t key = 0; key < keyCount; key += keyBlock) {
        const std::size_t keys = std::min(keyBlock, keyCount - key);
        const Largest largest = scoreBlock<Product>(head, group, key, keys, gathered.scores);
        const Ints total0 = shareBlock<Product>(gathered.scores, largest.first, keys, gathered.share);
        const Ints total1 = shareBlock<Product>(gathered.scores + lanes, largest.second, keys, gathered.share + lanes);
        const Weights first = join(gathered.largest, gathered.total, largest.first, total0);
        const Weights second = join(gathered.largest + lanes, gathered.total + lanes, largest.second, total1);
        mixBlock<Product>(head, key, keys, gathered, first, second);
    }
    writeRows(head, group, gathered, dst, stride);
}

/// A vector of a row from `at` on, zeros behind its end.
HWY_INLINE Floats part(const float* row, std::size_t at, std::size_t width) {
    if (at + hn::Lanes(floats) <= width)
        return hn::LoadU(floats, row + at);
    HWY_ALIGN float rest[hn::MaxLanes(floats)] = {};
    for (std::size_t i = at; i < width; ++i)
        rest[i - at] = row[i];
    return hn::Load(floats, rest);
}

/// Eight rows ahead: the rows of one head lie too far apart for the processor to see that they follow each other.
HWY_INLINE void lookAhead(const float* row, std::size_t stride, std::size_t width) {
    constexpr std::size_t lineFloats = 16;
    for (std::size_t at = 0; at < width; at += lineFloats)
        hwy::Prefetch(row + 8 * stride + at);
}

/// The mean of each channel and the largest distance from it. Arrays are filled up to `padded`. Several vectors of a
/// row at a time, since rows lie far apart.
void rangeOfColumns(const float* src, std::size_t stride, std::size_t rows, std::size_t width, float* mean,
                    float* reach, std::size_t padded) {
    constexpr std::size_t together = 4;
    const std::size_t lanes = hn::Lanes(floats);
    const Floats share = hn::Set(floats, 1.0F / static_cast<float>(rows));
    for (std::size_t at = 0; at < width; at += together * lanes) {
        Floats sum[together];
        Floats low[together];
        Floats high[together];
#pragma GCC unroll 4
        for (std::size_t i = 0; i < together; ++i) {
            sum[i] = hn::Zero(floats);
            low[i] = high[i] = part(src, at + i * lanes, width);
        }
        for (std::size_t row = 0; row < rows; ++row) {
            lookAhead(src + row * stride + at, stride, std::min(together * lanes, width - at));
#pragma GCC unroll 4
            for (std::size_t i = 0; i < together; ++i) {
                const Floats v = part(src + row * stride, at + i * lanes, width);
                sum[i] = hn::Add(sum[i], v);
                low[i] = hn::Min(low[i], v);
                high[i] = hn::Max(high[i], v);
            }
        }
        for (std::size_t i = 0; i < together && at + i * lanes < padded; ++i) {
            const Floats middle = hn::Mul(sum[i], share);
            hn::Store(middle, floats, mean + at + i * lanes);
            hn::Store(hn::Max(hn::Sub(high[i], middle), hn::Sub(middle, low[i])), floats, reach + at + i * lanes);
        }
    }
}

/// 127 / widest, or 0 where that is no number.
float toInteger(float widest) {
    const float factor = widest > 0.0F ? 127.0F / widest : 0.0F;
    return std::isfinite(factor) ? factor : 0.0F;
}

/// dst = (row - mean) * factor; returns the largest magnitude.
HWY_INLINE float centre(const float* row, const float* mean, const float* factor, std::size_t width, float* dst) {
    Floats widest = hn::Zero(floats);
    for (std::size_t at = 0; at < width; at += hn::Lanes(floats)) {
        const Floats v =
            hn::Mul(hn::Sub(part(row, at, width), hn::Load(floats, mean + at)), hn::Load(floats, factor + at));
        hn::Store(v, floats, dst + at);
        widest = hn::Max(widest, hn::Abs(v));
    }
    return hn::GetLane(hn::MaxOfLanes(floats, widest));
}

/// dst = the nearest integers of row * factor, plus offset; returns the integers' sum without it.
template <class Value>
HWY_INLINE std::int32_t toIntegers(const float* row, Floats factor, int offset, std::size_t width, Value* dst) {
    const hn::Rebind<Value, decltype(floats)> narrow;
    Ints sums = hn::Zero(ints);
    for (std::size_t at = 0; at < width; at += hn::Lanes(floats)) {
        const Ints n = hn::NearestInt(hn::Mul(hn::Load(floats, row + at), factor));
        sums = hn::Add(sums, n);
        hn::StoreU(hn::DemoteTo(narrow, hn::Add(n, hn::Set(ints, offset))), narrow, dst + at);
    }
    return hn::GetLane(hn::SumOfLanes(ints, sums));
}

/// Rows of work memory, each filled up to whole vectors.
struct Work {
    float *mean, *balance, *keyMean, *keyBalance, *valueFactor, *row;
    std::byte* integers; // of a row
    std::size_t padded;

    Work(float* memory, std::size_t length)
        : mean(memory), balance(mean + length), keyMean(balance + length), keyBalance(keyMean + length),
          valueFactor(keyBalance + length), row(valueFactor + length),
          integers(reinterpret_cast<std::byte*>(row + length)), padded(length) {}
};

/// What a score is made of is a product of each channel of query and key; a channel that is wide in one and narrow in
/// the other is made equally wide in both, so that it takes as little as can be from the others' precision.
void balanceChannels(const HeadRows& rows, const Work& work) {
    const auto width = static_cast<std::size_t>(rows.width);
    rangeOfColumns(rows.query, rows.stride, rows.positions, width, work.mean, work.balance, work.padded);
    rangeOfColumns(rows.key, rows.stride, rows.positions, width, work.keyMean, work.keyBalance, work.padded);
    for (std::size_t i = 0; i < width; ++i) {
        const float ratio = std::sqrt(work.keyBalance[i]) / std::sqrt(work.balance[i]);
        const bool isUsable = ratio > 1e-12F && ratio < 1e12F;
        work.balance[i] = isUsable ? ratio : 1.0F;
        work.keyBalance[i] = isUsable ? 1.0F / ratio : 1.0F;
    }
}

template <class Product>
void packQueries(const HeadRows& rows, const PackedHead& packed, const Work& work) {
    using Value = typename Product::Unsigned;
    const std::size_t queries = 2 * hn::Lanes(floats);
    const std::size_t steps = packed.depth / Product::perLane;
    const auto positions = static_cast<std::size_t>(rows.positions);
    auto* const integers = reinterpret_cast<Value*>(work.integers);
    auto* const dst = static_cast<std::int32_t*>(packed.queries);
    for (std::size_t row = 0; row < (positions + queries - 1) / queries * queries; ++row) {
        float widest = 0.0F;
        if (row < positions) {
            lookAhead(rows.query + row * rows.stride, rows.stride, rows.width);
            widest = centre(rows.query + row * rows.stride, work.mean, work.balance, rows.width, work.row);
            toIntegers(work.row, hn::Set(floats, toInteger(widest)), 128, rows.width, integers);
        }
        packed.queryFactor[row] = widest / 127.0F * scoreUnit;
        std::int32_t* to = dst + row / queries * steps * queries + row % queries;
        for (std::size_t step = 0; step < steps; ++step)
            std::memcpy(to + step * queries, integers + step * Product::perLane, sizeof *to);
    }
}

template <class Product>
void packKeys(const HeadRows& rows, const PackedHead& packed, const Work& work) {
    using Value = typename Product::Signed;
    const auto width = static_cast<std::size_t>(rows.width);
    const std::size_t depth = packed.depth;
    auto* const dst = static_cast<Value*>(packed.keys);
    auto* const integers = reinterpret_cast<Value*>(work.integers);
    for (std::size_t row = 0; row < static_cast<std::size_t>(packed.keyCount); ++row) {
        std::fill_n(dst + row * depth, depth, Value{0});
        packed.keyScale[row] = 0.0F;
        packed.keyOffset[row] = 0;
        packed.keyBias[row] = lowest;
        if (row >= static_cast<std::size_t>(rows.positions))
            continue;
        const float* key = rows.key + row * rows.stride;
        lookAhead(key, rows.stride, width);
        Sums bias; // the queries' mean times the key: a constant of the key's column
        for (std::size_t at = 0; at < width; at += hn::Lanes(floats)) {
            Floats& sum = bias.part[at % sumLanes / hn::Lanes(floats)];
            sum = hn::MulAdd(hn::Sub(part(key, at, width), hn::Load(floats, work.keyMean + at)),
                             hn::Load(floats, work.mean + at), sum);
        }
        packed.keyBias[row] = total(bias) * scoreUnit;
        const float widest = centre(key, work.keyMean, work.keyBalance, width, work.row);
        packed.keyOffset[row] = -128 * toIntegers(work.row, hn::Set(floats, toInteger(widest)), 0, width, integers);
        packed.keyScale[row] = widest / 127.0F;
        std::copy_n(integers, width, dst + row * depth);
    }
}

template <class Product>
void packValues(const HeadRows& rows, const PackedHead& packed, const Work& work) {
    constexpr std::size_t perLane = Product::perLane;
    constexpr int bits = 32 / perLane;
    const auto width = static_cast<std::size_t>(rows.width);
    const auto keyCount = static_cast<std::size_t>(packed.keyCount);
    rangeOfColumns(rows.value, rows.stride, rows.positions, width, work.mean, work.valueFactor, work.padded);
    for (std::size_t i = 0; i < width; ++i) {
        packed.valueMean[i] = work.mean[i];
        packed.valueScale[i] = work.valueFactor[i] / 127.0F;
        work.valueFactor[i] = toInteger(work.valueFactor[i]);
    }
    auto* const dst = static_cast<typename Product::Signed*>(packed.values);
    auto* const lanes = reinterpret_cast<std::int32_t*>(work.integers); // those of a few rows in one
    std::fill_n(dst, packed.depth * keyCount, 0);
    const Ints mask = hn::Set(ints, (1 << bits) - 1);
    for (std::size_t row = 0; row < static_cast<std::size_t>(rows.positions); row += perLane) {
        const std::size_t count = std::min(perLane, rows.positions - row);
        for (std::size_t r = 0; r < count; ++r)
            lookAhead(rows.value + (row + r) * rows.stride, rows.stride, width);
        for (std::size_t at = 0; at < width; at += hn::Lanes(floats)) {
            const Floats mean = hn::Load(floats, work.mean + at);
            const Floats factor = hn::Load(floats, work.valueFactor + at);
            Ints lane = hn::Zero(ints);
            for (std::size_t r = count; r-- > 0;) {
                const Floats v = part(rows.value + (row + r) * rows.stride, at, width);
                const Ints n = hn::NearestInt(hn::Mul(hn::Sub(v, mean), factor));
                lane = hn::Or(hn::ShiftLeft<bits>(lane), hn::And(n, mask));
            }
            hn::Store(lane, ints, lanes + at);
        }
        for (std::size_t i = 0; i < width; ++i)
            std::memcpy(dst + i * keyCount + row, lanes + i, sizeof *lanes);
    }
}

template <class Product>
void pack(const HeadRows& rows, const PackedHead& packed, float* memory) {
    const std::size_t floatsOfWork = packWork(rows.width);
    std::fill_n(memory, floatsOfWork, 0.0F);
    const Work work(memory, floatsOfWork / 16);
    balanceChannels(rows, work);
    packQueries<Product>(rows, packed, work);
    packKeys<Product>(rows, packed, work);
    packValues<Product>(rows, packed, work);
}

void packPairs(const HeadRows& rows, const PackedHead& packed, float* work) {
    pack<Pairs>(rows, packed, work);
}
void packQuads(const HeadRows& rows, const PackedHead& packed, float* work) {
    pack<Quads>(rows, packed, work);
}
void attendPairs(const PackedHead& head, std::size_t group, float* dst, std::size_t stride, std::byte* work) {
    attend<Pairs>(head, group, dst, stride, work);
}
void attendQuads(const PackedHead& head, std::size_t group, float* dst, std::size_t stride, std::byte* work) {
    attend<Quads>(head, group, dst, stride, work);
}
void attendTiles(const PackedHead& head, std::size_t group, float* dst, std::size_t stride, std::byte* work) {
    attend<Tiles>(head, group, dst, stride, work);
}
int queriesOfGroup() {
    return static_cast<int>(2 * hn::Lanes(floats));
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {

HWY_EXPORT(attendPairs);
HWY_EXPORT(attendQuads);
HWY_EXPORT(attendTiles);
HWY_EXPORT(packPairs);
HWY_EXPORT(packQuads);
HWY_EXPORT(queriesOfGroup);

bool hasQuads() {
    return allowedInstructionSet() >= InstructionSet::avx512vnni;
}

bool hasTiles() {
    return allowedInstructionSet() >= InstructionSet::amx;
}

std::size_t roundedUp(std::size_t count, std::size_t step) {
    return (count + step - 1) / step * step;
}

} // namespace

PackedLayout packedLayout() {
    const int perLane = hasQuads() ? 4 : 2;
    return {HWY_DYNAMIC_DISPATCH(queriesOfGroup)(), perLane, 4 / perLane, hasTiles() ? tiles::rowBytes : 8};
}

PackedSize::PackedSize(const PackedLayout& layout, int positionCount, int headWidth)
    : positions(positionCount), width(headWidth), keyCount(static_cast<int>(roundedUp(positionCount, layout.step))),
      depth(static_cast<int>(roundedUp(headWidth, layout.step))),
      groups((positionCount + layout.queries - 1) / layout.queries) {
    const std::size_t padded = static_cast<std::size_t>(groups) * layout.queries;
    const std::size_t keys = keyCount, channels = depth, element = layout.elementBytes;
    const std::size_t sizes[] = {padded * channels * element,
                                 keys * channels * element,
                                 channels * keys * element,
                                 padded * 4,
                                 keys * 4,
                                 keys * 4,
                                 keys * 4,
                                 channels * 4,
                                 channels * 4};
    for (std::size_t i = 0; i < std::size(sizes); ++i) {
        m_at[i] = bytes;
        bytes += roundedUp(sizes[i], 64);
    }
}

PackedHead PackedSize::place(std::byte* memory) const {
    const auto at = [&](std::size_t i) { return static_cast<void*>(memory + m_at[i]); };
    const auto numbers = [&](std::size_t i) { return static_cast<float*>(at(i)); };
    return {positions,
            width,
            keyCount,
            depth,
            at(0),
            at(1),
            at(2),
            numbers(3),
            numbers(4),
            numbers(5),
            static_cast<std::int32_t*>(at(6)),
            numbers(7),
            numbers(8)};
}

std::size_t packWork(int width) {
    return 16 * roundedUp(width, 16);
}

void packHead(const HeadRows& rows, const PackedHead& packed, float* work) {
    if (hasQuads())
        HWY_DYNAMIC_DISPATCH(packQuads)(rows, packed, work);
    else
        HWY_DYNAMIC_DISPATCH(packPairs)(rows, packed, work);
}

std::size_t attendWork(const PackedLayout& layout, int width) {
    const std::size_t depth = roundedUp(width, layout.step);
    return (std::max(keyBlock, depth) + keyBlock / 2 + depth + 2) * layout.queries * sizeof(float);
}

void attendGroup(const PackedHead& head, int group, float* dst, std::size_t stride, std::byte* work) {
    if (hasTiles())
        HWY_DYNAMIC_DISPATCH(attendTiles)(head, static_cast<std::size_t>(group), dst, stride, work);
    else if (hasQuads())
        HWY_DYNAMIC_DISPATCH(attendQuads)(head, static_cast<std::size_t>(group), dst, stride, work);
    else
        HWY_DYNAMIC_DISPATCH(attendPairs)(head, static_cast<std::size_t>(group), dst, stride, work);
}

} // namespace fenlo::whisper::kernels
#endif
