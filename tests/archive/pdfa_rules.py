"""The rules of ISO 19005 (PDF/A), parts 1 to 3, that a report's PDF can break, read from the finished file."""

import functools
import io
import re
import xml.etree.ElementTree as ElementTree

import pikepdf
from fontTools import ttLib
from fontTools.cffLib import CFFFontSet
from pikepdf import Name

RULES = []
RDF = "{http://www.w3.org/1999/02/22-rdf-syntax-ns#}"
DC, PDF = "{http://purl.org/dc/elements/1.1/}", "{http://ns.adobe.com/pdf/1.3/}"
XMP, PDFAID = "{http://ns.adobe.com/xap/1.0/}", "{http://www.aiim.org/pdfa/ns/id/}"
EXTENSION, SCHEMA = "{http://www.aiim.org/pdfa/ns/extension/}", "{http://www.aiim.org/pdfa/ns/schema#}"


def rule(clause, parts="123"):
    """A check that yields a text per fault. Clauses are those of part 2, or of part 1 for rules of part 1 alone."""
    def add(check):
        RULES.append((clause, parts, check))
        return check
    return add


class Document:
    def __init__(self, data, standard):
        self.data, self.part, self.level = data, int(standard[2]), standard[3]
        self.pdf = pikepdf.open(io.BytesIO(data))
        self.streams = [item for item in self.pdf.objects if isinstance(item, pikepdf.Stream)]
        self.dictionaries = [item for item in self.pdf.objects
                             if isinstance(item, (pikepdf.Dictionary, pikepdf.Stream))]
        self.pages = [page.obj for page in self.pdf.pages]

    def images(self):
        return [stream for stream in self.streams if stream.get("/Subtype") == Name.Image]

    def metadata(self):
        stream = self.pdf.Root.get("/Metadata")
        return None if stream is None else ElementTree.fromstring(stream.read_bytes().strip())

    def property(self, name):
        found = self.metadata().find(f".//{name}")
        return None if found is None else "".join(found.itertext())

    @functools.cached_property
    def shown(self):
        """The fonts of all pages, each with the codes that are shown with it."""
        fonts = {}
        for page in self.pages:
            known = page.Resources.get("/Font", {})
            font, outer = None, []
            for operands, operator in pikepdf.parse_content_stream(page, "Tf q Q Tj TJ"):
                word = str(operator)
                if word == "Tf":
                    font = known[str(operands[0])]
                elif word == "q":
                    outer.append(font)
                elif word == "Q":
                    font = outer.pop()
                else:
                    parts = operands[0] if word == "TJ" else operands
                    codes = fonts.setdefault(font.objgen, (font, set()))[1]
                    size = 2 if font.Subtype == Name.Type0 else 1
                    for part in parts:
                        if isinstance(part, pikepdf.String):
                            text = bytes(part)
                            codes.update(int.from_bytes(text[i:i + size], "big") for i in range(0, len(text), size))
        return list(fonts.values())

    @functools.cached_property
    def programs(self):
        """The composite fonts among them, each with its codes and its embedded program."""
        return [(font, codes, Program(font)) for font, codes in self.composite()]

    def composite(self):
        return [(font, codes) for font, codes in self.shown if font.Subtype == Name.Type0]


def unicode_of(font):
    """The texts of the codes of a font by its ToUnicode map."""
    texts = {}
    if "/ToUnicode" in font:
        for block in re.findall(rb"beginbfchar(.*?)endbfchar", font.ToUnicode.read_bytes(), re.S):
            for code, text in re.findall(rb"<([0-9A-F]+)>\s*<([0-9A-F]+)>", block):
                texts[int(code, 16)] = bytes.fromhex(text.decode()).decode("utf-16-be", "surrogatepass")
    return texts


