#include "media/SoundStream.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <mpg123.h>
#include <string>
#include <vector>

namespace fenlo {

namespace {

struct HandleDeleter {
    void operator()(mpg123_handle* handle) const { ::mpg123_delete(handle); }
};

class Mpeg {
public:
    explicit Mpeg(const FileView& view) : m_view(view), m_handle(::mpg123_new(nullptr, nullptr)) {}

    bool open() {
        if (!m_handle)
            return false;
        mpg123_handle* const handle = m_handle.get();
        ::mpg123_param(handle, MPG123_ADD_FLAGS, MPG123_FORCE_FLOAT | MPG123_QUIET | MPG123_GAPLESS, 0);
        ::mpg123_param(handle, MPG123_RESYNC_LIMIT, -1, 0); // search for the next frame as far as needed
        if (::mpg123_replace_reader_handle(handle, read, seek, nullptr) != MPG123_OK ||
            ::mpg123_open_handle(handle, this) != MPG123_OK)
            return false;
        int encoding = 0;
        if (::mpg123_getformat(handle, &m_rate, &m_channels, &encoding) != MPG123_OK ||
            encoding != MPG123_ENC_FLOAT_32 || m_rate <= 0 || m_channels <= 0)
            return false;
        const off_t frames = ::mpg123_length(handle);
        m_expected = frames > 0 ? static_cast<std::uint64_t>(frames) : 0;
        return true;
    }

    SoundBlock next() {
        for (;;) {
            off_t number = 0;
            unsigned char* bytes = nullptr;
            std::size_t size = 0;
            const int result = ::mpg123_decode_frame(m_handle.get(), &number, &bytes, &size);
            if (result == MPG123_NEW_FORMAT) {
                int channels = 0, encoding = 0;
                long rate = 0;
                ::mpg123_getformat(m_handle.get(), &rate, &channels, &encoding);
                m_isOurs = rate == m_rate && channels == m_channels && encoding == MPG123_ENC_FLOAT_32;
                continue;
            }
            if (result != MPG123_OK)
                return atEnd();
            const std::uint64_t skipped = m_isOurs ? skippedBytes() : 0;
            if (!m_isOurs || bytes == nullptr || size == 0)
                continue;
            const auto samples = std::span(reinterpret_cast<const float*>(bytes), size / sizeof(float));
            const auto frameSize = static_cast<std::uint64_t>(m_channels);
            SoundBlock block{.samples = samples};
            if (skipped > 0 && m_bytesRead > 0) {
                block.isDamaged = true;
                const double bytesOfFrame = static_cast<double>(m_bytesRead) / static_cast<double>(m_frames);
                block.lost = static_cast<std::uint64_t>(std::llround(static_cast<double>(skipped) / bytesOfFrame) *
                                                        ::mpg123_spf(m_handle.get()));
            }
            m_lost += block.lost;
            m_place += block.lost + samples.size() / frameSize;
            return block;
        }
    }

    int rate() const { return static_cast<int>(m_rate); }
    int channels() const { return m_channels; }
    std::uint64_t expectedFrames() const { return m_expected; }

private:
    static ssize_t read(void* client, void* bytes, std::size_t size) {
        auto& mpeg = *static_cast<Mpeg*>(client);
        const std::size_t done =
            mpeg.m_view.read(static_cast<std::uint64_t>(mpeg.m_position), {static_cast<char*>(bytes), size});
        mpeg.m_position += static_cast<off_t>(done);
        return static_cast<ssize_t>(done);
    }
    static off_t seek(void* client, off_t offset, int whence) {
        auto& mpeg = *static_cast<Mpeg*>(client);
        const off_t base = whence == SEEK_SET   ? 0
                           : whence == SEEK_CUR ? mpeg.m_position
                                                : static_cast<off_t>(mpeg.m_view.size());
        return mpeg.m_position = std::max<off_t>(0, base + offset);
    }

    /// The bytes between the last frame and this one.
    std::uint64_t skippedBytes() {
        mpg123_frameinfo info{};
        const off_t begin = ::mpg123_framepos(m_handle.get());
        if (begin < 0 || ::mpg123_info(m_handle.get(), &info) != MPG123_OK || info.framesize <= 0)
            return 0;
        if (m_frames == 0)
            m_isLengthTold = tellsLength(begin);
        const off_t skipped = m_frameEnd > 0 ? begin - m_frameEnd : 0;
        m_frameEnd = begin + info.framesize;
        m_bytesRead += static_cast<std::uint64_t>(info.framesize);
        ++m_frames;
        return skipped > 0 ? static_cast<std::uint64_t>(skipped) : 0;
    }

    SoundBlock atEnd() const {
        const std::uint64_t tolerated = static_cast<std::uint64_t>(m_rate / 2) + m_lost / 10; // gaps are estimates
        if (m_isLengthTold && m_place + tolerated < m_expected)
            return {.samples = {}, .isDamaged = true, .lost = m_expected - m_place};
        return {.samples = {}, .isDamaged = endsInAFrame()};
    }

    bool endsInAFrame() const {
        std::array<char, 2> head{};
        return m_view.read(static_cast<std::uint64_t>(m_frameEnd), head) == 2 && head[0] == '\xFF' &&
               (static_cast<unsigned char>(head[1]) & 0xE0) == 0xE0;
    }

    /// A first frame without sound may say how many follow; otherwise the length is a guess.
    bool tellsLength(off_t firstFrame) const {
        std::string head(static_cast<std::size_t>(std::clamp<off_t>(firstFrame, 0, 4096)), '\0');
        m_view.read(static_cast<std::uint64_t>(firstFrame) - head.size(), head);
        return head.find("Xing") != std::string::npos || head.find("Info") != std::string::npos;
    }

    const FileView m_view;
    off_t m_position = 0; // bytes
    std::unique_ptr<mpg123_handle, HandleDeleter> m_handle;
    long m_rate = 0;
    int m_channels = 0;
    bool m_isOurs = true;         // the frames have the format of the first
    std::uint64_t m_expected = 0; // frames
    std::uint64_t m_place = 0;    // frames so far
    std::uint64_t m_lost = 0;     // frames of them that were missing
    bool m_isLengthTold = false;
    off_t m_frameEnd = 0; // bytes
    std::uint64_t m_bytesRead = 0;
    std::uint64_t m_frames = 0; // MPEG's own, of which each holds many of ours
};

} // namespace

std::optional<SoundStream> openMpeg(const FileView& view) {
    const auto mpeg = std::make_shared<Mpeg>(view);
    if (!mpeg->open())
        return {};
    return SoundStream{.sampleRate = mpeg->rate(),
                       .channels = mpeg->channels(),
                       .expectedFrames = mpeg->expectedFrames(),
                       .next = [mpeg] { return mpeg->next(); }};
}

} // namespace fenlo
