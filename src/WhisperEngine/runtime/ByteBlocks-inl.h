// The products of a panel. ByteBlocks.cpp includes this once for each width, in a namespace and a target region that
// have `Lanes`:
//
//   Vector, count          one register of `count` 32-bit lanes
//   vectors, outputs       how many of a panel's vectors, and of the outputs, have their products in registers
//   dot(sums, rows, all)   each lane of `sums` grows by the products of its values; `all` is the same in every lane

/// The floats of one output.
inline void finish(const ByteMatrix& matrix, const Panel& panel, int output, const std::int32_t* __restrict sums,
                   float* __restrict dst) {
    const float scale = matrix.rowScales[output];
    const float bias = matrix.bias ? matrix.bias[output] : 0.0F;
    const float* const __restrict factors = panel.factors;
    const std::int32_t excess = Lanes::isBytes ? sums[mostPanelRows] : 0;
    for (int lane = 0; lane < panelLanes; ++lane)
        dst[lane] = static_cast<float>(sums[lane] - excess) * (scale * factors[lane]) + bias;
    const std::int8_t* const weights =
        matrix.weights + static_cast<std::size_t>(output) * static_cast<std::size_t>(matrix.columns);
    for (int k = 0; k < panel.wide->count; ++k) {
        const float weight = static_cast<float>(weights[panel.wide->channels[k]]) * scale;
        const float* const __restrict values = panel.wide->values[k];
        for (int lane = 0; lane < panelLanes; ++lane)
            dst[lane] += weight * values[lane];
    }
}

/// `Outputs` rows of weights times the panel: sums[i][lane].
template <int Outputs>
inline void multiplyTile(const std::int32_t* panel, const WeightRows& weights, std::int32_t* sums) {
    for (int lane = 0; lane < panelLanes; lane += Lanes::vectors * Lanes::count) {
        Lanes::Vector found[Outputs][Lanes::vectors];
#pragma GCC unroll 8
        for (std::ptrdiff_t i = 0; i < Outputs; ++i)
#pragma GCC unroll 4
            for (std::ptrdiff_t v = 0; v < Lanes::vectors; ++v)
                found[i][v] = Lanes::zero();
        const std::int32_t* rows = panel + lane;
        const std::byte* from = weights.values;
        for (std::size_t step = 0; step < weights.steps; ++step, rows += panelLanes, from += sizeof(std::int32_t)) {
            Lanes::Vector parts[Lanes::vectors];
#pragma GCC unroll 4
            for (std::ptrdiff_t v = 0; v < Lanes::vectors; ++v)
                parts[v] = Lanes::load(rows + v * Lanes::count);
#pragma GCC unroll 8
            for (std::ptrdiff_t i = 0; i < Outputs; ++i) {
                std::int32_t lanes;
                std::memcpy(&lanes, from + static_cast<std::size_t>(i) * weights.stride, sizeof lanes);
                const Lanes::Vector all = Lanes::all(lanes);
#pragma GCC unroll 4
                for (std::ptrdiff_t v = 0; v < Lanes::vectors; ++v)
                    found[i][v] = Lanes::dot(found[i][v], parts[v], all);
            }
        }
#pragma GCC unroll 8
        for (std::ptrdiff_t i = 0; i < Outputs; ++i)
#pragma GCC unroll 4
            for (std::ptrdiff_t v = 0; v < Lanes::vectors; ++v)
                Lanes::store(found[i][v], sums + i * panelLanes + lane + v * Lanes::count);
    }
}

/// The last weights of each row, fewer than a lane.
template <int Outputs>
inline void addRest(const std::int32_t* panel, const WeightRows& weights, std::int32_t* sums) {
    for (std::ptrdiff_t i = 0; i < Outputs; ++i) {
        std::int32_t rest = 0;
        std::memcpy(&rest, weights.values + static_cast<std::size_t>(i) * weights.stride + sizeof rest * weights.steps,
                    weights.rest);
        for (int lane = 0; lane < panelLanes; lane += Lanes::count, sums += Lanes::count)
            Lanes::store(
                Lanes::dot(Lanes::load(sums), Lanes::load(panel + weights.steps * panelLanes + lane), Lanes::all(rest)),
                sums);
    }
}

template <int Outputs>
inline void multiplyRows(const ByteMatrix& matrix, const Panel& panel, int first, float* dst, std::byte* work) {
    alignas(64) std::int32_t sums[Outputs * panelLanes];
    const WeightRows weights = weightRows<Lanes>(matrix, first, Outputs, work);
    multiplyTile<Outputs>(panel.lanes, weights, sums);
    if (weights.rest > 0)
        addRest<Outputs>(panel.lanes, weights, sums);
    for (std::ptrdiff_t i = 0; i < Outputs; ++i)
        finish(matrix, panel, first + static_cast<int>(i), sums + i * panelLanes, dst + i * panelLanes);
}

void multiply(const ByteMatrix& matrix, const Panel& panel, int first, int count, float* dst, std::byte* work) {
    int i = 0;
    for (; i + Lanes::outputs <= count; i += Lanes::outputs)
        multiplyRows<Lanes::outputs>(matrix, panel, first + i, dst + static_cast<std::ptrdiff_t>(i) * panelLanes, work);
    for (; i < count; ++i)
        multiplyRows<1>(matrix, panel, first + i, dst + static_cast<std::ptrdiff_t>(i) * panelLanes, work);
}
