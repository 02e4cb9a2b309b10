// Attention in products of 8-bit values. This file is compiled once for each instruction set.
//
// Queries lie across the lanes and keys one behind the other, so that the largest score, the sum and the scales of a
// query are lanes as well and nothing is ever added up across a vector.

#include "WhisperEngine/runtime/AttendInt8Kernels.h"

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Tiles.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/AttendInt8Kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/AttendInt8Products-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_AVX3
constexpr float highest = 0x7FFFFF80p0F; // the largest that is an integer of 32 bits
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

#if HWY_TARGET != HWY_SCALAR
const hn::Repartition<std::int16_t, decltype(floats)> shorts;
const hn::RebindToUnsigned<decltype(shorts)> words;
using Shorts = hn::Vec<decltype(shorts)>;
using Words = hn::Vec<decltype(words)>;

/// 256 / 2^whole, of up to 127.
HWY_INLINE Shorts powerOf(Words whole) {
#if HWY_TARGET == HWY_AVX3
    return hn::BitCast(shorts, hn::Shr(hn::Set(words, 256), whole));
#else
    // Narrower ones shift 16-bit lanes by one distance only. A table has the lower byte; the upper one is 1 where none
    // is whole.
    HWY_ALIGN static constexpr std::uint8_t powers[16] = {0, 128, 64, 32, 16, 8, 4, 2, 1};
    const hn::Repartition<std::uint8_t, decltype(floats)> bytes;
    const auto index = hn::Or(hn::Min(whole, hn::Set(words, 15)), hn::Set(words, 0x8000)); // 0x80 gives a zero
    const auto lower = hn::TableLookupBytesOr0(hn::LoadDup128(bytes, powers), hn::BitCast(bytes, index));
    const auto upper = hn::IfThenElseZero(hn::Eq(whole, hn::Zero(words)), hn::Set(words, 256));
    return hn::BitCast(shorts, hn::Or(hn::BitCast(words, lower), upper));
#endif
}

/// In 16 bits, two vectors in one: four of the first by turns with four of the second.
HWY_INLINE Shorts sharesOf(Ints down0, Ints down1) {
    const auto down = hn::ReorderDemote2To(shorts, down0, down1); // what is too far down for 16 bits has no share
    const auto rest = hn::And(hn::ShiftLeft<15 - scoreBits>(down), hn::Set(shorts, 0x7FFF));
    const auto slope = hn::Add(hn::Set(shorts, shareSlope), hn::MulFixedPoint15(rest, hn::Set(shorts, shareCurve)));
    const auto share = hn::Add(hn::Set(shorts, shareAt0), hn::MulFixedPoint15(rest, slope));
    return hn::MulFixedPoint15(share, powerOf(hn::ShiftRight<scoreBits>(hn::BitCast(words, down))));
}

/// The shares of a lane's keys, from how far down from the largest their scores are.
HWY_INLINE Ints laneOfShares(Pairs /*unused*/, const Ints* down) {
    HWY_ALIGN static constexpr std::uint8_t byTurns[16] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
    const hn::Repartition<std::uint8_t, decltype(floats)> bytes;
    const auto shares = hn::BitCast(bytes, sharesOf(down[0], down[1]));
    return hn::BitCast(ints, hn::TableLookupBytes(shares, hn::LoadDup128(bytes, byTurns)));
}
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX2
HWY_INLINE Ints laneOfShares(Quads /*unused*/, const Ints* down) {
    HWY_ALIGN static constexpr std::uint8_t byTurns[16] = {0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};
    const hn::Repartition<std::uint8_t, decltype(floats)> bytes;
    const auto odd = hn::ShiftLeft<8>(sharesOf(down[2], down[3]));
    const auto shares = hn::BitCast(bytes, hn::Or(sharesOf(down[0], down[1]), odd));
    return hn::BitCast(ints, hn::TableLookupBytes(shares, hn::LoadDup128(bytes, byTurns)));
}
#endif
#else
/// The same, one by one.
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
        std::fill_n(largest, queries, static_cast<std::int32_t>(lowestScore));
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
    const Ints least = hn::Set(ints, static_cast<std::int32_t>(lowestScore));
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

void attendPairs(const PackedHead& head, std::size_t group, float* dst, std::size_t stride, std::byte* work) {
    attend<Pairs>(head, group, dst, stride, work);
}
void attendQuads(const PackedHead& head, std::size_t group, float* dst, std::size_t stride, std::byte* work) {
    attend<Quads>(head, group, dst, stride, work);
}
void attendTiles(const PackedHead& head, std::size_t group, float* dst, std::size_t stride, std::byte* work) {
    attend<Tiles>(head, group, dst, stride, work);
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

} // namespace

std::size_t attendWork(const PackedLayout& layout, int width) {
    const std::size_t depth = roundedUp(width, layout.step);
    return (std::max(keyBlock, depth) + keyBlock / 2 + depth + 2) * layout.queries * sizeof(float);
}

void attendGroup(const PackedHead& head, int group, float* dst, std::size_t stride, std::byte* work) {
    const auto index = static_cast<std::size_t>(group);
    switch (attendProduct()) {
    case AttendProduct::pairs:
        return HWY_DYNAMIC_DISPATCH(attendPairs)(head, index, dst, stride, work);
    case AttendProduct::quads:
        return HWY_DYNAMIC_DISPATCH(attendQuads)(head, index, dst, stride, work);
    case AttendProduct::tiles:
        return HWY_DYNAMIC_DISPATCH(attendTiles)(head, index, dst, stride, work);
    }
}

} // namespace fenlo::whisper::kernels
#endif
