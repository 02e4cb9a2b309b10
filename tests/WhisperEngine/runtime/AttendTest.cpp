// Attention of a window to itself, in floats and in 8 bits, against the plain forms and each other.

#include "WhisperEngine/runtime/AttendInt8Kernels.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include "RandomValues.h"

#include <gtest/gtest.h>

#include <cmath>

#include <vector>

using namespace fenlo::whisper;

namespace {

struct AttentionSize {
    int positions, heads, width;
    int stride() const { return heads * width; }
};

struct AttentionRows {
    std::vector<float> q, k, v;
};

AttentionRows randomRows(AttentionSize size, float spread) {
    const std::size_t count = static_cast<std::size_t>(size.positions) * size.stride();
    return {randomFloats(count, 31, spread / std::sqrt(static_cast<float>(size.width))), randomFloats(count, 32),
            randomFloats(count, 33)};
}

using AttendFunction = decltype(attendAll);

std::vector<float> attended(AttendFunction& attend, const AttentionRows& rows, AttentionSize size, int threads = 2) {
    ThreadPool pool(threads);
    std::vector<float> dst(rows.q.size());
    attend(rows.q.data(), rows.k.data(), rows.v.data(), dst.data(), size.positions, size.heads, size.width, pool);
    return dst;
}

template <class Head>
std::vector<float> plainlyAttended(const AttentionRows& rows, AttentionSize size, const Head& head) {
    std::vector<float> dst(rows.q.size());
    const auto stride = static_cast<std::size_t>(size.stride());
    for (std::size_t at = 0; at < stride; at += size.width)
        head(kernels::HeadRows{rows.q.data() + at, rows.k.data() + at, rows.v.data() + at, stride, size.positions,
                               size.width},
             dst.data() + at);
    return dst;
}

void attendFloats(const kernels::HeadRows& rows, float* dst) {
    std::vector<float> scores(rows.positions);
    for (int p = 0; p < rows.positions; ++p)
        kernels::reference::attendOne(rows.query + p * rows.stride, rows.key, rows.value, rows.stride, nullptr,
                                      scores.data(), dst + p * rows.stride, rows.positions, rows.width);
}

double correlationOf(const std::vector<float>& a, const std::vector<float>& b) {
    double ab = 0.0;
    double aa = 0.0;
    double bb = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ab += static_cast<double>(a[i]) * b[i];
        aa += static_cast<double>(a[i]) * a[i];
        bb += static_cast<double>(b[i]) * b[i];
    }
    return ab / std::sqrt(aa * bb);
}

constexpr AttentionSize attentionSizes[] = {{1, 1, 1}, {7, 2, 5}, {33, 1, 24}, {97, 2, 64}, {140, 1, 70}, {300, 3, 64}};

} // namespace

TEST(Attention, IsThePlainForm) {
    for (const AttentionSize size : attentionSizes) {
        const AttentionRows rows = randomRows(size, 2.0F);
        expectNear(attended(attendAll, rows, size), plainlyAttended(rows, size, attendFloats), 1e-5F);
    }
}

// Values, scores and shares may be rounded to their other neighbour, since floats are not the same to the last digit. A
// query's or key's moves a score by a 127th of their product.
TEST(Attention, Int8_IsThePlainForm) {
    for (const AttentionSize size : attentionSizes)
        for (const float spread : {0.0F, 0.5F, 2.0F, 8.0F}) {
            const AttentionRows rows = randomRows(size, spread);
            expectNear(attended(attendAllInt8, rows, size), plainlyAttended(rows, size, kernels::reference::attendInt8),
                       0.003F + 0.005F * spread);
        }
}

// Channels a hundred times as wide as the others, as published models have them, in queries, keys and values, constant
// or not. Constant ones of the values are taken off before the comparison, which they would be alone in.
TEST(Attention, Int8_FollowsTheFloats_WhateverTheirRange) {
    const AttentionSize size{400, 2, 64};
    const auto change = [&](std::vector<float> values, float factor, float summand) {
        for (std::size_t i = 0; i < values.size(); ++i)
            if (i % size.width == 5 || i % size.width == 41)
                values[i] = values[i] * factor + summand;
        return values;
    };
    const auto follows = [&](const AttentionRows& rows, float inValues, const char* what) {
        const auto floats = change(attended(attendAll, rows, size), 1.0F, -inValues);
        const auto bytes = change(attended(attendAllInt8, rows, size), 1.0F, -inValues);
        EXPECT_GT(correlationOf(floats, bytes), 0.9995) << what;
    };
    for (const float spread : {0.5F, 2.0F, 4.0F}) {
        const AttentionRows rows = randomRows(size, spread);
        follows(rows, 0.0F, "like ranges");
        AttentionRows changed{change(rows.q, 1.0F, 100.0F), change(rows.k, 1.0F, -100.0F),
                              change(rows.v, 1.0F, 100.0F)};
        follows(changed, 100.0F, "wide constant channels");
        changed = {change(rows.q, 0.01F, 0.0F), change(rows.k, 100.0F, 0.0F), change(rows.v, 100.0F, 0.0F)};
        follows(changed, 0.0F, "wide keys and values");
        changed = {change(rows.q, 100.0F, 0.0F), change(rows.k, 0.01F, 0.0F), rows.v};
        follows(changed, 0.0F, "wide queries");
    }
}

TEST(Attention, GivesTheSameBits_WhateverTheThreads) {
    const AttentionSize size{300, 3, 64};
    const AttentionRows rows = randomRows(size, 2.0F);
    for (AttendFunction* attend : {&attendAll, &attendAllInt8})
        EXPECT_EQ(attended(*attend, rows, size, 1), attended(*attend, rows, size, 5));
}
