"""The examples of docs/python.md run in their order, and interface.cdef repeats the headers."""

import re
import subprocess

from conftest import SOURCES

import qbreport


def test_examples(tmp_path, monkeypatch):
    page = (SOURCES / "docs/python.md").read_text("utf-8")
    blocks = re.findall(r"^```(\w+)\n(.*?)^```$", page, re.M | re.S)
    monkeypatch.chdir(tmp_path)
    names = {}
    for language, content in blocks:
        if language == "xml":
            (tmp_path / "invoice.qbf").write_text(content, "utf-8")
        elif language == "python":
            exec(compile(content, content.splitlines()[0], "exec"), names)
    text, = (content for language, content in blocks if language == "text")
    shown = subprocess.run(["pdftotext", "-layout", "invoice.pdf", "-"], check=True, capture_output=True).stdout
    assert [" ".join(line.split()) for line in shown.decode().splitlines() if line.strip()] == text.splitlines()
    assert len((tmp_path / "orders.csv").read_text("utf-8").splitlines()) == 2001
    assert all(document.startswith(b"%PDF") for document in names["documents"])


def declarations(text):
    text = re.sub(r"//.*|^#.*|extern \"C\" \{|QBSVR_API|QBSVR_INT32", "", text, flags=re.M)
    found = re.findall(r"(?:typedef|\w[\w ]*\*?\s+QB)[^;{]*(?:\{[^}]*\}[^;]*)?;", text)
    return {" ".join(each.split()) for each in found}


def test_interface_is_that_of_the_headers():
    headers = "".join((SOURCES / "engine" / name).read_text("utf-8") for name in ("qbsvr.h", "qbsvr_more.h"))
    used = declarations((SOURCES / "python/interface.cdef").read_text("ascii"))
    assert len(used) > 40 and used <= declarations(headers), used - declarations(headers)
    project = (SOURCES / "python/pyproject.toml").read_text("utf-8")
    assert re.search(r'QBSVR_VERSION "(.+)"', headers)[1] == re.search(r'^version = "(.+)"', project, re.M)[1]
    assert qbreport.version() == re.search(r'^version = "(.+)"', project, re.M)[1]
