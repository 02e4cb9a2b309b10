#include "ApprovedText.h"

#include "base/Files.h"
#include "base/Text.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace fenlo {

namespace {

constexpr std::size_t shown = 60; // bytes on each side of a difference

/// The place, or the start of the character that it is within.
std::size_t characterStart(const std::string& text, std::size_t place) {
    while (place > 0 && place < text.size() && (static_cast<unsigned char>(text[place]) & 0xC0) == 0x80)
        --place;
    return place;
}

std::string excerpt(const std::string& text, std::size_t place) {
    const std::size_t from = characterStart(text, place > shown ? place - shown : 0);
    const std::size_t to = characterStart(text, std::min(place + shown, text.size()));
    return text::replaceAll(text.substr(from, place - from) + "⟦HERE⟧" + text.substr(place, to - place), "\n", "\\n");
}

std::string firstDifference(const std::string& approved, const std::string& received) {
    const auto first = std::mismatch(approved.begin(), approved.end(), received.begin(), received.end()).first;
    const std::size_t place = characterStart(approved, static_cast<std::size_t>(first - approved.begin()));
    const auto line = 1 + std::count(approved.begin(), first, '\n');
    return "differs in line " + std::to_string(line) + "\n  approved: " + excerpt(approved, place) +
           "\n  received: " + excerpt(received, place);
}

} // namespace

testing::AssertionResult isApproved(const std::string& name, const std::string& text) {
    const fs::path approvedFile = fs::path(APPROVED_FOLDER) / (name + ".txt");
    const fs::path receivedFile = fs::path(RECEIVED_FOLDER) / (name + ".txt");
    files::removeQuietly(receivedFile);
    const auto approved = files::read(approvedFile);
    if (approved == text)
        return testing::AssertionSuccess();
    fs::create_directories(receivedFile.parent_path());
    files::writeAtomically(receivedFile, text);
    return testing::AssertionFailure() << (approved ? firstDifference(*approved, text) : "is not approved yet")
                                       << "\n  diff " << approvedFile << " " << receivedFile;
}

} // namespace fenlo