class Program:
    """The embedded program of a composite font."""

    def __init__(self, font):
        self.cid = font.DescendantFonts[0]
        descriptor = self.cid.FontDescriptor
        self.widths = {}  # by CID
        if "/FontFile3" in descriptor:
            fonts = CFFFontSet()
            fonts.decompile(io.BytesIO(descriptor.FontFile3.read_bytes()), None)
            top = fonts[0]
            scale = 1000 * getattr(top, "FontMatrix", [0.001])[0]
            keyed = hasattr(top, "ROS")
            for number, name in enumerate(top.getGlyphOrder()):
                cid = 0 if number == 0 else int(name[3:]) if keyed else number
                outline = top.CharStrings[name]
                outline.decompile()
                outline.draw(_Nothing())
                self.widths[cid] = outline.width * scale
        else:
            program = ttLib.TTFont(io.BytesIO(descriptor.FontFile2.read_bytes()))
            order, scale = program.getGlyphOrder(), 1000 / program["head"].unitsPerEm
            numbers = self.cid.CIDToGIDMap.read_bytes()
            for cid in range(len(numbers) // 2):
                glyph = int.from_bytes(numbers[2 * cid:2 * cid + 2], "big")
                if glyph or not cid:
                    self.widths[cid] = program["hmtx"][order[glyph]][0] * scale

    def stated(self, cid):
        """The width in the font's dictionary."""
        entries = list(self.cid.get("/W", []))
        for first, widths in zip(entries[::2], entries[1::2]):
            if int(first) <= cid < int(first) + len(widths):
                return float(widths[cid - int(first)])
        return float(self.cid.get("/DW", 1000))


class _Nothing:
    def __getattr__(self, name):
        return lambda *arguments: None


@rule("6.1.2")
def header(document):
    if not re.match(rb"%PDF-1\.[0-7]\r?\n%[\x80-\xff]{4}", document.data):
        yield "the header"


@rule("6.1.3")
def trailer(document):
    trailer = document.pdf.trailer
    if len(trailer.get("/ID", [])) != 2 or not bytes(trailer.ID[0]):
        yield "no file identifier"
    if "/Encrypt" in trailer:
        yield "encrypted"
    if not re.search(rb"%%EOF\r?\n?$", document.data):
        yield "data after the end"


@rule("6.1.4", "1")
def cross_references(document):
    if document.data.startswith(b"%PDF-1.4") and b"/ObjStm" not in document.data and b"/XRef" not in document.data:
        return
    yield "not the cross-reference table of PDF 1.4"


@rule("6.1.7.1")
def external_streams(document):
    for stream in document.streams:
        if {"/F", "/FFilter", "/FDecodeParms"} & set(stream.keys()):
            yield "a stream in another file"


@rule("6.1.7.2")
def filters(document):
    allowed = {Name.FlateDecode, Name.DCTDecode}
    for stream in document.streams:
        used = stream.get("/Filter", [])
        if not set([used] if isinstance(used, Name) else used) <= allowed:
            yield f"the filter {used}"


def strings_in(item):
    if isinstance(item, pikepdf.String):
        yield bytes(item)
    elif isinstance(item, (pikepdf.Dictionary, pikepdf.Stream, pikepdf.Array)):
        for value in item if isinstance(item, pikepdf.Array) else (value for _, value in item.items()):
            if not getattr(value, "is_indirect", False):
                yield from strings_in(value)


@rule("6.1.13")
def limits(document):
    for item in document.pdf.objects:
        if any(len(text) > 32767 for text in strings_in(item)):
            yield "a string of more than 32,767 bytes"
    for page in document.pages:
        if not all(3 <= float(page.MediaBox[i + 2]) - float(page.MediaBox[i]) <= 14400 for i in (0, 1)):
            yield "the size of a page"


@rule("6.2.2")
def resources(document):
    kinds = {"Tf": "/Font", "gs": "/ExtGState", "Do": "/XObject"}
    for page in document.pages:
        if "/Resources" not in page:
            yield "a page without its resources"
            continue
        for operands, operator in pikepdf.parse_content_stream(page):
            kind = kinds.get(str(operator))
            if kind and str(operands[0]) not in page.Resources.get(kind, {}):
                yield f"{kind} {operands[0]} is not in the resources of its page"


@rule("6.2.3")
def output_intent(document):
    intents = [intent for intent in document.pdf.Root.get("/OutputIntents", []) if intent.S == Name.GTS_PDFA1]
    if len(intents) != 1 or not str(intents[0].get("/OutputConditionIdentifier", "")):
        yield "no output intent"
        return
    stream = intents[0].DestOutputProfile
    profile = stream.read_bytes()
    if (len(profile) < 128 or int.from_bytes(profile[:4], "big") != len(profile) or profile[36:40] != b"acsp"
            or profile[12:16] not in (b"mntr", b"prtr") or profile[16:20] != b"RGB " or stream.N != 3
            or profile[8] > (2 if document.part == 1 else 4)):
        yield "the profile"
        return
    tags = {profile[at:at + 4]: profile[int.from_bytes(profile[at + 4:at + 8], "big"):][:4]
            for at in range(132, 132 + 12 * int.from_bytes(profile[128:132], "big"), 12)}
    wanted = {b"rXYZ": b"XYZ ", b"gXYZ": b"XYZ ", b"bXYZ": b"XYZ ", b"wtpt": b"XYZ ", b"rTRC": b"curv",
              b"gTRC": b"curv", b"bTRC": b"curv", b"desc": b"desc", b"cprt": b"text"}
    if tags != wanted:
        yield "the tags of the profile"


@rule("6.2.4.3")
def device_colours(document):
    for image in document.images():
        if image.ColorSpace == Name.DeviceCMYK:
            yield "a picture in CMYK"
    for page in document.pages:
        if any(str(operator) in ("k", "K") for _, operator in pikepdf.parse_content_stream(page)):
            yield "CMYK on a page"


@rule("6.2.5")
def graphics_states(document):
    for page in document.pages:
        for _, state in page.get("/Resources", {}).get("/ExtGState", {}).items():
            if {"/TR", "/TR2", "/HTP"} & set(state.keys()):
                yield "a transfer function or halftone"


@rule("6.2.8")
def images(document):
    for image in document.images():
        if "/Alternates" in image or "/OPI" in image or image.get("/Interpolate", False):
            yield "the entries of a picture"
        if image.BitsPerComponent not in ((1, 2, 4, 8) if document.part == 1 else (1, 2, 4, 8, 16)):
            yield "the depth of a picture"


@rule("6.4", "1")
def transparency(document):
    if any("/SMask" in image for image in document.images()):
        yield "a soft mask"
    for page in document.pages:
        if "/Group" in page:
            yield "a transparency group"
        for _, state in page.get("/Resources", {}).get("/ExtGState", {}).items():
            if state.get("/ca", 1) != 1 or state.get("/CA", 1) != 1 or "/SMask" in state or "/BM" in state:
                yield "an opacity"


@rule("6.2.11.4.1")
def embedded_fonts(document):
    for font, _ in document.composite():
        descriptor = font.DescendantFonts[0].FontDescriptor
        if not {"/FontFile2", "/FontFile3"} & set(descriptor.keys()):
            yield f"{font.BaseFont} is not embedded"
        elif font.DescendantFonts[0].Subtype == Name.CIDFontType2 and "/CIDToGIDMap" not in font.DescendantFonts[0]:
            yield f"{font.BaseFont} has no map to its glyphs"


@rule("6.2.11.4.1")
def glyphs(document):
    for font, codes, program in document.programs:
        missing = codes - program.widths.keys()
        if missing:
            yield f"{font.BaseFont} has no glyphs for {sorted(missing)[:9]}"


@rule("6.3.5", "1")
def cid_sets(document):
    for font, _, program in document.programs:
        descriptor = font.DescendantFonts[0].FontDescriptor
        if not re.match(r"/[A-Z]{6}\+", str(font.BaseFont)):
            continue
        bits = descriptor.CIDSet.read_bytes() if "/CIDSet" in descriptor else b""
        listed = {cid for cid in range(8 * len(bits)) if bits[cid // 8] & 0x80 >> cid % 8}
        if listed != program.widths.keys():
            yield f"the CIDs of {font.BaseFont}"


@rule("6.2.11.5")
def widths(document):
    for font, codes, program in document.programs:
        for code in codes & program.widths.keys():
            if abs(program.widths[code] - program.stated(code)) > 1:
                yield f"{font.BaseFont}: the width of {code} is {program.widths[code]}, not {program.stated(code)}"


@rule("6.2.11.7.2")
def texts(document):
    for font, codes in document.shown:
        known = unicode_of(font)
        for code in codes:
            text = known.get(code, "")
            if not text or set(text) & set("\0\ufeff\ufffe"):
                yield f"no text for the code {code} of {font.get('/BaseFont', 'a font of shapes')}"


@rule("6.2.11.8")
def missing_glyphs(document):
    for font, codes in document.composite():
        if 0 in codes:
            yield f"the glyph for missing characters of {font.BaseFont}"


@rule("6.3.2")
def annotations(document):
    for page in document.pages:
        for annotation in page.get("/Annots", []):
            if annotation.Subtype not in (Name.Link, Name.Widget):
                yield f"an annotation {annotation.Subtype}"
            if int(annotation.get("/F", 0)) & 0b100100111 != 0b100:
                yield "an annotation that is not printed"
            if annotation.Subtype == Name.Widget and "/AP" not in annotation:
                yield "a field without an appearance"


@rule("6.5.1")
def actions(document):
    for item in document.dictionaries:
        action = None if "/S" in item else item.get("/A")  # else they are attributes of a structure element
        if action is not None and action.S not in (Name.URI, Name.GoTo):
            yield f"the action {action.S}"
        if "/AA" in item or "/JS" in item:
            yield "an action of an event"


@rule("6.6.2.1")
def metadata(document):
    stream = document.pdf.Root.get("/Metadata")
    if stream is None or stream.get("/Subtype") != Name.XML or "/Filter" in stream:
        yield "no plain metadata"
        return
    packet = stream.read_bytes()
    start = re.match(rb'<\?xpacket begin="[^"]*" id="W5M0MpCehiHzreSzNTczkc9d"([^?]*)\?>', packet)
    if not start or start[1] or not packet.endswith(b'<?xpacket end="r"?>'):
        yield "the packet of the metadata"


@rule("6.6.2.3")
def properties(document):
    """Every property is of a known schema, or is described in the packet."""
    known = {DC, PDF, XMP, PDFAID, EXTENSION}
    described = {"{" + uri.text + "}" for uri in document.metadata().iter(f"{{{SCHEMA[1:-1]}}}namespaceURI")}
    for node in document.metadata().iter(f"{RDF}Description"):
        if node.get(f"{RDF}about") is None:
            continue
        for child in node:
            if child.tag.partition("}")[0] + "}" not in known | described:
                yield f"{child.tag} is not described"


@rule("6.6.3")
def same_information(document):
    info = document.pdf.trailer.get("/Info", {})
    pairs = {"/Title": DC + "title", "/Author": DC + "creator", "/Subject": DC + "description",
             "/Keywords": PDF + "Keywords", "/Producer": PDF + "Producer"}
    for key, name in pairs.items():
        if (str(info[key]) if key in info else None) != document.property(name):
            yield f"{key} is not that of the metadata"
    created = document.property(XMP + "CreateDate")
    digits = re.sub(r"[^0-9]", "", created or "")
    if digits != re.sub(r"[^0-9]", "", str(info.get("/CreationDate", ""))):
        yield "the date is not that of the metadata"


@rule("6.6.4")
def identification(document):
    if document.property(PDFAID + "part") != str(document.part) \
            or document.property(PDFAID + "conformance") != document.level.upper():
        yield "the part and level of the metadata"


@rule("6.7.4")
def language(document):
    if not re.fullmatch(r"[A-Za-z]{2,8}(-[A-Za-z0-9]{1,8})*", str(document.pdf.Root.get("/Lang", ""))):
        yield "the language"


@rule("6.8", "12")
def no_embedded_files(document):
    if any("/EF" in item for item in document.dictionaries):
        yield "an embedded file"


@rule("6.8", "3")
def associated_files(document):
    associated = [item.objgen for item in document.pdf.Root.get("/AF", [])]
    for item in document.dictionaries:
        if "/EF" not in item:
            continue
        if item.get("/F") is None or item.F != item.get("/UF"):
            yield "the names of an embedded file"
        if item.get("/AFRelationship") not in [Name("/" + word) for word in (
                "Source", "Data", "Alternative", "Supplement", "Unspecified")]:
            yield "the relation of an embedded file"
        if item.objgen not in associated:
            yield "an embedded file that is associated with nothing"
        stream = item.EF.F
        if not re.fullmatch(r"/[\w.+-]+/[\w.+-]+", str(stream.get("/Subtype", ""))):
            yield "the type of an embedded file"
        if stream.get("/Params", {}).get("/Size") != len(stream.read_bytes()):
            yield "the size of an embedded file"


def found_by(checks, document):
    """The texts of all faults that checks find, each with the clause of its check."""
    found = []
    for clause, check in checks:
        try:
            found += [f"{clause} {text}" for text in check(document)]
        except (AttributeError, KeyError, TypeError) as error:
            found.append(f"{clause} {check.__name__}: {error!r}")
    return found


def faults(data, standard):
    """The texts of all faults, each with its clause."""
    document = Document(data, standard)
    return found_by([(clause, check) for clause, parts, check in RULES
                     if str(document.part) in parts and not (check is texts and document.level == "b")], document)
