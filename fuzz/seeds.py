#!/usr/bin/env python3
"""Writes seeds that are made from other files of the project: seeds.py FOLDER

engine_fuzz gets the samples and the golden reports, each in several kinds of document; font_fuzz gets small
parts of this machine's fonts, where hb-subset is installed.
"""
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
GOLDEN = ROOT / "tests" / "qbsvrl6" / "golden"
KINDS = 13  # of engine_fuzz


def reports():
    """Pairs of template and data, as bytes."""
    for template in sorted((ROOT / "samples" / "Samples" / "Reports").glob("*.qbf")):
        data = template.with_suffix(".txt")
        yield template.read_bytes(), data.read_bytes() if data.exists() else b"[]"
    for template in sorted(GOLDEN.glob("*/template.qbf")):
        yield template.read_bytes(), template.with_name("data.json").read_bytes()
    for cases in sorted([*(GOLDEN / "cases").glob("*.txt"), *(GOLDEN.parent / "layout" / "cases").glob("*.txt")]):
        for case in re.split(r"^=== .*\n", cases.read_text(encoding="utf-8"), flags=re.M)[1:]:
            parts = re.split(r"^--- (.*)\n", case, flags=re.M)
            template = parts[0] if "<Report" in parts[0] else f'<Report version="1">{parts[0]}</Report>'
            data = parts[2] if parts[1:2] == ["data"] else "[]"
            yield template.encode(), data.encode()


def write_engine_seeds(folder):
    folder.mkdir(parents=True)
    for number, (template, data) in enumerate(reports()):
        for kind in range(number % 3, KINDS, 3):
            (folder / f"{number}-{kind}").write_bytes(bytes([ord("A") + kind]) + template + b"\n=== data\n" + data)


def write_font_seeds(folder):
    folder.mkdir(parents=True)
    fonts = subprocess.run(["fc-list", ":", "file"], capture_output=True, text=True).stdout.split(":")
    chosen = {pathlib.Path(font.strip()).suffix: font.strip() for font in fonts if font.strip()}
    for suffix, font in chosen.items():
        subprocess.run(["hb-subset", "--unicodes=41,61,67,20,31,2e,35,e9,4e2d", f"--output-file={folder}/font{suffix}", font],
                       check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


def main():
    folder = pathlib.Path(sys.argv[1])
    shutil.rmtree(folder, ignore_errors=True)
    write_engine_seeds(folder / "engine_fuzz")
    if shutil.which("hb-subset") and shutil.which("fc-list"):
        write_font_seeds(folder / "font_fuzz")


if __name__ == "__main__":
    main()
