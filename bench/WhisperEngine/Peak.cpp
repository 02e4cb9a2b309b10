#include "Peak.h"

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/Tiles.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <hwy/base.h>
#include <vector>

namespace fenlo::whisper {

namespace {

template <class Work>
double leastSeconds(const Work& work) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    double least = 1e9;
    for (int i = 0; i < 7; ++i) {
        const double begin = now();
        work();
        least = std::min(least, now() - begin);
    }
    return least;
}

/// As much as a decoder of "small" in 8 bits.
double memoryPeak() {
    using Line [[gnu::vector_size(64)]] = std::uint64_t;
    const std::vector<Line> lines(139'000'000 / sizeof(Line), Line{} + 1);
    Line sum{};
    const double seconds = leastSeconds([&] {
        for (const Line& line : lines) {
            __builtin_prefetch(&line + 64, 0, 2); // across the next page, as the kernels do
            sum += line;
        }
    });
    return sum[0] == 0 ? 0 : static_cast<double>(lines.size() * sizeof(Line)) / seconds;
}

#if HWY_ARCH_X86

constexpr std::int64_t rounds = 200'000;

/// One instruction, or two, for twelve sums by turns, which hides how long each takes. \\n is the sum's number; the
/// registers 14 and 15 are the factors, 13 is free. The assembler knows every instruction, whatever the compiler may
/// use.
#define FENLO_PEAK_LOOP(clear, numbers, instructions)                                                                  \
    [] {                                                                                                               \
        std::int64_t left = rounds;                                                                                    \
        asm volatile(clear "\n1:\n.irp n," numbers "\n" instructions "\n.endr\n dec %0\n jnz 1b"                       \
                     : "+r"(left)                                                                                      \
                     :                                                                                                 \
                     : "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10",  \
                       "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");                                                   \
    }
#define FENLO_TWELVE "0,1,2,3,4,5,6,7,8,9,10,11"
#define FENLO_CLEAR_SSE ".irp n,0,1,2,3,4,5,6,7,8,9,10,11,14,15\n xorps %%xmm\\n,%%xmm\\n\n.endr"
#define FENLO_LOOP(instructions) FENLO_PEAK_LOOP("vzeroall", FENLO_TWELVE, instructions)
#define FENLO_LOOP_SSE(instructions) FENLO_PEAK_LOOP(FENLO_CLEAR_SSE, FENLO_TWELVE, instructions)

/// `operations` of one sum's step.
template <class Loop>
double perSecond(const Loop& loop, double operations, int sums = 12) {
    return operations * sums * rounds / leastSeconds(loop);
}

double bytesPeak(InstructionSet step) {
    using enum InstructionSet;
    if (step == amx) {
        const kernels::tiles::InUse use;
        return perSecond(FENLO_PEAK_LOOP("", "0,1,2", "tdpbsud %%tmm4,%%tmm3,%%tmm\\n"), 2 * 16 * 16 * 64, 3);
    }
    if (step >= avx512vnni)
        return perSecond(FENLO_LOOP("%{evex%} vpdpbusd %%zmm15,%%zmm14,%%zmm\\n"), 2 * 64);
    if (step == avx512)
        return perSecond(FENLO_LOOP("vpmaddwd %%zmm15,%%zmm14,%%zmm13\n vpaddd %%zmm13,%%zmm\\n,%%zmm\\n"), 2 * 32);
    if (step == avx2vnni)
        return perSecond(FENLO_LOOP("%{vex%} vpdpbusd %%ymm15,%%ymm14,%%ymm\\n"), 2 * 32);
    if (step == avx2)
        return perSecond(FENLO_LOOP("vpmaddwd %%ymm15,%%ymm14,%%ymm13\n vpaddd %%ymm13,%%ymm\\n,%%ymm\\n"), 2 * 16);
    return perSecond(FENLO_LOOP_SSE("movdqa %%xmm15,%%xmm13\n pmaddwd %%xmm14,%%xmm13\n paddd %%xmm13,%%xmm\\n"),
                     2 * 8);
}

double floatsPeak(InstructionSet step) {
    using enum InstructionSet;
    if (step >= avx512)
        return perSecond(FENLO_LOOP("vfmadd231ps %%zmm15,%%zmm14,%%zmm\\n"), 2 * 16);
    if (step >= avx2)
        return perSecond(FENLO_LOOP("vfmadd231ps %%ymm15,%%ymm14,%%ymm\\n"), 2 * 8);
    if (step == avx)
        return perSecond(FENLO_LOOP("vmulps %%ymm15,%%ymm14,%%ymm13\n vaddps %%ymm13,%%ymm\\n,%%ymm\\n"), 2 * 8);
    return perSecond(FENLO_LOOP_SSE("movaps %%xmm15,%%xmm13\n mulps %%xmm14,%%xmm13\n addps %%xmm13,%%xmm\\n"), 2 * 4);
}

#endif

Peak measure() {
    Peak found;
    found.memory = memoryPeak();
#if HWY_ARCH_X86
    const InstructionSet step = allowedInstructionSet();
    if (step > InstructionSet::scalar) {
        found.bytes = bytesPeak(step);
        found.floats = floatsPeak(step);
    }
#endif
    return found;
}

} // namespace

const Peak& peak() {
    static const Peak measured = measure();
    return measured;
}

} // namespace fenlo::whisper
