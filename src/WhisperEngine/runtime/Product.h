#pragma once

#include "WhisperEngine/runtime/OneDnn.h"

#include <cstddef>

namespace fenlo::whisper {

/// One matrix product of oneDNN for one shape: dst[rows, columns] = src[rows, inner] x weights[inner, columns].
///
/// Threads: constant once made; execute() runs on the calling thread alone.
class Product {
public:
    /// The operands' types and strides; `weights` may leave its format open (`any`), see weights().
    Product(const dnnl::memory::desc& src, const dnnl::memory::desc& weights, const dnnl::memory::desc& bias,
            const dnnl::memory::desc& dst, const dnnl::primitive_attr& attributes = {});

    /// The format that the product wants its weights in.
    dnnl::memory::desc weights() const { return m_descriptor.weights_desc(); }

    /// `bias` is null where the product has none.
    void execute(const void* src, const void* weights, const void* bias, void* dst) const;

private:
    dnnl::matmul::primitive_desc m_descriptor;
    dnnl::matmul m_primitive;
};

/// The values of `given` in another format.
dnnl::memory reordered(const void* values, const dnnl::memory::desc& given, const dnnl::memory::desc& wanted);

/// The processor as oneDNN sees it, with the instruction set allowed here.
dnnl::engine processor();

/// Memory of the calling thread for the moment, at least `bytes` and 64-byte aligned; the next call on this thread with
/// the same `slot` takes it over.
enum class Slot { library, sources, results, row, packed, count };
void* scratch(Slot slot, std::size_t bytes);

template <class T>
T* scratchOf(Slot slot, std::size_t count) {
    return static_cast<T*>(scratch(slot, count * sizeof(T)));
}

} // namespace fenlo::whisper
