#include "shell/OverlayWindow.h"

#include "base/Clock.h"
#include "base/Text.h"
#include "platform/PillWindow.h"
#include "platform/ResultCard.h"
#include "platform/Workspace.h"
#include "settings/Config.h"
#include "shell/ElapsedText.h"
#include "shell/LinkedText.h"
#include "shell/PillStyle.h"

#include <algorithm>

namespace fenlo {

namespace {

constexpr char ownName[] = "Fenlo";

constexpr double frameInterval = 1.0 / 30; // seconds
constexpr double fadeInTime = 0.1;         // seconds
constexpr double fadeOutTime = 0.15;       // seconds
constexpr double expansionTime = 0.2;      // seconds
constexpr double noticeTime = 2.0;         // seconds
constexpr double cancelOfferDelay = 3.0;   // seconds of processing

constexpr double pulseStep = 0.035; // per frame
constexpr double pulseFloor = 0.3;
constexpr double pulseCeiling = 1.0;

constexpr double cardWidth = 400;
constexpr double cardTextWidth = 356;
constexpr double cardTextLimit = 800;
constexpr double cardFrameHeight = 120; // of a card without its text; also the least height
constexpr double cardMaximumHeight = 480;

constexpr char timerStart[] = "0.00s";
constexpr char warmingText[] = "Warming up";

std::string takeText(double seconds) {
    return text::fixed(seconds, 2) + "s";
}

std::string languageBadge(const std::string& language) {
    return language == "auto" || language == "en" ? "" : text::upper(language);
}

PillContent baseContent(Colour dot, Colour glow, std::string displayText) {
    PillContent content;
    content.dotColor = dot;
    content.glowColor = glow;
    content.displayText = std::move(displayText);
    content.displayTextColor = pillStyle::text;
    return content;
}

} // namespace

OverlayWindow::OverlayWindow(OverlayServices services)
    : m_services(std::move(services)), m_measure([&pills = m_services.pills](const std::string& text, PillFont font) {
          return pills.textWidth(text, font);
      }) {}

OverlayWindow::~OverlayWindow() {
    dropWindows();
}

template <typename Task>
void OverlayWindow::enqueue(Task task) {
    m_services.mainQueue.post(m_lifetime.bind(std::move(task)));
}

// Recording and warming.

void OverlayWindow::showRecording(bool isReplacing, const std::string& appName, WordsRoom room) {
    const Settings settings = m_services.config.get();
    PillContent content = baseContent(pillStyle::recordingDot, pillStyle::recordingGlow, timerStart);
    content.appLabel = applicationLabel(appName);
    content.isReplacing = isReplacing;
    content.isOffline = settings.offlineMode;
    content.langCode = languageBadge(settings.language);
    content.hasWordsRoom = room == WordsRoom::kept;
    enqueue([this, content = std::move(content), start = m_services.clock.now()] {
        m_recordStart = start;
        open(Mode::recording, content, 0);
    });
}

void OverlayWindow::showWarming(bool isReplacing, const std::string& appName, WordsRoom room) {
    PillContent content = baseContent(pillStyle::processingDot, pillStyle::processingGlow, warmingText);
    content.appLabel = applicationLabel(appName);
    content.isReplacing = isReplacing;
    content.isPulsing = true;
    content.useCompactDisplayFont = true;
    content.hasWordsRoom = room == WordsRoom::kept;
    enqueue([this, content = std::move(content)] {
        const double surplus = m_measure(warmingText, PillFont::application) - m_measure(timerStart, PillFont::text);
        open(Mode::warming, content, std::max(0.0, surplus));
    });
}

std::string OverlayWindow::applicationLabel(const std::string& appName) const {
    return m_services.config.get().showAppInPill && appName != ownName ? appName : "";
}

void OverlayWindow::showWords(const std::string& words) {
    enqueue([this, line = text::join(text::words(words), " ")] {
        if (m_mode != Mode::recording || !m_content.hasWordsRoom)
            return;
        m_content.words = m_services.config.get().showWordsInPill ? fittingEnd(line, m_measure) : "";
        draw();
    });
}

// Processing.

void OverlayWindow::showProcessing() {
    enqueue([this, now = m_services.clock.now()] {
        if (!m_pill)
            return;
        m_mode = Mode::processing;
        m_processingStart = now;
        m_expanded = false;
        setProcessing(takeText(now - m_recordStart.value_or(now)), pillStyle::processingText);
        m_content.showCancel = false;
        draw();
    });
}

void OverlayWindow::showRetrying(double seconds, const std::string& appName) {
    PillContent content = baseContent(pillStyle::processingDot, pillStyle::processingGlow, timerStart);
    content.appLabel = applicationLabel(appName);
    enqueue([this, content = std::move(content), seconds, now = m_services.clock.now()] {
        open(Mode::processing, content, 0);
        m_processingStart = now;
        setProcessing(takeText(seconds), pillStyle::processingText);
        draw();
    });
}

void OverlayWindow::showChunkProgress(int current, int total) {
    enqueue([this, current, total, now = m_services.clock.now()] {
        if (!m_pill)
            return;
        m_mode = Mode::processing;
        m_processingStart = m_processingStart.value_or(now);
        setProcessing("Transcribing " + std::to_string(current) + "/" + std::to_string(total) + "...", pillStyle::text);
        // An offer that was made stays: slow jobs are those with many chunks.
        m_content.showCancel = m_expanded;
        resize(std::max(pillStyle::baseWidth, widthToFit()), 0);
        draw();
    });
}

void OverlayWindow::setProcessing(std::string displayText, Colour textColour) {
    m_content.dotColor = pillStyle::processingDot;
    m_content.glowColor = pillStyle::processingGlow;
    m_content.isPulsing = true;
    m_content.displayText = std::move(displayText);
    m_content.displayTextColor = textColour;
    m_content.useCompactDisplayFont = false;
}

void OverlayWindow::showCommandMode() {
    enqueue([this] {
        if (!m_pill || m_content.isCommandMode)
            return;
        m_content.isCommandMode = true;
        m_content.dotColor = pillStyle::commandDot;
        m_content.glowColor = pillStyle::commandGlow;
        resize(m_width + badgeWidth(badge::command, m_measure), 0);
        draw();
    });
}

// Notices.

void OverlayWindow::showNotice(std::vector<std::string> lines) {
    enqueue([this, lines = std::move(lines)] { showLine(lines, 0); });
}

// By value: opening the next pill destroys the timer that holds the lines.
void OverlayWindow::showLine(std::vector<std::string> lines, std::size_t index) {
    if (index >= lines.size()) {
        hide();
        return;
    }
    open(Mode::notice, baseContent(pillStyle::recordingDot, pillStyle::recordingGlow, lines[index]), 0);
    m_notice = m_services.mainQueue.postAfter(noticeTime,
                                              [this, lines = std::move(lines), index] { showLine(lines, index + 1); });
}

// Meetings.

void OverlayWindow::showMeeting() {
    enqueue([this] {
        PillContent content = baseContent(pillStyle::recordingDot, pillStyle::recordingGlow, elapsedText(0));
        content.isPulsing = true;
        open(Mode::meeting, std::move(content), 0);
    });
}

void OverlayWindow::updateMeetingTime(double seconds) {
    enqueue([this, seconds] {
        if (m_mode != Mode::meeting)
            return;
        m_content.displayText = elapsedText(seconds);
        draw();
    });
}

// The pill's window.

void OverlayWindow::open(Mode mode, PillContent content, double extraWidth) {
    dropWindows();
    m_mode = mode;
    m_content = std::move(content);
    m_pulseDirection = -1;
    m_expanded = false;
    m_processingStart.reset();
    m_width = pillStyle::baseWidth + extraWidth + badgeWidth(m_content.appLabel, m_measure) +
              badgeWidth(m_content.isReplacing ? badge::replace : "", m_measure) +
              badgeWidth(m_content.isOffline ? badge::offline : "", m_measure) +
              badgeWidth(m_content.langCode, m_measure);
    if (m_content.hasWordsRoom)
        m_width = std::max(m_width, widthToFit());
    m_pill = m_services.pills.make(m_width);
    draw();
    m_pill->fadeIn(fadeInTime);
    m_timer = m_services.mainQueue.every(frameInterval, [this] { tick(); });
}

void OverlayWindow::draw() {
    if (const double needed = widthToFit(); needed > m_width)
        resize(needed, 0);
    m_pill->setPicture(layOut(m_content, m_measure).picture);
}

/// The width that the content needs without the cancel offer, for which room is added elsewhere.
double OverlayWindow::widthToFit() const {
    PillContent content = m_content;
    content.showCancel = false;
    return layOut(content, m_measure).end + pillStyle::rightMargin;
}

void OverlayWindow::resize(double width, double seconds) {
    m_width = width;
    m_pill->setWidth(m_expanded ? std::max(pillStyle::minimumExpandedWidth, width + pillStyle::cancelRoom) : width,
                     seconds);
}

void OverlayWindow::tick() {
    if (m_mode == Mode::recording)
        m_content.displayText = takeText(m_services.clock.now() - m_recordStart.value_or(0));
    if (m_content.isPulsing)
        pulse();
    if (m_mode == Mode::processing && !m_expanded && m_processingStart &&
        m_services.clock.now() - *m_processingStart >= cancelOfferDelay)
        offerCancel();
    draw();
}

void OverlayWindow::pulse() {
    m_content.dotPulse += m_pulseDirection * pulseStep;
    if (m_content.dotPulse <= pulseFloor)
        m_pulseDirection = 1;
    else if (m_content.dotPulse >= pulseCeiling)
        m_pulseDirection = -1;
    m_content.dotPulse = std::clamp(m_content.dotPulse, 0.0, pulseCeiling);
}

void OverlayWindow::offerCancel() {
    m_expanded = true;
    m_content.showCancel = true;
    m_pill->acceptMouse([this] {
        if (m_content.showCancel && onCancel)
            onCancel();
    });
    resize(m_width, expansionTime);
}

// The card.

void OverlayWindow::showResult(const std::string& text) {
    enqueue([this, text] {
        dropWindows();
        m_mode = Mode::result;
        const double textHeight = m_services.cards.textHeight(text, cardTextWidth, cardTextLimit);
        m_card = m_services.cards.make(cardContent(text), cardWidth,
                                       std::clamp(textHeight + cardFrameHeight, cardFrameHeight, cardMaximumHeight));
        m_services.keys.watchMouseDown(m_lifetime.bind([this](ScreenPoint point) {
            if (m_card && !m_card->contains(point))
                hide();
        }));
        m_card->fadeIn(fadeInTime);
    });
}

ResultCardContent OverlayWindow::cardContent(const std::string& text) {
    return {splitLinks(text),
            [this, text] {
                m_services.copy(text);
                m_card->showCopied();
            },
            [this] { hide(); }, [this](const std::string& address) { m_services.workspace.openUrl(address); }};
}

// The end.

void OverlayWindow::hide() {
    enqueue([this] {
        if (m_pill && !m_content.words.empty()) { // they do not fade
            m_content.words.clear();
            draw();
        }
        if (m_pill)
            m_services.pills.fadeOut(std::move(m_pill), fadeOutTime);
        if (m_card)
            m_services.cards.fadeOut(std::move(m_card), fadeOutTime);
        dropWindows();
        m_recordStart.reset();
        m_processingStart.reset();
        m_expanded = false;
        m_content = {};
    });
}

void OverlayWindow::dropWindows() {
    m_timer.cancel();
    m_notice.cancel();
    if (m_mode == Mode::result)
        m_services.keys.watchMouseDown({});
    m_mode = Mode::hidden;
    m_pill.reset();
    m_card.reset();
}

} // namespace fenlo
