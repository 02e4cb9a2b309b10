#include "speech/DeveloperText.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace fenlo {

namespace {

constexpr std::array<std::string_view, 21> editors = {
    "vscode",   "xcode",    "terminal", "iterm",     "warp",    "cursor", "jetbrains",
    "intellij", "pycharm",  "webstorm", "goland",    "sublime", "atom",   "nova",
    "bbedit",   "textmate", "neovim",   "alacritty", "kitty",   "hyper",  "tabby"};

// "Quartz" is how recognisers hear "quotes".
constexpr std::array<std::string_view, 6> openingQuotes = {"quartz open ", "quotes open ", "quote open ",
                                                           "open quote ",  "open quartz ", "open quotes "};
constexpr std::array<std::string_view, 9> closingQuotes = {"quartz closed", "quotes closed", "quote closed",
                                                           "close quote",   "close quartz",  "close quotes",
                                                           "unquote",       "end quote",     "end quartz"};
constexpr std::array<std::string_view, 4> bareQuotes = {"quartz", "quotes", "quote", "courts"};

struct Term {
    std::string_view spoken;
    std::string_view written;
};

// The order matters: "get check out" comes before "get ", and forms that become a dash or "git " come before forms that
// contain these.
constexpr std::array<Term, 30> developerTerms = {{
    {"minus ", "-"},
    {"dash ", "-"},
    {"get check out", "git checkout"},
    {"get checkout", "git checkout"},
    {"get pull", "git pull"},
    {"get push", "git push"},
    {"get commit", "git commit"},
    {"get status", "git status"},
    {"get merge", "git merge"},
    {"get stash", "git stash"},
    {"get log", "git log"},
    {"get diff", "git diff"},
    {"get add", "git add"},
    {"get branch", "git branch"},
    {"get rebase", "git rebase"},
    {"get clone", "git clone"},
    {"get init", "git init"},
    {"get fetch", "git fetch"},
    {"get remote", "git remote"},
    {"get reset", "git reset"},
    {"get ", "git "},
    {"gitch ", "git "},
    {"git comment", "git commit"},
    {"comment -", "commit -"},
    {"see dee ", "cd "},
    {"pseudo ", "sudo "},
    {"pseudo-", "sudo "},
    {"elless", "ls"},
    {"grapp", "grep"},
    {"make dear", "mkdir"},
}};

void replaceWithQuote(std::string& text, std::string_view word) {
    text = text::replaceAll(text, word, "\"");
}

void replaceBareQuote(std::string& text, std::string_view word) {
    const std::string ending = ' ' + std::string(word);
    text = text::replaceAll(text, ending + ' ', " \"");
    if (text.ends_with(ending)) {
        text.resize(text.size() - ending.size());
        text += '"';
    }
}

} // namespace

bool isDeveloperTool(const std::optional<std::string>& appName) {
    const std::string name = text::lower(appName.value_or(""));
    return std::any_of(editors.begin(), editors.end(),
                       [&](std::string_view editor) { return name.find(editor) != std::string::npos; });
}

std::string asCommand(std::string_view dictated) {
    static const text::Regex splitFlag("-([a-z])\\.([a-z])"); // "-m.a" is how "-ma" is heard

    std::string text = text::replaceAll(text::lower(dictated), ",", "");
    text.resize(text.find_last_not_of(".!?") + 1);
    for (const std::string_view words : openingQuotes)
        replaceWithQuote(text, words);
    for (const std::string_view words : closingQuotes)
        replaceWithQuote(text, words);
    for (const std::string_view word : bareQuotes)
        replaceBareQuote(text, word);
    for (const auto& [spoken, written] : developerTerms)
        text = text::replaceAll(text, spoken, written);
    return text::trimWhitespace(splitFlag.replaceAll(text, "-$1$2"));
}

} // namespace fenlo
