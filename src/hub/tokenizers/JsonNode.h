#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// A value of a tokenizer file that knows its place there, so that an error can name it.
///
/// Errors:   TokenizerError, when the value is not of the wanted kind.
/// Lifetime: a view of the document, which must outlive it.
class JsonNode {
public:
    /// `source` is what error texts call the file.
    JsonNode(const nlohmann::json& value, std::string place, const std::string& source)
        : m_value(&value), m_place(std::move(place)), m_source(&source) {}

    /// The file is damaged.
    [[noreturn]] void fail(const std::string& fault) const;
    /// The file asks for something that this program does not do.
    [[noreturn]] void refuse(const std::string& fault) const;

    bool isNull() const;
    bool has(const std::string& key) const;
    /// The member; null where it is missing.
    JsonNode member(const std::string& key) const;
    std::vector<JsonNode> items() const;

    std::string string() const;
    bool boolean(bool whenMissing) const;
    /// A whole number from 0 to `maximum`.
    int integer(int maximum) const;
    bool isZero() const;

    /// The member "type" of an object.
    std::string type() const;
    [[noreturn]] void refuseType() const;
    /// Refuses other members: to ignore them could change the tokens.
    void allowOnly(const std::vector<std::string_view>& keys) const;

private:
    const nlohmann::json* m_value;
    std::string m_place;
    const std::string* m_source;
};

/// Throws the TokenizerError for a damaged file.
[[noreturn]] void failDocument(const std::string& source, const std::string& place, const std::string& fault);

/// The text for an error message: cut short, in quotes, on one line.
std::string inQuotes(std::string_view text);

} // namespace fenlo::hub
