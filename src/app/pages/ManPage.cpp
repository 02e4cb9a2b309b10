#include "app/pages/ManPage.h"

#include "base/Text.h"

#include <algorithm>

namespace fenlo {

namespace {

/// A hyphen as it is typed, not as a line is broken; and no line that begins like a request.
std::string escaped(const std::string& plain) {
    std::string troff;
    bool isLineStart = true;
    for (const char c : plain) {
        if (isLineStart && (c == '.' || c == '\''))
            troff += "\\&";
        if (c == '\\')
            troff += "\\e";
        else if (c == '-')
            troff += "\\-";
        else
            troff += c;
        isLineStart = c == '\n';
    }
    return troff;
}

std::string bold(const std::string& word) {
    return "\\fB" + escaped(word) + "\\fR";
}

std::string italic(const std::string& word) {
    return "\\fI" + escaped(word) + "\\fR";
}

std::string heading(const std::string& title) {
    return ".SH " + text::upper(title) + "\n";
}

std::string pageBeginning(const std::string& name, const std::string& version, const std::string& help) {
    return ".TH " + escaped(text::upper(name)) + " 1 \"\" \"fenlo " + version + "\" \"User Commands\"\n" +
           heading("name") + escaped(name) + " \\- " + escaped(help) + "\n";
}

std::string pageValues(const OptionEntry& option) {
    if (option.value == OptionEntry::Value::none)
        return "";
    return option.choices.empty() ? italic(option.valueName) : "{" + escaped(text::join(option.choices, ",")) + "}";
}

std::string label(const OptionEntry& option) {
    if (option.isArgument)
        return italic(option.names.front()) + (option.choices.empty() ? "" : " " + pageValues(option));
    std::vector<std::string> names;
    for (const std::string& name : option.names)
        names.push_back(bold(name));
    const std::string value = pageValues(option);
    return text::join(names, ", ") + (value.empty() ? "" : " " + value);
}

std::string remarks(const OptionEntry& option) {
    std::string line;
    if (!option.otherwise.empty())
        line += " By default " + bold(option.otherwise) + ".";
    if (!option.needs.empty())
        line += " Together with " + bold(text::join(option.needs, ", ")) + ".";
    if (!option.without.empty())
        line += " Not with " + bold(text::join(option.without, ", ")) + ".";
    if (option.isRepeatable && !option.isArgument && !option.isList)
        line += " May be given several times.";
    return line;
}

std::string sentence(const std::string& help) {
    std::string line = help.empty() ? help : text::upper(help.substr(0, 1)) + help.substr(1);
    return line.ends_with('.') || line.empty() ? line : line + ".";
}

std::string entry(const OptionEntry& option) {
    return ".TP\n" + label(option) + "\n" + escaped(sentence(option.help)) + remarks(option) + "\n";
}

/// The options of each group under its heading; arguments come first.
std::string optionLists(const CommandEntry& command) {
    std::vector<std::string> groups;
    for (const OptionEntry& option : command.options)
        if (std::ranges::find(groups, option.group) == groups.end())
            groups.push_back(option.group);
    std::string lists;
    for (const OptionEntry& option : command.options)
        if (option.isArgument)
            lists += entry(option);
    for (const std::string& group : groups) {
        std::string list;
        for (const OptionEntry& option : command.options)
            if (option.group == group && !option.isArgument)
                list += entry(option);
        if (!list.empty())
            lists += (group == "Options" ? "" : ".SS " + group + "\n") + list;
    }
    return lists;
}

std::string synopsis(const CommandEntry& command) {
    std::string line = ".B fenlo " + escaped(command.name) + "\n[\\fIOPTION\\fR...]";
    for (const OptionEntry& option : command.options)
        if (option.isArgument) {
            const std::string name = italic(option.names.front()) + (option.isRepeatable ? "..." : "");
            line += option.isRequired ? " " + name : " [" + name + "]";
        }
    return line + "\n";
}

std::string seeAlso(const std::vector<std::string>& pages) {
    std::vector<std::string> names;
    for (const std::string& page : pages)
        names.push_back(".BR " + escaped(page) + " (1)");
    return heading("see also") + text::join(names, " ,\n") + "\n";
}

/// Lines as they stand: examples, and what an exit status means.
std::string verbatim(const std::string& lines) {
    return lines.empty() ? "" : ".PP\n.nf\n" + escaped(lines) + "\n.fi\n";
}

} // namespace

std::string programPage(const CommandEntry& program, const std::string& version, const std::string& sections) {
    std::string page = pageBeginning("fenlo", version, "voice dictation: hold a key, speak, let go");
    page += heading("synopsis") + ".B fenlo\n.br\n.B fenlo\n\\fICOMMAND\\fR [\\fIOPTION\\fR...] [\\fIFILE\\fR...]\n";
    page += heading("description") + escaped(program.help) + "\n";
    page += heading("options") + optionLists(program);
    page += heading("commands");
    std::vector<std::string> others;
    for (const CommandEntry& command : program.commands) {
        page += ".TP\n" + bold(command.name) + "\n" + escaped(sentence(command.help)) + " See\n.BR fenlo\\-" +
                escaped(command.name) + " (1).\n";
        others.push_back("fenlo-" + command.name);
    }
    return page + sections + seeAlso(others);
}

std::string commandPage(const CommandEntry& command, const std::string& version) {
    std::string page = pageBeginning("fenlo-" + command.name, version, command.help) + heading("synopsis");
    if (command.commands.empty())
        page += synopsis(command);
    for (const CommandEntry& below : command.commands)
        page += (&below == &command.commands.front() ? "" : ".br\n") + synopsis(below);
    page += heading("description") + escaped(sentence(command.help)) + "\n" + heading("options") + optionLists(command);
    if (!command.commands.empty())
        page += heading("commands");
    for (const CommandEntry& below : command.commands)
        page += ".SS " + escaped(below.name) + "\n" + escaped(sentence(below.help)) + "\n" + optionLists(below);
    if (!command.footer.empty())
        page += heading("notes") + verbatim(command.footer);
    return page + seeAlso({"fenlo"});
}

} // namespace fenlo
