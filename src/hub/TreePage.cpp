#include "hub/TreePage.h"

#include "base/Json.h"
#include "base/Text.h"
#include "hub/HubPaths.h"

#include <nlohmann/json.hpp>

namespace fenlo::hub {

namespace {

using nlohmann::json;

constexpr std::size_t sha1Digits = 40;
constexpr std::size_t sha256Digits = 64;
constexpr std::uint64_t maxFileBytes = 1ull << 46u; // so that the sum of a listing does not overflow

[[noreturn]] void refuse(const HubRepo& repo, const std::string& fault) {
    throw HubError(HubError::Kind::badReply, "the hub's list of the files of " + shown(repo.name) + " " + fault);
}

const json* find(const json& object, const char* key) {
    const auto found = object.find(key);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::string textOf(const json& object, const char* key) {
    const json* value = find(object, key);
    return value && value->is_string() ? value->get<std::string>() : "";
}

RepoFile parseFile(const HubRepo& repo, const json& entry) {
    RepoFile file;
    file.path = textOf(entry, "path");
    const std::string below = repo.subfolder.empty() ? "" : repo.subfolder + "/";
    if (!file.path.starts_with(below))
        refuse(repo,
               "has \"" + shown(file.path) + "\", which is not in " + shown(repo.subfolder) + "; try again later");
    file.path.erase(0, below.size());
    if (!isSafePath(file.path))
        refuse(repo, "has an unsafe path, \"" + shown(file.path) + "\"; nothing is downloaded from it");

    const json* large = find(entry, "lfs");
    const json* size = find(large && large->is_object() ? *large : entry, "size");
    if (!size || !size->is_number_unsigned() || *size > maxFileBytes)
        refuse(repo, "gives no usable size for " + shown(file.path) + "; try again later");
    file.size = size->get<std::uint64_t>();

    if (large && large->is_object())
        file.sha256 = hexadecimalHash(textOf(*large, "oid"), sha256Digits);
    else
        file.blobId = hexadecimalHash(textOf(entry, "oid"), sha1Digits);
    return file;
}

} // namespace

std::optional<std::string> hexadecimalHash(std::string_view text, std::size_t digits) {
    const std::string_view prefix = "sha256:";
    if (text.starts_with(prefix))
        text.remove_prefix(prefix.size());
    const std::string hash = text::lower(text);
    if (hash.size() != digits || hash.find_first_not_of("0123456789abcdef") != std::string::npos)
        return {};
    return hash;
}

std::vector<RepoFile> parseTreePage(const HubRepo& repo, std::string_view body) {
    const json page = parseJson(body);
    if (!page.is_array())
        refuse(repo, "cannot be read; check HF_ENDPOINT and whether the network asks for a sign-in");
    std::vector<RepoFile> files;
    for (const json& entry : page) {
        if (!entry.is_object())
            refuse(repo, "cannot be read; try again later");
        if (textOf(entry, "type") == "file")
            files.push_back(parseFile(repo, entry));
    }
    return files;
}

} // namespace fenlo::hub
