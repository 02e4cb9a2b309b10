#pragma once

#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// A value of a tokenizer file that knows its place in it, so that whatever is wrong with it can be told in one line.
///
/// Errors:   TokenizerError from every operation that finds something else than it is asked for.
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
    /// Refuses members beyond these: what is not understood would silently change the tokens.
    void allowOnly(std::initializer_list<std::string_view> keys) const;

private:
    const nlohmann::json* m_value;
    std::string m_place;
    const std::string* m_source;
};

/// Throws the TokenizerError for a damaged file.
[[noreturn]] void failDocument(const std::string& source, const std::string& place, const std::string& fault);

/// For error texts: short, in quotes, on one line, whatever the text is.
std::string inQuotes(std::string_view text);

} // namespace fenlo::hub
