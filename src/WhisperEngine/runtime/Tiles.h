#pragma once

#include <cstddef>
#include <cstdint>

/// Products of 8-bit values in the processor's matrix tiles. For processors that have them (InstructionSet::amx), and
/// for threads and as long as an InUse lives.
///
/// Threads: pure functions on the caller's memory; tiles are the calling thread's.
namespace fenlo::whisper::kernels::tiles {

constexpr int rows = 16;     // of a tile
constexpr int rowBytes = 64; // of a row: values of one byte, or sums of 32 bits
constexpr int columns = 16;  // sums in a row

/// Takes the tiles, and gives them back: of a thread that holds none the system has eight kilobytes less to keep.
class InUse {
public:
    InUse();
    ~InUse();
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;
};

/// sums = left x right. `left` has rows of `depth` values with signs; `right` has, for each four of them, one 32-bit
/// lane of four values without signs a column. Strides are in bytes.
struct Product {
    const std::int8_t* left;
    std::size_t leftStride;
    const std::int32_t* right;
    std::size_t rightStride;
    std::size_t depth; // a multiple of rowBytes
    std::int32_t* sums;
    std::size_t sumStride;
};
/// Of 16 rows and 48 columns.
void multiply16x48(const Product& product);
/// Of 32 rows and 32 columns.
void multiply32x32(const Product& product);

} // namespace fenlo::whisper::kernels::tiles
