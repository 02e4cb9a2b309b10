// The prompts as whole texts under approved/, and cases that need no whole text.

#include "text/DictationPrompt.h"
#include "support/Approved.h"
#include "text/ApplicationTables.h"
#include "text/UserProfile.h"
#include "text/professions/Professions.h"

#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <set>

using namespace fenlo;
using fenlo::test::expectApproved;

namespace {

struct Situation {
    std::string name;
    std::string header;
    FocusContext context;
    std::function<void(Settings&)> choose = [](Settings&) {};
    std::string language = "auto";
    std::string dictated = "can we meet at ten or is half past better for you";

    std::string composed() const {
        Settings settings;
        choose(settings);
        return header + "\n\n==== SYSTEM PROMPT\n" + systemPrompt(settings, context, language) +
               "\n\n==== USER MESSAGE\n" + userMessage(settings, dictated, context) + "\n";
    }
};

FocusContext in(std::string appName, std::string appBundleId, std::string existingText = "",
                std::string selectedText = "") {
    FocusContext context;
    context.appName = std::move(appName);
    context.appBundleId = std::move(appBundleId);
    context.existingText = std::move(existingText);
    context.selectedText = std::move(selectedText);
    return context;
}

/// The settings after the profession was chosen.
void practice(Settings& settings, const std::string& profession) {
    const auto vocabulary = profile(profession).vocabulary;
    settings.profession = profession;
    settings.professionVocabulary.assign(vocabulary.begin(), vocabulary.end());
}

const std::vector<Situation> situations{
    {.name = "chat",
     .header = "A chat, with the settings of a new user.",
     .context = in("Slack", "com.tinyspeck.Slack")},
    {.name = "chat-minimal-personal-doctor",
     .header = "A chat in the minimal style: no tone. A doctor in personal mode: no profession, yet the vocabulary.",
     .context = in("Slack", "slack"),
     .choose =
         [](Settings& s) {
             s.smartRewriteStyle = SmartRewriteStyle::minimal;
             s.dictationMode = DictationMode::personal;
             s.profession = "doctor";
             s.professionSpecialties = {"cardiology"};
             s.customVocabulary = {"Ilka", "Fenlo"};
             s.professionVocabulary = {"Shelcal", "Ilka"};
         }},
    {.name = "mail-doctor",
     .header = "A mail that is begun, by a doctor at work.",
     .context =
         in("Thunderbird", "org.mozilla.thunderbird.mail", "Dear colleague,\n\nthank you for seeing Mr Brandt.\n"),
     .choose =
         [](Settings& s) {
             practice(s, "doctor");
             s.professionSpecialties = {"cardiology", "other"};
             s.dictationTypes = {"clinical_notes", "emails"};
         },
     .language = "en",
     .dictated = "he takes echo sprin 75 mg once a day"},
    {.name = "document-lawyer-lower-case",
     .header = "A selection in a document, by a partner in family law, without automatic capitals.",
     .context = in("LibreOffice Writer", "libreoffice-word", "", "The parties \"may\" agree."),
     .choose =
         [](Settings& s) {
             s.autoCapitalize = false;
             s.profession = "lawyer";
             s.professionRole = "partner";
             s.lawyerPracticeAreas = {"family", "tax"};
             s.dictationTypes = {"legal_docs"};
         },
     .language = "de"},
    {.name = "terminal-minimal-lower-case",
     .header = "A terminal: neither the minimal style nor the wish about capitals reaches the command line.",
     .context = in("GNOME Terminal", "org.gnome.Terminal"),
     .choose =
         [](Settings& s) {
             s.smartRewriteStyle = SmartRewriteStyle::minimal;
             s.autoCapitalize = false;
         },
     .dictated = "get status dash s"},
    {.name = "editor-developer",
     .header = "A selection within a text in an editor, by a developer.",
     .context = in("Code", "code.VSCode", "int main() {\n    run();\n}", "run();"),
     .choose =
         [](Settings& s) {
             practice(s, "developer");
             s.customVocabulary = {"Fenlo"};
             s.professionSpecialties = {"cpp", "cobol"};
             s.dictationTypes = {"coding", "code_comments"};
         },
     .dictated = "run equals foo dot bar"},
    {.name = "notes-executive",
     .header = "Notes, by an executive in sales.",
     .context = in("Notion", "notion"),
     .choose =
         [](Settings& s) {
             practice(s, "executive");
             s.professionRole = "sales";
         },
     .language = "it"},
    {.name = "unknown-application-language-and-profession",
     .header = "Nothing known of the application, a language and a profession without a name.",
     .context = in("", ""),
     .choose =
         [](Settings& s) {
             s.profession = "beekeeper";
             s.professionRole = "head";
         },
     .language = "ur"},
    {.name = "no-profession",
     .header = "The profession \"other\" at work: nothing is said of it. An id with both mail and slack is a chat.",
     .context = in("Mail for Slack", "com.example.mail.slack"),
     .choose =
         [](Settings& s) {
             s.profession = "other";
             s.dictationTypes = {"notes"};
         }},
    {.name = "translation",
     .header = "A translation by a doctor: no profession, vocabulary or surroundings.",
     .context = in("Slack", "slack", "Hallo", "Welt"),
     .choose =
         [](Settings& s) {
             practice(s, "doctor");
             s.outputMode = OutputMode::translate;
             s.smartRewriteStyle = SmartRewriteStyle::minimal;
         },
     .language = "hi",
     .dictated = "mujhe kal chutti chahiye"},
    {.name = "transliteration",
     .header = "A transliteration in an unnamed application: no vocabulary or surroundings.",
     .context = in("", "", "नमस्ते"),
     .choose =
         [](Settings& s) {
             s.outputMode = OutputMode::transliterate;
             s.customVocabulary = {"Ilka"};
         },
     .dictated = "ok मुझे कल छुट्टी चाहिए"},
    {.name = "unknown-output-mode",
     .header = "An output mode that nobody knows is a dictation without its surroundings.",
     .context = in("Slack", "slack", "Hello", "world"),
     .choose =
         [](Settings& s) {
             s.outputMode = Choice<OutputMode>("sing");
             s.smartRewriteStyle = SmartRewriteStyle::minimal;
         }},
};

} // namespace

