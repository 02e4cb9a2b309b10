#include "WhisperEngine/runtime/Tiles.h"

#include "WhisperEngine/runtime/Intrinsics.h"

#if HWY_ARCH_X86

HWY_PUSH_ATTRIBUTES("amx-tile,amx-int8")
namespace fenlo::whisper::kernels::tiles {

namespace {

/// All eight tiles at their full size, as the instruction reads it.
struct alignas(64) Layout {
    std::uint8_t palette = 1, startRow = 0, reserved[14] = {};
    std::uint16_t bytesOfRow[16] = {rowBytes, rowBytes, rowBytes, rowBytes, rowBytes, rowBytes, rowBytes, rowBytes};
    std::uint8_t rowCount[16] = {rows, rows, rows, rows, rows, rows, rows, rows};
};
static_assert(sizeof(Layout) == 64);

// Functions of their own, since the compiler has the target of what was declared before from there.
void take() {
    static constexpr Layout layout;
    _tile_loadconfig(&layout);
}
void giveBack() {
    _tile_release();
}

template <class Value>
const std::byte* bytesOf(const Value* values) {
    return reinterpret_cast<const std::byte*>(values);
}

} // namespace

InUse::InUse() {
    take();
}
InUse::~InUse() {
    giveBack();
}

// Three sums, or four, are under way at a time: one takes as long as three begin.

void multiply16x48(const Product& product) {
    const std::byte* right = bytesOf(product.right);
    _tile_zero(0);
    _tile_zero(1);
    _tile_zero(2);
    for (std::size_t at = 0; at < product.depth; at += rowBytes, right += rows * product.rightStride) {
        _tile_loadd(3, product.left + at, product.leftStride);
        _tile_loadd(4, right, product.rightStride);
        _tile_dpbsud(0, 3, 4);
        _tile_loadd(5, right + rowBytes, product.rightStride);
        _tile_dpbsud(1, 3, 5);
        _tile_loadd(6, right + std::ptrdiff_t{2} * rowBytes, product.rightStride);
        _tile_dpbsud(2, 3, 6);
    }
    _tile_stored(0, product.sums, product.sumStride);
    _tile_stored(1, product.sums + columns, product.sumStride);
    _tile_stored(2, product.sums + std::ptrdiff_t{2} * columns, product.sumStride);
}

void multiply32x32(const Product& product) {
    const std::int8_t* const upper = product.left;
    const std::int8_t* const lower = upper + rows * product.leftStride;
    const std::byte* right = bytesOf(product.right);
    _tile_zero(0);
    _tile_zero(1);
    _tile_zero(2);
    _tile_zero(3);
    for (std::size_t at = 0; at < product.depth; at += rowBytes, right += rows * product.rightStride) {
        _tile_loadd(4, upper + at, product.leftStride);
        _tile_loadd(6, right, product.rightStride);
        _tile_dpbsud(0, 4, 6);
        _tile_loadd(7, right + rowBytes, product.rightStride);
        _tile_dpbsud(1, 4, 7);
        _tile_loadd(5, lower + at, product.leftStride);
        _tile_dpbsud(2, 5, 6);
        _tile_dpbsud(3, 5, 7);
    }
    std::int32_t* const lowerSums = product.sums + rows * product.sumStride / sizeof *product.sums;
    _tile_stored(0, product.sums, product.sumStride);
    _tile_stored(1, product.sums + columns, product.sumStride);
    _tile_stored(2, lowerSums, product.sumStride);
    _tile_stored(3, lowerSums + columns, product.sumStride);
}

} // namespace fenlo::whisper::kernels::tiles
HWY_POP_ATTRIBUTES
#endif
