#!/usr/bin/env python3
"""Completion in an interactive bash on a terminal: completion_test.py

Types a line and a tab, and reads the completed line from readline. Requires arborctl and its module on the PATH.
Exits with 77, a skipped test, if there is no bash or no pseudo-terminal.
"""

import os
import pathlib
import select
import shutil
import subprocess
import sys
import tempfile
import time

try:
    import pty
except ImportError:
    print("skipped: this Python has no pty")
    sys.exit(77)

PROJECT = pathlib.Path(__file__).resolve().parents[2]
SKIPPED = 77
WAIT_SECONDS = 20
PROMPT = b"ready> "

# The names of keys and values in the document below.
NAMES = [
    "two words",
    "it's",
    'say "so"',
    "$HOME",
    "#2",
    "a#b",
    "semi;colon&more|less",
    "star*[x]?",
    "back`tick",
    "(paren)",
    "ends in '",
    "<angle>",
    "{brace}",
    "~root",
    "!bang",
    "x:y",
    "k=v",
    "@at",
    "Größe",
    "日本",
    "%d 100%",
]
BACKSLASH = "back\\slash"  # only for values: it separates the names of keys


class Shell:
    """A bash whose line is written to a file on Ctrl-O and emptied on Ctrl-U."""

    def __init__(self, folder, locale):
        self.report = folder / ".line"
        start = folder / ".bashrc"
        start.write_text(
            f". '{PROJECT}/host/arborctl/arborctl.bash'\n"
            f"PS1='{PROMPT.decode()}'\n"
            "report() { printf '%s' \"$READLINE_LINE\" >.line.new && mv .line.new .line; }\n"
            "bind -x '\"\\C-o\": report'\n"
            "bind 'set bell-style none' 'set completion-query-items 0'\n"
            "bind 'set page-completions off' 'set enable-bracketed-paste off'\n"
        )
        environment = dict(os.environ, LC_ALL=locale, TERM="dumb", HISTFILE="/dev/null", HOME=str(folder))
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(folder)
            os.execvpe("bash", ["bash", "--noprofile", "--rcfile", str(start), "-i"], environment)
        shown = b""
        while PROMPT not in shown:
            if not select.select([self.terminal], [], [], WAIT_SECONDS)[0]:
                raise TimeoutError("bash shows no prompt")
            shown += os.read(self.terminal, 65536)

    def line_after(self, keys):
        """The line that readline holds after `keys`."""
        self.report.unlink(missing_ok=True)
        os.write(self.terminal, b"\x15" + keys.encode() + b"\x0f")
        end = time.monotonic() + WAIT_SECONDS
        while not self.report.exists():
            if time.monotonic() > end:
                raise TimeoutError(f"no line after {keys!r}")
            if select.select([self.terminal], [], [], 0.01)[0]:
                os.read(self.terminal, 65536)
        return self.report.read_bytes().decode(errors="replace")

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)


def arguments_of(line):
    """The arguments that a shell parses from the line."""
    printed = subprocess.run(
        ["bash", "-c", f"set -- {line}\nprintf '%s\\0' \"$@\""], capture_output=True, check=False, env=dict(os.environ, HOME="/h")
    )
    return printed.stdout.decode(errors="replace").split("\0")[:-1] if printed.returncode == 0 else printed.stderr.decode()


def escaped(name):
    return name.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace('"', "&quot;")


def write_document(path):
    keys = "".join(
        f'<key name="{number} {escaped(name)}"><tINT name="v">1</tINT><key name="below"></key></key>'
        f'<tINT name="{number} {escaped(name)}">1</tINT>'
        for number, name in enumerate(NAMES, 10)
    )
    folders = "".join(f'<key name="{escaped(name)}"></key>' for name in NAMES)
    plain = "".join(
        f'<tINT name="{escaped(name)}">1</tINT>' for name in NAMES
    )
    path.write_text(
        f'<arbor><key name="Names">{plain}<tINT name="{BACKSLASH}">1</tINT></key><key name="Keys">{folders}</key><key name="Numbered">{keys}</key>'
        '<key name="Shared"><tINT name="a $1">1</tINT><tINT name="a $2">1</tINT><tINT name="b c">1</tINT>'
        '<tINT name="b$c">1</tINT><tINT name="ccc d">1</tINT><tINT name="ccc;d">1</tINT></key>'
        '<key name="Quotes"><tINT name="\'x\'">1</tINT></key>'
        '<key name="Network"><key name="Proxy"><tDWORD name="Port">1</tDWORD><tSTRING name="Password policy">x</tSTRING>'
        '<key name="Login"></key></key><key name="Proto"><tINT name="Alone">1</tINT></key></key></arbor>'
    )


