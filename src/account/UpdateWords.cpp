#include "account/UpdateWords.h"

#include "account/AutoUpdater.h"
#include "base/Text.h"

namespace fenlo {

namespace {

using Stage = AutoUpdater::Stage;

std::string megabytes(std::uint64_t bytes) {
    constexpr double million = 1'000'000;
    return text::fixed(double(bytes) / million, 1) + " MB";
}

std::string named(const std::optional<UpdateOffer>& offer) {
    return "Fenlo " + (offer ? offer->version.text() : "");
}

/// With a heading for each version where there are several.
std::string notesText(const std::vector<ReleaseNotes>& notes) {
    std::string all;
    for (const ReleaseNotes& release : notes)
        all += (all.empty() ? "" : "\n\n") + (notes.size() > 1 ? release.version.text() + "\n" : "") + release.text;
    return all;
}

UpdateWords upToDate(const AutoUpdater& updater) {
    const std::string newest = updater.installed() ? updater.installed()->text() : updater.version();
    if (newest == updater.version())
        return {"Fenlo " + newest + " is the newest version.", {}, {}};
    return {"Fenlo " + newest + " is installed.",
            "It is the newest version. " + updater.version() + " still runs: quit Fenlo and start it again.",
            {}};
}

UpdateWords available(const AutoUpdater& updater) {
    const auto& offer = updater.offer().value();
    std::string text = "You have " + (updater.installed() ? updater.installed()->text() : updater.version()) + ". ";
    text += offer.package ? "The package has " + megabytes(offer.package->length) + "."
                          : "This Fenlo was not installed as a package of this system: get the new one where you got "
                            "it.";
    return {named(offer) + " is available", text, notesText(offer.notes)};
}

UpdateWords handedOver(const AutoUpdater& updater) {
    if (updater.wasOpened())
        return {named(updater.offer()) + " is with your installer",
                "The package is verified. Install it there, then quit Fenlo and start it again.",
                {}};
    return {named(updater.offer()) + " is downloaded",
            "The package is verified. This desktop has no program that installs packages, so it is shown in its "
            "folder. In a terminal: sudo apt install " +
                updater.packageFile().string(),
            {}};
}

} // namespace

UpdateWords UpdateWords::of(const AutoUpdater& updater) {
    switch (updater.stage()) {
    case Stage::idle:
        return {"Fenlo " + updater.version(), {}, {}};
    case Stage::checking:
        return {"Looking for a newer version…", {}, {}};
    case Stage::upToDate:
        return upToDate(updater);
    case Stage::available:
        return available(updater);
    case Stage::downloading:
        return {"Downloading " + named(updater.offer()),
                megabytes(updater.bytesDone()) + " of " + megabytes(updater.offer()->package->length),
                {}};
    case Stage::verifying:
        return {
            "Verifying " + named(updater.offer()), "Whether the package is the one that Fenlo's makers signed.", {}};
    case Stage::verified:
        return {named(updater.offer()) + " is downloaded",
                "The package is verified. Open your installer when you have finished speaking.",
                {}};
    case Stage::handedOver:
        return handedOver(updater);
    case Stage::failed:
        return {"No update", {}, {}}; // the fault is shown apart
    }
    return {};
}

} // namespace fenlo
