#include "media/SoundStream.h"

#include <FLAC/stream_decoder.h>
#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

namespace fenlo {

namespace {

struct DecoderDeleter {
    void operator()(FLAC__StreamDecoder* decoder) const { ::FLAC__stream_decoder_delete(decoder); }
};

/// The frames of a file, in order. After damage libFLAC finds the next intact frame by itself.
class Flac {
public:
    Flac(const FileView& view, std::optional<OggPages> pages)
        : m_view(view), m_pages(pages), m_decoder(::FLAC__stream_decoder_new()) {}

    bool open() {
        const auto init = m_pages ? ::FLAC__stream_decoder_init_ogg_stream : ::FLAC__stream_decoder_init_stream;
        return m_decoder &&
               init(m_decoder.get(), read, nullptr, nullptr, nullptr, nullptr, write, metadata, error, this) ==
                   FLAC__STREAM_DECODER_INIT_STATUS_OK &&
               ::FLAC__stream_decoder_process_until_end_of_metadata(m_decoder.get()) && m_info.channels > 0;
    }

    SoundBlock next() {
        m_block.clear();
        while (m_block.empty() && ::FLAC__stream_decoder_process_single(m_decoder.get()) &&
               ::FLAC__stream_decoder_get_state(m_decoder.get()) < FLAC__STREAM_DECODER_END_OF_STREAM) {
        }
        if (!m_block.empty())
            return {.samples = m_block, .isDamaged = m_lost > 0, .lost = m_lost};
        const std::uint64_t missing = m_info.total_samples > m_place ? m_info.total_samples - m_place : 0;
        return {.samples = {}, .isDamaged = missing > 0 || (m_info.total_samples == 0 && isCut()), .lost = missing};
    }

    const FLAC__StreamMetadata_StreamInfo& info() const { return m_info; }

private:
    static Flac& self(void* client) { return *static_cast<Flac*>(client); }

    static FLAC__StreamDecoderReadStatus read(const FLAC__StreamDecoder*, FLAC__byte buffer[], std::size_t* bytes,
                                              void* client) {
        Flac& flac = self(client);
        *bytes = flac.m_view.read(flac.m_position, {reinterpret_cast<char*>(buffer), *bytes});
        flac.m_position += *bytes;
        return *bytes > 0 ? FLAC__STREAM_DECODER_READ_STATUS_CONTINUE : FLAC__STREAM_DECODER_READ_STATUS_END_OF_STREAM;
    }

    static FLAC__StreamDecoderWriteStatus write(const FLAC__StreamDecoder*, const FLAC__Frame* frame,
                                                const FLAC__int32* const channels[], void* client) {
        self(client).take(frame->header, channels);
        return FLAC__STREAM_DECODER_WRITE_STATUS_CONTINUE;
    }

    static void metadata(const FLAC__StreamDecoder*, const FLAC__StreamMetadata* block, void* client) {
        if (block->type == FLAC__METADATA_TYPE_STREAMINFO)
            self(client).m_info = block->data.stream_info;
    }

    static void error(const FLAC__StreamDecoder*, FLAC__StreamDecoderErrorStatus status, void* client) {
        self(client).m_isOutOfStep = true;
        // The frame that follows is the damaged one; even its place cannot be trusted.
        if (status == FLAC__STREAM_DECODER_ERROR_STATUS_FRAME_CRC_MISMATCH)
            self(client).m_isFrameBad = true;
    }

    void take(const FLAC__FrameHeader& header, const FLAC__int32* const channels[]) {
        if (std::exchange(m_isFrameBad, false) || header.channels != m_info.channels)
            return;
        // libFLAC fills short gaps with frames of silence, which are not part of the recording.
        if (isSuspect() && isSilent(header, channels))
            return;
        const std::uint64_t place = header.number.sample_number;
        // A place before the current one: another recording was appended to this one.
        m_lost = place > m_place ? place - m_place : 0;
        m_place = place + header.blocksize;
        m_isOutOfStep = false;
        const auto scale = static_cast<float>(std::ldexp(1.0, 1 - static_cast<int>(header.bits_per_sample)));
        m_block.reserve(std::size_t{header.blocksize} * header.channels);
        for (unsigned frame = 0; frame < header.blocksize; ++frame)
            for (unsigned channel = 0; channel < header.channels; ++channel)
                m_block.push_back(static_cast<float>(channels[channel][frame]) * scale);
    }

    static bool isSilent(const FLAC__FrameHeader& header, const FLAC__int32* const channels[]) {
        return std::all_of(channels, channels + header.channels, [&header](const FLAC__int32* samples) {
            return std::all_of(samples, samples + header.blocksize, [](FLAC__int32 sample) { return sample == 0; });
        });
    }

    /// libFLAC does not report damaged Ogg pages.
    bool isSuspect() const { return m_pages ? *m_pages != OggPages::intact : m_isOutOfStep; }
    bool isCut() const { return m_pages ? *m_pages == OggPages::cut : m_isOutOfStep; }

    const FileView m_view;
    const std::optional<OggPages> m_pages;
    std::uint64_t m_position = 0; // bytes
    std::unique_ptr<FLAC__StreamDecoder, DecoderDeleter> m_decoder;
    FLAC__StreamMetadata_StreamInfo m_info{};
    std::vector<float> m_block;
    std::uint64_t m_place = 0; // the frame that should come next
    std::uint64_t m_lost = 0;  // frames missing before the block
    bool m_isFrameBad = false;
    bool m_isOutOfStep = false; // something was damaged since the last intact frame
};

} // namespace

std::optional<SoundStream> openFlac(const FileView& view, std::optional<OggPages> pages) {
    const auto flac = std::make_shared<Flac>(view, pages);
    if (!flac->open())
        return {};
    return SoundStream{.sampleRate = static_cast<int>(flac->info().sample_rate),
                       .channels = static_cast<int>(flac->info().channels),
                       .expectedFrames = flac->info().total_samples,
                       .next = [flac] { return flac->next(); }};
}

} // namespace fenlo
