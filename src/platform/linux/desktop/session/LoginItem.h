#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace fenlo {

/// The entry through which the session starts a program at login (XDG autostart).
class LoginItem {
public:
    LoginItem(std::filesystem::path file, std::filesystem::path executable)
        : m_file(std::move(file)), m_executable(std::move(executable)) {}

    /// The user's own autostart folder, and the program that is running. An entry that earlier
    /// builds wrote under the name fenlo.desktop is taken over first.
    static LoginItem ofThisProgram();

    /// The entry of this program under an earlier name becomes this one, with all that it says, unless there is one
    /// already; then it goes. Two entries would start the program twice.
    void takeOver(const std::filesystem::path& earlier) const;

    /// Whether the entry starts this very program, or the user has switched it off.
    bool isDecided() const { return state() != State::missing; }

    /// Writes the entry unless isDecided(). What the user has added to it stays. Returns an error text, or nothing.
    std::optional<std::string> write() const;

    /// Whether the session starts this program.
    bool isOn() const { return state() == State::on; }
    /// Writes the entry so that it does, or so that it is switched off for good: an entry that is there and hidden,
    /// since a missing one would be written anew. Returns an error text, or nothing.
    std::optional<std::string> set(bool on) const;

    /// The program as a command line of a desktop file.
    static std::string quoted(const std::filesystem::path& program);

private:
    enum class State { missing, on, off };
    State state() const;

    enum class Switch { leave, on, off };
    std::optional<std::string> save(Switch position) const;

    std::filesystem::path m_file;
    std::filesystem::path m_executable;
};

} // namespace fenlo
