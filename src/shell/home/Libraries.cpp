#include "shell/home/Libraries.h"

namespace fenlo {

namespace {

constexpr Library all[] = {
    {"CLI11", "BSD-3-Clause", "The command line"},
    {"curl", "curl", "Talking to the services"},
    {"Expat", "MIT", "The feed of updates"},
    {"FLAC", "BSD-3-Clause", "Reading recordings"},
    {"{fmt}", "MIT", "Lines of the log"},
    {"GLib", "LGPL-2.1-or-later", "The desktop's message bus"},
    {"Highway", "Apache-2.0", "The on-device engine"},
    {"ICU", "Unicode-DFS-2016", "Text in every script"},
    {"JSON for Modern C++", "MIT", "Settings and answers of services"},
    {"KISS FFT", "BSD-3-Clause", "Frequencies in sound"},
    {"libogg", "BSD-3-Clause", "Reading recordings"},
    {"libpulse", "LGPL-2.1-or-later", "Microphone and tones"},
    {"libsecret", "LGPL-2.1-or-later", "Keys in the desktop's keyring"},
    {"libsndfile", "LGPL-2.1-or-later", "Reading and writing recordings"},
    {"libsoxr", "LGPL-2.1-or-later", "Other sampling rates"},
    {"mpg123", "LGPL-2.1-only", "Reading recordings"},
    {"oneDNN", "Apache-2.0", "The on-device engine"},
    {"OpenSSL", "Apache-2.0", "Checking what was downloaded"},
    {"Qt", "LGPL-3.0-only", "Windows, tray and pill"},
    {"simdjson", "Apache-2.0", "The history file"},
    {"Wayland", "MIT", "Clipboard, keys and pill on Wayland"},
    {"X.Org libraries, XCB", "MIT", "Keys, clipboard and windows"},
    {"xkbcommon", "MIT", "Keyboard layouts"},
    {"zlib", "Zlib", "The on-device engine"},
};

} // namespace

std::span<const Library> libraries() {
    return all;
}

} // namespace fenlo
