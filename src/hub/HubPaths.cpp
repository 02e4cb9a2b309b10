#include "hub/HubPaths.h"

#include "base/Text.h"
#include "hub/HubClient.h"

#include <algorithm>

namespace fenlo::hub {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t maxComponentBytes = 255;
constexpr std::size_t maxPathBytes = 1024;
constexpr std::size_t maxShown = 100;

bool isPlain(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_';
}

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

bool isSafeComponent(std::string_view component) {
    return !component.empty() && component.size() <= maxComponentBytes && component != "." && component != ".." &&
           std::none_of(component.begin(), component.end(), [](char c) { return c == '\\' || isControl(c); });
}

} // namespace

bool isRepoName(std::string_view repo) {
    const auto parts = text::split(repo, '/');
    return parts.size() <= 2 && std::all_of(parts.begin(), parts.end(), [](const std::string& part) {
               return isSafeComponent(part) && std::all_of(part.begin(), part.end(), isPlain);
           });
}

bool isRevision(std::string_view revision) {
    const auto components = text::split(revision, '/');
    return revision.size() <= maxComponentBytes && text::repairUtf8(revision) == revision &&
           revision.find_first_of(" ~^:?*[") == std::string_view::npos &&
           revision.find("..") == std::string_view::npos && revision.find("@{") == std::string_view::npos &&
           revision != "@" && !revision.starts_with('-') &&
           std::all_of(components.begin(), components.end(), [](const std::string& component) {
               return isSafeComponent(component) && !component.starts_with('.') && !component.ends_with('.') &&
                      !component.ends_with(".lock");
           });
}

bool isCommit(std::string_view revision) {
    constexpr std::size_t digits = 40;
    return revision.size() == digits && revision.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

bool isSafePath(std::string_view path) {
    const auto components = text::split(path, '/');
    const std::string& first = components.front();
    return path.size() <= maxPathBytes && std::all_of(components.begin(), components.end(), isSafeComponent) &&
           first != partialFolderName && first != manifestName && first != lockName;
}

std::string shown(std::string_view text) {
    std::string line = text::firstCharacters(text::repairUtf8(text), maxShown);
    std::replace_if(line.begin(), line.end(), isControl, '?');
    return line;
}

std::string sizeText(std::uint64_t bytes) {
    const auto value = static_cast<double>(bytes);
    if (value >= 1e9)
        return text::fixed(value / 1e9, 1) + " GB";
    if (value >= 1e6)
        return text::fixed(value / 1e6, 1) + " MB";
    return std::to_string(bytes) + " bytes";
}

fs::path placeIn(const fs::path& folder, const std::string& path) {
    fs::path place = folder;
    const auto components = text::split(path, '/');
    for (std::size_t i = 0; i < components.size(); ++i) {
        place /= components[i];
        std::error_code error;
        const fs::file_type found = fs::symlink_status(place, error).type();
        const fs::file_type wanted = i + 1 < components.size() ? fs::file_type::directory : fs::file_type::regular;
        if (found != fs::file_type::not_found && found != wanted)
            throw HubError(HubError::Kind::disk, "cannot download into " + place.string() + ": it is no plain " +
                                                     (wanted == fs::file_type::regular ? "file" : "folder") +
                                                     "; remove it and try again");
    }
    return place;
}

} // namespace fenlo::hub
