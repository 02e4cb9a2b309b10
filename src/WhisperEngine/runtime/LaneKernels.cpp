// Kernels for rows that lie across the lanes of a panel. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/ByteBlocks.h"
#include "WhisperEngine/runtime/InstructionSet.h"

#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/LaneKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

const hn::RebindToSigned<decltype(floats)> ints;
using Ints = hn::Vec<decltype(ints)>;

/// `PerLane` numbers of 32 / PerLane bits in each lane of 32 bits. Some lanes at a time, to the end of their rows.
template <int PerLane>
void quantizeLanes(const float* src, int inputs, const Panel& panel, std::int32_t* wide) {
    constexpr int bits = 32 / PerLane;
    const auto lanes = static_cast<int>(hn::Lanes(floats));
    const Ints low = hn::Set(ints, PerLane == 4 ? 0xFF : 0xFFFF);
    const Ints unsign = hn::Set(ints, PerLane == 4 ? static_cast<std::int32_t>(0x80808080U) : 0);
    for (int first = 0; first < panelLanes; first += lanes) {
        const float* const from = src + first;
        Floats widest = hn::Zero(floats);
        for (std::ptrdiff_t i = 0; i < inputs; ++i)
            widest = hn::Max(widest, hn::Abs(hn::LoadU(floats, from + i * panelLanes)));
        const auto isThere =
            hn::Lt(hn::Iota(floats, static_cast<float>(first)), hn::Set(floats, static_cast<float>(panel.rows)));
        const Floats inverse = hn::Div(hn::Set(floats, 127.0F), widest);
        const auto isNumber = hn::And(hn::Gt(inverse, hn::Zero(floats)),
                                      hn::Le(inverse, hn::Set(floats, std::numeric_limits<float>::max())));
        const auto counts = hn::And(isThere, isNumber);
        const Floats factor = hn::IfThenElseZero(counts, inverse);
        hn::StoreU(hn::IfThenElseZero(counts, hn::Div(widest, hn::Set(floats, 127.0F))), floats, panel.factors + first);
        Ints found = hn::Zero(ints);
        std::int32_t* to = panel.lanes + first;
        for (std::ptrdiff_t i = 0; i < inputs; i += PerLane, to += panelLanes) {
            Ints lane = hn::Zero(ints);
            for (int k = 0; k < PerLane && i + k < inputs; ++k) {
                const Ints number = hn::NearestInt(hn::Mul(hn::LoadU(floats, from + (i + k) * panelLanes), factor));
                found = hn::Sub(found, hn::VecFromMask(ints, hn::Gt(hn::Abs(number), hn::Set(ints, 63))));
                lane = hn::Or(lane, hn::ShiftLeftSame(hn::And(number, low), k * bits));
            }
            hn::StoreU(hn::Xor(lane, unsign), ints, to);
        }
        hn::StoreU(found, ints, wide + first);
    }
}

void quantizeBytes(const float* src, int inputs, const Panel& panel, std::int32_t* wide) {
    quantizeLanes<4>(src, inputs, panel, wide);
}
void quantizeShorts(const float* src, int inputs, const Panel& panel, std::int32_t* wide) {
    quantizeLanes<2>(src, inputs, panel, wide);
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(quantizeBytes);
HWY_EXPORT(quantizeShorts);
} // namespace

void quantizeLanes(const float* src, int inputs, const Panel& panel, bool inBytes, std::int32_t* wide) {
    allowedInstructionSet();
    if (inBytes)
        HWY_DYNAMIC_DISPATCH(quantizeBytes)(src, inputs, panel, wide);
    else
        HWY_DYNAMIC_DISPATCH(quantizeShorts)(src, inputs, panel, wide);
}

} // namespace fenlo::whisper::kernels
#endif
