#include "app/pages/Completions.h"

#include "base/Text.h"

namespace fenlo {

namespace {

std::string fishQuoted(const std::string& word) {
    return "'" + text::replaceAll(text::replaceAll(word, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string beginningFor(const std::vector<std::string>& names) {
    return "# fish completion for fenlo; made from its command line\n"
           "function __fenlo_at --description 'Whether the words so far name this command'\n"
           "    set -l commands " +
           text::join(names, " ") +
           "\n    set -l at ''\n"
           "    for word in (commandline -opc)[2..-1]\n"
           "        set -l next (string trim -- \"$at $word\")\n"
           "        contains -- \"$next\" $commands; and set at $next\n"
           "    end\n"
           "    test \"$at\" = \"$argv[1]\"\n"
           "end\n"
           "function __fenlo_list --description 'One more of these words, behind a comma'\n"
           "    set -l before (commandline -ct | string match -r '^(?:.*=)?(.*,)' )[2]\n"
           "    for word in $argv\n"
           "        echo $before$word\n"
           "    end\n"
           "end\n"
           "function __fenlo_models --description 'The models on this machine'\n"
           "    for folder in ~/.fenlo/models/*/\n"
           "        path basename $folder\n"
           "    end\n"
           "end\n"
           "complete -c fenlo -f\n";
}

std::string fishValues(const OptionEntry& option) {
    switch (option.value) {
    case OptionEntry::Value::choice:
        return option.isList ? " -x -a \"(__fenlo_list " + text::join(option.choices, " ") + ")\""
                             : " -x -a " + fishQuoted(text::join(option.choices, " "));
    case OptionEntry::Value::file:
        return " -r -F";
    case OptionEntry::Value::folder:
        return " -x -a '(__fish_complete_directories)'";
    case OptionEntry::Value::model:
        return " -x -a '(__fenlo_models)'";
    case OptionEntry::Value::text:
        return " -x";
    case OptionEntry::Value::none:
        break;
    }
    return "";
}

std::string fishLine(const CommandEntry& command, const OptionEntry& option) {
    std::string line = "complete -c fenlo -n \"__fenlo_at '" + command.name + "'\"";
    if (option.isArgument)
        return line + (option.value == OptionEntry::Value::file ? " -F" : fishValues(option)) + "\n";
    for (const std::string& name : option.names)
        line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    return line + fishValues(option) + " -d " + fishQuoted(option.help) + "\n";
}

} // namespace

std::string fishCompletion(const CommandEntry& program) {
    std::vector<std::string> names;
    std::string lines;
    for (const CommandEntry* command : allCommands(program)) {
        if (!command->name.empty())
            names.push_back(fishQuoted(command->name));
        for (const CommandEntry& below : command->commands)
            lines += "complete -c fenlo -n \"__fenlo_at '" + command->name + "'\" -a " + lastWord(below) + " -d " +
                     fishQuoted(below.help) + "\n";
        for (const OptionEntry& option : command->options)
            lines += fishLine(*command, option);
    }
    return beginningFor(names) + lines;
}

} // namespace fenlo
