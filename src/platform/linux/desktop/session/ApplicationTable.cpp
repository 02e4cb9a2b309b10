#include "platform/linux/desktop/session/ApplicationTable.h"

namespace fenlo {

namespace {

constexpr auto controlShiftV = PasteChord::controlShiftV;
constexpr auto shiftInsert = PasteChord::shiftInsert;

constexpr KnownApplication applications[] = {
    // Terminal emulators. The old ones paste with Shift-Insert only.
    {"xterm", "xterm.terminal", shiftInsert},
    {"uxterm", "uxterm.terminal", shiftInsert},
    {"rxvt", "rxvt.terminal", shiftInsert},
    {"urxvt", "urxvt.terminal", shiftInsert},
    {"mrxvt", "mrxvt.terminal", shiftInsert},
    {"aterm", "aterm.terminal", shiftInsert},
    {"eterm", "eterm.terminal", shiftInsert},
    {"mlterm", "mlterm.terminal", shiftInsert},
    {"st", "st.terminal", controlShiftV},
    {"st-256color", "st.terminal", controlShiftV},
    {"gnome-terminal", "org.gnome.terminal", controlShiftV},
    {"gnome-terminal-server", "org.gnome.terminal", controlShiftV},
    {"org.gnome.console", "org.gnome.console.terminal", controlShiftV},
    {"kgx", "org.gnome.console.terminal", controlShiftV},
    {"org.gnome.ptyxis", "org.gnome.ptyxis.terminal", controlShiftV},
    {"konsole", "org.kde.konsole.terminal", controlShiftV},
    {"yakuake", "org.kde.yakuake.terminal", controlShiftV},
    {"xfce4-terminal", "xfce4-terminal", controlShiftV},
    {"mate-terminal", "mate-terminal", controlShiftV},
    {"lxterminal", "lxterminal", controlShiftV},
    {"qterminal", "qterminal", controlShiftV},
    {"deepin-terminal", "deepin-terminal", controlShiftV},
    {"io.elementary.terminal", "io.elementary.terminal", controlShiftV},
    {"terminator", "terminator.terminal", controlShiftV},
    {"tilix", "com.gexperts.tilix.terminal", controlShiftV},
    {"guake", "guake.terminal", controlShiftV},
    {"tilda", "tilda.terminal", controlShiftV},
    {"sakura", "sakura.terminal", controlShiftV},
    {"terminology", "terminology.terminal", controlShiftV},
    {"cool-retro-term", "cool-retro-term.terminal", controlShiftV},
    {"kitty", "kitty.terminal", controlShiftV},
    {"alacritty", "alacritty.terminal", controlShiftV},
    {"org.wezfurlong.wezterm", "wezterm.terminal", controlShiftV},
    {"com.mitchellh.ghostty", "ghostty.terminal", controlShiftV},
    {"foot", "foot.terminal", controlShiftV},
    {"hyper", "hyper.terminal", controlShiftV},
    {"tabby", "tabby.terminal", controlShiftV},
    {"warp", "dev.warp.terminal", controlShiftV},
    {"dev.warp.warp", "dev.warp.terminal", controlShiftV},

    // Developer tools
    {"code", "com.microsoft.vscode", {}},
    {"code-oss", "com.microsoft.vscode", {}},
    {"code-insiders", "com.microsoft.vscode-insiders", {}},
    {"codium", "com.vscodium.vscode", {}},
    {"vscodium", "com.vscodium.vscode", {}},
    {"nvim-qt", "nvim-qt.neovim", {}},
    {"neovide", "neovide.neovim", {}},
    // Editors in which Control-V means another thing. Shift-Insert takes the clipboard in Emacs, the primary selection
    // in gVim.
    {"emacs", "emacs", {}, shiftInsert},
    {"gvim", "gvim", {}, shiftInsert},

    // Mail
    {"thunderbird", "org.mozilla.thunderbird.mail", {}},
    {"thunderbird-esr", "org.mozilla.thunderbird.mail", {}},
    {"betterbird", "eu.betterbird.mail", {}},
    {"evolution", "org.gnome.evolution.mail", {}},
    {"geary", "org.gnome.geary.mail", {}},

    // Chat
    {"signal", "org.signal.messages", {}},
    {"element", "im.riot.messages", {}},
    {"zapzap", "com.rtosta.zapzap.whatsapp", {}},
    {"teams-for-linux", "teams-for-linux.messages", {}},

    // Documents
    {"libreoffice-writer", "org.libreoffice.writer.word", {}},
};

constexpr KnownCategory categories[] = {
    {"TerminalEmulator", "terminal"}, {"Email", "mail"},         {"InstantMessaging", "messages"}, {"Chat", "messages"},
    {"IRCClient", "messages"},        {"WordProcessor", "word"},
};

} // namespace

std::span<const KnownApplication> knownApplications() {
    return applications;
}

std::span<const KnownCategory> knownCategories() {
    return categories;
}

} // namespace fenlo
