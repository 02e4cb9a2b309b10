// One head's rows packed for attention in products of 8-bit values. This file is compiled once for each instruction
// set.

#include "WhisperEngine/runtime/AttendInt8Kernels.h"

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Tiles.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/AttendInt8Pack.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/AttendInt8Products-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

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
        packed.keyBias[row] = lowestScore;
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
int queriesOfGroup() {
    return static_cast<int>(2 * hn::Lanes(floats));
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {

HWY_EXPORT(packPairs);
HWY_EXPORT(packQuads);
HWY_EXPORT(queriesOfGroup);

} // namespace

AttendProduct attendProduct() {
    const InstructionSet step = allowedInstructionSet();
    if (step >= InstructionSet::amx)
        return AttendProduct::tiles;
    return step == InstructionSet::avx2vnni || step >= InstructionSet::avx512vnni ? AttendProduct::quads
                                                                                  : AttendProduct::pairs;
}

PackedLayout packedLayout() {
    const AttendProduct product = attendProduct();
    const int perLane = product == AttendProduct::pairs ? 2 : 4;
    return {HWY_DYNAMIC_DISPATCH(queriesOfGroup)(), perLane, 4 / perLane,
            product == AttendProduct::tiles ? tiles::rowBytes : 8};
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
    if (attendProduct() == AttendProduct::pairs)
        HWY_DYNAMIC_DISPATCH(packPairs)(rows, packed, work);
    else
        HWY_DYNAMIC_DISPATCH(packQuads)(rows, packed, work);
}

} // namespace fenlo::whisper::kernels
#endif
