#pragma once

#include "WhisperEngine/runtime/Kernels.h"

/// Between the files that multiply rows of bytes.
namespace fenlo::whisper::kernels {

/// Rows [firstRow, lastRow) of the matrix times some vectors, at most `mostByteVectors`.
using Multiply = void(const ByteMatrix& matrix, const ByteVector* vectors, int firstRow, int lastRow);

/// The form for processors without products of bytes: of numbers that are widened to 16 bits.
void multiplyWidened(const ByteMatrix& matrix, std::span<const ByteVector> vectors, int firstRow, int lastRow);

/// vector.dst[firstRow + i] = sums[i] * scales + bias + what is wide. Compiled once, for the processor that all have,
/// so that no fused multiplication makes the last bit depend on the step.
void finish(const ByteMatrix& matrix, const ByteVector& vector, const std::int32_t* sums, int firstRow, int rows);

} // namespace fenlo::whisper::kernels
