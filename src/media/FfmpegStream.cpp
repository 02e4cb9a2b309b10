#include "media/AudioFileError.h"
#include "media/FfmpegProgram.h"
#include "media/SoundStream.h"

#include <memory>
#include <utility>

namespace fenlo {

namespace {

/// The sound that ffmpeg sends. Its complaints count as damage. Their place is approximate, since ffmpeg reads ahead.
class Converted {
public:
    Converted(std::filesystem::path file, std::unique_ptr<FfmpegProgram> program, SoundStream sound,
              std::stop_token stop)
        : m_file(std::move(file)), m_program(std::move(program)), m_sound(std::move(sound)), m_stop(std::move(stop)) {}

    SoundBlock next() {
        SoundBlock block = m_isAtEnd ? SoundBlock{} : m_sound.next();
        const bool hasFailed = block.samples.empty() && !std::exchange(m_isAtEnd, true) && !m_program->finish();
        if (m_stop.stop_requested())
            throw AudioFileError(m_file, "reading was stopped; start it again");
        // ffmpeg reads ahead, so the fault lies after this block rather than before it.
        block.isDamaged = std::exchange(m_hasComplained, m_program->hasComplained()) || hasFailed;
        block.isDamaged = block.isDamaged || (block.samples.empty() && std::exchange(m_hasComplained, false));
        return block;
    }

private:
    const std::filesystem::path m_file;
    const std::unique_ptr<FfmpegProgram> m_program; // the stream reads from it
    const SoundStream m_sound;
    const std::stop_token m_stop;
    bool m_isAtEnd = false;
    bool m_hasComplained = false;
};

} // namespace

SoundStream openWithFfmpeg(const std::filesystem::path& file, std::stop_token stop) {
    auto program = std::make_unique<FfmpegProgram>(file, stop);
    auto sound = openSndfilePipe(program->output());
    if (!sound) {
        program->finish();
        if (stop.stop_requested())
            throw AudioFileError(file, "reading was stopped; start it again");
        const std::string complaint = program->firstComplaint();
        throw AudioFileError(file, "ffmpeg cannot read it either" + (complaint.empty() ? "" : " (" + complaint + ")") +
                                       "; check that it is a complete audio file");
    }
    const auto converted = std::make_shared<Converted>(file, std::move(program), *sound, std::move(stop));
    sound->next = [converted] { return converted->next(); };
    return *sound;
}

} // namespace fenlo