TEST(DictationPrompt, IsApprovedInEverySituation) {
    std::set<std::string> unknown;
    for (const auto& file : std::filesystem::directory_iterator(APPROVED_FOLDER))
        unknown.insert(file.path().stem().string());
    for (const Situation& situation : situations) {
        expectApproved(situation.name, situation.composed());
        unknown.erase(situation.name);
    }
    EXPECT_THAT(unknown, testing::IsEmpty()) << "approved texts without a situation";
}

TEST(ApplicationTables, DifferByWhatIsAsked) {
    struct Row {
        std::string id;
        std::string dictation; // how the tones begin
        std::string command;
        bool isPromptedAsDeveloperTool;
        bool keepsCase;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"org.TELEGRAM.desktop", "casual and", "casual and", false, false},
             {"dev.warp.Warp", "technical and", "natural and clear", true, true},
             {"neovim", "natural and clear", "natural and clear", false, true},
             {"notion.mail", "professional and", "professional and", false, false},
             {"discord.terminal", "casual and", "casual and", true, true},
         }) {
        EXPECT_TRUE(dictationTone(row.id).starts_with(row.dictation)) << row.id;
        EXPECT_TRUE(commandTone(row.id).starts_with(row.command)) << row.id;
        EXPECT_EQ(isPromptedAsDeveloperTool(row.id), row.isPromptedAsDeveloperTool) << row.id;
        EXPECT_EQ(keepsCaseOfVoiceCommands(row.id), row.keepsCase) << row.id;
    }
}

TEST(UserProfile, SaysWhatTheUserChose) {
    Settings settings;
    settings.professionRole = "inhouse";
    settings.lawyerPracticeAreas = {"ip"};
    settings.professionSpecialties = {"jira", "go"};
    settings.dictationTypes = {"prds", "poems"};
    EXPECT_EQ(userProfileSentence(settings), "") << "no profession";
    settings.profession = "lawyer";
    EXPECT_EQ(userProfileSentence(settings), "The user is a in-house counsel lawyer. They practice: IP/Patent. They "
                                             "specialize in: Jira, Go. They mainly dictate: PRDs/specs, poems.");
    settings.profession = "pm";
    settings.professionRole.clear();
    EXPECT_EQ(userProfileSentence(settings),
              "The user is a product manager. They use: Jira, Go. They mainly dictate: PRDs/specs, poems.");
}
