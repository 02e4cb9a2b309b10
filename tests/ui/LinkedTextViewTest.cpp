#include "ui/LinkedTextView.h"
#include "ui/Application.h"

#include <QScrollBar>
#include <QTextBlock>
#include <gtest/gtest.h>

using namespace fenlo;

namespace {

std::string lines(int count) {
    std::string text = "A line of text";
    for (int i = 1; i < count; ++i)
        text += "\nA line of text";
    return text;
}

} // namespace

TEST(LinkedTextView, TextIsShownLiterallyAndLinksCanBeClicked) {
    std::vector<std::string> opened;
    LinkedTextView view(
        {{TextPart::Kind::plain, "<b>1 & 2</b>\n"}, {TextPart::Kind::link, "https://a.example/b?c=d"}}, 356,
        [&](const std::string& address) { opened.push_back(address); }, nullptr);
    EXPECT_EQ(view.toPlainText(), "<b>1 & 2</b>\nhttps://a.example/b?c=d");
    const QTextBlock second = view.document()->findBlockByNumber(1);
    EXPECT_EQ(second.begin().fragment().charFormat().anchorHref(), "https://a.example/b?c=d");
    EXPECT_FALSE(view.document()->firstBlock().begin().fragment().charFormat().isAnchor());
    Q_EMIT view.anchorClicked(QUrl("https://a.example/b?c=d"));
    EXPECT_EQ(opened, std::vector<std::string>{"https://a.example/b?c=d"});
    EXPECT_EQ(view.toPlainText(), "<b>1 & 2</b>\nhttps://a.example/b?c=d") << "a link does not navigate";
}

TEST(LinkedTextView, MeasuredHeightIsTheNeededHeight) {
    const double one = LinkedTextView::heightOf(lines(1), 356);
    EXPECT_GT(one, 12);
    EXPECT_NEAR(LinkedTextView::heightOf(lines(10), 356), 10 * one, 10);
    EXPECT_GT(LinkedTextView::heightOf(std::string(2000, 'x'), 356), 10 * one) << "a word without an end is broken";

    LinkedTextView view(
        {{TextPart::Kind::plain, lines(10)}}, 356, [](const std::string&) {}, nullptr);
    view.resize(370, int(LinkedTextView::heightOf(lines(10), 356)));
    view.show();
    test::pump();
    EXPECT_EQ(view.verticalScrollBar()->maximum(), 0) << "fits without scrolling";
    view.resize(370, int(5 * one));
    test::pump();
    EXPECT_GT(view.verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(view.verticalScrollBar()->value(), 0) << "begins at its beginning";
}
