#pragma once

#include "base/Text.h"
#include "platform/PillWindow.h"
#include "platform/ResultCard.h"
#include "platform/StatusItem.h"

#include <algorithm>
#include <map>
#include <vector>

namespace fenlo::test {

/// The history of one pill.
struct PillRecord {
    enum class State { made, shown, fadedOut, gone };
    State state = State::made;
    double width = 0;
    double lastAnimation = 0; // seconds of the last fade or change of width
    PillPicture picture;
    int pictures = 0; // drawn so far
    std::function<void()> onMouseDown;

    /// The texts from left to right, joined by bars.
    std::string line() const {
        std::vector<std::string> texts;
        for (const auto& text : picture.texts)
            texts.push_back(text.text);
        return text::join(texts, "|");
    }
};

/// Pills without a screen. Every character is 10 points wide in `text`, 8 in `application`, 6 in `cancel` and 7 in
/// `words`.
class FakePillWindows final : public PillWindows {
public:
    std::unique_ptr<PillWindow> make(double width) override {
        records.push_back(std::make_shared<PillRecord>());
        records.back()->width = width;
        return std::make_unique<Pill>(records.back());
    }
    void fadeOut(std::unique_ptr<PillWindow> pill, double seconds) override {
        const auto record = static_cast<Pill&>(*pill).record;
        pill.reset();
        record->state = PillRecord::State::fadedOut;
        record->lastAnimation = seconds;
    }
    double textWidth(const std::string& text, PillFont font) const override {
        const std::map<PillFont, int> widths{
            {PillFont::text, 10}, {PillFont::application, 8}, {PillFont::cancel, 6}, {PillFont::words, 7}};
        return double(text::characterCount(text)) * widths.at(font);
    }

    PillRecord& last() { return *records.at(records.size() - 1); }
    bool isShown() const {
        return std::any_of(records.begin(), records.end(),
                           [](auto& r) { return r->state == PillRecord::State::shown; });
    }

    std::vector<std::shared_ptr<PillRecord>> records; // oldest first

private:
    struct Pill final : PillWindow {
        explicit Pill(std::shared_ptr<PillRecord> r) : record(std::move(r)) {}
        ~Pill() override { record->state = PillRecord::State::gone; }
        void setPicture(const PillPicture& picture) override {
            record->picture = picture;
            ++record->pictures;
        }
        void fadeIn(double seconds) override {
            record->state = PillRecord::State::shown;
            record->lastAnimation = seconds;
        }
        void setWidth(double width, double seconds) override {
            record->width = width;
            record->lastAnimation = seconds;
        }
        void acceptMouse(std::function<void()> onMouseDown) override { record->onMouseDown = std::move(onMouseDown); }
        std::shared_ptr<PillRecord> record;
    };
};

/// Cards without a screen, at (0, 0). A line of text is 16 points high.
class FakeResultCards final : public ResultCards {
public:
    std::unique_ptr<ResultCard> make(ResultCardContent newContent, double newWidth, double newHeight) override {
        content = std::move(newContent);
        width = newWidth;
        height = newHeight;
        isCopied = false;
        return std::make_unique<Card>(*this);
    }
    void fadeOut(std::unique_ptr<ResultCard> card, double) override { card.reset(); }
    double textHeight(const std::string& text, double boxWidth, double limit) const override {
        measuredWidth = boxWidth;
        return std::min(limit, 16.0 * double(1 + std::count(text.begin(), text.end(), '\n')));
    }
    bool isShown() const { return shown > 0; }

    ResultCardContent content; // of the last card
    double width = 0, height = 0;
    mutable double measuredWidth = 0;
    bool isCopied = false;
    int shown = 0;

private:
    struct Card final : ResultCard {
        explicit Card(FakeResultCards& cards) : owner(cards) {}
        ~Card() override { owner.shown -= isVisible; }
        void fadeIn(double) override {
            isVisible = true;
            ++owner.shown;
        }
        void showCopied() override { owner.isCopied = true; }
        bool contains(ScreenPoint p) const override {
            return p.x >= 0 && p.y >= 0 && p.x < owner.width && p.y < owner.height;
        }
        FakeResultCards& owner;
        bool isVisible = false;
    };
};

class FakeStatusItem final : public StatusItem {
public:
    void setFace(IconFace newFace) override {
        face = newFace;
        faces.push_back(newFace);
    }
    void setMenu(std::vector<MenuItem> items) override {
        menu = std::move(items);
        ++menus;
    }

    /// The titles from top to bottom, separators as "---".
    std::vector<std::string> titles() const {
        std::vector<std::string> all;
        for (const MenuItem& item : menu)
            all.push_back(item.isSeparator ? "---" : item.title);
        return all;
    }
    /// Null when no item has this title.
    const MenuItem* find(const std::string& title) const {
        const auto found = std::find_if(menu.begin(), menu.end(), [&](auto& item) { return item.title == title; });
        return found == menu.end() ? nullptr : &*found;
    }

    IconFace face = IconFace::idle;
    std::vector<IconFace> faces;
    std::vector<MenuItem> menu;
    int menus = 0;
};

} // namespace fenlo::test
