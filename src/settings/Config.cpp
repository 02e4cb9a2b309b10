#include "settings/Config.h"

#include "base/Files.h"
#include "base/Json.h"
#include "base/Log.h"
#include "base/MainQueue.h"
#include "base/Text.h"

#include <nlohmann/json.hpp>
#include <system_error>
#include <tuple>

namespace fenlo {

using Json = nlohmann::json;

namespace {

template <typename Value>
struct Field {
    const char* key;
    Value Settings::*member;
};
template <typename Value>
Field(const char*, Value Settings::*) -> Field<Value>; // clang before 17 deduces no aggregate

/// Every setting and its key in the file, in the order of the record.
constexpr auto fields = std::make_tuple(
    Field{"hotkey", &Settings::hotkey}, Field{"whisper_model", &Settings::whisperModel},
    Field{"language", &Settings::language}, Field{"play_sounds", &Settings::playSounds},
    Field{"sound_scheme", &Settings::soundScheme}, Field{"sample_rate", &Settings::sampleRate},
    Field{"show_overlay", &Settings::showOverlay}, Field{"continuous_mode", &Settings::continuousMode},
    Field{"voice_commands", &Settings::voiceCommands}, Field{"silence_notification", &Settings::silenceNotification},
    Field{"voice_isolation", &Settings::voiceIsolation}, Field{"smart_rewrite", &Settings::smartRewrite},
    Field{"auto_capitalize", &Settings::autoCapitalize}, Field{"show_app_in_pill", &Settings::showAppInPill},
    Field{"show_words_in_pill", &Settings::showWordsInPill},
    Field{"upload_while_speaking", &Settings::uploadWhileSpeaking}, Field{"offline_mode", &Settings::offlineMode},
    Field{"output_mode", &Settings::outputMode}, Field{"custom_vocabulary", &Settings::customVocabulary},
    Field{"profession_vocabulary", &Settings::professionVocabulary},
    Field{"smart_rewrite_model", &Settings::smartRewriteModel}, Field{"stt_engine", &Settings::sttEngine},
    Field{"smart_rewrite_style", &Settings::smartRewriteStyle}, Field{"device_id", &Settings::deviceId},
    Field{"profession", &Settings::profession}, Field{"dictation_mode", &Settings::dictationMode},
    Field{"lawyer_practice_areas", &Settings::lawyerPracticeAreas}, Field{"profession_role", &Settings::professionRole},
    Field{"profession_specialties", &Settings::professionSpecialties},
    Field{"dictation_types", &Settings::dictationTypes},
    Field{"meeting_email_recipients", &Settings::meetingEmailRecipients}, Field{"mic_mode", &Settings::micMode},
    Field{"mic_device", &Settings::micDevice}, Field{"type_short_texts", &Settings::typeShortTexts},
    Field{"type_all_texts", &Settings::typeAllTexts}, Field{"keep_failed_takes", &Settings::keepFailedTakes},
    Field{"colour_scheme", &Settings::colourScheme}, Field{"check_for_updates", &Settings::checkForUpdates});

void take(const Json& value, std::string& field) {
    if (value.is_string())
        field = text::repairUtf8(value.get_ref<const std::string&>());
}

template <typename Enum>
void take(const Json& value, Choice<Enum>& field) {
    if (value.is_string())
        field = Choice<Enum>(text::repairUtf8(value.get_ref<const std::string&>()));
}

void take(const Json& value, bool& field) {
    if (value.is_boolean())
        field = value.get<bool>();
}

void take(const Json& value, std::int64_t& field) {
    if (value.is_number_integer())
        field = value.get<std::int64_t>();
}

void take(const Json& value, std::vector<std::string>& field) {
    if (!value.is_array())
        return;
    std::vector<std::string> items;
    for (const Json& item : value) {
        if (!item.is_string())
            return;
        items.push_back(text::repairUtf8(item.get_ref<const std::string&>()));
    }
    field = std::move(items);
}

/// As the file has it.
template <typename Value>
const Value& stored(const Value& field) {
    return field;
}

template <typename Enum>
const std::string& stored(const Choice<Enum>& field) {
    return field.word();
}

template <typename Visit>
void forEachField(Visit visit) {
    std::apply([&](const auto&... field) { (visit(field), ...); }, fields);
}

/// A value that older versions wrote, and the one that takes its place.
struct Renamed {
    std::string Settings::*field;
    const char* before;
    const char* now;
};

constexpr Renamed renamed[] = {
    {&Settings::hotkey, "option_l", "ctrl_l"},
    {&Settings::hotkey, "f6", "ctrl_l"},
};

constexpr std::size_t shownFaultCharacters = 200;

SettingsFault damaged(const std::filesystem::path& file, const std::string& what) {
    const std::string line = text::join(text::words(text::repairUtf8(what)), " ");
    return {SettingsFault::Kind::damaged, file.string() + ": " + text::firstCharacters(line, shownFaultCharacters)};
}

/// "line 3, column 7: syntax error …"
std::string withoutErrorNumber(const std::string& message) {
    const std::string head = "parse error at ";
    const std::size_t at = message.find(head);
    return at == std::string::npos ? message : message.substr(at + head.size());
}

} // namespace

StoredSettings readSettings(const std::filesystem::path& file) {
    StoredSettings stored;
    const auto content = files::read(file);
    if (!content) {
        std::error_code error;
        if (std::filesystem::status(file, error).type() != std::filesystem::file_type::not_found)
            stored.fault = SettingsFault{SettingsFault::Kind::unreadable, file.string() + ": it cannot be read"};
        return stored;
    }
    try {
        const Json values = parseJsonOrThrow(*content);
        if (values.is_object())
            forEachField([&](const auto& field) {
                if (const auto found = values.find(field.key); found != values.end())
                    take(*found, stored.settings.*field.member);
            });
        else
            stored.fault = damaged(file, "it holds no JSON object");
    } catch (const Json::exception& error) {
        stored.fault = damaged(file, withoutErrorNumber(error.what()));
    }
    return stored;
}

std::filesystem::path Config::defaultFile() {
    return files::dataDirectory() / "config.json";
}

Config::Config(std::filesystem::path file, const Clock& clock) : m_file(std::move(file)), m_clock(clock) {
    load();
}

void Config::load() {
    files::makePrivateDirectory(m_file.parent_path());
    StoredSettings stored = readSettings(m_file);
    m_settings = std::move(stored.settings);
    m_fault = std::move(stored.fault);
    if (m_fault)
        logError("the settings are at their defaults, since they cannot be read from {}", m_fault->message);

    bool changed = false;
    for (const Renamed& value : renamed)
        if (m_settings.*value.field == value.before) {
            m_settings.*value.field = value.now;
            changed = true;
        }
    if (m_settings.deviceId.empty()) {
        m_settings.deviceId = files::makeUuid();
        changed = true;
    }
    if (changed)
        save();
}

Settings Config::get() const {
    std::lock_guard lock(m_mutex);
    return m_settings;
}

void Config::save() {
    {
        std::lock_guard writing(m_writing);
        const Settings settings = get();
        Json values;
        forEachField([&](const auto& field) { values[field.key] = stored(settings.*field.member); });
        files::makePrivateDirectory(m_file.parent_path());
        m_isSaved = makeRoom() && files::writeAtomically(m_file, writeJson(values, 2) + "\n");
    }
    announce();
}

std::optional<std::filesystem::path> Config::setAside() const {
    std::lock_guard lock(m_mutex);
    return m_setAside;
}

void Config::tellOn(MainQueue& mainQueue) {
    m_mainQueue = &mainQueue;
}

void Config::announce() {
    if (!m_mainQueue || m_isTelling.exchange(true))
        return;
    m_mainQueue->post(m_lifetime.bind([this] {
        m_isTelling = false; // first: a change from here on is told once more
        m_changes.tell();
    }));
}

/// Whether the file may be replaced. A damaged one is set aside first, an unreadable one stays.
bool Config::makeRoom() {
    if (!m_fault)
        return true;
    if (m_fault->kind == SettingsFault::Kind::unreadable)
        return false;
    const auto kept = files::setAside(m_file, m_clock.wallTime());
    std::error_code error;
    if (!kept && std::filesystem::exists(m_file, error))
        return false;
    if (kept)
        logInfo("The damaged settings are kept as {}", kept->string());
    std::lock_guard lock(m_mutex);
    m_setAside = kept;
    m_fault.reset();
    return true;
}

} // namespace fenlo
