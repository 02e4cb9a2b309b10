#include "WhisperEngine/runtime/Product.h"

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/SingleThreadedLibraries.h"

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
    const SingleThreadedLibraries alone; // how many threads it uses is settled when it is made
    const dnnl::matmul::desc operation =
        bias ? dnnl::matmul::desc(src, weights, bias, dst) : dnnl::matmul::desc(src, weights, dst);
    return {operation, attributes, processor()};
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

dnnl::memory reordered(const void* values, const dnnl::memory::desc& given, const dnnl::memory::desc& wanted) {
    const SingleThreadedLibraries alone;
    const dnnl::engine engine = processor();
    dnnl::memory from(given, engine, const_cast<void*>(values)); // the library only reads it
    dnnl::memory to(wanted, engine);
    dnnl::stream stream(engine);
    dnnl::reorder(from, to).execute(stream, from, to);
    stream.wait();
    return to;
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
