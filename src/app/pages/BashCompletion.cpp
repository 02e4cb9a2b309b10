#include "app/pages/Completions.h"

#include "base/Text.h"

namespace fenlo {

namespace {

constexpr char bashBeginning[] = R"(# bash completion for fenlo; made from its command line
_fenlo_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2"); }
_fenlo_list() { # words with commas between them
    local before=""
    [[ $2 == *,* ]] && before=${2%,*},
    mapfile -t COMPREPLY < <(compgen -P "$before" -W "$1" -- "${2##*,}")
    compopt -o nospace
}
_fenlo_files() {
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}
_fenlo_folders() {
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -d -- "$1")
}
_fenlo_models() {
    local folder names=""
    for folder in "${HOME}"/.fenlo/models/*/; do
        [[ -d $folder ]] && folder=${folder%/} && names+="${folder##*/} "
    done
    _fenlo_words "$names" "$1"
}

_fenlo() {
    local current=${COMP_WORDS[COMP_CWORD]} option="" at="" place
    # "--task=translate" comes as three words.
    if [[ $current == "=" ]]; then
        current=""
        option=${COMP_WORDS[COMP_CWORD-1]}
    elif [[ ${COMP_WORDS[COMP_CWORD-1]} == "=" ]]; then
        option=${COMP_WORDS[COMP_CWORD-2]}
    else
        option=${COMP_WORDS[COMP_CWORD-1]}
    fi
    for ((place = 1; place < COMP_CWORD; place++)); do
        case "${at:+$at }${COMP_WORDS[place]}" in
)";

std::string quoted(const std::string& words) {
    return "\"" + words + "\"";
}

std::string bashAction(const OptionEntry& option) {
    switch (option.value) {
    case OptionEntry::Value::choice:
        return std::string(option.isList ? "_fenlo_list " : "_fenlo_words ") + quoted(text::join(option.choices, " ")) +
               " \"$current\"";
    case OptionEntry::Value::file:
        return "_fenlo_files \"$current\"";
    case OptionEntry::Value::folder:
        return "_fenlo_folders \"$current\"";
    case OptionEntry::Value::model:
        return "_fenlo_models \"$current\"";
    case OptionEntry::Value::none:
    case OptionEntry::Value::text:
        break;
    }
    return "COMPREPLY=()";
}

/// What stands behind an option of this command that takes a value.
std::string valueCases(const CommandEntry& command) {
    std::string cases;
    for (const OptionEntry& option : command.options) {
        if (option.isArgument || option.value == OptionEntry::Value::none)
            continue;
        std::vector<std::string> patterns;
        for (const std::string& name : option.names)
            patterns.push_back(quoted(command.name + "|" + name));
        cases += "    " + text::join(patterns, " | ") + ")\n        " + bashAction(option) + "\n        return ;;\n";
    }
    return cases;
}

std::string optionNames(const CommandEntry& command) {
    std::vector<std::string> names;
    for (const OptionEntry& option : command.options)
        if (!option.isArgument)
            names.insert(names.end(), option.names.begin(), option.names.end());
    return text::join(names, " ");
}

/// What stands where no option's value is due.
std::string wordCase(const CommandEntry& command) {
    std::string otherwise = "COMPREPLY=()";
    std::vector<std::string> below;
    for (const CommandEntry& sub : command.commands)
        below.push_back(lastWord(sub));
    if (!below.empty())
        otherwise = "_fenlo_words " + quoted(text::join(below, " ")) + " \"$current\"";
    for (const OptionEntry& option : command.options)
        if (option.isArgument)
            otherwise = bashAction(option);
    return "    " + quoted(command.name) + ")\n        if [[ $current == -* ]]; then\n            _fenlo_words " +
           quoted(optionNames(command)) + " \"$current\"\n        else\n            " + otherwise + "\n        fi ;;\n";
}

} // namespace

std::string bashCompletion(const CommandEntry& program) {
    std::vector<std::string> names;
    std::string values, words;
    for (const CommandEntry* command : allCommands(program)) {
        if (!command->name.empty())
            names.push_back(quoted(command->name));
        values += valueCases(*command);
        words += wordCase(*command);
    }
    return bashBeginning + std::string("        ") + text::join(names, " | ") +
           ")\n            at=\"${at:+$at }${COMP_WORDS[place]}\" ;;\n        esac\n    done\n"
           "    case \"$at|$option\" in\n" +
           values + "    esac\n    case \"$at\" in\n" + words + "    esac\n}\ncomplete -F _fenlo fenlo\n";
}

} // namespace fenlo
