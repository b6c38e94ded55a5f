"""The completions that the shells offer, queried from the shells themselves."""

import os
import pty
import re
import select
import subprocess
import time

import processes
import test_install
import world

SUBCOMMANDS = ("started", "stopped", "quit", "watch", "record")
ZSH = "vendor-completions" if os.path.exists("/etc/debian_version") else "site-functions"


class Completions(world.World):
    with_bus = False

    def setUp(self):
        super().setUp()
        prefix = os.path.join(self.root, "prefix")
        test_install.install(prefix)
        self.share = os.path.join(prefix, "share")
        self.environment["PATH"] = os.path.join(prefix, "bin") + ":" + self.environment["PATH"]
        for name in ("one two.mkv", "other.txt"):
            open(self.path(name), "wb").close()

    def options(self, *command):
        """The long options in the program's own help."""
        text = subprocess.run([*command, "--help"], env=self.environment, stdout=subprocess.PIPE, text=True,
                              check=True).stdout
        return set(re.findall(r"^  (?:-h,)?(--[a-z-]+)", text, re.MULTILINE))

    def check(self, complete):
        """`complete` maps a line to the words that are offered at its end."""
        self.assertEqual(complete("meeting-client "), set(SUBCOMMANDS) | (complete("meeting-client ") & {
            "--help", "--version"}))
        self.assertEqual(complete("meeting-client --"), self.options("meeting-client"))
        for subcommand in SUBCOMMANDS:
            self.assertEqual(complete(f"meeting-client {subcommand} --"), self.options("meeting-client", subcommand),
                             subcommand)
        self.assertEqual(complete("meeting-client record --picture "), {"h264", "vp8"})
        self.assertEqual(complete("convert-recording --"), self.options("convert-recording"))

    def test_bash(self):
        def complete(line):
            words = line.split(" ")
            name = words[0]
            script = ('source "$1"; name=$2; shift 2; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); '
                      'spec=$(complete -p "$name"); spec=${spec#* -F }; "${spec%% *}"; '
                      '((${#COMPREPLY[@]})) && printf "%s\\n" "${COMPREPLY[@]}" || true')
            result = subprocess.run(
                ["bash", "--norc", "-euc", script, "bash", f"{self.share}/bash-completion/completions/{name}", name,
                 *words], env=self.environment, cwd=self.folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                text=True, check=True)
            self.assertEqual(result.stderr, "")
            return set(result.stdout.splitlines())

        self.check(complete)
        self.assertEqual(complete("convert-recording o"), {"one two.mkv", "other.txt"})
        self.assertEqual(complete("meeting-client started --path on"), {"one two.mkv"})
        self.assertIn(str(os.getpid()), complete("meeting-client quit --pid "))

    def test_fish(self):
        def complete(line):
            name = line.split(" ")[0]
            result = subprocess.run(
                ["fish", "--no-config", "-c", f"source {self.share}/fish/vendor_completions.d/{name}.fish; "
                 f"complete -C '{line}'"], env=self.environment, cwd=self.folder, stdout=subprocess.PIPE,
                stderr=subprocess.PIPE, text=True, check=True)
            self.assertEqual(result.stderr, "")
            return {offer.split("\t")[0] for offer in result.stdout.splitlines()}

        self.check(complete)
        self.assertEqual(complete("convert-recording on"), {"one two.mkv"})
        self.assertEqual(complete("meeting-client started --path on"), {"one two.mkv"})
        self.assertIn(str(os.getpid()), complete("meeting-client quit --pid "))

    def test_zsh(self):
        shell = Zsh(self, os.path.join(self.share, "zsh", ZSH))
        self.check(shell.complete)
        self.assertIn("one\\ two.mkv", shell.shown("convert-recording on"))


class Zsh:
    """An interactive zsh on a terminal of its own, because its completion reacts only to keys."""

    def __init__(self, test, functions):
        self._test = test
        environment = {**test.environment, "TERM": "dumb", "COLUMNS": "200", "LINES": "100"}
        pid, self._terminal = pty.fork()
        if pid == 0:
            os.chdir(test.folder)
            os.execvpe("zsh", ["zsh", "-f", "-i"], environment)
        test.addCleanup(os.close, self._terminal)
        self._type("stty rows 100 columns 200; PROMPT='ready''> '; setopt no_beep no_auto_menu list_ambiguous no_prompt_sp; "
                   f"LISTMAX=500; fpath=({functions} $fpath); autoload -Uz compinit; compinit -D -u\n")
        self._read_until(lambda text: text.count("ready> ") >= 1)

    def _type(self, keys):
        os.write(self._terminal, keys.encode())

    def _read_until(self, enough, quiet=0.0):
        """The shell's output until `enough` is true and nothing has come for `quiet` seconds."""
        text = ""
        deadline = time.monotonic() + 60
        while time.monotonic() < deadline:
            ready = select.select([self._terminal], [], [], quiet or 0.1)[0]
            if ready:
                text += os.read(self._terminal, 65536).decode(errors="replace")
            elif enough(text):
                return text
        raise AssertionError(f"the shell does not answer: {text!r}")

    def shown(self, line):
        """The screen after a line and two presses of the tabulator; the line is then discarded."""
        self._type(line + "\t")
        # The list is printed at once; the shell then waits for the next key.
        text = self._read_until(lambda text: line.split(" ")[0] in text, quiet=1.5)
        self._type("\x15\n")
        self._read_until(lambda rest: "ready> " in rest)
        return text

    def complete(self, line):
        text = self.shown(line).split("\n", 1)[-1]
        words = re.findall(r"^(--[a-z-]+|[a-z0-9]+)(?= |\r|$)", text, re.MULTILINE)
        words += [word for row in re.findall(r"^h264 .*$", text, re.MULTILINE) for word in row.split()]
        return set(words) - {"ready"}


if __name__ == "__main__":
    world.main()