# The typed line before the tab, and the completed line or its arguments.
CASES = [
    ("arborctl d.xml tr", "arborctl d.xml tree "),
    ("arborctl d.xml ge", "arborctl d.xml get "),
    ("arborctl ba", "arborctl backups "),
    ("arborctl oth", "arborctl other\\ one.xml "),
    ("arborctl 'oth", "arborctl 'other one.xml' "),
    ("arborctl get oth", "arborctl get other\\ one.xml "),
    ("arborctl d.xm", "arborctl d.xml"),
    ("arborctl sub", "arborctl sub/"),
    ("arborctl d.xml diff oth", "arborctl d.xml diff other\\ one.xml "),
    ("arborctl --module=d.x", "arborctl --module=d.xml"),
    ("arborctl ~/d.x", "arborctl ~/d.xml"),
    # options, those of the command only
    ("arborctl --rea", "arborctl --read-only "),
    ("arborctl d.xml tree --j", "arborctl d.xml tree --json "),
    ("arborctl d.xml rm --a", "arborctl d.xml rm --a"),
    ("arborctl d.xml find --typ", "arborctl d.xml find --type "),
    ("arborctl d.xml get Network/Proxy Port --col", "arborctl d.xml get Network/Proxy Port --color "),
    ("arborctl d.xml get --a", "arborctl d.xml get --as "),
    # values of options
    ("arborctl --color al", "arborctl --color always "),
    ("arborctl --color=ne", "arborctl --color=never "),
    ("arborctl --trace al", "arborctl --trace al"),
    ("arborctl d.xml get Network/Proxy Port --as tDW", "arborctl d.xml get Network/Proxy Port --as tDWORD "),
    ("arborctl d.xml get Network/Proxy Port --as=tfu", "arborctl d.xml get Network/Proxy Port --as=tFUNC_PTR "),
    ("arborctl d.xml find --type tdw", "arborctl d.xml find --type tDWORD "),
    ("arborctl d.xml set Network/Proxy New tCO", "arborctl d.xml set Network/Proxy New tCODEPAGE "),
    ("arborctl d.xml set Network/Proxy New tINT d", "arborctl d.xml set Network/Proxy New tINT d"),
    ("arborctl d.xml set Network/Proxy/Port tDW", "arborctl d.xml set Network/Proxy/Port tDWORD "),
    ("arborctl d.xml set Network/Proxy/Port tDWORD t", "arborctl d.xml set Network/Proxy/Port tDWORD t"),
    ("arborctl d.xml set Network/Proxy/ tDW", "arborctl d.xml set Network/Proxy/ tDW"),
    # keys and values, a level at a time; below --root
    ("arborctl d.xml tree Netw", "arborctl d.xml tree Network/"),
    ("arborctl d.xml tree Network/Pr", "arborctl d.xml tree Network/Pro"),
    ("arborctl d.xml tree Network/Prot", "arborctl d.xml tree Network/Proto/"),
    ("arborctl d.xml tree network/Prot", "arborctl d.xml tree network/Proto/"),
    ("arborctl d.xml tree 'Network/Prot", "arborctl d.xml tree 'Network/Proto/'"),
    ("arborctl d.xml tree 'Network/'Prot", "arborctl d.xml tree Network/Proto/"),
    ("arborctl d.xml tree Network'/Prot", "arborctl d.xml tree Network'/Proto/'"),
    ("arborctl tree d.xml Network/Prot", "arborctl tree d.xml Network/Proto/"),
    ("arborctl d.xml get Network/Proxy/Po", "arborctl d.xml get Network/Proxy/Port "),
    ("arborctl d.xml get network/proxy/po", "arborctl d.xml get network/proxy/Port "),
    ("arborctl d.xml get Names X:", "arborctl d.xml get Names X:y "),
    ("arborctl --root Network d.xml tree Prot", "arborctl --root Network d.xml tree Proto/"),
    ("arborctl --root=Network d.xml get Proto/A", "arborctl --root=Network d.xml get Proto/Alone "),
    ("arborctl --root Network/Prot", "arborctl --root Network/Prot"),
    ("arborctl ~/d.xml tree Network/Prot", "arborctl ~/d.xml tree Network/Proto/"),
    ("arborctl 'two words.xml' tree Network/Prot", "arborctl 'two words.xml' tree Network/Proto/"),
    ("arborctl two\\ words.xml get Network/Proto A", "arborctl two\\ words.xml get Network/Proto Alone "),
    # names of values
    ("arborctl d.xml get Network/Proxy Po", "arborctl d.xml get Network/Proxy Port "),
    ("arborctl d.xml get Network/Proxy/ Pa", "arborctl d.xml get Network/Proxy/ Password\\ policy "),
    ("arborctl d.xml get Network/Proxy 'Pa", "arborctl d.xml get Network/Proxy 'Password policy' "),
    ('arborctl d.xml get Network/Proxy "Pa', 'arborctl d.xml get Network/Proxy "Password policy" '),
    ("arborctl --root Network d.xml get Proxy Po", "arborctl --root Network d.xml get Proxy Port "),
    ('arborctl d.xml get "Network"/Proxy Po', 'arborctl d.xml get "Network"/Proxy Port '),
    ("arborctl d.xml get Network/Proxy Lo", "arborctl d.xml get Network/Proxy Lo"),
    # backups
    ("arborctl d.xml restore d.xml.b", "arborctl d.xml restore d.xml.bak2 "),
    # no document, no words
    ("arborctl none.xml get Netw", "arborctl none.xml get Netw"),
]


