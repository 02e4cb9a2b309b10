#include "ui/LinkedTextView.h"

#include "shell/PillStyle.h"
#include "ui/GuardedCall.h"
#include "ui/PillFonts.h"
#include "ui/PillPainter.h"

#include <QTextCursor>
#include <QTextDocument>
#include <cmath>

namespace fenlo {

namespace {

constexpr double fontSize = 13;
const QColor linkColour(122, 172, 255);

constexpr char scrollBarStyle[] = "QTextBrowser { background: transparent; border: none; }"
                                  "QScrollBar:vertical { background: transparent; width: 8px; margin: 0; }"
                                  "QScrollBar::handle:vertical { background: rgba(255,255,255,60); border-radius: 3px;"
                                  " min-height: 24px; margin: 0 1px; }"
                                  "QScrollBar::add-line, QScrollBar::sub-line { height: 0; }"
                                  "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }";

void prepare(QTextDocument& document) {
    document.setDocumentMargin(0);
    document.setDefaultFont(interfaceFont(fontSize, QFont::Normal));
    QTextOption option = document.defaultTextOption();
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    document.setDefaultTextOption(option);
}

} // namespace

LinkedTextView::LinkedTextView(const std::vector<TextPart>& parts, double width,
                               std::function<void(const std::string&)> onLink, QWidget* parent)
    : QTextBrowser(parent) {
    prepare(*document());
    setStyleSheet(QString::fromLatin1(scrollBarStyle));
    setFocusPolicy(Qt::NoFocus);
    setContextMenuPolicy(Qt::NoContextMenu);
    setOpenLinks(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setLineWrapMode(QTextEdit::FixedPixelWidth);
    setLineWrapColumnOrWidth(static_cast<int>(width));

    QTextCharFormat plain;
    plain.setForeground(toQColor(pillStyle::text));
    QTextCursor cursor(document());
    for (const TextPart& part : parts) {
        const QString text = QString::fromStdString(part.text);
        QTextCharFormat format = plain;
        if (part.kind == TextPart::Kind::link) {
            format.setAnchor(true);
            format.setAnchorHref(text);
            format.setForeground(linkColour);
            format.setFontUnderline(true);
        }
        cursor.insertText(text, format);
    }
    moveCursor(QTextCursor::Start); // a long text would open at its end otherwise
    connect(this, &QTextBrowser::anchorClicked, this, [onLink = std::move(onLink)](const QUrl& address) {
        callGuarded([&] { onLink(address.toEncoded().toStdString()); });
    });
}

double LinkedTextView::heightOf(const std::string& text, double width) {
    QTextDocument document;
    prepare(document);
    document.setPlainText(QString::fromStdString(text));
    document.setTextWidth(width);
    return std::ceil(document.size().height());
}

} // namespace fenlo
