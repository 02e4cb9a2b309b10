#pragma once

#include "platform/ResultCard.h"

#include <QTextBrowser>
#include <vector>

namespace fenlo {

/// Shows a text whose links can be clicked, and scrolls what does not fit.
class LinkedTextView final : public QTextBrowser {
public:
    /// Lines are broken at `width` points; a link calls `onLink` with its address.
    LinkedTextView(const std::vector<TextPart>& parts, double width, std::function<void(const std::string&)> onLink,
                   QWidget* parent);

    /// The height of the text in lines of this width.
    static double heightOf(const std::string& text, double width);
};

} // namespace fenlo
