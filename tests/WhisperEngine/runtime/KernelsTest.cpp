// The fast kernels against the plain ones. ctest runs this program once for each instruction set.

#include "WhisperEngine/runtime/Kernels.h"

#include "RandomValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string_view>
#include <tuple>

using namespace fenlo::whisper;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float epsilon = std::numeric_limits<float>::epsilon();

/// Lengths around the vectors of all instruction sets (4 to 32 values), and starts off their alignment.
struct Row {
    int count;
    int start;
};

std::vector<Row> rows() {
    std::vector<Row> all;
    for (const int lanes : {4, 8, 16, 32, 64})
        for (const int count : {1, 3, lanes / 2, lanes, lanes + 1, 4 * lanes / 3, 8 * lanes + 2})
            for (const int start : {0, 1, 3})
                all.push_back({count, start});
    return all;
}

/// What a fast kernel may write: `count` values from `start`, and nothing around them.
template <class T>
class Target {
public:
    Target(Row row, T fill) : m_row(row), m_fill(fill), m_values(row.count + row.start + 64, fill) {}
    T* data() { return m_values.data() + m_row.start; }
    bool keepsToItsPlace() const {
        const auto untouched = [this](T value) { return value == m_fill; };
        return std::all_of(m_values.begin(), m_values.begin() + m_row.start, untouched) &&
               std::all_of(m_values.begin() + m_row.start + m_row.count, m_values.end(), untouched);
    }

private:
    Row m_row;
    T m_fill;
    std::vector<T> m_values;
};

template <class Kernel>
void compareInPlace(const Kernel& fast, const Kernel& plain, float spread, float tolerance) {
    for (const Row row : rows()) {
        const auto values = randomFloats(row.count, row.count, spread);
        auto expected = values;
        plain(expected.data(), row.count);
        Target<float> actual(row, 77.0F);
        std::copy(values.begin(), values.end(), actual.data());
        fast(actual.data(), row.count);
        for (int i = 0; i < row.count; ++i)
            ASSERT_NEAR(actual.data()[i], expected[i], tolerance * std::max(1.0F, std::fabs(values[i])))
                << "of " << values[i] << " at " << i << " of " << row.count;
        EXPECT_TRUE(actual.keepsToItsPlace()) << row.count;
    }
}

using InPlace = void (*)(float*, int);

} // namespace

TEST(Kernels, SoftmaxAndGelu_AreThePlainForms) {
    compareInPlace<InPlace>(kernels::softmax, kernels::reference::softmax, 5.0F, 2 * epsilon);
    compareInPlace<InPlace>(kernels::gelu, kernels::reference::gelu, 3.0F, 3e-7F);
    compareInPlace<InPlace>(kernels::gelu, kernels::reference::gelu, 1e3F, 3e-7F);
}

TEST(Kernels, Softmax_BearsLargeAndMaskedValues) {
    std::vector<float> values(37, -infinity);
    values[5] = 3e38F;
    values[36] = 3e38F;
    kernels::softmax(values.data(), 37);
    EXPECT_EQ(values[5], 0.5F);
    EXPECT_EQ(values[36], 0.5F);
    EXPECT_EQ(values[35], 0.0F);
}

TEST(Kernels, LayerNorm_IsThePlainForm) {
    for (const Row row : rows()) {
        auto src = randomFloats(row.count + row.start, 1);
        for (float& value : src)
            value += 10.0F; // a large mean, which a careless variance loses its digits to
        const auto gain = randomFloats(row.count, 2);
        const auto shift = randomFloats(row.count, 3);
        std::vector<float> expected(row.count);
        kernels::reference::layerNorm(src.data() + row.start, gain.data(), shift.data(), expected.data(), row.count);
        Target<float> actual(row, 77.0F);
        kernels::layerNorm(src.data() + row.start, gain.data(), shift.data(), actual.data(), row.count);
        for (int i = 0; i < row.count; ++i)
            ASSERT_NEAR(actual.data()[i], expected[i], 1e-4F) << i << " of " << row.count;
        EXPECT_TRUE(actual.keepsToItsPlace()) << row.count;
    }
}

