#include "WhisperEngine/runtime/MatMul.h"

#include "WhisperEngine/runtime/ByteBlocks.h"
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

/// Of 8-bit products: what a task holds in the second-level cache, and enough tasks to keep all threads at work.
constexpr int mostPanels = 8;
constexpr int tasksPerThread = 4;

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

/// Some rows as 8-bit products take them, in scratch of the calling thread: one at a time.
class Panels {
public:
    static constexpr std::size_t lanes = kernels::panelLanes;

    static Panels ofRows(const float* src, int rows, int inputs) {
        Panels panels(rows, inputs);
        auto* const work = scratchOf<std::int8_t>(Slot::row, lanes * (inputs + std::size_t{4}));
        for (int i = 0; i < panels.count(); ++i)
            kernels::packPanel(src + static_cast<std::size_t>(i) * kernels::mostPanelRows * inputs, inputs,
                               panels.at(i), work);
        return panels;
    }
    /// Of products that were not turned to rows: [count()][inputs][lanes].
    static Panels ofLanes(const float* src, int rows, int inputs) {
        Panels panels(rows, inputs);
        auto* const row = scratchOf<float>(Slot::row, std::size_t{2} * inputs);
        for (int i = 0; i < panels.count(); ++i)
            kernels::packLanes(src + static_cast<std::size_t>(i) * lanes * inputs, inputs, panels.at(i), row,
                               reinterpret_cast<std::int8_t*>(row + inputs));
        return panels;
    }

    int count() const { return (m_rows + kernels::mostPanelRows - 1) / kernels::mostPanelRows; }
    kernels::Panel at(int index) const {
        return {reinterpret_cast<std::int32_t*>(m_memory + m_bytesOfOne * index), m_factors.get() + lanes * index,
                m_wide.get() + index, std::min(kernels::mostPanelRows, m_rows - index * kernels::mostPanelRows)};
    }

private:
    Panels(int rows, int inputs)
        : m_rows(rows), m_bytesOfOne(kernels::panelBytes(inputs)),
          m_memory(scratchOf<std::byte>(Slot::sources, m_bytesOfOne * count())) {}

    int m_rows;
    std::size_t m_bytesOfOne;
    std::byte* m_memory;
    std::unique_ptr<float[]> m_factors{new float[lanes * count()]};
    std::unique_ptr<kernels::WidePanel[]> m_wide{new kernels::WidePanel[count()]};
};

} // namespace

struct MatMul::Implementation {
    int outputs;
    int inputs;
    kernels::ByteMatrix bytes{}; // weights of 8 bits, or
    dnnl::memory weights;        // of 32-bit floats in the format that the product wants, with
    std::vector<float> bias;     // empty for none
    std::mutex mutex;
    std::map<Shape, Product> products; // guarded by mutex; what is in it stays and is constant

    void setWeights(const float* values) {
        const Product typical = make({block, {}}, Description({inputs, outputs}, Type::f32, Format::any));
        weights = reordered(values, Description({inputs, outputs}, Type::f32, Format::ba), typical.weights());
    }

    Product make(const Shape& shape, const Description& weightsFormat) const {
        const auto matrix = [&shape](int columns) { return Description({shape.rows, columns}, Type::f32, Format::ab); };
        dnnl::post_ops after;
        if (shape.finish.activation == Activation::gelu)
            after.append_eltwise(1.0F, dnnl::algorithm::eltwise_gelu_erf, 0.0F, 0.0F);
        if (shape.finish.accumulate)
            after.append_sum();
        dnnl::primitive_attr attributes;
        attributes.set_post_ops(after);
        const Description biasFormat = bias.empty() ? Description() : Description({1, outputs}, Type::f32, Format::ab);
        return Product(matrix(inputs), weightsFormat, biasFormat, matrix(outputs), attributes);
    }

    const Product& product(const Shape& shape) {
        std::lock_guard lock(mutex);
        auto found = products.find(shape);
        if (found == products.end())
            found = products.emplace(shape, make(shape, weights.get_desc())).first;
        return found->second;
    }

    void runFloat32(const float* src, float* dst, int rows, Finish finish, ThreadPool& pool) {
        const int blocks = (rows + block - 1) / block;
        const int rest = rows - (blocks - 1) * block;
        const Product& last = product({rest, finish});
        const Product& whole = blocks > 1 ? product({block, finish}) : last;
        pool.run(blocks, [&](int task) {
            const Product& one = task + 1 == blocks ? last : whole;
            const std::size_t row = static_cast<std::size_t>(task) * block;
            one.execute(src + row * inputs, weights.get_data_handle(), bias.empty() ? nullptr : bias.data(),
                        dst + row * outputs);
        });
    }

