#include "account/PackageCheck.h"

#include "base/Files.h"
#include "platform/PackageSystem.h"

namespace fenlo {

namespace {

constexpr char everyArchitecture[] = "all";

void requireSignature(const std::filesystem::path& file, const UpdatePackage& package, const PackageKey& key) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(file, error);
    if (error || size != package.length)
        throw UpdateFault("The downloaded package has another length than the update feed says; try again.");
    const auto content = files::read(file);
    if (!content || !key.hasSigned(*content, package.signature))
        throw UpdateFault("The package is not the one that Fenlo's makers have signed, so it is not installed; try "
                          "again later.");
}

} // namespace

void requireRightPackage(const std::filesystem::path& file, const UpdateOffer& offer, const PackageKey& key,
                         PackageSystem& packages, std::stop_token stop) {
    const UpdatePackage& package = offer.package.value();
    requireSignature(file, package, key);
    const auto facts = packages.read(file, std::move(stop));
    if (!facts || facts->name != packageName ||
        (facts->architecture != package.architecture && facts->architecture != everyArchitecture))
        throw UpdateFault("The package is not one of Fenlo for this computer, so it is not installed; try again "
                          "later.");
    const auto version = ReleaseVersion::ofPackage(facts->version);
    if (!version || *version != offer.version)
        throw UpdateFault("The package holds Fenlo " + (version ? version->text() : "of an unknown version") +
                          " and not " + offer.version.text() +
                          ", as the update feed says, so it is not installed; try again later.");
}

} // namespace fenlo