TEST(Kernels, AddAndQuantize_AreThePlainFormsToTheBit) {
    for (const Row row : rows()) {
        const auto src = randomFloats(row.count, 4);
        std::vector<float> sum(row.count, 0.25F);
        kernels::reference::add(sum.data(), src.data(), row.count);
        Target<float> added(row, 0.25F);
        kernels::add(added.data(), src.data(), row.count);
        EXPECT_TRUE(std::equal(sum.begin(), sum.end(), added.data()));
        EXPECT_TRUE(added.keepsToItsPlace());

        std::vector<std::int8_t> expected(row.count);
        const float scale = kernels::reference::quantize(src.data(), expected.data(), row.count);
        Target<std::int8_t> actual(row, 99);
        EXPECT_EQ(kernels::quantize(src.data(), actual.data(), row.count), scale);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), actual.data())) << row.count;
        EXPECT_TRUE(actual.keepsToItsPlace()) << row.count;
        EXPECT_EQ(std::abs(*std::max_element(expected.begin(), expected.end(),
                                             [](int a, int b) { return std::abs(a) < std::abs(b); })),
                  127);
    }
    const std::vector<float> zeros(19);
    std::vector<std::int8_t> quantized(19, 1);
    EXPECT_EQ(kernels::quantize(zeros.data(), quantized.data(), 19), 0.0F);
    EXPECT_EQ(quantized, std::vector<std::int8_t>(19, 0));
}

namespace {

/// Channels by their number, and how many times as wide as the others they are.
using Widths = std::vector<std::pair<int, float>>;

std::vector<float> rowWith(const Widths& wide, int count, unsigned seed) {
    auto row = randomFloats(count, seed);
    for (const auto& [channel, times] : wide)
        row[channel] = times * (row[channel] < 0 ? -2.0F : 2.0F);
    return row;
}

std::vector<int> channelsOf(const kernels::WideChannels& wide) {
    std::vector<int> found(wide.channels, wide.channels + wide.count);
    std::ranges::sort(found);
    return found;
}

} // namespace

TEST(Kernels, Quantize_TakesWideChannelsOut_AndLeavesTheOthersTheirDigits) {
    const std::vector<int> none;
    const std::tuple<int, Widths, std::vector<int>> cases[] = {
        {768, {}, none},
        {768, {{3, 100.0F}}, {3}},
        {768, {{0, 100.0F}, {5, 1e4F}, {767, 20.0F}}, {0, 5, 767}}, // each hides the next
        {384,
         {{1, 50.0F}, {2, 60.0F}, {3, 70.0F}, {4, 80.0F}, {5, 90.0F}, {6, 99.0F}, {7, 99.0F}, {8, 99.0F}},
         {1, 2, 3, 4, 5, 6, 7, 8}},
        {96, {{1, 100.0F}, {2, 100.0F}, {3, 100.0F}}, none}, // not few of so short a row
        {40, {{1, 100.0F}}, none},
    };
    for (const auto& [count, widths, expected] : cases)
        for (unsigned seed = 0; seed < 20; ++seed) {
            const auto row = rowWith(widths, count, seed);
            std::vector<std::int8_t> fast(count), plain(count);
            kernels::WideChannels wide, plainWide;
            const float scale = kernels::quantize(row.data(), fast.data(), count, wide);
            EXPECT_EQ(kernels::reference::quantize(row.data(), plain.data(), count, plainWide), scale);
            EXPECT_EQ(fast, plain);
            EXPECT_TRUE(std::equal(wide.values, wide.values + wide.count, plainWide.values,
                                   plainWide.values + plainWide.count));
            EXPECT_EQ(channelsOf(wide), channelsOf(plainWide));
            ASSERT_EQ(channelsOf(wide), expected) << count << " with seed " << seed;
            std::vector<float> whole(count);
            for (int i = 0; i < count; ++i)
                whole[i] = scale * static_cast<float>(fast[i]);
            for (int i = 0; i < wide.count; ++i) {
                EXPECT_EQ(whole[wide.channels[i]], 0.0F);
                whole[wide.channels[i]] = wide.values[i];
            }
            expectNear(whole, row, 0.51F * scale);
            if (!expected.empty()) {
                EXPECT_LT(scale, 6.0F / 127.0F);
            }
        }
}

