#pragma once

#include "WhisperEngine/runtime/InstructionSet.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fenlo::whisper {

/// What the processor, a hypervisor beneath the system and the kernel say of the instructions that the engine may use.
/// A flag only says that an instruction is announced; whether it can be used is decided from the whole record.
struct ProcessorFacts {
    std::string name;     // as the maker writes it
    std::string identity; // all that was read: another processor, or another view of it, gives another text

    bool sse41 = false; // with SSSE3
    bool avx = false;
    bool avx2 = false;       // with FMA, F16C, BMI1 and BMI2
    bool avx2Vnni = false;   // AVX-VNNI
    bool avx512 = false;     // F, CD, BW, DQ and VL
    bool avx512Vnni = false; // AVX512-VNNI
    bool avx512Bf16 = false; // AVX512-BF16
    bool amx = false;        // AMX-TILE, AMX-INT8 and AMX-BF16

    std::uint64_t savedState = 0; // XCR0: the registers that the system keeps when it changes between threads

    /// CPUID leaf 0x1D. A hypervisor that hides the leaf leaves zeros.
    struct Tiles {
        unsigned palettes = 0;
        unsigned count = 0; // of palette 1, like the others
        unsigned rows = 0;
        unsigned bytesPerRow = 0;
    } tiles;
    bool tilesPermitted = false; // by the kernel, for this process
};

/// Reads the record. Where tiles look usable it asks the kernel for the permission to use them, which lasts.
///
/// Threads: any.
ProcessorFacts readProcessor();

/// Whether this processor can calculate so, as far as the record tells.
bool has(const ProcessorFacts& processor, InstructionSet instructions);

/// Why the tiles that the processor announces cannot be used; empty when they can, or when it announces none.
std::string faultOfTiles(const ProcessorFacts& processor);

} // namespace fenlo::whisper
