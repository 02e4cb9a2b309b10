// Writes the manual pages and the shells' completions of the command line. A tool of the build; it is not installed.

#include "Version.h"
#include "app/Commands.h"
#include "app/pages/Completions.h"
#include "app/pages/ManPage.h"
#include "base/Files.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>

namespace fs = std::filesystem;
using namespace fenlo;

namespace {

bool write(const fs::path& file, const std::string& content) {
    std::error_code failed;
    fs::create_directories(file.parent_path(), failed);
    if (!failed && files::writeAtomically(file, content))
        return true;
    std::fprintf(stderr, "cannot write %s\n", file.c_str());
    return false;
}

bool writeAll(const CommandEntry& program, const fs::path& folder, const std::string& sections) {
    bool isDone = write(folder / "man/fenlo.1", programPage(program, version, sections));
    for (const CommandEntry& command : program.commands)
        isDone = write(folder / "man" / ("fenlo-" + command.name + ".1"), commandPage(command, version)) && isDone;
    return write(folder / "bash/fenlo", bashCompletion(program)) &&
           write(folder / "zsh/_fenlo", zshCompletion(program)) &&
           write(folder / "fish/fenlo.fish", fishCompletion(program)) && isDone;
}

} // namespace

int main(int argc, char** argv) try {
    const auto sections = argc == 3 ? files::read(argv[2]) : std::nullopt;
    if (!sections) {
        std::fprintf(stderr, "usage: command-pages FOLDER SECTIONS\n");
        return 2;
    }
    CLI::App cli;
    addAllCommands(cli);
    return writeAll(commandTable(cli), argv[1], *sections) ? 0 : 1;
} catch (const std::exception& fault) {
    std::fprintf(stderr, "command-pages: %s\n", fault.what());
    return 1;
}
