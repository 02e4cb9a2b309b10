// The update feed: any content is read or refused, and what is chosen of it keeps what the feed may not decide: it is
// newer than what is installed, and its package comes from the feed's own server with a length and a signature.

#include "account/PackageSignature.h"
#include "account/UpdateOffer.h"
#include "base/Url.h"
#include "fuzz/Require.h"

#include <cstdint>

using namespace fenlo;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto items = parseFeed({reinterpret_cast<const char*>(data), size});
    if (!items)
        return 0;
    for (const FeedItem& item : *items)
        requireUtf8(item.notes);
    const UpdateGround ground{.origin = "https://updates.example",
                              .installed = ReleaseVersion::parse("1.4").value(),
                              .takesPrereleases = size % 2 == 1,
                              .newestVerified = ReleaseVersion::parse("1.5"),
                              .architecture = "amd64"};
    try {
        const auto offer = chooseOffer(*items, ground);
        if (!offer)
            return 0;
        require(offer->version > ground.installed && offer->version >= *ground.newestVerified);
        require(ground.takesPrereleases || !offer->version.isPrerelease());
        require(offer->version.text().find_first_of("/\\\n") == std::string::npos);
        const UpdatePackage& package = offer->package.value();
        require(url::originOf(package.url) == ground.origin);
        require(package.length > 0 && package.length <= longestPackage && package.signature.size() == 64);
    } catch (const UpdateFault&) {
    }
    return 0;
}