def name_cases():
    """Completes each name from its unique number, without a quote and after each kind of quote."""
    for number, name in enumerate(NAMES, 10):
        whole = f"{number} {name}"
        for quote in ("", "'", '"'):
            start = f"{number}\\ " if quote == "" else f"{quote}{number} "
            if quote == '"' and "!" in name:
                continue  # no escape for it in double quotes
            yield f"arborctl d.xml get Numbered {start}", ["arborctl", "d.xml", "get", "Numbered", whole]
    # From a first character that the shell interprets.
    yield "arborctl d.xml get Names \\$H", ["arborctl", "d.xml", "get", "Names", "$HOME"]
    yield "arborctl d.xml get Names \\~r", ["arborctl", "d.xml", "get", "Names", "~root"]
    yield "arborctl d.xml get Names \\#", ["arborctl", "d.xml", "get", "Names", "#2"]
    yield "arborctl d.xml get Names '#", ["arborctl", "d.xml", "get", "Names", "#2"]
    yield "arborctl d.xml get Names x:", ["arborctl", "d.xml", "get", "Names", "x:y"]
    yield "arborctl d.xml get Names x\\:", ["arborctl", "d.xml", "get", "Names", "x:y"]
    yield "arborctl d.xml get Names k=", ["arborctl", "d.xml", "get", "Names", "k=v"]
    yield "arborctl d.xml get Names back\\\\", ["arborctl", "d.xml", "get", "Names", BACKSLASH]
    yield "arborctl d.xml get Names 'back\\", ["arborctl", "d.xml", "get", "Names", BACKSLASH]
    yield "arborctl d.xml get Names Gr", ["arborctl", "d.xml", "get", "Names", "Größe"]
    yield "arborctl d.xml tree Keys/two", ["arborctl", "d.xml", "tree", "Keys/two words/"]
    yield "arborctl d.xml tree Keys/\\$", ["arborctl", "d.xml", "tree", "Keys/$HOME/"]
    yield "arborctl d.xml tree Keys/日", ["arborctl", "d.xml", "tree", "Keys/日本/"]
    # If several match, their common prefix.
    yield "arborctl d.xml tree Numbered/10", ["arborctl", "d.xml", "tree", "Numbered/10 two words"]
    yield "arborctl d.xml get Shared a", ["arborctl", "d.xml", "get", "Shared", "a $"]
    yield "arborctl d.xml get Quotes '", ["arborctl", "d.xml", "get", "Quotes", "'x'"]
    yield "arborctl d.xml get Quotes ", ["arborctl", "d.xml", "get", "Quotes", "'x'"]
    yield "arborctl d.xml get Shared b", ["arborctl", "d.xml", "get", "Shared", "b"]
    yield "arborctl d.xml get Shared 'b", "arborctl d.xml get Shared 'b"
    yield "arborctl d.xml get Shared cc", ["arborctl", "d.xml", "get", "Shared", "ccc"]
    yield "arborctl d.xml get Names back", ["arborctl", "d.xml", "get", "Names", "back"]


def main():
    for program in ("bash", "arborctl"):
        if shutil.which(program) is None:
            print(f"skipped: no {program}")
            return SKIPPED
    failed = 0
    count = 0
    for locale in ("C.UTF-8", "C"):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            write_document(folder / "d.xml")
            for copy in ("two words.xml", "other one.xml", "d.xml.bak2"):
                shutil.copy(folder / "d.xml", folder / copy)
            for directory in ("sub", "Network/Proto"):
                (folder / directory).mkdir(parents=True)
            shell = Shell(folder, locale)
            for typed, wanted in [*CASES, *name_cases()]:
                if locale == "C" and not typed.isascii():
                    continue  # in this locale the terminal has no multibyte characters
                line = shell.line_after(typed + "\t")
                got = line if isinstance(wanted, str) else arguments_of(line)
                count += 1
                if got != wanted:
                    print(f"{locale}: '{typed}' becomes '{line}', {got!r} instead of {wanted!r}")
                    failed += 1
            shell.close()
    print(f"{count} lines completed, {failed} of them wrong")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
