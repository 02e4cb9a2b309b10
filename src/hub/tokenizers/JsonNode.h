#pragma once

#include "base/Json.h"

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>
#include <string_view>
#include <utility>
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
        : JsonNode(value, std::move(place), source, std::make_shared<std::set<std::string>>()) {}

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

    /// The member "type" of an object.
    std::string type() const;
    [[noreturn]] void refuseType() const;
    /// What to do with other members. One that is null asks for nothing, and one of the table of harmless members, such
    /// as a comment or what the vocabulary was trained with, cannot change a token: these are left out, which the log
    /// tells once for each name in a file. All others are refused by name, since to leave them out could change tokens.
    void allowOnly(const std::vector<std::string_view>& keys) const;

private:
    using Names = std::shared_ptr<std::set<std::string>>;

    JsonNode(const nlohmann::json& value, std::string place, const std::string& source, Names leftOut)
        : m_value(&value), m_place(std::move(place)), m_source(&source), m_leftOut(std::move(leftOut)) {}

    void leaveOut(const std::string& key, std::string_view reason) const;

    const nlohmann::json* m_value;
    std::string m_place;
    const std::string* m_source;
    Names m_leftOut; // of the whole file, told in the log
};

/// Throws the TokenizerError for a damaged file.
[[noreturn]] void failDocument(const std::string& source, const std::string& place, const std::string& fault);

} // namespace fenlo::hub
