#include "app/pages/Completions.h"

#include "base/Text.h"

namespace fenlo {

namespace {

std::string zshQuoted(const std::string& word) {
    return "'" + text::replaceAll(word, "'", "'\\''") + "'";
}

/// In a description, where brackets end it and colons separate.
std::string described(const std::string& help) {
    std::string safe;
    for (const char c : help) {
        if (c == '[' || c == ']' || c == ':' || c == '\\')
            safe += '\\';
        safe += c == '\n' ? ' ' : c;
    }
    return safe;
}

std::string function(const CommandEntry& command) {
    return command.name.empty() ? "_fenlo" : "_fenlo_" + text::replaceAll(command.name, " ", "_");
}

std::string zshAction(const OptionEntry& option) {
    switch (option.value) {
    case OptionEntry::Value::choice:
        return option.isList ? "_values -s , value " + text::join(option.choices, " ")
                             : "(" + text::join(option.choices, " ") + ")";
    case OptionEntry::Value::file:
        return "_files";
    case OptionEntry::Value::folder:
        return "_files -/";
    case OptionEntry::Value::model:
        return "_files -W ~/.fenlo/models -/";
    case OptionEntry::Value::none:
    case OptionEntry::Value::text:
        break;
    }
    return "";
}

std::string argumentOf(const OptionEntry& option, const std::string& name) {
    std::vector<std::string> others = option.without;
    if (!option.isRepeatable)
        for (const std::string& own : option.names)
            others.push_back(own);
    std::string argument = option.isRepeatable && others.empty() ? "*" : "";
    if (!others.empty())
        argument += "(" + text::join(others, " ") + ")";
    const bool takesValue = option.value != OptionEntry::Value::none;
    argument += name + (takesValue ? (name.starts_with("--") ? "=" : "+") : "") + "[" + described(option.help) + "]";
    if (takesValue)
        argument += ":" + described(text::lower(option.valueName)) + ":" + zshAction(option);
    return zshQuoted(argument);
}

std::string argumentLines(const CommandEntry& command) {
    std::string lines;
    for (const OptionEntry& option : command.options) {
        if (option.isArgument)
            lines += " \\\n        " + zshQuoted((option.isRepeatable ? "*:" : "1:") +
                                                 text::lower(option.names.front()) + ":" + zshAction(option));
        else
            for (const std::string& name : option.names)
                lines += " \\\n        " + argumentOf(option, name);
    }
    return lines;
}

std::string withCommands(const CommandEntry& command) {
    std::string list, calls;
    for (const CommandEntry& below : command.commands) {
        list += "            " + zshQuoted(lastWord(below) + ":" + described(below.help)) + "\n";
        calls += "        " + lastWord(below) + ") " + function(below) + " ;;\n";
    }
    return function(command) +
           "() {\n    local context state state_descr line\n    typeset -A opt_args\n    _arguments -C" +
           argumentLines(command) +
           " \\\n        '1:command:->command' '*::argument:->argument'\n    case $state in\n"
           "    command)\n        local -a commands=(\n" +
           list + "        )\n        _describe command commands ;;\n    argument)\n        case $words[1] in\n" +
           calls + "        esac ;;\n    esac\n}\n\n";
}

} // namespace

std::string zshCompletion(const CommandEntry& program) {
    std::string script = "#compdef fenlo\n# made from fenlo's command line\n\n";
    for (const CommandEntry* command : allCommands(program))
        script += command->commands.empty()
                      ? function(*command) + "() {\n    _arguments -s" + argumentLines(*command) + "\n}\n\n"
                      : withCommands(*command);
    return script + "_fenlo \"$@\"\n";
}

} // namespace fenlo
