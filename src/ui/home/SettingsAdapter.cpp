#include "ui/home/SettingsAdapter.h"

#include "shell/home/HotkeyTest.h"
#include "shell/home/SettingChoices.h"

#include <QVariantMap>
#include <utility>

namespace fenlo {

namespace {

QString shownText(std::string_view text) {
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

/// As the controls take them.
QVariantList listed(const SettingChoices& choices) {
    QVariantList list;
    for (const SettingChoice& choice : choices)
        list.append(QVariantMap{{"value", shownText(choice.value)}, {"label", shownText(choice.label)}});
    return list;
}

QString answerId(ProfessionTopic topic, std::string_view key) {
    return QString::number(static_cast<int>(topic)) + "/" + shownText(key);
}

} // namespace

SettingsAdapter::SettingsAdapter(HomeViewModel& model, HotkeyTest& hotkeyTest)
    : m_model(model), m_hotkeyTest(hotkeyTest), m_wasOffline(model.offlineMode), m_lastProfession(model.profession),
      m_watch(model.watch([this] { follow(); })),
      m_hotkeyWatch(hotkeyTest.watch([this] { Q_EMIT hotkeyTestChanged(); })) {}

SettingsAdapter::~SettingsAdapter() {
    m_hotkeyWatch.reset();
    m_hotkeyTest.end();
}

/// Lists that are built anew take the keyboard from their rows, so they are told of only when they change.
void SettingsAdapter::follow() {
    if (std::exchange(m_wasOffline, m_model.offlineMode) != m_model.offlineMode)
        Q_EMIT languagesChanged();
    if (std::exchange(m_lastProfession, m_model.profession) != m_model.profession)
        Q_EMIT professionChanged();
    Q_EMIT changed();
}

QString SettingsAdapter::hint(const QString& setting) {
    return shownText(settingHint(setting.toStdString()));
}

QString SettingsAdapter::languageHint() const {
    return shownText(fenlo::languageHint(m_model.offlineMode));
}

QVariantList SettingsAdapter::languages() const {
    return listed(withValue(languageChoices(m_model.offlineMode), m_model.language));
}

QVariantList SettingsAdapter::outputModes() const {
    return listed(withValue(outputModeChoices(), m_model.outputMode.word()));
}

QVariantList SettingsAdapter::smartRewriteStyles() const {
    return listed(withValue(smartRewriteStyleChoices(), m_model.smartRewriteStyle.word()));
}

QVariantList SettingsAdapter::smartRewriteModels() const {
    return listed(withValue(smartRewriteModelChoices(), m_model.smartRewriteModel.word()));
}

QVariantList SettingsAdapter::sttEngines() const {
    return listed(withValue(sttEngineChoices(), m_model.sttEngine.word()));
}

QVariantList SettingsAdapter::dictationModes() const {
    return listed(withValue(dictationModeChoices(), m_model.dictationMode.word()));
}

void SettingsAdapter::setHotkey(const QString& name) {
    m_hotkeyTest.end();
    set(m_model.hotkey, name.toStdString());
}

QString SettingsAdapter::hotkeyLabel() const {
    return shownText(m_hotkeyTest.keyLabel());
}

QString SettingsAdapter::hotkeyHint() const {
    return shownText(fenlo::hotkeyHint(m_model.hotkey));
}

QVariantList SettingsAdapter::hotkeys() const {
    return listed(withValue(hotkeyChoices(), m_model.hotkey));
}

void SettingsAdapter::testHotkey() {
    m_hotkeyTest.begin();
}

void SettingsAdapter::endHotkeyTest() {
    m_hotkeyTest.end();
}

bool SettingsAdapter::hotkeyIsHeld() const {
    return m_hotkeyTest.state() == HotkeyTest::State::held;
}

bool SettingsAdapter::hotkeyIsTested() const {
    return m_hotkeyTest.isListening();
}

QString SettingsAdapter::hotkeyTestLine() const {
    return shownText(m_hotkeyTest.line());
}

QString SettingsAdapter::hotkeyTestKind() const {
    switch (m_hotkeyTest.state()) {
    case HotkeyTest::State::heard:
        return "good";
    case HotkeyTest::State::unheard:
    case HotkeyTest::State::missing:
        return "warning";
    default:
        return "info";
    }
}

QVariantList SettingsAdapter::professions() const {
    SettingChoices choices = {{"", "Not chosen"}};
    for (const ProfessionChoice& choice : professionChoices())
        choices.push_back({std::string(choice.key), std::string(choice.label)});
    return listed(withValue(std::move(choices), m_model.profession));
}

QVariantList SettingsAdapter::questions() const {
    QVariantList list;
    for (const ProfessionQuestion& question : m_model.questions()) {
        QVariantList options;
        for (const ProfessionOption& option : question.options)
            options.append(QVariantMap{{"id", answerId(question.topic, option.key)},
                                       {"key", shownText(option.key)},
                                       {"label", shownText(option.label)}});
        list.append(QVariantMap{{"topic", static_cast<int>(question.topic)},
                                {"text", shownText(question.text)},
                                {"hint", question.takesSeveral ? "Select all that apply." : ""},
                                {"options", options}});
    }
    return list;
}

QStringList SettingsAdapter::answers() const {
    QStringList ids;
    for (const ProfessionQuestion& question : m_model.questions())
        for (const std::string& key : m_model.answersTo(question.topic))
            ids.append(answerId(question.topic, key));
    return ids;
}

void SettingsAdapter::chooseAnswer(int topic, const QString& key, bool isChosen) {
    m_model.chooseAnswer(static_cast<ProfessionTopic>(topic), key.toStdString(), isChosen);
}

void SettingsAdapter::editCustomVocabulary(const QString& text, const QString& given) {
    m_model.editCustomVocabulary(text.toStdString(), given.toStdString());
}

void SettingsAdapter::editProfessionVocabulary(const QString& text, const QString& given) {
    m_model.editProfessionVocabulary(text.toStdString(), given.toStdString());
}

void SettingsAdapter::importGlossary() {
    m_glossaryDialog.open([this](const std::filesystem::path& file) { m_model.importGlossary(file); });
}

QString SettingsAdapter::glossaryTitle() const {
    const auto& outcome = m_model.glossary();
    return outcome && outcome->counts ? shownText(fenlo::glossaryTitle) : QString();
}

QString SettingsAdapter::glossaryText() const {
    const auto& outcome = m_model.glossary();
    if (!outcome)
        return {};
    return shownText(outcome->counts ? fenlo::glossaryText(*outcome->counts) : unreadGlossaryText(outcome->file));
}

bool SettingsAdapter::glossaryFailed() const {
    const auto& outcome = m_model.glossary();
    return outcome && !outcome->counts;
}

QString SettingsAdapter::soundSchemeDescription() const {
    return shownText(fenlo::soundSchemeDescription(m_model.soundScheme.word()));
}

QVariantList SettingsAdapter::soundSchemes() const {
    return listed(withValue(soundSchemeChoices(), m_model.soundScheme.word()));
}

} // namespace fenlo
