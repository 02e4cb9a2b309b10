#include "platform/linux/desktop/clipboard/SelectionSaver.h"

#include "platform/linux/desktop/clipboard/ClipboardForms.h"
#include "platform/linux/desktop/clipboard/SelectionReader.h"

#include <algorithm>
#include <cstring>

namespace fenlo {

namespace {

using State = SelectionConversion::State;

constexpr const char* textNames[] = {"UTF8_STRING", "text/plain;charset=utf-8", "STRING", "text/plain"};

} // namespace

bool SavedSelection::isSettled() const {
    const auto isOpen = [](const Conversion& each) { return each->isOpen(); };
    return std::none_of(m_texts.begin(), m_texts.end(), isOpen) &&
           std::none_of(m_others.begin(), m_others.end(), isOpen);
}

SelectionContents SavedSelection::contents() const {
    if (m_known)
        return *m_known;
    SelectionContents contents;
    const auto text =
        std::find_if(m_texts.begin(), m_texts.end(), [](auto& each) { return each->state == State::done; });
    if (text != m_texts.end())
        contents.text = textIn((*text)->content);
    std::size_t bytes = contents.text ? contents.text->size() : 0;
    for (const Conversion& each : m_others) {
        if (each->state != State::done || bytes + each->content.bytes.size() > clipboard::mostBytes)
            continue;
        bytes += each->content.bytes.size();
        contents.forms.push_back({each->target, std::shared_ptr<const XcbConnection::Property>(each, &each->content)});
    }
    return contents;
}

std::shared_ptr<const SavedSelection> SelectionSaver::save(xcb_atom_t selection, Clock::time_point deadline) {
    const auto saved = std::make_shared<SavedSelection>();
    saved->m_known.reset();
    const Request request{selection, m_events.serverTime(deadline), deadline};
    const auto offered = offeredTargets(request);
    for (const xcb_atom_t target : atoms(textNames)) {
        if (offered && !clipboard::contains(*offered, target))
            continue;
        saved->m_texts.push_back(ask(request, target));
        if (offered || saved->m_texts.back()->state == State::done)
            break;
    }
    const Atoms usual = atoms(clipboard::usualNames);
    for (const xcb_atom_t target : worthKeeping(offered))
        if (Clock::now() < deadline || clipboard::contains(usual, target))
            saved->m_others.push_back(ask(request, target));
    return saved;
}

std::optional<SelectionSaver::Atoms> SelectionSaver::offeredTargets(const Request& request) {
    const auto answer = ask(request, m_x.atom("TARGETS"));
    // Old programs answer every question with the text.
    const auto& [type, bytes, format] = answer->content;
    if (answer->state != State::done || format != 32 || (type != XCB_ATOM_ATOM && type != m_x.atom("TARGETS")))
        return std::nullopt;
    Atoms offered(bytes.size() / sizeof(xcb_atom_t));
    std::memcpy(offered.data(), bytes.data(), offered.size() * sizeof(xcb_atom_t));
    return offered;
}

SelectionSaver::Atoms SelectionSaver::worthKeeping(const std::optional<Atoms>& offered) {
    Atoms usual = atoms(clipboard::usualNames);
    if (!offered)
        return usual;
    return clipboard::worthKeeping(*offered, std::move(usual), atoms(textNames), atoms(clipboard::otherNames));
}

SavedSelection::Conversion SelectionSaver::ask(const Request& request, xcb_atom_t target) {
    auto conversion = m_conversions.start(request.selection, target, request.time);
    m_events.waitFor(*conversion, request.deadline);
    return conversion;
}

SelectionSaver::Atoms SelectionSaver::atoms(std::span<const char* const> names) {
    Atoms atoms;
    for (const char* name : names)
        atoms.push_back(m_x.atom(name));
    return atoms;
}

} // namespace fenlo
