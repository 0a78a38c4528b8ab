"""Prints the parts of a document as text, so that a difference can be read: python3 dump.py FILE"""
import re
import struct
import subprocess
import sys
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
    {"xlsx": dump_xlsx, "xls": dump_xls, "pdf": dump_pdf, "png": dump_image, "tif": dump_image}.get(extension, dump_markup)(sys.argv[1])
