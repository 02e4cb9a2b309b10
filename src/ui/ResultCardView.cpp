#include "ui/ResultCardView.h"

#include "ui/CardIcons.h"
#include "ui/GuardedCall.h"
#include "ui/LinkedTextView.h"
#include "ui/PillFonts.h"
#include "ui/PillPainter.h"

#include <QPainter>
#include <QPushButton>

namespace fenlo {

namespace {

constexpr double cornerRadius = 16;
constexpr int shadowMargin = 24;
constexpr double shadowDrop = 6;

// The room of the card round its text: 120 points in height, 44 in width.
constexpr int cardSide = 22;
constexpr int aboveText = 52;
constexpr int belowText = 68;
constexpr int buttonHeight = 30;
constexpr int scrollBarRoom = 14; // to the right of the text, within the side

constexpr char buttonStyle[] =
    "QPushButton { color: rgba(255,255,255,204); background: rgba(255,255,255,20); border: none; border-radius: 8px;"
    " padding: 0 12px; }"
    "QPushButton:hover { background: rgba(255,255,255,36); }"
    "QPushButton:pressed { background: rgba(255,255,255,52); }";

} // namespace

ResultCardView::ResultCardView(ResultCardContent content, QSizeF size)
    : FloatingWindow(cornerRadius, shadowMargin), m_content(std::move(content)) {
    setPanelSize(size);
    setAcceptsMouse(true);

    const QRect card = panel().toRect();
    auto* text = new LinkedTextView(
        m_content.parts, card.width() - 2 * cardSide,
        [this](const std::string& address) {
            if (m_content.onLink)
                m_content.onLink(address);
        },
        this);
    text->setGeometry(card.adjusted(cardSide, aboveText, scrollBarRoom - cardSide, -belowText));

    auto* dismiss = makeButton(cardIcon::cross(), {});
    dismiss->setAccessibleName(tr("Dismiss"));
    dismiss->setToolTip(tr("Dismiss"));
    dismiss->setGeometry(card.right() - 15 - buttonHeight, card.top() + 14, buttonHeight, buttonHeight);
    connect(dismiss, &QPushButton::clicked, this, [this] { callGuarded(m_content.onDismiss); });

    m_copy = makeButton(cardIcon::copy(), tr("Copy"));
    m_copy->setGeometry(card.left() + cardSide, card.bottom() - 18 - buttonHeight, 96, buttonHeight);
    connect(m_copy, &QPushButton::clicked, this, [this] { callGuarded(m_content.onCopy); });
}

QPushButton* ResultCardView::makeButton(const QIcon& icon, const QString& label) {
    auto* button = new QPushButton(icon, label, this);
    button->setStyleSheet(QString::fromLatin1(buttonStyle) + (label.isEmpty() ? "QPushButton { padding: 0; }" : ""));
    button->setFont(interfaceFont(12, QFont::Medium));
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

void ResultCardView::showCopied() {
    m_copy->setIcon(cardIcon::checkMark());
    m_copy->setText(tr("Copied"));
}

void ResultCardView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (isTranslucent())
        paintShadow(painter);
    paintPanel(painter, panel(), cornerRadius, !isTranslucent());
    painter.setPen(toQColor({1, 1, 1, 0.5}));
    painter.setFont(interfaceFont(11, QFont::DemiBold));
    painter.drawText(panel().adjusted(cardSide, 14, 0, 0), Qt::AlignLeft | Qt::AlignTop, QStringLiteral("Fenlo"));
}

/// Rings that grow fainter to the outside, which is soft enough for an edge of this size.
void ResultCardView::paintShadow(QPainter& painter) const {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 3));
    for (double spread = shadowMargin - shadowDrop; spread > 0; spread -= 1)
        painter.drawRoundedRect(panel().translated(0, shadowDrop).adjusted(-spread, -spread, spread, spread),
                                cornerRadius + spread, cornerRadius + spread);
}

} // namespace fenlo