// Rows in which every channel takes more than half of what is left, and rows of no numbers, come to an end.
TEST(Kernels, Quantize_EndsWithAnyRow) {
    std::vector<float> row(768);
    for (std::size_t i = 0; i < row.size(); ++i)
        row[i] = std::ldexp(1.0F, 100 - static_cast<int>(i) % 200);
    std::vector<std::int8_t> fast(row.size()), plain(row.size());
    kernels::WideChannels wide, plainWide;
    EXPECT_EQ(kernels::quantize(row.data(), fast.data(), 768, wide),
              kernels::reference::quantize(row.data(), plain.data(), 768, plainWide));
    EXPECT_EQ(fast, plain);
    EXPECT_EQ(wide.count, kernels::WideChannels::most);
    for (const float value : {0.0F, infinity, NAN}) {
        row.assign(row.size(), value);
        kernels::quantize(row.data(), fast.data(), 768, wide);
        EXPECT_LE(wide.count, kernels::WideChannels::most);
    }
}

TEST(Kernels, LargestAndLogSumExp_AreThePlainForms) {
    for (const Row row : rows()) {
        auto values = randomFloats(row.count + row.start, 6, 8.0F);
        values[row.start + row.count / 2] += 500.0F; // would overflow without the maximum
        const float* at = values.data() + row.start;
        const float most = kernels::largest(at, row.count);
        EXPECT_EQ(most, kernels::reference::largest(at, row.count));
        const float expected = kernels::reference::logSumExp(at, row.count, most);
        EXPECT_NEAR(kernels::logSumExp(at, row.count, most), expected, 4 * epsilon * std::fabs(expected));
        values[row.start] = NAN;
        EXPECT_EQ(kernels::largest(at, row.count), kernels::reference::largest(at, row.count)) << row.count;
        EXPECT_TRUE(std::isnan(kernels::logSumExp(at, row.count, most))) << row.count;
    }
    const auto vocabulary = randomFloats(51865, 7, 4.0F);
    const float most = kernels::largest(vocabulary.data(), 51865);
    EXPECT_NEAR(kernels::logSumExp(vocabulary.data(), 51865, most),
                kernels::reference::logSumExp(vocabulary.data(), 51865, most), 1e-5F);
    const std::vector<float> nothing(9, -infinity);
    EXPECT_EQ(kernels::largest(nothing.data(), 9), -infinity);
    EXPECT_EQ(kernels::largest(nothing.data(), 0), -infinity);
    EXPECT_EQ(kernels::logSumExp(nothing.data(), 9, -infinity), -infinity);
}

TEST(Kernels, MatVec_IsThePlainForm_AndEachRowTheSameInAnySplit) {
    constexpr int outputs = 11;
    for (const Row row : rows()) {
        const auto weights = randomFloats(outputs * row.count + row.start, 8);
        const auto x = randomFloats(row.count + row.start, 9);
        const auto bias = randomFloats(outputs, 10);
        const float* w = weights.data() + row.start;
        for (const float* offset : {bias.data(), static_cast<const float*>(nullptr)}) {
            std::vector<float> expected(outputs);
            kernels::reference::matVec(w, offset, x.data() + row.start, expected.data(), 0, outputs, row.count);
            std::vector<float> actual(outputs);
            kernels::matVec(w, offset, x.data() + row.start, actual.data(), 0, outputs, row.count);
            for (int i = 0; i < outputs; ++i)
                ASSERT_NEAR(actual[i], expected[i], epsilon * (row.count + 16)) << row.count;
            std::vector<float> pieces(outputs);
            for (const auto& [first, last] : {std::pair{0, 1}, {1, 6}, {6, 8}, {8, outputs}})
                kernels::matVec(w, offset, x.data() + row.start, pieces.data(), first, last, row.count);
            EXPECT_EQ(pieces, actual) << row.count;
        }
    }
}