    /// A task takes some panels, so that a block of weights is read for all of them while it is near. The layers' rows
    /// have the same length.
    static void runInt8(std::span<const Output> layers, const float* src, int rows, Finish finish, ThreadPool& pool) {
        const int inputs = layers.front().layer.inputs();
        const int panels = (rows + kernels::mostPanelRows - 1) / kernels::mostPanelRows;
        const int each = std::clamp(panels / (tasksPerThread * pool.size()), 1, mostPanels) * kernels::mostPanelRows;
        pool.run((rows + each - 1) / each, [&](int task) {
            const auto row = static_cast<std::size_t>(task) * each;
            const Panels packed = Panels::ofRows(src + row * inputs, std::min(each, rows - task * each), inputs);
            for (const Output& output : layers)
                output.layer.m_implementation->multiply(packed, output.dst + row * output.layer.outputs(), finish);
        });
    }

    /// What lies between the two layers stays in the second-level cache.
    void runInt8Through(const Implementation& second, const float* src, float* dst, int rows, ThreadPool& pool) const {
        constexpr int each = 2 * kernels::mostPanelRows;
        pool.run((rows + each - 1) / each, [&](int task) {
            const auto row = static_cast<std::size_t>(task) * each;
            const int some = std::min(each, rows - task * each);
            const Panels packed = Panels::ofRows(src + row * inputs, some, inputs);
            const std::size_t eachPanel = Panels::lanes * static_cast<std::size_t>(outputs);
            auto* const between = scratchOf<float>(Slot::packed, eachPanel * static_cast<std::size_t>(packed.count()));
            forBlocks(packed, [&](int i, int first, int count, std::byte* work) {
                float* const found = between + eachPanel * i + Panels::lanes * first;
                kernels::multiplyPanel(bytes, packed.at(i), first, count, found, work);
                kernels::gelu(found, count * kernels::panelLanes);
            });
            second.multiply(Panels::ofLanes(between, some, outputs), dst + row * second.outputs,
                            {Activation::none, true});
        });
    }

    void multiply(const Panels& panels, float* dst, Finish finish) const {
        auto* const found = scratchOf<float>(Slot::results, Panels::lanes * kernels::outputsAtATime);
        forBlocks(panels, [&](int i, int first, int count, std::byte* work) {
            const kernels::Panel panel = panels.at(i);
            kernels::multiplyPanel(bytes, panel, first, count, found, work);
            if (finish.activation == Activation::gelu)
                kernels::gelu(found, count * kernels::panelLanes);
            kernels::unpackPanel(found, panel.rows, count,
                                 dst + static_cast<std::size_t>(i) * kernels::mostPanelRows * outputs + first,
                                 static_cast<std::size_t>(outputs), finish.accumulate);
        });
    }

    /// Calls `work(panel, first output, count, memory)`: all panels behind a block of weights, which stays near.
    template <class Work>
    void forBlocks(const Panels& panels, const Work& work) const {
        auto* const memory = scratchOf<std::byte>(Slot::row, kernels::panelWork(inputs));
        for (int first = 0; first < outputs; first += kernels::outputsAtATime)
            for (int i = 0; i < panels.count(); ++i)
                work(i, first, std::min(kernels::outputsAtATime, outputs - first), memory);
    }
};

MatMul MatMul::float32(const float* weights, const float* bias, int outputs, int inputs) {
    auto made = std::make_unique<Implementation>();
    made->outputs = outputs;
    made->inputs = inputs;
    made->bias.assign(bias, bias ? bias + outputs : nullptr);
    made->setWeights(weights);
    return MatMul(std::move(made));
}

MatMul MatMul::int8(const std::int8_t* weights, const float* rowScales, const float* bias, int outputs, int inputs) {
    auto made = std::make_unique<Implementation>();
    made->outputs = outputs;
    made->inputs = inputs;
    made->bytes = {weights, rowScales, bias, inputs};
    return MatMul(std::move(made));
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
    const Output output{*this, dst};
    if (m_implementation->bytes.weights)
        Implementation::runInt8({&output, 1}, src, rows, {activation, accumulate}, pool);
    else
        m_implementation->runFloat32(src, dst, rows, {activation, accumulate}, pool);
}

void MatMul::runEach(std::span<const Output> layers, const float* src, int rows, ThreadPool& pool) {
    const auto isInt8 = [](const Output& output) { return output.layer.m_implementation->bytes.weights != nullptr; };
    if (rows > 0 && std::ranges::all_of(layers, isInt8))
        return Implementation::runInt8(layers, src, rows, {Activation::none, false}, pool);
    for (const Output& output : layers)
        output.layer.run(src, output.dst, rows, Activation::none, false, pool);
}

void MatMul::runFeedForward(const MatMul& in, const MatMul& out, const float* src, float* inner, float* dst, int rows,
                            ThreadPool& pool) {
    if (in.m_implementation->bytes.weights && out.m_implementation->bytes.weights)
        return in.m_implementation->runInt8Through(*out.m_implementation, src, dst, rows, pool);
    in.run(src, inner, rows, Activation::gelu, false, pool);
    out.run(inner, dst, rows, Activation::none, true, pool);
}

} // namespace fenlo::whisper
