#include "WhisperEngine/runtime/Processor.h"

#if defined(__x86_64__)
#include <asm/prctl.h>
#include <cpuid.h>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace fenlo::whisper {

namespace {

// Bits of XCR0.
constexpr std::uint64_t avxState = 0b110;
constexpr std::uint64_t avx512State = avxState | 0b1110'0000;
constexpr unsigned tileData = 18;
constexpr std::uint64_t tileState = std::uint64_t{0b11} << 17; // the tiles' configuration and their data

bool saves(const ProcessorFacts& processor, std::uint64_t states) {
    return (processor.savedState & states) == states;
}

/// Products in tiles are laid out for eight tiles of sixteen rows of 64 bytes, the size of palette 1.
bool haveSize(const ProcessorFacts::Tiles& tiles) {
    return tiles.palettes >= 1 && tiles.count >= 8 && tiles.rows >= 16 && tiles.bytesPerRow >= 64;
}

} // namespace

std::string faultOfTiles(const ProcessorFacts& processor) {
    if (!processor.amx)
        return "";
    if (!haveSize(processor.tiles))
        return "the processor announces it, but tells no tile sizes (a hypervisor hides them)";
    if (!saves(processor, tileState))
        return "the processor announces it, but the system does not keep its registers";
    return processor.tilesPermitted ? "" : "the kernel does not permit it";
}

bool has(const ProcessorFacts& processor, InstructionSet instructions) {
    const bool avx = processor.sse41 && processor.avx && saves(processor, avxState);
    const bool avx2 = avx && processor.avx2;
    const bool avx512 = avx2 && processor.avx512 && saves(processor, avx512State);
    const bool vnni = avx512 && processor.avx512Vnni;
    const bool bf16 = vnni && processor.avx512Bf16;
    switch (instructions) {
    case InstructionSet::scalar:
        return true;
    case InstructionSet::sse4:
        return processor.sse41;
    case InstructionSet::avx:
        return avx;
    case InstructionSet::avx2:
        return avx2;
    case InstructionSet::avx2vnni:
        return avx2 && processor.avx2Vnni;
    case InstructionSet::avx512:
        return avx512;
    case InstructionSet::avx512vnni:
        return vnni;
    case InstructionSet::avx512bf16:
        return bf16;
    case InstructionSet::amx:
        return bf16 && processor.amx && faultOfTiles(processor).empty();
    }
    return false;
}

#if defined(__x86_64__)

namespace {

/// The registers of one CPUID leaf; zeros where the processor has no such leaf.
struct Leaf {
    unsigned a = 0, b = 0, c = 0, d = 0;
    explicit Leaf(unsigned leaf, unsigned part = 0) { __get_cpuid_count(leaf, part, &a, &b, &c, &d); }
};

template <class... Bits>
bool all(unsigned word, Bits... bits) {
    return ((word >> bits & 1U) && ...);
}

std::uint64_t readSavedState() {
    unsigned low = 0;
    unsigned high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return std::uint64_t{high} << 32 | low;
}

std::string readName() {
    char name[49]{};
    for (unsigned part = 0; part < 3; ++part) {
        const Leaf leaf(0x80000002 + part);
        std::memcpy(name + std::size_t{16} * part, &leaf, sizeof leaf);
    }
    return name;
}

/// Kernels before 5.16 know neither the question nor tiles.
bool askForTiles() {
    std::uint64_t permitted = 0;
    return ::syscall(SYS_arch_prctl, ARCH_REQ_XCOMP_PERM, tileData) == 0 &&
           ::syscall(SYS_arch_prctl, ARCH_GET_XCOMP_PERM, &permitted) == 0 && (permitted >> tileData & 1U);
}

} // namespace

ProcessorFacts readProcessor() {
    const Leaf basic(1);
    const Leaf extended(7);
    const Leaf further(7, 1);
    ProcessorFacts facts;
    facts.name = readName();
    facts.sse41 = all(basic.c, 9, 19);
    facts.avx = all(basic.c, 28);
    facts.avx2 = all(basic.c, 12, 29) && all(extended.b, 3, 5, 8);
    facts.avx2Vnni = all(further.a, 4);
    facts.avx512 = all(extended.b, 16, 17, 28, 30, 31);
    facts.avx512Vnni = all(extended.c, 11);
    facts.avx512Bf16 = all(further.a, 5);
    facts.amx = all(extended.d, 22, 24, 25);
    if (all(basic.c, 27)) // the system uses XSAVE, without which asking is an illegal instruction
        facts.savedState = readSavedState();
    facts.tiles.palettes = Leaf(0x1D).a;
    if (facts.tiles.palettes > 0) {
        const Leaf palette(0x1D, 1);
        facts.tiles.bytesPerRow = palette.b & 0xFFFF;
        facts.tiles.count = palette.b >> 16;
        facts.tiles.rows = palette.c & 0xFFFF;
    }
    facts.tilesPermitted = facts.amx && haveSize(facts.tiles) && saves(facts, tileState) && askForTiles();

    facts.identity = facts.name;
    for (const std::uint64_t word :
         {std::uint64_t{basic.a}, std::uint64_t{basic.c}, std::uint64_t{extended.b}, std::uint64_t{extended.c},
          std::uint64_t{extended.d}, std::uint64_t{further.a}, facts.savedState, std::uint64_t{facts.tiles.palettes},
          std::uint64_t{facts.tiles.count}, std::uint64_t{facts.tiles.rows}, std::uint64_t{facts.tiles.bytesPerRow}})
        facts.identity += " " + std::to_string(word);
    return facts;
}

#else

/// Highway and oneDNN choose for themselves on other makes; the names of InstructionSet are those of x86.
ProcessorFacts readProcessor() {
    return {};
}

#endif

} // namespace fenlo::whisper
