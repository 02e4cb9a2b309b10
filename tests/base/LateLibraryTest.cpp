#include "base/LateLibrary.h"

#include <gtest/gtest.h>
#include <zlib.h>

using namespace fenlo;

namespace late {

FENLO_LATE_FUNCTION("libz.so.1", crc32);
FENLO_LATE_FUNCTION("libfenlo-is-not-there.so.1", compressBound);
LateFunction<decltype(::adler32)> fromAnother("libz.so.1", "no_such_function");

} // namespace late

TEST(LateLibrary, IsOpenedByTheFirstCall_AndCalledLikeTheFunction) {
    const auto* const text = reinterpret_cast<const Bytef*>("123456789");
    EXPECT_EQ(late::crc32(0, text, 9), 0xCBF43926U); // the checksum's published check value
    EXPECT_EQ(late::crc32(0, nullptr, 0), 0U);
}

TEST(LateLibrary, ThatIsMissing_IsNamedInOneLine) {
    for (int turn = 0; turn < 2; ++turn) // the fault does not stick, and does not become a call of nothing
        try {
            late::compressBound(1);
            FAIL();
        } catch (const LateLibraryError& error) {
            const std::string told = error.what();
            EXPECT_NE(told.find("libfenlo-is-not-there.so.1"), std::string::npos) << told;
            EXPECT_EQ(told.find('\n'), std::string::npos) << told;
        }
    EXPECT_THROW(late::fromAnother(1, nullptr, 0), LateLibraryError);
}
