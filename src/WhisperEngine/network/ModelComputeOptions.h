#pragma once

namespace fenlo::whisper {

/// How a model computes.
enum class ComputeUnit {
    automatic, // 8-bit weights, and 8-bit activations where the processor is fast at them and the tokens stay right
    float32,   // the reference: 32-bit floats throughout
};

struct ModelComputeOptions {
    ComputeUnit melCompute = ComputeUnit::automatic;
    ComputeUnit audioEncoderCompute = ComputeUnit::automatic;
    ComputeUnit textDecoderCompute = ComputeUnit::automatic;
    ComputeUnit prefillCompute = ComputeUnit::automatic; // of a prefill model, which the stock models do without

    static ModelComputeOptions all(ComputeUnit unit) { return {unit, unit, unit, unit}; }
};

} // namespace fenlo::whisper
