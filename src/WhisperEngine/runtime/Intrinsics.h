#pragma once

/// The processor's own instructions, for what Highway does not have. Only for the files of kernels that use them;
/// nothing on processors of another family.

#include <hwy/base.h>

#if HWY_ARCH_X86
// g++ 12 takes the undefined registers of its own headers for a fault (GCC bug 105593).
HWY_DIAGNOSTICS(push)
HWY_DIAGNOSTICS_OFF(disable : 4700, ignored "-Wuninitialized")
#if HWY_COMPILER_GCC_ACTUAL
HWY_DIAGNOSTICS_OFF(disable : 4701, ignored "-Wmaybe-uninitialized")
#endif
#include <immintrin.h>
HWY_DIAGNOSTICS(pop)
#endif