// To the bit, on every step: the sums are exact, and what makes floats of them is the same code everywhere.
TEST(Kernels, MatVecsInt8_AreThePlainFormToTheBit_WhoeverIsBeside) {
    constexpr int outputs = 39; // more than a block of sums, and no multiple of the rows that are added up together
    for (const Row row : rows()) {
        auto weights = randomBytes(outputs * row.count + row.start, 11);
        std::fill_n(weights.begin() + row.start, row.count, std::int8_t{-127}); // the first rows take the largest sums
        std::fill_n(weights.begin() + row.start + row.count, row.count, std::int8_t{-128}); // a damaged file's
        const auto scales = randomFloats(outputs, 13);
        const auto bias = randomFloats(outputs, 14);
        const kernels::WideChannels wide{2, {0, row.count - 1}, {37.0F, -1e4F}};
        for (const int count : {1, 2, 3, 4, 5, 6, 7, 8, 11}) {
            const kernels::ByteMatrix matrix{weights.data() + row.start, scales.data(),
                                             count == 3 ? nullptr : bias.data(), row.count};
            auto xs = randomBytes(count * row.count + row.start, 12);
            std::fill_n(xs.begin() + row.start, row.count, std::int8_t{127});
            std::vector<float> expected(count * outputs), actual(count * outputs);
            std::vector<kernels::ByteVector> plain, fast;
            for (int v = 0; v < count; ++v) {
                const auto* x = xs.data() + row.start + v * row.count;
                const auto* alsoWide = v % 2 ? &wide : nullptr;
                plain.push_back({x, 0.01F * static_cast<float>(v + 1), expected.data() + v * outputs, alsoWide});
                fast.push_back({x, plain.back().scale, actual.data() + v * outputs, alsoWide});
            }
            kernels::reference::matVecsInt8(matrix, plain, 0, outputs);
            kernels::matVecsInt8(matrix, fast, 0, 3);
            kernels::matVecsInt8(matrix, fast, 3, outputs);
            ASSERT_EQ(actual, expected) << row.count << " columns, " << count << " vectors";
        }
    }
}

TEST(Kernels, AttendOne_IsThePlainForm) {
    for (const int width : {1, 5, 16, 24, 64, 70})
        for (const int positions : {1, 2, 7, 40}) {
            const std::size_t stride = width + 3;
            const auto query = randomFloats(width, 15, 0.3F);
            const auto keys = randomFloats(positions * stride, 16);
            const auto values = randomFloats(positions * stride, 17);
            auto mask = randomFloats(positions, 18);
            mask[positions / 2] = positions > 1 ? -infinity : 0.0F;
            for (const float* masked : {static_cast<const float*>(mask.data()), static_cast<const float*>(nullptr)}) {
                std::vector<float> expectedScores(positions), expected(width), scores(positions), actual(width);
                kernels::reference::attendOne(query.data(), keys.data(), values.data(), stride, masked,
                                              expectedScores.data(), expected.data(), positions, width);
                kernels::attendOne(query.data(), keys.data(), values.data(), stride, masked, scores.data(),
                                   actual.data(), positions, width);
                expectNear(scores, expectedScores, 1e-5F);
                expectNear(actual, expected, 1e-5F);
            }
        }
}

