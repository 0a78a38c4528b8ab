"""Types command lines into bash and zsh and completes them with Tab.

usage: completion_test.py SOURCES
"""

import os
import pathlib
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import unittest

COMPLETION = pathlib.Path(sys.argv[1]).resolve() / "qbreport/completion"
START = {
    "bash": (["bash", "--norc", "--noprofile", "-i"],
             f"source {COMPLETION}/qbreport.bash; bind -x '\"\\C-t\": echo \"<$READLINE_LINE>\"; READLINE_LINE='; bind 'set bell-style none'"),
    "zsh": (["zsh", "-f", "-i"],
            f"fpath=({COMPLETION} $fpath); autoload -U compinit; compinit -u -D; unsetopt beep; "
            'show() { zle -I; print -r -- "<$BUFFER>"; BUFFER= }; zle -N show; bindkey "^T" show'),
}
# What is typed, and the line after Tab. Ctrl-T shows the line and empties it.
CASES = {
    "qbreport --ver": "qbreport --version ",
    "qbreport ren": "qbreport render ",
    "qbreport burst --man": "qbreport burst --manifest ",
    "qbreport render inv": "qbreport render invoice.qbf ",
    "qbreport render invoice.qbf --dat": "qbreport render invoice.qbf --data",
    "qbreport render invoice.qbf -d inv": "qbreport render invoice.qbf -d invoice.",
    "qbreport render -f xlsx --lay": "qbreport render -f xlsx --layout ",
    "qbreport render --layout gr": "qbreport render --layout grid ",
    "qbreport render -f png --option page-b": "qbreport render -f png --option page-breaks=",
    "qbreport render --budget page-": "qbreport render --budget page-items=",
    "qbreport render invoice.qbf -o out/in": "qbreport render invoice.qbf -o out/invoice.pdf ",
    "qbreport render --font-folder o": "qbreport render --font-folder out/",
    "qbreport check a.qbf inv": "qbreport check a.qbf invoice.qbf ",
    "qbreport check --str": "qbreport check --strict ",
    "qbreport info --log j": "qbreport info --log json ",
    "qbreport new lab": "qbreport new labels ",
    "qbreport fonts --font": "qbreport fonts --font-folder ",
    "qbreport formats --qui": "qbreport formats --quiet ",
    "qbreport serve --templates o": "qbreport serve --templates out/",
    "qbreport watch inv": "qbreport watch invoice.qbf ",
    "qbreport serve --bud": "qbreport serve --budget ",
}


class Completion(unittest.TestCase):
    def setUp(self):
        self.directory = pathlib.Path(tempfile.mkdtemp())
        (self.directory / "out").mkdir()
        for name in ("invoice.qbf", "invoice.json", "invoice.html", "out/invoice.pdf"):
            (self.directory / name).touch()

    def tearDown(self):
        shutil.rmtree(self.directory)

    def complete(self, shell):
        """Completes every line of the table."""
        words, setup = START[shell]
        ours, theirs = pty.openpty()
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.directory), "TERM": "dumb", "PS1": "$ "}
        process = subprocess.Popen(words, stdin=theirs, stdout=theirs, stderr=theirs, cwd=self.directory, env=environment,
                                   start_new_session=True)
        os.close(theirs)

        def read_until(pattern):
            shown = ""
            while not (found := re.search(pattern, shown)):
                self.assertTrue(select.select([ours], [], [], 60)[0], f"{shell}: no {pattern} in {shown!r}")
                shown += os.read(ours, 4096).decode("utf-8", "replace")
            return found

        os.write(ours, f"{setup}; echo rea''dy\n".encode())
        read_until("\nready")
        for typed, expected in CASES.items():
            os.write(ours, f"{typed}\t\x14".encode())
            yield typed, read_until("<([^<>\r\n]*)>")[1], expected
        os.close(ours)
        process.wait(60)

    def test_shells(self):
        for shell in START:
            if shutil.which(shell) is None:
                continue
            for typed, completed, expected in self.complete(shell):
                with self.subTest(f"{shell}: {typed}"):
                    self.assertEqual(completed, expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
