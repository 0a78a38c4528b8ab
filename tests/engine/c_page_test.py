#!/usr/bin/env python3
"""Runs the programs of the page for C and C++.

    c_page_test.py PAGE C-PROGRAM C++-PROGRAM
"""
import pathlib
import re
import subprocess
import sys
import tempfile

ROWS = "Item,Amount\r\nChair,\"1,120.50\"\r\nTable,80.00\r\n"


def main():
    page, c_program, cpp_program = sys.argv[1:]
    template = re.search(r"```xml\n(.+?)```", pathlib.Path(page).read_text(encoding="utf-8"), re.S).group(1)
    with tempfile.TemporaryDirectory() as folder:
        pathlib.Path(folder, "offer.qbf").write_text(template, encoding="utf-8")

        def run(*command):
            return subprocess.run(command, cwd=folder, capture_output=True, encoding="utf-8-sig", errors="replace")

        made = run(c_program, "offer.qbf", "csv", "offer.csv")
        assert made.returncode == 0, made
        text = pathlib.Path(folder, "offer.csv").read_bytes().decode("utf-8-sig")
        assert text.startswith(ROWS) and "1,200.50" in text[len(ROWS):], text
        pathlib.Path(folder, "bad.qbf").write_text(template.replace('width="60mm"', 'width="60"', 1), encoding="utf-8")
        for name, kind, line in (("offer.qbf", "doc", 'offer: there is no format "doc"'),
                                 ("no.qbf", "csv", "no.qbf: No such file or directory\n"),
                                 ("bad.qbf", "csv", "bad.qbf:4:27: ")):
            failed = run(c_program, name, kind, "offer.doc")
            assert failed.returncode == 1 and failed.stderr.startswith(line), failed
        assert run(c_program).returncode == 2
        rows = subprocess.run([cpp_program, "offer.qbf"], cwd=folder, capture_output=True, check=True)
        assert rows.stdout.decode("utf-8-sig") == "Item,Amount\r\nChair,1120.5\r\nTable,80\r\n", rows.stdout


main()
