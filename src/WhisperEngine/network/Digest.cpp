#include "WhisperEngine/network/Digest.h"

#include "WhisperEngine/WhisperError.h"
#include "base/OpenSsl.h"

namespace fenlo::whisper {

std::array<std::uint8_t, 32> sha256(std::string_view bytes) {
    std::array<std::uint8_t, 32> digest{};
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1)
        throw WhisperError(WhisperError::Kind::initializationError, "SHA-256 is not available on this system.");
    return digest;
}

} // namespace fenlo::whisper
