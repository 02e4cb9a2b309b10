#pragma once

#include "platform/linux/desktop/XcbConnection.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// What a selection holds: a text, which stands for all plain text targets, and other forms of the same.
struct SelectionContents {
    struct Form {
        xcb_atom_t target;
        std::shared_ptr<const XcbConnection::Property> content;
    };

    std::optional<std::string> text; // UTF-8
    std::vector<Form> forms;         // in their owner's order

    bool isEmpty() const { return !text && forms.empty(); }
};

} // namespace fenlo
