"""Desktop file, metainfo, icons, manual pages, completions and notices, as they are installed."""

import gzip
import os
import re
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as xml
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2]
PACKAGING = SOURCES / "packaging"
MADE = Path(os.environ["FENLO_PACKAGE_FILES"])
PROGRAM = os.environ["FENLO_PROGRAM"]
ID = "org.fenlo.Fenlo"


def output(*command, **options):
    result = subprocess.run([str(part) for part in command], capture_output=True, text=True, timeout=60, **options)
    if result.returncode != 0:
        raise AssertionError(f"{command}: {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout + result.stderr


class Command:
    """A command as its --help tells of it."""

    def __init__(self, words):
        self.words = words
        self.help = output(PROGRAM, *words, "--help")
        self.options = sorted(set(re.findall(r"^  (?:-\w,)?(--[a-z0-9-]+)", self.help, re.M)))
        below = re.search(r"^Subcommands:\n((?:  .*\n)+)", self.help, re.M)
        self.commands = re.findall(r"^  ([a-z-]+)(?: |$)", below.group(1), re.M) if below else []


def all_commands(words=()):
    command = Command(words)
    yield command
    for name in command.commands:
        yield from all_commands((*words, name))


COMMANDS = list(all_commands())


def bash_completes(line):
    """What bash offers for the last word of this line."""
    words = line.split(" ")
    script = (
        'source "$1"; compopt() { :; }; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _fenlo;'
        ' printf "%s\\n" "${COMPREPLY[@]}"'
    )
    return output("bash", "-c", script, "bash", MADE / "bash/fenlo", *words).split()


def fish_completes(line, home):
    script = f"source {MADE / 'fish/fenlo.fish'}; complete -C '{line}'"
    lines = output("fish", "--no-config", "-c", script, env={**os.environ, "HOME": home, "TERM": "dumb"}).splitlines()
    return [offered.split("\t")[0] for offered in lines]


class Identity(unittest.TestCase):
    def test_desktop_file_metainfo_and_program_agree(self):
        desktop = PACKAGING / f"{ID}.desktop"
        output("desktop-file-validate", desktop)
        entries = dict(line.split("=", 1) for line in desktop.read_text().splitlines() if "=" in line)
        metainfo = xml.parse(PACKAGING / f"{ID}.metainfo.xml").getroot()
        root = (SOURCES / "src/app/DesktopApp.cpp").read_text()
        self.assertIn(f'setDesktopFileName("{ID}")', root)
        self.assertIn(f'setApplicationName("{entries["StartupWMClass"]}")', root, "the window's class")
        self.assertEqual(entries["Icon"], ID)
        self.assertEqual(metainfo.findtext("id"), ID)
        self.assertEqual(metainfo.findtext("launchable"), desktop.name)
        for side in (16, 22, 24, 32, 48, 64, 128, 256, 512):
            picture = (MADE / f"icons/{side}x{side}/{ID}.png").read_bytes()
            self.assertEqual(picture[:4] + picture[16:24], b"\x89PNG" + side.to_bytes(4, "big") * 2)

    def test_metainfo_is_valid(self):
        told = output("appstreamcli", "validate", "--no-net", PACKAGING / f"{ID}.metainfo.xml")
        self.assertNotRegex(told, r"(?m)^[EW]: ")

    def test_version_is_the_same_everywhere(self):
        version = os.environ["FENLO_VERSION"]
        release = xml.parse(PACKAGING / f"{ID}.metainfo.xml").getroot().find("releases/release")
        self.assertEqual(release.get("version"), version)
        self.assertTrue((PACKAGING / "debian/changelog").read_text().startswith(f"fenlo ({version}) "))
        self.assertEqual(output(PROGRAM, "--version").splitlines()[0], f"fenlo {version}")


class Pages(unittest.TestCase):
    def test_every_command_has_a_page_with_all_its_options(self):
        top = [command.words[0] for command in COMMANDS if len(command.words) == 1]
        pages = sorted(page.name for page in (MADE / "man").glob("*.1"))
        self.assertEqual(pages, sorted(["fenlo.1", *(f"fenlo-{name}.1" for name in top)]))
        for page in pages:
            formatted = (MADE / "man" / page).read_text()
            self.assertEqual(output("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-P", "cat", MADE / "man" / page,
                                    env={**os.environ, "MANROFFOPT": "", "MAN_KEEP_STDERR": "1", "LC_ALL": "C.UTF-8"})
                             .count("warning:"), 0, page)
            self.assertEqual(gzip.decompress((MADE / f"man/{page}.gz").read_bytes()).decode(), formatted)
        for command in COMMANDS:
            page = (MADE / "man" / ("-".join(["fenlo", *command.words[:1]]) + ".1")).read_text().replace("\\-", "-")
            for option in command.options:
                self.assertIn(f"\\fB{option}\\fR", page, command.words)
            for name in command.commands:
                self.assertIn(name, page)


class Completions(unittest.TestCase):
    def test_scripts_parse(self):
        output("bash", "-n", MADE / "bash/fenlo")
        output("zsh", "-n", MADE / "zsh/_fenlo")
        output("fish", "-n", MADE / "fish/fenlo.fish")

    def test_all_commands_and_options_are_offered(self):
        with tempfile.TemporaryDirectory() as home:
            zsh = (MADE / "zsh/_fenlo").read_text()
            for command in COMMANDS:
                line = " ".join(["fenlo", *command.words])
                offered = bash_completes(f"{line} --")
                self.assertEqual(sorted(name for name in offered if name.startswith("--")), command.options, line)
                offered = fish_completes(f"{line} --", home)
                self.assertEqual(sorted(name for name in offered if name.startswith("--")), command.options, line)
                own = zsh[zsh.index("_fenlo" + "".join(f"_{word}" for word in command.words) + "() {"):]
                own = own[: own.index("\n}\n")]
                self.assertEqual(sorted(set(re.findall(r"'[^'\[:]*?(--[a-z0-9-]+)=?\[", own))), command.options, line)
                if command.commands:
                    self.assertEqual(bash_completes(f"{line} "), command.commands)
                    self.assertEqual(sorted(fish_completes(f"{line} ", home)), sorted(command.commands))

    def test_values(self):
        self.assertEqual(bash_completes("fenlo transcribe --task t"), ["transcribe", "translate"])
        self.assertEqual(bash_completes("fenlo transcribe --task = transl"), ["translate"], "as bash cuts it")
        self.assertEqual(bash_completes("fenlo transcribe --output srt,v"), ["srt,vtt"])
        self.assertIn("gemini", bash_completes("fenlo keys set "))
        with tempfile.TemporaryDirectory() as home:
            (Path(home) / ".fenlo/models/openai_whisper-small").mkdir(parents=True)
            self.assertEqual(fish_completes("fenlo transcribe --task transl", home), ["translate"])
            self.assertIn("srt,vtt", fish_completes("fenlo transcribe --output srt,v", home))
            self.assertEqual(fish_completes("fenlo bench --model ", home), ["openai_whisper-small"])
            self.assertEqual(fish_completes("fenlo models remove ", home), ["openai_whisper-small"])


# What the libraries that the program is linked with are called in "About"; those of the compiler are not told.
LIBRARIES = {
    "libcurl": "curl", "libexpat": "Expat", "libFLAC": "FLAC", "libfmt": "{fmt}", "libgio": "GLib", "libgobject": "GLib",
    "libglib": "GLib", "libhwy": "Highway", "libicu": "ICU", "libkissfft": "KISS FFT", "libogg": "libogg",
    "libpulse": "libpulse", "libsecret": "libsecret", "libsndfile": "libsndfile", "libsoxr": "libsoxr", "libmpg123": "mpg123",
    "libdnnl": "oneDNN", "libcrypto": "OpenSSL", "libQt6": "Qt", "libsimdjson": "simdjson", "libwayland": "Wayland",
    "libX": "X.Org libraries, XCB", "libxcb": "X.Org libraries, XCB", "libxkbcommon": "xkbcommon", "libz.": "zlib",
    "libgcc_s": None, "libgomp": None, "libstdc++": None, "libm.": None, "libc.": None, "ld-linux": None,
}  # fmt: skip


class Notices(unittest.TestCase):
    def test_about_names_every_library(self):
        names = re.findall(r'^    \{"([^"]+)", "', (SOURCES / "src/shell/home/Libraries.cpp").read_text(), re.M)
        linked = re.findall(r"\(NEEDED\).*\[(.*)\]", output("readelf", "--dynamic", PROGRAM))
        late = re.findall(rb"\0(lib[\w+-]+\.so\.\d+)\0", Path(PROGRAM).read_bytes())  # opened with the first call
        for file in {*linked, *(name.decode() for name in late)}:
            known = [name for beginning, name in LIBRARIES.items() if file.startswith(beginning)]
            self.assertTrue(known, f"{file} is new: name it here and in Libraries.cpp")
            self.assertIn(known[0], [*names, None], file)

    def test_code_of_others_in_the_program_is_told(self):
        """Libraries that are mostly headers become a part of the program."""
        names = re.findall(r'^    \{"([^"]+)", "', (SOURCES / "src/shell/home/Libraries.cpp").read_text(), re.M)
        notices = (PACKAGING / "debian/copyright").read_text()
        for name in ("CLI11", "{fmt}", "Highway", "JSON for Modern C++", "KISS FFT", "oneDNN", "simdjson"):
            self.assertIn(name, names)
            self.assertIn(f"\nFiles: {name.replace(' ', '-')}\n", notices)
        used = set(re.findall(r"^License: (\S+)$", notices, re.M))
        told = set(re.findall(r"^License: (\S+)\n ", notices, re.M))
        self.assertEqual(used, told, "every licence has its text")

    def test_every_protocol_has_its_notice(self):
        notices = (PACKAGING / "debian/copyright").read_text()
        for file in (SOURCES / "src/platform/linux/wayland/protocols").glob("*.xml"):
            self.assertIn(f"{file.name}\n", notices)


if __name__ == "__main__":
    unittest.main()
