// Replies of the hub: any listing ends in an error or in files that stay in their folder, any address leads to the web
// or is refused, and a manifest is read back as written. The first line of the input is the value of a header.

#include "base/Url.h"
#include "fuzz/Require.h"
#include "hub/HubPaths.h"
#include "hub/SnapshotManifest.h"
#include "hub/TreePage.h"
#include "hub/WebAddress.h"

#include <cstdint>

using namespace fenlo;
using namespace fenlo::hub;

namespace {

void requireInside(const std::string& path) {
    const std::filesystem::path folder = "/folder/model";
    const auto place = (folder / path).lexically_normal().string();
    require(place.starts_with("/folder/model/") && place.find('\0') == std::string::npos);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view header = input.substr(0, input.find('\n'));
    const std::string_view body = input.substr(std::min(header.size() + 1, input.size()));
    const std::string next = url::resolveAddress("https://hub.example/api/models/a/b", nextPage(header));
    require(next.empty() || !url::originOf(next).empty());
    const std::string elsewhere = url::resolveAddress("https://hub.example/a", header);
    require(elsewhere.empty() || !url::originOf(elsewhere).empty());
    try {
        for (const char* subfolder : {"", "folder"})
            for (const RepoFile& file : parseTreePage({"maker/model", "main", subfolder}, body)) {
                requireInside(file.path);
                require(!file.sha256 || file.sha256->size() == 64);
                require(matchesGlob(file.path, "*") && matchesGlob(file.path, literalGlob(file.path)));
                require(url::percentEncode(file.path, "/").find(' ') == std::string::npos);
            }
    } catch (const HubError& error) {
        require(std::string_view(error.what()).find('\n') == std::string_view::npos);
    }
    matchesGlob(body.substr(0, 200), header.substr(0, 60));
    if (isRevision(header))
        require(header.find_first_of("\n\\ ?*[") == std::string_view::npos && !header.ends_with('/'));
    if (const auto manifest = SnapshotManifest::parse(body)) {
        const auto again = SnapshotManifest::parse(manifest->text());
        require(again && again->text() == manifest->text());
        for (const RepoFile& file : manifest->files)
            requireInside(file.path);
    }
    return 0;
}
