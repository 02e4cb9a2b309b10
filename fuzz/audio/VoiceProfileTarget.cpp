// Voice profiles: any bytes are refused or give a profile that can be encoded and read back, and that scores any window
// between 0 and 1.

#include "audio/voice/VoiceMatch.h"
#include "fuzz/Require.h"

#include <cstdint>

using namespace fenlo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto profile = decodeVoiceProfile({reinterpret_cast<const char*>(data), size});
    if (!profile)
        return 0;
    const std::string encoded = encodeVoiceProfile(*profile);
    const auto again = decodeVoiceProfile(encoded);
    require(again && encodeVoiceProfile(*again) == encoded);
    voice::Mfcc mfcc{100, 28, -9, -3};
    for (const double pitch : {60.0, profile->pitchMedian, 500.0}) {
        const double score = voiceMatchScore({profile->gender, pitch, 0.1F, 900, mfcc}, *profile);
        require(score >= 0 && score <= 1.000001);
    }
    return 0;
}
