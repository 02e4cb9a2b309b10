#pragma once

#include "WhisperEngine/runtime/Kernels.h"

#include <cstddef>
#include <cstdint>

/// Products of a block of rows with 8-bit weights that lie as a compiled file has them: nothing is packed but the
/// block. Its rows lie across the lanes of a vector, four values (or, on processors without products of bytes, two of
/// 16 bits) in each lane, and every weight goes to all lanes.
///
/// Threads: pure functions on the caller's memory. No allocation.
/// Errors:  none; the caller answers for the sizes.
namespace fenlo::whisper::kernels {

constexpr int panelLanes = 48;    // three of the widest vectors, so that registers hold their products with 8 outputs
constexpr int mostPanelRows = 47; // the last lane is a row of zeros, see packPanel()
constexpr int outputsAtATime = 128;

/// The wide channels of a panel's rows: each row's are zeros in the panel, and have their values here.
struct WidePanel {
    static constexpr int most = 32;

    int count = 0;
    int channels[most];
    float values[most][panelLanes]; // zeros for a row that has its numbers in the panel
};

/// A block of rows as a product takes it.
struct Panel {
    std::int32_t* lanes; // [steps][panelLanes], 64-byte aligned; panelBytes()
    float* factors;      // [panelLanes]: what a row's 8-bit values are multiplied by
    WidePanel* wide;
    int rows; // at most mostPanelRows
};
std::size_t panelBytes(int inputs);

/// Quantises rows of `inputs` floats row by row, without their wide channels; a row whose channels find no more room
/// beside those of the rows before it keeps its own in the panel. `work` holds panelLanes * (inputs + 4) bytes. The
/// instructions for bytes want one side without signs: 128 is added to every value, and what that adds to a product is
/// found in a lane of its own, a row of zeros.
void packPanel(const float* src, int inputs, const Panel& panel, std::int8_t* work);

/// The same of rows that lie across lanes, src[input][lane], as multiplyPanel() leaves them. `row` holds `inputs`
/// floats and `work` as many bytes.
void packLanes(const float* src, int inputs, const Panel& panel, float* row, std::int8_t* work);
/// The numbers and factors of all rows, as if no channel were wide. wide[lane] tells how many of a row's numbers are.
void quantizeLanes(const float* src, int inputs, const Panel& panel, bool inBytes, std::int32_t* wide);

/// dst[i][lane] = row `lane` x weights of output `first + i`, scaled, with bias; `count` outputs, at most
/// outputsAtATime. Sums are exact. `work` holds panelWork(inputs) bytes, aligned as integers of 16 bits.
std::size_t panelWork(int inputs);
void multiplyPanel(const ByteMatrix& matrix, const Panel& panel, int first, int count, float* dst, std::byte* work);

/// dst[row * stride + i] = src[i][row], or += with `accumulate`.
void unpackPanel(const float* src, int rows, int count, float* dst, std::size_t stride, bool accumulate);

} // namespace fenlo::whisper::kernels
