#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// The number of a release: "1.4", or "1.4.0", which is the same; "2.0.0-beta.2" comes before "2.0.0".
class ReleaseVersion {
public:
    /// Up to six numbers with dots between them, and perhaps "-" and letters, digits and dots that begin with a letter.
    /// Nothing for any other text.
    static std::optional<ReleaseVersion> parse(std::string_view text);

    /// The release in the version of a Debian package: without the epoch before it and the revision behind it, and with
    /// "~" for "-".
    static std::optional<ReleaseVersion> ofPackage(std::string_view text);

    const std::string& text() const { return m_text; }
    bool isPrerelease() const { return !m_prerelease.empty(); }

    friend std::weak_ordering operator<=>(const ReleaseVersion& one, const ReleaseVersion& other);
    friend bool operator==(const ReleaseVersion& one, const ReleaseVersion& other) { return (one <=> other) == 0; }

private:
    std::string m_text;
    std::vector<std::uint32_t> m_numbers;  // without zeros at the end
    std::vector<std::string> m_prerelease; // runs of digits, without zeros at their start, and of letters
};

} // namespace fenlo
