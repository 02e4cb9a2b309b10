#include "account/UpdateOffer.h"

#include "account/PackageSignature.h"
#include "base/Url.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr std::size_t mostNotes = 10;

struct Release {
    ReleaseVersion version;
    const FeedItem* item;
};

/// Those for everybody whose version can be read, newest first.
std::vector<Release> readable(const std::vector<FeedItem>& items) {
    std::vector<Release> releases;
    for (const FeedItem& item : items)
        if (auto version = ReleaseVersion::parse(item.version); version && item.channel.empty())
            releases.push_back({std::move(*version), &item});
    std::ranges::stable_sort(releases, [](const auto& one, const auto& other) { return one.version > other.version; });
    return releases;
}

/// Packages are named as Debian names them, "fenlo_1.4.0_amd64.deb"; one whose name tells no system may be for this
/// one.
bool isFor(const FeedEnclosure& file, const std::string& architecture) {
    constexpr std::string_view ending = ".deb";
    std::string_view name = file.url;
    name = name.substr(0, name.find_first_of("?#"));
    name = name.substr(name.rfind('/') + 1);
    if (!name.ends_with(ending) || (!file.system.empty() && file.system != "linux"))
        return false;
    name.remove_suffix(ending.size());
    const std::size_t mark = name.rfind('_');
    const std::string_view told = mark == std::string_view::npos ? architecture : name.substr(mark + 1);
    return told == architecture || told == "all";
}

/// The release's file for this system; null when it has none.
const FeedEnclosure* fileFor(const Release& release, const std::string& architecture) {
    const auto& files = release.item->enclosures;
    const auto found = std::ranges::find_if(files, [&](const auto& file) { return isFor(file, architecture); });
    return found == files.end() ? nullptr : &*found;
}

UpdatePackage checkedPackage(const Release& release, const FeedEnclosure& file, const UpdateGround& ground) {
    const std::string what = "Fenlo " + release.version.text();
    if (url::originOf(file.url) != ground.origin)
        throw UpdateFault("The update feed names a package of " + what +
                          " on another server, from which Fenlo takes none; try again later.");
    if (file.length == 0 || file.length > longestPackage)
        throw UpdateFault("The update feed gives no possible length for the package of " + what + "; try again later.");
    auto signature = parseSignature(file.signature);
    if (!signature)
        throw UpdateFault("The update feed gives no signature for the package of " + what +
                          ", so it is not installed; try again later.");
    return {file.url, std::move(*signature), file.length, ground.architecture};
}

} // namespace

std::optional<UpdateOffer> chooseOffer(const std::vector<FeedItem>& items, const UpdateGround& ground) {
    const std::vector<Release> releases = readable(items);
    if (releases.empty() && !items.empty())
        throw UpdateFault("The update feed names no version that Fenlo can read; try again later.");
    std::optional<UpdateOffer> offer;
    for (const Release& release : releases) {
        if (release.version <= ground.installed)
            break;
        if (release.version.isPrerelease() && !ground.takesPrereleases)
            continue;
        if (!offer) {
            const FeedEnclosure* const file =
                ground.architecture.empty() ? nullptr : fileFor(release, ground.architecture);
            if (!ground.architecture.empty() && !file)
                continue; // for other systems
            offer = UpdateOffer{release.version, {}, {}};
            if (file)
                offer->package = checkedPackage(release, *file, ground);
        }
        if (!release.item->notes.empty() && offer->notes.size() < mostNotes)
            offer->notes.push_back({release.version, release.item->notes});
    }
    if (offer && ground.newestVerified && offer->version < *ground.newestVerified)
        throw UpdateFault("The update feed offers Fenlo " + offer->version.text() + ", though it had " +
                          ground.newestVerified->text() + " before, so nothing is installed; try again later.");
    return offer;
}

} // namespace fenlo
