"""Follows docs/first-report.md: saves the files and runs the commands that it lists."""

import pathlib
import re
import subprocess

PAGE = pathlib.Path(__file__).resolve().parent.parent / "docs/first-report.md"
BLOCK = re.compile(r"^```(\w+)\n(.*?)^```$", re.M | re.S)  # blocks without a language are the reader's own affair
PLACE = re.compile(r"(as|after)\s+`([^`]+)`")


def follow(folder, path):
    """Works in `folder` with `path` as PATH; yields the number of each run after it."""
    text = PAGE.read_text(encoding="utf-8")
    template, end, runs = folder / "sales.qbf", 0, 0
    for block in BLOCK.finditer(text):
        prose, end = text[end:block.start()], block.end()
        language, content = block.groups()
        if language == "sh":
            subprocess.run(["bash", "-e", "-c", content], cwd=folder, env={"PATH": path}, check=True, capture_output=True)
            runs += 1
            yield runs
            continue
        word, name = PLACE.findall(prose)[-1]
        if word == "as":
            file = folder / name
            file.parent.mkdir(parents=True, exist_ok=True)
            file.write_text(content, encoding="utf-8")
        else:
            whole = template.read_text(encoding="utf-8")
            if whole.count(name + "\n") != 1:
                raise ValueError(f"{name} occurs {whole.count(name)} times in the template")
            template.write_text(whole.replace(name + "\n", name + "\n" + content), encoding="utf-8")
