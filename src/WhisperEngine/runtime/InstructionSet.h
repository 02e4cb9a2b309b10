#pragma once

namespace fenlo::whisper {

/// How wide the runtime calculates: what the processor has, or less where the environment variable `FENLO_ISA` says
/// `scalar`, `sse4`, `avx2` or `avx512`. A name that is wider than the processor changes nothing.
enum class InstructionSet { scalar, sse4, avx2, avx512 };

/// The widest that is allowed. Reads the variable on the first call and tells Highway and oneDNN of it, so it comes
/// before any use of those.
///
/// Threads: any.
InstructionSet allowedInstructionSet();

} // namespace fenlo::whisper
