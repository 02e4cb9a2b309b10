#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// What is wrong with a JSON text, worded to follow the name of the text: "is nested too deeply".
struct JsonFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads JSON from a source that is not trusted: no object may hold a key twice, and nothing may be nested deeper
/// than 64. A derived reader may take parts of the text as they come, where a tree of values would be too large.
///
/// Errors: JsonFault.
class StrictJsonReader : private nlohmann::json_sax<nlohmann::json> {
public:
    StrictJsonReader();
    StrictJsonReader(const StrictJsonReader&) = delete;
    StrictJsonReader& operator=(const StrictJsonReader&) = delete;

    nlohmann::json read(std::string_view text);

protected:
    /// A value that holds no others.
    virtual void value(nlohmann::json it);
    /// A list or an object begins, still empty, and ends.
    virtual void open(nlohmann::json container);
    virtual void close();

    /// The containers around the next value.
    std::size_t depth() const { return m_open.size(); }
    /// The key of the next value; empty in a list.
    const std::string& nextKey() const;

private:
    nlohmann::json* place(nlohmann::json it);

    bool null() override;
    bool boolean(bool it) override;
    bool number_integer(number_integer_t it) override;
    bool number_unsigned(number_unsigned_t it) override;
    bool number_float(number_float_t it, const string_t&) override;
    bool string(string_t& it) override;
    bool binary(binary_t&) override;
    bool start_object(std::size_t) override;
    bool key(string_t& it) override;
    bool end_object() override;
    bool start_array(std::size_t) override;
    bool end_array() override;
    bool parse_error(std::size_t position, const std::string&, const nlohmann::json::exception&) override;

    nlohmann::json m_root;
    std::vector<nlohmann::json*> m_open; // the innermost last
    std::string m_key;
};

} // namespace fenlo
