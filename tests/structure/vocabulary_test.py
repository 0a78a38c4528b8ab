"""The template format is the same in its four descriptions: the reader's schema, the XSD, the page for users, and the
templates that have everything, whose round trip another test looks at.

usage: vocabulary_test.py SOURCES
"""

import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree

SOURCES = pathlib.Path(sys.argv[1])
XS = "{http://www.w3.org/2001/XMLSchema}"
# What the schema has by functions of its own, and the root's attribute.
OTHERS = {"border", "borderLeft", "borderTop", "borderRight", "borderBottom", "size", "orientation", "width", "height",
          "margins", "version"}


def read(path):
    return (SOURCES / path).read_text("utf-8")


xsd = ElementTree.fromstring(read("docs/template-format.xsd"))
names = {node.get("name") for tag in ("element", "attribute") for node in xsd.iter(XS + tag) if node.get("name")}
values = {node.get("value") for node in xsd.iter(XS + "enumeration")} - {"true", "false"}
templates = [ElementTree.fromstring(read(f"tests/qbsvrl6/template/{name}.qbf")) for name in ("everything", "letter", "house-style")]
used = {word for template in templates for node in template.iter() for word in (node.tag, *node.attrib)}
lists = re.findall(r"constexpr std::array<Word.*?;", read("qbsvrl6/template/text_values.cpp"), re.S)
schema = [read(f"qbsvrl6/template/{name}.h") for name in ("schema", "schema_controls", "schema_words")]
known = OTHERS | set(re.findall(r'"([A-Za-z]\w*)"', "".join([*schema, *lists])))
page = set(re.findall(r"\w+", read("docs/template-format.md")))

faults = [f"{what}: {sorted(words)}" for what, words in {
    "the reader and the XSD": known ^ (names | {value for value in values if not value.isdigit()}),
    "the templates that have everything, and the XSD": used ^ names,
    "not on the page": (names | values) - page,
}.items() if words]
print("\n".join(faults))
sys.exit(bool(faults) or len(names) < 100)
