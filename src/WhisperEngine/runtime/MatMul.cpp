#include "WhisperEngine/runtime/MatMul.h"

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

constexpr int largestBlock = 128; // rows: its results stay in the second-level cache

/// As few blocks as are no larger than the limit and keep all threads at work to the end.
int rowsPerBlock(int rows, int threads) {
    const int rounds = (rows + threads * largestBlock - 1) / (threads * largestBlock);
    return (rows + threads * rounds - 1) / (threads * rounds);
}

struct Shape {
    int rows;
    Activation activation;
    bool accumulate;
    auto operator<=>(const Shape&) const = default;
};

} // namespace

struct MatMul::Implementation {
    int outputs;
    int inputs;
    std::vector<float> bias; // empty for none
    dnnl::memory weights;    // in the format that the product wants
    std::mutex mutex;
    std::map<Shape, Product> products; // guarded by mutex, grows only

    Product make(const Shape& shape, const Description& weightsFormat) const {
        dnnl::post_ops after;
        if (shape.activation == Activation::gelu)
            after.append_eltwise(1.0F, dnnl::algorithm::eltwise_gelu_erf, 0.0F, 0.0F);
        if (shape.accumulate)
            after.append_sum();
        dnnl::primitive_attr attributes;
        attributes.set_post_ops(after);
        const Description biasFormat = bias.empty() ? Description() : Description({1, outputs}, Type::f32, Format::ab);
        return Product({{shape.rows, inputs}, Type::f32, Format::ab}, weightsFormat, biasFormat,
                       {{shape.rows, outputs}, Type::f32, Format::ab}, attributes);
    }

    const Product& product(const Shape& shape) {
        std::lock_guard lock(mutex);
        auto found = products.find(shape);
        if (found == products.end())
            found = products.emplace(shape, make(shape, weights.get_desc())).first;
        return found->second;
    }
};

MatMul MatMul::float32(const float* weights, const float* bias, int outputs, int inputs) {
    auto made = std::make_unique<Implementation>();
    made->outputs = outputs;
    made->inputs = inputs;
    if (bias)
        made->bias.assign(bias, bias + outputs);
    const Description open({inputs, outputs}, Type::f32, Format::any);
    const Product typical = made->make({largestBlock, Activation::none, false}, open);

    const dnnl::engine engine = processor();
    const Description plain({inputs, outputs}, Type::f32, Format::ba);
    dnnl::memory given(plain, engine, const_cast<float*>(weights)); // only read
    made->weights = dnnl::memory(typical.weights(), engine);
    dnnl::stream stream(engine);
    dnnl::reorder(given, made->weights).execute(stream, given, made->weights);
    stream.wait();
    return MatMul(std::move(made));
}

MatMul MatMul::int8(const std::int8_t* weights, const float* rowScales, const float* bias, int outputs, int inputs) {
    std::vector<float> wide(static_cast<std::size_t>(outputs) * inputs);
    for (int row = 0; row < outputs; ++row)
        for (int j = 0; j < inputs; ++j) {
            const std::size_t at = static_cast<std::size_t>(row) * inputs + j;
            wide[at] = rowScales[row] * weights[at];
        }
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
    const int block = rowsPerBlock(rows, pool.size());
    const int blocks = (rows + block - 1) / block;
    const Product& whole = layer.product({block, activation, accumulate});
    const int rest = rows - (blocks - 1) * block;
    const Product& last = rest == block ? whole : layer.product({rest, activation, accumulate});
    pool.run(blocks, [&](int task) {
        const std::size_t first = static_cast<std::size_t>(task) * block;
        const Product& product = task + 1 < blocks ? whole : last;
        product.execute(src + first * layer.inputs, layer.weights.get_data_handle(),
                        layer.bias.empty() ? nullptr : layer.bias.data(), dst + first * layer.outputs);
    });
}

} // namespace fenlo::whisper
