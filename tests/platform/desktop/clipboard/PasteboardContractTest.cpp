#include "platform/desktop/clipboard/PasteboardContract.h"
#include "platform/desktop/clipboard/SelectionOwner.h"
#include "platform/linux/desktop/clipboard/ServedPasteboard.h"
#include "platform/linux/desktop/clipboard/X11Selections.h"
#include "support/FakeDesktop.h"

using namespace fenlo;
using namespace fenlo::test;

namespace {

class FakeWorld final : public ClipboardWorld {
public:
    Pasteboard& pasteboard() override { return m_pasteboard; }
    void copy(std::optional<std::string> text, Forms forms) override {
        m_pasteboard.content = std::move(text);
        m_pasteboard.forms = std::move(forms);
    }
    void copyAndHang(const std::string& text) override {
        copy(text, {});
        m_pasteboard.answers = false;
    }
    void answerNow() override { m_pasteboard.answerNow(); }
    std::string form(const std::string& name) override { return m_pasteboard.forms[name]; }

private:
    FakePasteboard m_pasteboard;
};

class X11World final : public ClipboardWorld {
public:
    Pasteboard& pasteboard() override { return m_pasteboard; }
    void copy(std::optional<std::string> text, Forms forms) override {
        m_other = std::make_unique<SelectionOwner>(SelectionOwner::Manner::answers, text, forms);
    }
    void copyAndHang(const std::string& text) override {
        m_other = std::make_unique<SelectionOwner>(SelectionOwner::Manner::late, text);
    }
    void answerNow() override { m_other->answerNow(); }
    std::string form(const std::string& name) override {
        return outputOf({"timeout", "5", "xclip", "-o", "-selection", "clipboard", "-target", name});
    }

private:
    VirtualDesktop m_desktop;
    ServedPasteboard m_pasteboard{X11Selections::open()};
    std::unique_ptr<SelectionOwner> m_other;
};

} // namespace

namespace fenlo::test {
INSTANTIATE_TEST_SUITE_P(Fake, PasteboardContract, ::testing::Values(&makeClipboardWorld<FakeWorld>));
INSTANTIATE_TEST_SUITE_P(X11, PasteboardContract, ::testing::Values(&makeClipboardWorld<X11World>));
} // namespace fenlo::test
