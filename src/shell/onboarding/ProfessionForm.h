#pragma once

#include "base/Changes.h"
#include "settings/Config.h"
#include "text/professions/Questions.h"

#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// What the user does for a living: the list, the questions that follow, and the mode of dictation. Begins with what
/// the settings hold.
///
/// Threads: main thread only.
class ProfessionForm {
public:
    struct Option {
        std::string key;
        std::string label;
        bool isChosen = false;
    };
    using Topic = ProfessionTopic;
    struct Question {
        Topic topic;
        std::string text;
        bool takesSeveral = true;
        std::vector<Option> options;
    };

    explicit ProfessionForm(Config& config);
    ProfessionForm(const ProfessionForm&) = delete;
    ProfessionForm& operator=(const ProfessionForm&) = delete;

    std::vector<Option> professions() const;
    void choose(const std::string& key);
    bool isChosen() const { return !m_draft.profession.empty(); }
    /// Leaves the profession as the settings have it.
    void skip();

    /// That follow from the profession; each has at least one option.
    std::vector<Question> questions() const;
    /// Chooses an option, or takes the choice back.
    void toggle(Topic topic, const std::string& key);

    DictationMode mode() const { return m_draft.dictationMode; }
    void setMode(DictationMode mode);

    /// Writes it into the settings. What was learned stays.
    void store();

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    Config& m_config;
    Settings m_draft; // only the fields of this form count
    Changes m_changes;
};

} // namespace fenlo
