#pragma once

#include <cstddef>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {
class Clock;
}

namespace fenlo::hub {

/// what() is one line: the template's name, the line in it, what is wrong.
struct TemplateError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What one rendering may use. A template that wants more ends in a TemplateError.
struct RenderLimits {
    std::size_t steps = 20'000'000;      // expressions and statements; bulk work counts by its size
    std::size_t outputBytes = 64 << 20;  // of the rendered text
    std::size_t memoryBytes = 512 << 20; // of all values made on the way, the context included
    std::size_t depth = 600;             // expressions, blocks, calls and values within each other
};

struct Rendering {
    /// Bytes of the text.
    struct Range {
        std::size_t begin, end;
    };
    std::string text;
    std::vector<Range> generated; // what `generation` blocks wrote: the words of the assistant
};

/// A chat template of a published model: text with statements of a subset of the Jinja language, version 3, with
/// trim_blocks, lstrip_blocks, loop controls and `generation` blocks, as such templates are written for. The published
/// template designer's documentation is the source. Values print as Python prints them, a range as the list of its
/// numbers. Nothing outside of the context can be read, and there is no automatic escaping.
///
/// Threads: constant once parsed; any number may render at a time.
/// Errors:  TemplateError.
class ChatTemplate {
public:
    /// `name` is what error texts call the template. Ill-formed UTF-8 is repaired.
    static ChatTemplate parse(std::string_view text, const std::string& name);

    ChatTemplate(ChatTemplate&&) noexcept;
    ChatTemplate& operator=(ChatTemplate&&) noexcept;
    ~ChatTemplate();

    /// The members of the object `context` are the variables. The clock is read for `strftime_now`.
    Rendering render(const nlohmann::ordered_json& context, const Clock& clock, const RenderLimits& limits = {}) const;

private:
    struct Implementation;
    explicit ChatTemplate(std::unique_ptr<const Implementation> implementation);
    std::unique_ptr<const Implementation> m_implementation;
};

} // namespace fenlo::hub
