// The plain form of attention in 8 bits: what is quantised and how, in the order a reader expects.

#include "WhisperEngine/runtime/AttendInt8Kernels.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace fenlo::whisper::kernels::reference {

namespace {

using Rows = std::vector<std::vector<double>>; // [positions][width]

Rows copied(const float* src, const HeadRows& rows) {
    Rows copy;
    for (int p = 0; p < rows.positions; ++p)
        copy.emplace_back(src + p * rows.stride, src + p * rows.stride + rows.width);
    return copy;
}

std::vector<double> takeMeans(Rows& rows) {
    std::vector<double> means(rows[0].size());
    for (std::size_t i = 0; i < means.size(); ++i) {
        for (const auto& row : rows)
            means[i] += row[i] / static_cast<double>(rows.size());
        for (auto& row : rows)
            row[i] -= means[i];
    }
    return means;
}

double reachOf(const Rows& rows, std::size_t channel) {
    double reach = 0.0;
    for (const auto& row : rows)
        reach = std::max(reach, std::fabs(row[channel]));
    return reach;
}

/// Rounds the values to whole numbers of the result, which makes the widest one 127.
template <class Values>
double roundToScale(Values&& values) {
    double widest = 0.0;
    for (const double& value : values)
        widest = std::max(widest, std::fabs(value));
    for (double& value : values)
        value = widest > 0.0 ? std::nearbyint(value * 127.0 / widest) : 0.0;
    return widest / 127.0;
}

std::vector<double> scoresOf(const std::vector<double>& query, double scale, const Rows& keys,
                             const std::vector<double>& keyScales, const std::vector<double>& biases) {
    std::vector<double> scores(keys.size());
    for (std::size_t p = 0; p < keys.size(); ++p) {
        for (std::size_t i = 0; i < query.size(); ++i)
            scores[p] += query[i] * keys[p][i];
        // In powers of two, to 256ths.
        scores[p] = std::nearbyint((scores[p] * scale * keyScales[p] + biases[p]) / std::log(2.0) * 256.0) / 256.0;
    }
    return scores;
}

/// In place, block by block: whole 255ths of the block's largest share, weighed with that one's.
void shareOut(std::vector<double>& scores, std::size_t block) {
    const double most = *std::ranges::max_element(scores);
    double total = 0.0;
    for (std::size_t first = 0; first < scores.size(); first += block) {
        const auto begin = scores.begin() + static_cast<std::ptrdiff_t>(first);
        const auto end = scores.begin() + static_cast<std::ptrdiff_t>(std::min(first + block, scores.size()));
        const double largest = *std::max_element(begin, end);
        std::for_each(begin, end, [&](double& score) {
            score = std::nearbyint(255.0 * std::exp2(score - largest)) * std::exp2(largest - most);
            total += score;
        });
    }
    for (double& score : scores)
        score /= total;
}

} // namespace

void attendInt8(const HeadRows& rows, float* dst) {
    Rows queries = copied(rows.query, rows), keys = copied(rows.key, rows), values = copied(rows.value, rows);
    const std::vector<double> queryMeans = takeMeans(queries);
    takeMeans(keys);
    const std::vector<double> valueMeans = takeMeans(values);
    std::vector<double> biases(keys.size()), keyScales(keys.size()), valueScales(valueMeans.size());
    for (std::size_t p = 0; p < keys.size(); ++p)
        for (std::size_t i = 0; i < queryMeans.size(); ++i)
            biases[p] += queryMeans[i] * keys[p][i];
    for (std::size_t i = 0; i < queryMeans.size(); ++i) {
        const double ratio = std::sqrt(reachOf(keys, i) / reachOf(queries, i));
        for (std::size_t p = 0; p < keys.size() && ratio > 1e-12 && ratio < 1e12; ++p) {
            queries[p][i] *= ratio;
            keys[p][i] /= ratio;
        }
        std::vector<double> channel;
        for (const auto& value : values)
            channel.push_back(value[i]);
        valueScales[i] = roundToScale(channel);
        for (std::size_t p = 0; p < values.size(); ++p)
            values[p][i] = channel[p];
    }
    for (std::size_t p = 0; p < keys.size(); ++p)
        keyScales[p] = roundToScale(keys[p]);
    for (std::size_t p = 0; p < queries.size(); ++p) {
        const double scale = roundToScale(queries[p]);
        std::vector<double> shares = scoresOf(queries[p], scale, keys, keyScales, biases);
        shareOut(shares, keyBlock);
        for (std::size_t i = 0; i < valueMeans.size(); ++i) {
            double sum = 0.0;
            for (std::size_t key = 0; key < values.size(); ++key)
                sum += shares[key] * values[key][i];
            dst[p * rows.stride + i] = static_cast<float>(sum * valueScales[i] + valueMeans[i]);
        }
    }
}

} // namespace fenlo::whisper::kernels::reference
