#include "hub/tokenizers/AlignedText.h"

#include <algorithm>
#include <utility>

namespace fenlo::hub {

AlignedText AlignedText::plain(std::string text) {
    AlignedText aligned;
    aligned.m_text = std::move(text);
    return aligned;
}

AlignedText AlignedText::tracked(std::string text, std::size_t begin) {
    AlignedText aligned = plain(std::move(text));
    aligned.m_isTracked = true;
    aligned.m_begin = static_cast<std::uint32_t>(begin);
    aligned.m_origins.reserve(aligned.m_text.size());
    for (std::uint32_t i = 0; i < aligned.m_text.size(); ++i)
        aligned.m_origins.push_back({aligned.m_begin + i, aligned.m_begin + i + 1});
    return aligned;
}

void AlignedText::apply(std::span<const Edit> edits) {
    if (edits.empty())
        return;
    AlignedTextWriter writer(*this);
    for (const Edit& edit : edits) {
        writer.keep(edit.begin);
        writer.replace(edit.end, edit.replacement);
    }
    writer.finish();
}

AlignedText AlignedText::part(std::size_t begin, std::size_t end) const {
    AlignedText part = plain(m_text.substr(begin, end - begin));
    part.m_isTracked = m_isTracked;
    if (m_isTracked) {
        part.m_begin = placeOf(begin);
        part.m_origins.assign(m_origins.begin() + static_cast<std::ptrdiff_t>(begin),
                              m_origins.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return part;
}

TextRange AlignedText::origin(std::size_t begin, std::size_t end) const {
    if (!m_isTracked)
        return {0, 0};
    Origin whole{placeOf(begin), 0};
    whole.end = whole.begin;
    for (const Origin& byte : std::span(m_origins).subspan(begin, end - begin)) {
        if (byte.begin == byte.end)
            continue;
        if (whole.begin == whole.end)
            whole.begin = byte.begin;
        whole.end = std::max(whole.end, byte.end);
    }
    return {whole.begin, whole.end};
}

std::uint32_t AlignedText::placeOf(std::size_t at) const {
    if (at < m_origins.size())
        return m_origins[at].begin;
    return m_origins.empty() ? m_begin : m_origins.back().end;
}

AlignedTextWriter::AlignedTextWriter(AlignedText& text) : m_text(text) {
    m_new.m_isTracked = text.m_isTracked;
    m_new.m_begin = text.m_begin;
    m_new.m_text.reserve(text.m_text.size());
    m_new.m_origins.reserve(text.m_origins.size());
}

void AlignedTextWriter::keep(std::size_t end) {
    if (end == m_done)
        return;
    m_new.m_text.append(m_text.m_text, m_done, end - m_done);
    if (m_text.m_isTracked)
        m_new.m_origins.insert(m_new.m_origins.end(), m_text.m_origins.begin() + static_cast<std::ptrdiff_t>(m_done),
                               m_text.m_origins.begin() + static_cast<std::ptrdiff_t>(end));
    m_done = end;
}

void AlignedTextWriter::replace(std::size_t end, std::string_view replacement) {
    m_new.m_text.append(replacement);
    if (m_text.m_isTracked) {
        const TextRange origin = m_text.origin(m_done, end);
        m_new.m_origins.insert(m_new.m_origins.end(), replacement.size(),
                               {static_cast<std::uint32_t>(origin.begin), static_cast<std::uint32_t>(origin.end)});
    }
    m_done = end;
}

void AlignedTextWriter::finish() {
    keep(m_text.m_text.size());
    m_text = std::move(m_new);
}

} // namespace fenlo::hub
