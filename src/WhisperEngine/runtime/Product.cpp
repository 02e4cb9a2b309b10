#include "WhisperEngine/runtime/Product.h"

#include "WhisperEngine/runtime/InstructionSet.h"

#include <omp.h>

#include <array>
#include <memory>
#include <new>

namespace fenlo::whisper {

namespace {

constexpr std::align_val_t cacheLine{64};

class Buffer {
public:
    void* atLeast(std::size_t bytes) {
        if (bytes > m_size) {
            m_memory.reset(); // first, so that both are never held
            m_memory.reset(::operator new(bytes, cacheLine));
            m_size = bytes;
        }
        return m_memory.get();
    }

private:
    struct Free {
        void operator()(void* memory) const { ::operator delete(memory, cacheLine); }
    };
    std::unique_ptr<void, Free> m_memory;
    std::size_t m_size = 0;
};

dnnl::matmul::primitive_desc describe(const dnnl::memory::desc& src, const dnnl::memory::desc& weights,
                                      const dnnl::memory::desc& bias, const dnnl::memory::desc& dst,
                                      dnnl::primitive_attr attributes) {
    // The library's own scratchpad belongs to the thread that makes the primitive, and others run it.
    attributes.set_scratchpad_mode(dnnl::scratchpad_mode::user);
    // How many threads it uses is settled here, by the setting of the thread that makes it.
    const int before = omp_get_max_threads();
    omp_set_num_threads(1);
    const dnnl::matmul::desc operation =
        bias ? dnnl::matmul::desc(src, weights, bias, dst) : dnnl::matmul::desc(src, weights, dst);
    dnnl::matmul::primitive_desc descriptor(operation, attributes, processor());
    omp_set_num_threads(before);
    return descriptor;
}

} // namespace

Product::Product(const dnnl::memory::desc& src, const dnnl::memory::desc& weights, const dnnl::memory::desc& bias,
                 const dnnl::memory::desc& dst, const dnnl::primitive_attr& attributes)
    : m_descriptor(describe(src, weights, bias, dst, attributes)), m_primitive(m_descriptor) {}

void Product::execute(const void* src, const void* weights, const void* bias, void* dst) const {
    const dnnl::engine engine = processor();
    dnnl::stream stream(engine);
    const auto memory = [&](const dnnl::memory::desc& description, const void* data) {
        return dnnl::memory(description, engine, const_cast<void*>(data)); // the library reads inputs only
    };
    const dnnl::memory::desc workspace = m_descriptor.scratchpad_desc();
    std::unordered_map<int, dnnl::memory> arguments{
        {DNNL_ARG_SRC, memory(m_descriptor.src_desc(), src)},
        {DNNL_ARG_WEIGHTS, memory(m_descriptor.weights_desc(), weights)},
        {DNNL_ARG_DST, memory(m_descriptor.dst_desc(), dst)},
        {DNNL_ARG_SCRATCHPAD, memory(workspace, scratch(Slot::library, workspace.get_size()))}};
    if (bias)
        arguments.emplace(DNNL_ARG_BIAS, memory(m_descriptor.bias_desc(), bias));
    m_primitive.execute(stream, arguments);
    stream.wait();
}

dnnl::engine processor() {
    allowedInstructionSet();
    static const dnnl::engine engine(dnnl::engine::kind::cpu, 0);
    return engine;
}

void* scratch(Slot slot, std::size_t bytes) {
    thread_local std::array<Buffer, static_cast<std::size_t>(Slot::count)> buffers;
    return buffers[static_cast<std::size_t>(slot)].atLeast(bytes);
}

} // namespace fenlo::whisper