namespace {

/// A head in 8 bits with the memory that it views.
struct OwnedHead {
    OwnedHead(int positions, int width)
        : numbers(kernels::ByteHead::numberCount(positions, width)),
          scales(kernels::ByteHead::scaleCount(positions, width)), view{numbers.data(), scales.data(), positions,
                                                                        width} {}
    std::vector<std::int8_t> numbers;
    std::vector<float> scales;
    kernels::ByteHead view;
};

} // namespace

TEST(Kernels, QuantizeHead_IsThePlainFormToTheBit) {
    for (const int width : {1, 5, 16, 24, 64, 70})
        for (const int positions : {1, 2, 40, 256, 257, 600}) {
            const std::size_t stride = 2 * width + 3;
            auto keys = randomFloats(positions * stride, 21);
            auto values = randomFloats(positions * stride, 22);
            for (std::size_t p = 0; p < static_cast<std::size_t>(positions); ++p) { // a constant, and no scale's number
                keys[p * stride] = 3.0F;
                values[p * stride + width / 2] = p % 2 ? 1e-44F : 0.0F;
            }
            OwnedHead fast(positions, width), plain(positions, width);
            kernels::quantizeHead(keys.data(), values.data(), stride, fast.view);
            kernels::reference::quantizeHead(keys.data(), values.data(), stride, plain.view);
            EXPECT_EQ(fast.numbers, plain.numbers) << width << " x " << positions;
            EXPECT_EQ(fast.scales, plain.scales) << width << " x " << positions;

            const auto query = randomFloats(width, 15, 0.3F);
            std::vector<float> expectedScores(positions), expected(width), scores(positions), actual(width);
            kernels::reference::attendBytes(query.data(), plain.view, expectedScores.data(), expected.data());
            kernels::attendBytes(query.data(), plain.view, scores.data(), actual.data());
            expectNear(scores, expectedScores, 1e-5F);
            expectNear(actual, expected, 1e-5F);
        }
}

// Published models have channels, and single positions, that are a hundred times as large as the rest: neither may cost
// the others their digits.
TEST(Kernels, AttendBytes_FollowsTheFloats_BesideOutliers) {
    constexpr int width = 64;
    constexpr int positions = 1500;
    const auto query = randomFloats(width, 15, 0.3F);
    const auto plain = randomFloats(positions * width, 16);
    for (const char* outlier : {"none", "channels", "offsets", "position"}) {
        auto keys = plain;
        auto values = randomFloats(positions * width, 17);
        auto asked = query;
        for (int p = 0; p < positions; ++p)
            for (const int channel : {5, 40}) {
                const std::size_t at = p * width + channel;
                if (outlier == std::string_view("channels")) {
                    keys[at] *= 100.0F;
                    values[at] *= 100.0F;
                    asked[channel] = query[channel] / 100.0F; // else one position takes all
                } else if (outlier == std::string_view("offsets")) {
                    keys[at] += 100.0F;
                    values[at] += 100.0F;
                }
            }
        if (outlier == std::string_view("position"))
            for (int i = 0; i < width; ++i) {
                keys[700 * width + i] *= -100.0F * (asked[i] * keys[700 * width + i] > 0 ? 1.0F : -1.0F);
                values[700 * width + i] *= 100.0F;
            }
        OwnedHead head(positions, width);
        kernels::quantizeHead(keys.data(), values.data(), width, head.view);
        std::vector<float> scores(positions), expectedScores(positions), actual(width), expected(width);
        kernels::attendBytes(asked.data(), head.view, scores.data(), actual.data());
        kernels::reference::attendOne(asked.data(), keys.data(), values.data(), width, nullptr, expectedScores.data(),
                                      expected.data(), positions, width);
        for (int p = 0; p < positions; ++p) {
            ASSERT_NEAR(scores[p], expectedScores[p], 0.12F * expectedScores[p]) << outlier << " " << p;
        }
        for (int i = 0; i < width; ++i)
            EXPECT_NEAR(actual[i], expected[i], 0.01F * (i == 5 || i == 40 ? 100.0F : 1.0F)) << outlier << " " << i;
    }
}
