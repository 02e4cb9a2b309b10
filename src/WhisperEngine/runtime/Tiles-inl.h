#pragma once

// The processor's matrix tiles, for files that have included the intrinsics. Only code in a target region of
// FENLO_TILE_TARGET may use them, on a processor that was asked (InstructionSet::amx).

#include <cstddef>
#include <cstdint>

#define FENLO_TILE_TARGET "avx2,fma,avx512f,avx512bw,avx512vnni,amx-tile,amx-int8"

HWY_PUSH_ATTRIBUTES(FENLO_TILE_TARGET)
namespace fenlo::whisper::kernels::tiles {
namespace {

constexpr int rows = 16;     // of a tile
constexpr int rowBytes = 64; // of a row: values of one byte, or sums of 32 bits
constexpr int columns = 16;  // sums in a row

/// All eight tiles at their full size, for the calling thread and as long as this lives: the system has eight kilobytes
/// less to keep of a thread that uses none.
class InUse {
public:
    InUse() {
        static constexpr Layout layout;
        _tile_loadconfig(&layout);
    }
    ~InUse() { _tile_release(); }
    InUse(const InUse&) = delete;
    InUse& operator=(const InUse&) = delete;

private:
    struct alignas(64) Layout { // as the instruction reads it
        std::uint8_t palette = 1, startRow = 0, reserved[14] = {};
        std::uint16_t bytesOfRow[16] = {rowBytes, rowBytes, rowBytes, rowBytes, rowBytes, rowBytes, rowBytes, rowBytes};
        std::uint8_t rowCount[16] = {rows, rows, rows, rows, rows, rows, rows, rows};
    };
};

} // namespace
} // namespace fenlo::whisper::kernels::tiles
HWY_POP_ATTRIBUTES
