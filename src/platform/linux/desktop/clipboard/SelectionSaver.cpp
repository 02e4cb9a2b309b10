#include "platform/linux/desktop/clipboard/SelectionSaver.h"

#include "platform/linux/desktop/clipboard/SelectionReader.h"

#include <algorithm>
#include <cstring>

namespace fenlo {

namespace {

using State = SelectionConversion::State;

constexpr std::size_t mostBytes = SelectionConversions::largest; // of all forms together

constexpr const char* textNames[] = {"UTF8_STRING", "text/plain;charset=utf-8", "STRING", "text/plain"};

/// Forms that even an owner without an answer in time is asked for.
constexpr const char* usualNames[] = {"image/png", "text/html", "text/uri-list", "x-special/gnome-copied-files",
                                      "x-kde-passwordManagerHint"};

/// Targets that hold no content, that change something, or whose content is useless without their owner; and the other
/// names of plain text.
constexpr const char* otherNames[] = {"TARGETS",          "MULTIPLE",        "TIMESTAMP", "SAVE_TARGETS", "DELETE",
                                      "INSERT_SELECTION", "INSERT_PROPERTY", "PIXMAP",    "BITMAP",       "DRAWABLE",
                                      "COLORMAP",         "CLIENT_WINDOW",   "TEXT",      "COMPOUND_TEXT"};

bool contains(const std::vector<xcb_atom_t>& atoms, xcb_atom_t atom) {
    return std::find(atoms.begin(), atoms.end(), atom) != atoms.end();
}

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
        if (each->state != State::done || bytes + each->content.bytes.size() > mostBytes)
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
        if (offered && !contains(*offered, target))
            continue;
        saved->m_texts.push_back(ask(request, target));
        if (offered || saved->m_texts.back()->state == State::done)
            break;
    }
    const Atoms usual = atoms(usualNames);
    for (const xcb_atom_t target : worthKeeping(offered))
        if (Clock::now() < deadline || contains(usual, target))
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
    Atoms wanted = atoms(usualNames);
    if (!offered)
        return wanted;
    std::erase_if(wanted, [&](xcb_atom_t each) { return !contains(*offered, each); });
    const Atoms texts = atoms(textNames), others = atoms(otherNames);
    for (const xcb_atom_t each : *offered)
        if (!contains(texts, each) && !contains(others, each) && !contains(wanted, each))
            wanted.push_back(each);
    return wanted;
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
