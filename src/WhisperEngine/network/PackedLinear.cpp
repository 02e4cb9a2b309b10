#include "WhisperEngine/network/PackedLinear.h"

namespace fenlo::whisper {

PackedLinear PackedLinear::load(const CompiledFile& file, const std::string& name, int outputs, int inputs) {
    const std::string weight = name + ".weight";
    PackedLinear linear;
    linear.outputs = outputs;
    linear.inputs = inputs;
    if (file.has(weight + ".scales")) {
        linear.bytes = file.bytes(weight, {outputs, inputs}).data();
        linear.scales = file.floats(weight + ".scales", {outputs}).data();
        if (file.has(weight + ".mean")) {
            linear.mean = file.floats(weight + ".mean", {inputs}).data();
            linear.shares = file.floats(weight + ".shares", {outputs}).data();
        }
    } else {
        linear.weights = file.floats(weight, {outputs, inputs}).data();
    }
    if (file.has(name + ".bias"))
        linear.bias = file.floats(name + ".bias", {outputs}).data();
    return linear;
}

PackedLinear PackedLinear::rows(int first, int count) const {
    const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(first) * inputs;
    PackedLinear part = *this;
    part.outputs = count;
    if (weights)
        part.weights += start;
    if (bytes) {
        part.bytes += start;
        part.scales += first;
        if (shares)
            part.shares += first;
    }
    if (bias)
        part.bias += first;
    return part;
}

MatMul PackedLinear::matMul() const {
    return bytes ? MatMul::int8(bytes, scales, bias, outputs, inputs) : MatMul::float32(weights, bias, outputs, inputs);
}

PackedNorm PackedNorm::load(const CompiledFile& file, const std::string& name, int width) {
    return {file.floats(name + ".weight", {width}).data(), file.floats(name + ".bias", {width}).data()};
}

} // namespace fenlo::whisper
