#!/usr/bin/env python3
"""Writes seeds that are made from other files of the project: seeds.py FOLDER

engine_fuzz gets the samples and the golden reports, each in several kinds of document, and api_fuzz calls for them;
the other targets get their templates, data and expressions. font_fuzz gets small parts of this machine's fonts, where
hb-subset is installed.
"""
import base64
import json
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SEEDS = ROOT / "fuzz" / "seeds"
GOLDEN = ROOT / "tests" / "qbsvrl6" / "golden"
KINDS = 16  # of engine_fuzz


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
    for name, template in re.findall(r"^```xml (\S+)\n(.*?)^```", (ROOT / "docs/recipes.md").read_text(encoding="utf-8"), flags=re.M | re.S):
        data = (ROOT / "docs/recipes" / name).with_suffix(".json")
        if data.exists():
            yield template.encode(), data.read_bytes()
    # The templates of the gallery read fields of these names.
    rows = [{"Region": "NS"[i // 10], "City": "ABC"[i // 4 % 3], "Day": f"2024-{i % 12 + 1:02}-03", "Amount": i, "Product": "xyz"[i % 3],
             "Customer": "pqrs"[i % 4], "Weekday": "MT"[i % 2], "Hour": i % 5, "Calls": i, "Stock": i * 7, "Category": "ab"[i // 10]}
            for i in range(20)]
    for path in sorted((ROOT / "docs/gallery/templates").glob("*.qbf")):
        yield path.read_bytes(), json.dumps(rows).encode()


def picture_report():
    """A grid of the pictures that picture_fuzz starts from, in each fit."""
    cells = "".join(f'<Column name="{fit}" width="30mm"><Content><Picture source="[p]" scale="{fit}" alternateText="[n]"/></Content></Column>'
                    for fit in ("contain", "stretch", "clip"))
    rows = [{"n": path.name, "p": base64.b64encode(path.read_bytes()).decode()} for path in sorted((SEEDS / "picture_fuzz").iterdir())]
    return f'<Report version="1"><Grid rowHeight="20mm"><Columns>{cells}</Columns></Grid></Report>'.encode(), json.dumps(rows).encode()


def write_engine_seeds(folder):
    folder.mkdir(parents=True)
    for number, (template, data) in enumerate(reports()):
        for kind in range(number % 3, KINDS, 3):
            (folder / f"{number}-{kind}").write_bytes(bytes([ord("A") + kind]) + template + b"\n=== data\n" + data)
    template, data = picture_report()
    for kind in range(KINDS):
        (folder / f"pictures-{kind}").write_bytes(bytes([ord("A") + kind]) + template + b"\n=== data\n" + data)


# Ways to export, for api_fuzz. Passwords are left to fuzz/seeds: their keys take milliseconds by design.
CALLS = ("Fpdf\nOstandard|a-3b\nX0", "Fcsv\nOlayout|pages\nX8", "Fpdf\nOstandard|a-1b\nX0",
         "Fpng\nOresolution|36\nOall-in-one|yes\nX9", "Ftiff\nOresolution|36\nX0", "Fhtml\nOlayout|table\nX0",
         "Fxlsx\nOlayout|pages\nX0", "Frtf\nOpages|1\nX0", "Fpdf\nOstandard|a-2a\nOua|yes\nX0")


def write_api_seeds(folder):
    folder.mkdir(parents=True)
    for number, (template, data) in enumerate(reports()):
        lines = [b"T" + template.replace(b"\n", b" "), b"Dxml|" + data.replace(b"\n", b" "), b"?",
                 CALLS[number % len(CALLS)].encode(), b"G%d" % (number % 10), b"X%d" % (number % 7 + 1)]
        (folder / str(number)).write_bytes(b"\n".join(lines))


def write_parts(folder):
    """Templates, data and expressions by themselves."""
    templates = [template for template, _ in reports()]
    templates += [fault.split(b"\n--- errors")[0].partition(b"\n")[2]
                  for fault in (ROOT / "tests/qbsvrl6/template/faults.txt").read_bytes().split(b"=== ")]
    templates += [(ROOT / "tests/qbsvrl6/template/everything.qbf").read_bytes()]
    lines = []
    for path in (ROOT / "tests/qbsvrl6/bind/cases").glob("*.txt"):
        for line in path.read_text(encoding="utf-8").splitlines():
            if " =>" in line:
                text = line.partition(" =>")[0]
                lines.append((text[2:] if path.name == "placeholders.txt" else f"[{text}]").encode())
    parts = {"template_fuzz": templates, "layout_fuzz": templates, "data_fuzz": {data for _, data in reports()}, "expression_fuzz": lines}
    for target, seeds in parts.items():
        (folder / target).mkdir(parents=True)
        for number, seed in enumerate(sorted(seeds)):
            (folder / target / str(number)).write_bytes(seed)


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
    write_api_seeds(folder / "api_fuzz")
    write_parts(folder)
    if shutil.which("hb-subset") and shutil.which("fc-list"):
        write_font_seeds(folder / "font_fuzz")


if __name__ == "__main__":
    main()
