#include "speech/LocalTranscriber.h"

namespace fenlo {

std::string LocalTranscriber::transcribe(const std::filesystem::path& audio, const std::string& language,
                                         std::stop_token stop) const {
    if (!m_engine)
        throw LocalTranscriberError(LocalTranscriberError::Kind::notReady, "the on-device engine is not ready");
    return m_engine(audio, language == "auto" ? std::nullopt : std::optional(language), stop);
}

} // namespace fenlo
