#pragma once

#include <cstddef>
#include <random>
#include <string>

namespace fenlo::test {

/// A text of so many bytes, at least, of what tokenizers meet: sentences in several scripts, also from right to left,
/// numbers, code, combining marks, emoji with joiners, control characters, code points of all planes, and bytes that
/// are no UTF-8. The same seed gives the same text.
class MixedText {
public:
    explicit MixedText(unsigned seed) : m_random(seed) {}

    std::string make(std::size_t size) {
        std::string text;
        while (text.size() < size)
            addPiece(text);
        return text;
    }

private:
    void addPiece(std::string& text) {
        static const char* const sentences[] = {
            "The patient was seen again today, has slept well and takes 20 mg twice a day. ",
            "It's what they'd said: \u201CWe'll see\u201D \u2013 don't you think so?\n",
            "Gr\u00FC\u00DFe aus K\u00F6ln, sch\u00F6ne Stra\u00DFe und \u00E4hnliche W\u00F6rter. ",
            "L'\u00E9t\u00E9 dernier, a\u0300 Noe\u0308l, nous e\u0301tions d\u00E9j\u00E0 l\u00E0\u2026 ",
            "\u041F\u0440\u0438\u0432\u0435\u0442, \u043A\u0430\u043A \u0434\u0435\u043B\u0430? ",
            "\u4ECA\u5929\u5929\u6C14\u5F88\u597D\uFF0C\u6211\u4EEC\u53BB\u516C\u56ED\u3002",
            "\u6771\u4EAC\u306F\u65E5\u672C\u306E\u9996\u90FD\u3067\u3059\u3002\u30C6\u30B9\u30C8 ",
            "\uC548\uB155\uD558\uC138\uC694 \u1109\u1166\u1100\u1168 ",
            "\u0645\u0631\u062D\u0628\u0627\u064B \u0628\u0627\u0644\u0639\u0627\u0644\u0645 \u200F12\u200E ",
            "\u05E9\u05C1\u05B8\u05DC\u05D5\u05B9\u05DD \u05E2\u05D5\u05DC\u05DD ",
            "\u0928\u092E\u0938\u094D\u0924\u0947 \u0926\u0941\u0928\u093F\u092F\u093E ",
            "\U0001F600\U0001F44D\U0001F3FD \U0001F468\u200D\U0001F469\u200D\U0001F467 \U0001F1E9\U0001F1EA "
            "\u2764\uFE0F ",
            "for (int i = 0; i < 128; ++i) { sum += a[i] * b[i]; }\n\n\t",
            "https://example.org/a/b?c=d&e=%20f#g {\"tag\": \"\\u00e9\"} ",
            "Z\u0351\u0327a\u0310\u0348l\u036Bg\u0301o\u0308\u0301 \uFB01n\u00AD\u212B\u1E9B\u0323 ",
            "bell\x07 null\x01 escape\x1B[1m \x7F\u0085\u00A0\u2028\uFEFF\r\n",
        };
        switch (m_random() % 8) {
        case 0:
            text += std::to_string(m_random()) + " ";
            break;
        case 1:
            for (int count = 1 + static_cast<int>(m_random() % 6); count > 0; --count)
                addCodePoint(text);
            break;
        case 2:
            text += static_cast<char>(m_random() % 256);
            text += "cut \xE2\x82 and \xFF, \xED\xA0\x80 broken \xF0\x9F\x98";
            break;
        default:
            text += sentences[m_random() % std::size(sentences)];
        }
    }

    /// Any but the blank sign of vocabularies, which cannot be told from a blank.
    void addCodePoint(std::string& text) {
        const auto byte = [](unsigned value) { return static_cast<char>(value); };
        const unsigned planes[] = {0x250, 0x3000, 0x10000, 0x110000};
        const unsigned c = 0x80 + m_random() % (planes[m_random() % std::size(planes)] - 0x80);
        if (c == 0x2581 || (c >= 0xD800 && c < 0xE000))
            return;
        if (c < 0x800) {
            text += {byte(0xC0 | c >> 6U), byte(0x80 | (c & 0x3FU))};
        } else if (c < 0x10000) {
            text += {byte(0xE0 | c >> 12U), byte(0x80 | (c >> 6U & 0x3FU)), byte(0x80 | (c & 0x3FU))};
        } else {
            text += {byte(0xF0 | c >> 18U), byte(0x80 | (c >> 12U & 0x3FU)), byte(0x80 | (c >> 6U & 0x3FU)),
                     byte(0x80 | (c & 0x3FU))};
        }
    }

    std::mt19937 m_random;
};

} // namespace fenlo::test
