#include "media/SoundStream.h"

#include <memory>
#include <ogg/ogg.h>
#include <string_view>
#include <utility>
#include <vector>

namespace fenlo {

namespace {

/// Consecutive intact pages.
struct Run {
    std::uint64_t begin = 0; // bytes
    std::uint64_t end = 0;
    std::int64_t place = -1; // the frame after its last packet, as the codec counts; -1 when no page says
};

struct Pages {
    std::uint64_t headersEnd = 0; // bytes; the pages before the sound
    std::vector<Run> runs;        // the first one has the headers before it
    std::int64_t preSkip = 0;     // frames at the beginning that the codec drops
    bool isSimple = true;         // a single stream, complete from its beginning
    bool isEnded = false;         // the last page says that it is the last
};

class PageWalk {
public:
    explicit PageWalk(const FileView& view) : m_view(view) { ::ogg_sync_init(&m_sync); }
    ~PageWalk() { ::ogg_sync_clear(&m_sync); }
    PageWalk(const PageWalk&) = delete;
    PageWalk& operator=(const PageWalk&) = delete;

    Pages walk() {
        for (;;) {
            ogg_page page{};
            const long size = ::ogg_sync_pageseek(&m_sync, &page); // tests the page's check sum
            if (size < 0) {
                m_place += static_cast<std::uint64_t>(-size);
                m_isGap = true;
            } else if (size > 0) {
                take(page, static_cast<std::uint64_t>(size));
                m_place += static_cast<std::uint64_t>(size);
            } else if (!fill()) {
                return std::move(m_pages);
            }
        }
    }

private:
    bool fill() {
        constexpr std::size_t portion = 65536;
        char* const buffer = ::ogg_sync_buffer(&m_sync, portion);
        const std::size_t size = buffer ? m_view.read(m_read, {buffer, portion}) : 0;
        m_read += size;
        return size > 0 && ::ogg_sync_wrote(&m_sync, static_cast<long>(size)) == 0;
    }

    void take(const ogg_page& page, std::uint64_t size) {
        const long number = ::ogg_page_pageno(&page);
        const int stream = ::ogg_page_serialno(&page);
        const std::int64_t granule = ::ogg_page_granulepos(&page);
        if (m_isFirst) {
            m_stream = stream;
            m_pages.isSimple = m_place == 0 && ::ogg_page_bos(&page);
            if (page.body_len >= 12 && std::string_view(reinterpret_cast<const char*>(page.body), 8) == "OpusHead")
                m_pages.preSkip = page.body[10] | page.body[11] << 8;
        } else if (stream != m_stream || ::ogg_page_bos(&page)) {
            m_pages.isSimple = false;
        }
        const bool isHeader = m_pages.runs.empty() && granule == 0;
        if (isHeader)
            m_pages.headersEnd = m_place + size;
        const bool goesOn = !m_isGap && (m_isFirst || number == m_number + 1);
        if (isHeader && !goesOn)
            m_pages.isSimple = false;
        if (!isHeader) {
            if (m_pages.runs.empty() || !goesOn)
                m_pages.runs.push_back({.begin = m_place});
            m_pages.runs.back().end = m_place + size;
            if (granule >= 0)
                m_pages.runs.back().place = granule;
        }
        m_pages.isEnded = ::ogg_page_eos(&page);
        m_number = number;
        m_isFirst = m_isGap = false;
    }

    const FileView& m_view;
    ogg_sync_state m_sync{};
    std::uint64_t m_read = 0;
    std::uint64_t m_place = 0;
    Pages m_pages;
    int m_stream = 0;
    long m_number = 0;
    bool m_isFirst = true;
    bool m_isGap = false;
};

std::uint64_t framesOf(const SoundStream& stream) {
    std::uint64_t frames = 0;
    for (auto block = stream.next(); !block.samples.empty(); block = stream.next())
        frames += block.samples.size() / static_cast<std::size_t>(stream.channels);
    return frames;
}

/// The runs in order, each at its time. A page says when it ends, so the frames of a run must be counted to know when
/// it begins.
class MendedOgg {
public:
    MendedOgg(const FileView& view, Pages pages, SoundStream whole)
        : m_view(view), m_pages(std::move(pages)), m_whole(std::move(whole)) {}

    SoundBlock next() {
        for (;;) {
            SoundBlock block = m_current ? m_current->next() : SoundBlock{};
            const std::uint64_t frames = block.samples.size() / static_cast<std::size_t>(m_whole.channels);
            if (frames > 0) {
                block.isDamaged = std::exchange(m_isBehindGap, false);
                block.lost = std::exchange(m_lost, 0);
                m_place += block.lost + frames;
                return block;
            }
            if (m_run == m_pages.runs.size())
                return {.samples = {}, .isDamaged = !m_pages.isEnded || m_isBehindGap};
            beginRun(m_pages.runs[m_run++]);
        }
    }

private:
    FileView viewOf(const Run& run) const {
        return m_view.none().append(0, m_pages.headersEnd).append(run.begin, run.end);
    }

    void beginRun(const Run& run) {
        m_isBehindGap = m_run > 1 || run.begin != m_pages.headersEnd;
        if (m_isBehindGap)
            if (const auto counted = openSndfile(viewOf(run)); counted && run.place >= 0) {
                const std::int64_t end = (run.place - m_pages.preSkip) * m_whole.sampleRate / rateOfPlaces();
                const std::int64_t begin = end - static_cast<std::int64_t>(framesOf(*counted));
                m_lost = begin > static_cast<std::int64_t>(m_place) ? static_cast<std::uint64_t>(begin) - m_place : 0;
            }
        m_current = openSndfile(viewOf(run));
        if (m_current && (m_current->channels != m_whole.channels || m_current->sampleRate != m_whole.sampleRate))
            m_current.reset();
    }

    /// Opus counts at 48 kHz, whatever the rate of the recording.
    std::int64_t rateOfPlaces() const { return m_pages.preSkip > 0 ? 48000 : m_whole.sampleRate; }

    const FileView m_view;
    const Pages m_pages;
    const SoundStream m_whole;
    std::optional<SoundStream> m_current;
    std::size_t m_run = 0;
    std::uint64_t m_place = 0; // frames so far
    std::uint64_t m_lost = 0;
    bool m_isBehindGap = false;
};

bool isIntact(const Pages& pages) {
    return pages.runs.size() == 1 && pages.runs[0].begin == pages.headersEnd && pages.isEnded;
}

} // namespace

OggPages checkOggPages(const FileView& view) {
    const Pages pages = PageWalk(view).walk();
    return !pages.isEnded ? OggPages::cut : isIntact(pages) ? OggPages::intact : OggPages::damaged;
}

std::optional<SoundStream> openOgg(const FileView& view) {
    auto whole = openSndfile(view);
    if (!whole)
        return {};
    Pages pages = PageWalk(view).walk();
    if (isIntact(pages) || !pages.isSimple || pages.runs.empty())
        return whole;
    const auto mended = std::make_shared<MendedOgg>(view, std::move(pages), *whole);
    whole->next = [mended] { return mended->next(); };
    return whole;
}

} // namespace fenlo
