#pragma once

#include "platform/ResultCard.h"
#include "ui/FloatingWindow.h"

class QPushButton;

namespace fenlo {

/// The card's window: the text, a button that copies it and one that puts the card away.
class ResultCardView final : public FloatingWindow {
public:
    ResultCardView(ResultCardContent content, QSizeF size);

    void showCopied();
    /// From now on its buttons and links do nothing.
    void retire() { m_content = {}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPushButton* makeButton(const QIcon& icon, const QString& label);
    void paintShadow(QPainter& painter) const;

    ResultCardContent m_content;
    QPushButton* m_copy = nullptr; // a child of the window
};

} // namespace fenlo
