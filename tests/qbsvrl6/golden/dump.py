"""Prints the parts of a document as text, so that a difference can be read: python3 dump.py FILE"""
import re
import struct
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
import zipfile


def is_text(part):
    return not re.search(rb"[^\t\n\r\x20-\x7e]", part)


def lines_of(markup):
    """Breaks lines where an element ends and another one begins."""
    return re.sub(r"(</[^>]*>)(?=<[^/])|([^\n]{60,}?/>)(?=<[^/])", r"\g<0>\n", markup)


def dump_xlsx(path):
    with zipfile.ZipFile(path) as package:
        for name in package.namelist():
            part = package.read(name)
            print("--", name)
            print(lines_of(part.decode()) if name.endswith((".xml", ".rels")) else "%d bytes" % len(part))


def local(name):
    return name.rpartition("}")[2]


def short(element):
    """An element without namespaces: "name attribute=value (children)", and without what is the same for other scripts."""
    values = {local(name): value for name, value in element.attrib.items()}
    words = [local(element.tag)] + [f"{name}={value}" for name, value in values.items()
                                    if not name.endswith(("-asian", "-complex")) or value != values.get(name.rpartition("-")[0])]
    inner = [element.text, *(part for child in element for part in (short(child), child.tail))]
    inner = ", ".join(part.strip("\n") for part in inner if part and part.strip("\n"))
    return " ".join(words) + (f" ({inner})" if inner else "")


class Numbered:
    """What occurs many times, as a letter and a number; it is printed where it occurs first."""
    def __init__(self):
        self.known, self.new = {}, []

    def name(self, letter, text):
        if text not in self.known:
            self.known[text] = letter + str(sum(name[0] == letter for name in self.known.values()) + 1)
            self.new.append(f"{self.known[text]}: {text}")
        return self.known[text]

    def line(self, *words):
        print("\n".join([*self.new, " ".join(word for word in words if word)]))
        self.new = []


def dump_docx(path):
    """The paragraphs and rows of the document, its headers and its footers; the styles by the names that they have there."""
    numbered = Numbered()

    def paragraph(element):
        words = []
        for child in element:
            if local(child.tag) == "pPr":
                words += [numbered.name("P", short(child))] if len(child) else []
            elif local(child.tag) == "r":
                words += [numbered.name("R", short(part)) if local(part.tag) == "rPr" else repr(part.text) if local(part.tag) == "t" else short(part)
                          for part in child]
            else:
                words.append(short(child))
        return " ".join(words)

    def row(element):
        for cell in element:
            if local(cell.tag) == "tc":
                properties = numbered.name("C", short(cell[0]))
                yield " / ".join([properties, *(paragraph(part) for part in cell[1:])])

    with zipfile.ZipFile(path) as package:
        for name in package.namelist():
            if not re.fullmatch(r"word/(document|styles|header\d+|footer\d+)\.xml", name):
                continue
            print("--", name)
            root = ElementTree.fromstring(package.read(name))
            for element in root[0] if name.endswith("document.xml") else root:
                kind = local(element.tag)
                if kind == "tbl":
                    for part in element:
                        if local(part.tag) == "tr":
                            numbered.line("row", numbered.name("H", short(part[0])), "|", " | ".join(row(part)))
                        else:
                            numbered.line(numbered.name("T", short(part)))
                else:
                    numbered.line("paragraph " + paragraph(element) if kind == "p" else short(element))


