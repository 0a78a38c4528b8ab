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
        wrong = run(c_program, "offer.qbf", "doc", "offer.doc")
        assert wrong.returncode == 1 and "there is no format" in wrong.stderr, wrong
        missing = run(c_program, "no.qbf", "csv", "no.csv")
        assert missing.returncode == 1 and "no.qbf:0:0: " in missing.stderr, missing
        rows = subprocess.run([cpp_program, "offer.qbf"], cwd=folder, capture_output=True, check=True)
        assert rows.stdout.decode("utf-8-sig") == "Item,Amount\r\nChair,1120.5\r\nTable,80\r\n", rows.stdout


main()
