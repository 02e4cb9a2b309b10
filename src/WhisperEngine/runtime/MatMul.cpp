#include "WhisperEngine/runtime/MatMul.h"

#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/Product.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>
#include <compare>
#include <map>
#include <mutex>
#include <vector>

namespace fenlo::whisper {

namespace {

using Description = dnnl::memory::desc;
using Type = dnnl::memory::data_type;
using Format = dnnl::memory::format_tag;

/// Rows of one task, whatever the number of threads: oneDNN adds up in another order for another number of rows, and
/// results shall repeat. So few still run at full speed, their results stay in the second-level cache, and a window of
/// 1500 positions keeps many threads at work to the end.
constexpr int block = 48;

/// What is done with the product's rows.
struct Finish {
    Activation activation;
    bool accumulate;
    auto operator<=>(const Finish&) const = default;
};

struct Shape {
    int rows;
    Finish finish;
    auto operator<=>(const Shape&) const = default;
};

} // namespace

struct MatMul::Implementation {
    int outputs;
    int inputs;
    std::vector<float> bias;   // empty for none
    std::vector<float> scales; // one an output; empty for weights of 32-bit floats
    dnnl::memory weights;      // in the format that the product wants
    std::mutex mutex;
    std::map<Shape, Product> products; // guarded by mutex; what is in it stays and is constant

    Implementation(int outputCount, int inputCount, const float* biases)
        : outputs(outputCount), inputs(inputCount), bias(biases, biases ? biases + outputCount : nullptr) {}

    const float* biasOrNull() const { return bias.empty() ? nullptr : bias.data(); }

    void setWeights(const void* values, Type type) {
        const Product typical = make({block, {}}, Description({inputs, outputs}, type, Format::any));
        weights = reordered(values, Description({inputs, outputs}, type, Format::ba), typical.weights());
    }

    Product make(const Shape& shape, const Description& weightsFormat) const {
        const auto matrix = [&shape](int columns, Type type) {
            return Description({shape.rows, columns}, type, Format::ab);
        };
        if (!scales.empty())
            return Product(matrix(inputs, Type::s8), weightsFormat, {}, matrix(outputs, Type::s32));
        dnnl::post_ops after;
        if (shape.finish.activation == Activation::gelu)
            after.append_eltwise(1.0F, dnnl::algorithm::eltwise_gelu_erf, 0.0F, 0.0F);
        if (shape.finish.accumulate)
            after.append_sum();
        dnnl::primitive_attr attributes;
        attributes.set_post_ops(after);
        const Description biasFormat = bias.empty() ? Description() : Description({1, outputs}, Type::f32, Format::ab);
        return Product(matrix(inputs, Type::f32), weightsFormat, biasFormat, matrix(outputs, Type::f32), attributes);
    }

    const Product& product(const Shape& shape) {
        std::lock_guard lock(mutex);
        auto found = products.find(shape);
        if (found == products.end())
            found = products.emplace(shape, make(shape, weights.get_desc())).first;
        return found->second;
    }

    void runInt8(const Product& product, const float* src, float* dst, int rows, Finish finish) const {
        const std::size_t width = outputs;
        auto* const quantized = scratchOf<std::int8_t>(Slot::sources, static_cast<std::size_t>(rows) * inputs);
        auto* const sums = scratchOf<std::int32_t>(Slot::results, rows * width);
        auto* const row = scratchOf<float>(Slot::row, width + rows);
        auto* const factors = row + width;
        for (int i = 0; i < rows; ++i) {
            const std::size_t at = static_cast<std::size_t>(i) * inputs;
            factors[i] = kernels::quantize(src + at, quantized + at, inputs);
        }
        product.execute(quantized, weights.get_data_handle(), nullptr, sums);
        for (int i = 0; i < rows; ++i) {
            float* const target = finish.accumulate ? row : dst + i * width;
            kernels::rescale(sums + i * width, scales.data(), factors[i], biasOrNull(), target, outputs);
            if (finish.activation == Activation::gelu)
                kernels::gelu(target, outputs);
            if (finish.accumulate)
                kernels::add(dst + i * width, row, outputs);
        }
    }
};

MatMul MatMul::float32(const float* weights, const float* bias, int outputs, int inputs) {
    auto made = std::make_unique<Implementation>(outputs, inputs, bias);
    made->setWeights(weights, Type::f32);
    return MatMul(std::move(made));
}

MatMul MatMul::int8(const std::int8_t* weights, const float* rowScales, const float* bias, int outputs, int inputs) {
    if (hasInt8Products()) {
        auto made = std::make_unique<Implementation>(outputs, inputs, bias);
        made->scales.assign(rowScales, rowScales + outputs);
        made->setWeights(weights, Type::s8);
        return MatMul(std::move(made));
    }
    std::vector<float> wide(static_cast<std::size_t>(outputs) * inputs);
    for (std::size_t row = 0, at = 0; row < static_cast<std::size_t>(outputs); ++row)
        for (int j = 0; j < inputs; ++j, ++at)
            wide[at] = rowScales[row] * weights[at];
    return float32(wide.data(), bias, outputs, inputs);
}

MatMul::MatMul(std::unique_ptr<Implementation> implementation) : m_implementation(std::move(implementation)) {}
MatMul::MatMul(MatMul&&) noexcept = default;
MatMul& MatMul::operator=(MatMul&&) noexcept = default;
MatMul::~MatMul() = default;

int MatMul::outputs() const {
    return m_implementation->outputs;
}
int MatMul::inputs() const {
    return m_implementation->inputs;
}

void MatMul::run(const float* src, float* dst, int rows, Activation activation, bool accumulate,
                 ThreadPool& pool) const {
    if (rows <= 0)
        return;
    Implementation& layer = *m_implementation;
    const bool int8 = !layer.scales.empty();
    const Finish finish{activation, accumulate};
    const Finish finishInProduct = int8 ? Finish{} : finish;
    const int blocks = (rows + block - 1) / block;
    const int rest = rows - (blocks - 1) * block;
    const Product& last = layer.product({rest, finishInProduct});
    const Product& whole = blocks > 1 ? layer.product({block, finishInProduct}) : last;
    pool.run(blocks, [&](int task) {
        const bool isLast = task + 1 == blocks;
        const Product& product = isLast ? last : whole;
        const float* from = src + static_cast<std::size_t>(task) * block * layer.inputs;
        float* to = dst + static_cast<std::size_t>(task) * block * layer.outputs;
        if (int8)
            layer.runInt8(product, from, to, isLast ? rest : block, finish);
        else
            product.execute(from, layer.weights.get_data_handle(), layer.biasOrNull(), to);
    });
}

} // namespace fenlo::whisper