def dump_ods(path):
    """The rows and cells of the sheets with their styles, and the other parts."""
    numbered, styles = Numbered(), {}

    def of(element, *names):
        found = {local(name): value for name, value in element.attrib.items()}
        return [found[name] for name in names if name in found]

    def style(letter, element):
        return " ".join(numbered.name(letter, re.sub(r"^style name=\S+ ", "", styles.get(name, name))) for name in of(element, "style-name"))

    def rows(element):
        for row in element:
            kind = local(row.tag)
            if kind != "table-row":
                numbered.line(kind, style("C", row), *of(row, "number-columns-repeated", "name", "target-range-address"))
                yield from rows(row)
                if len(row):
                    print("end of", kind)
                continue
            yield row

    with zipfile.ZipFile(path) as package:
        for name in package.namelist():
            if name.endswith(("content.xml", "styles.xml")):
                print("--", name)
                root = ElementTree.fromstring(package.read(name))
                styles.update((of(one, "name")[0], short(one)) for one in root.find("{*}automatic-styles"))
                print(*(text for text in styles.values() if re.match(r"(number|currency|percentage|date|time)-style", text)), sep="\n")
                for sheet in root.iterfind("*/{*}spreadsheet/*"):
                    numbered.line(local(sheet.tag), *of(sheet, "name", "print-ranges"), style("S", sheet))
                    for row in rows(sheet):
                        cells = [" ".join([style("X", cell), *of(cell, "number-columns-repeated", "number-columns-spanned", "number-rows-spanned", "formula",
                                                                 "value-type", "value", "date-value", "boolean-value"), *map(short, cell)]) for cell in row]
                        numbered.line("row", style("R", row), "|", " | ".join(cells))
                if root.find("*/{*}spreadsheet") is None:
                    parts = [root.find("{*}automatic-styles"), root.find("{*}master-styles"), root.find("*/*/{*}chart"), root.find(".//{*}plot-area")]
                    print(*(short(one) for part in parts if part is not None for one in part if local(one.tag) != "plot-area"), sep="\n")
            else:
                print("--", name)
                if name == "settings.xml":
                    print(*(short(item) for item in ElementTree.fromstring(package.read(name)).iter() if "Split" in str(item.attrib)), sep="\n")


def dump_xls(path):
    """The records of the stream: their type, and their bytes as far as they fit a line."""
    import xlrd.compdoc
    with open(path, "rb") as file:
        book = bytes(xlrd.compdoc.CompDoc(file.read()).get_named_stream("Workbook"))
    at = 0
    while at + 4 <= len(book):
        kind, size = struct.unpack_from("<HH", book, at)
        content = book[at + 4:at + 4 + size]
        print("%04X %s" % (kind, content[:120].hex(" ", 2)))
        at += 4 + size


def dump_pdf(path):
    """Its objects in order, with the streams that are text. Numbers that follow from the fonts' bytes are left out."""
    plain = subprocess.run(["qpdf", "--qdf", "--object-streams=disable", "--no-original-object-ids", path, "-"],
                           capture_output=True, check=True).stdout
    for part in re.findall(rb"^\d+ 0 obj\n.*?^endobj", plain, re.S | re.M):
        head, _, stream = part.partition(b"\nstream\n")
        stream = stream.rpartition(b"\nendstream")[0]
        if re.fullmatch(rb"\d+ 0 obj\n\d+\nendobj", part):
            continue  # a stream's length
        head = re.sub(r"(?<=/)[A-Z]{6}\+|/Length1 \d+", "", head.removesuffix(b"endobj").decode("latin-1"))
        print(" ".join(head.split()))
        if stream:
            print(stream.strip().decode() if is_text(stream) else "(binary)")


def dump_markup(path):
    with open(path, encoding="utf-8") as file:
        text = re.sub(r"[0-9A-Za-z+/=\n]{400,}", "(a picture)", file.read())
    print(text if path.endswith(".rtf") else lines_of(text), end="")


def dump_image(path):
    """Its pages, a character a pixel: 0 to 9 for grey, a letter for three levels of each colour, a space for white."""
    from PIL import Image, ImageSequence

    def character(pixel):
        red, green, blue = (part // 86 for part in pixel)
        if max(pixel) - min(pixel) > 25:
            return chr(ord("A") + red * 9 + green * 3 + blue)
        return " " if pixel == (255, 255, 255) else str(pixel[1] // 26)

    for page in ImageSequence.Iterator(Image.open(path)):
        print("-- %d x %d %s" % (*page.size, page.mode))
        pixels = page.convert("RGB").load()
        for y in range(page.height):
            print("".join(character(pixels[x, y]) for x in range(page.width)).rstrip())


if __name__ == "__main__":
    extension = sys.argv[1].rpartition(".")[2]
    {"xlsx": dump_xlsx, "docx": dump_docx, "ods": dump_ods, "xls": dump_xls, "pdf": dump_pdf, "png": dump_image, "tif": dump_image}.get(extension, dump_markup)(sys.argv[1])
