#include "audio/RunningCopy.h"

#include "audio/ChunkWriter.h"
#include "base/Files.h"
#include "base/Log.h"
#include "media/SpeechRate.h"

namespace fenlo {

void RunningCopy::append(std::span<const float> samples) {
    if (m_hasFailed)
        return;
    try {
        if (!m_writer)
            m_writer.emplace(files::temporaryFile("", ".wav"), speechRate, WavEncoding::float32);
        m_writer->append(resampleForChunk(samples, m_sampleRate));
    } catch (const std::exception& error) { // also when memory runs out
        m_hasFailed = true;
        m_writer.reset();
        logInfo("The running take has no copy on the disk: {}", error.what());
    }
}

std::optional<std::filesystem::path> RunningCopy::file() const {
    return m_writer ? std::optional(m_writer->file()) : std::nullopt;
}

} // namespace fenlo
