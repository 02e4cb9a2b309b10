#include "app/pages/CommandTable.h"

#include "base/Text.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace fenlo {

namespace {

/// What the checks of an option say it may be, such as "TEXT:{txt,srt}" or "INT:INT in [0 - 1024]".
std::vector<std::string> choicesIn(const std::string& type) {
    const auto open = type.find('{');
    const auto close = type.find('}', open);
    if (open == type.npos || close == type.npos)
        return {};
    return text::split(type.substr(open + 1, close - open - 1), ',');
}

std::string nameOfType(const std::string& type) {
    const std::string plain = type.substr(0, type.find(':'));
    return plain == "INT" || plain == "UINT" || plain == "FLOAT" ? "NUMBER" : plain;
}

OptionEntry::Value valueOf(const OptionEntry& entry, const CLI::Option& option) {
    if (option.get_items_expected_max() == 0)
        return OptionEntry::Value::none;
    if (!entry.choices.empty())
        return OptionEntry::Value::choice;
    const std::string kind = entry.isArgument && entry.names.front() == "FILE" ? "FILE" : entry.valueName;
    if (kind == "FILE")
        return OptionEntry::Value::file;
    if (kind == "FOLDER")
        return OptionEntry::Value::folder;
    return kind == "MODEL" ? OptionEntry::Value::model : OptionEntry::Value::text;
}

std::vector<std::string> namesOf(const std::set<CLI::Option*>& options) {
    std::vector<std::string> names;
    for (const CLI::Option* option : options)
        names.push_back("--" + option->get_lnames().front());
    std::ranges::sort(names); // the set is in the order of addresses
    return names;
}

OptionEntry entryOf(const CLI::Option& option) {
    OptionEntry entry;
    entry.isArgument = option.get_positional();
    if (entry.isArgument)
        entry.names = {option.get_name(true)};
    for (const std::string& name : option.get_snames())
        entry.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        entry.names.push_back("--" + name);
    entry.help = option.get_description();
    entry.group = option.get_group();
    entry.choices = choicesIn(option.get_type_name());
    entry.valueName = nameOfType(option.get_type_name());
    entry.value = valueOf(entry, option);
    entry.otherwise = option.get_default_str();
    entry.needs = namesOf(option.get_needs());
    entry.without = namesOf(option.get_excludes());
    entry.isRequired = option.get_required();
    entry.isRepeatable = option.get_expected_max() > 1;
    entry.isList = option.get_delimiter() != '\0';
    return entry;
}

CommandEntry entryOf(const CLI::App& command, const std::string& name) {
    const CLI::App* above = command.get_parent();
    const bool isInherited = above && above->get_footer() == command.get_footer();
    CommandEntry entry{name, command.get_description(), isInherited ? "" : command.get_footer(), {}, {}};
    for (const CLI::Option* option : command.get_options())
        if (!option->get_group().empty())
            entry.options.push_back(entryOf(*option));
    for (const CLI::App* below : command.get_subcommands([](const CLI::App*) { return true; }))
        if (!below->get_group().empty())
            entry.commands.push_back(
                entryOf(*below, name.empty() ? below->get_name() : name + " " + below->get_name()));
    return entry;
}

void gather(const CommandEntry& command, std::vector<const CommandEntry*>& all) {
    all.push_back(&command);
    for (const CommandEntry& below : command.commands)
        gather(below, all);
}

} // namespace

CommandEntry commandTable(const CLI::App& program) {
    return entryOf(program, "");
}

std::vector<const CommandEntry*> allCommands(const CommandEntry& program) {
    std::vector<const CommandEntry*> all;
    gather(program, all);
    return all;
}

std::string lastWord(const CommandEntry& command) {
    return command.name.substr(command.name.rfind(' ') + 1);
}

} // namespace fenlo
