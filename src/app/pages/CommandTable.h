#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace fenlo {

/// An option of a command, or an argument by position, as the command line itself knows it.
struct OptionEntry {
    enum class Value { none, text, choice, file, folder, model };

    std::vector<std::string> names; // "-o", "--output"; of an argument its one name, such as "FILE"
    std::string help;
    std::string group; // "Options" where it has no heading of its own
    Value value = Value::none;
    std::string valueName; // what follows the name: "TEXT", "NUMBER"
    std::vector<std::string> choices;
    std::string otherwise;                   // its value where nothing is given; may be empty
    std::vector<std::string> needs, without; // names of other options
    bool isArgument = false;
    bool isRequired = false;
    bool isRepeatable = false; // may be given several times; an argument stands for several
    bool isList = false;       // several values with commas between them
};

struct CommandEntry {
    std::string name; // "keys set": all words after the program's name; empty for the program itself
    std::string help;
    std::string footer;
    std::vector<OptionEntry> options;
    std::vector<CommandEntry> commands;
};

/// The whole command line, without what is for Fenlo itself.
CommandEntry commandTable(const CLI::App& program);

/// The program itself, and every command of it.
std::vector<const CommandEntry*> allCommands(const CommandEntry& program);

/// The last word of its name.
std::string lastWord(const CommandEntry& command);

} // namespace fenlo
