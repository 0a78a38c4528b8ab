"""The rules of ISO 14289-1 (PDF/UA) and of level a of ISO 19005, read from the finished file."""

import re

import pikepdf
from pikepdf import Name

import pdfa_rules

RULES = []
UA, DC = "{http://www.aiim.org/pdfua/ns/id/}", pdfa_rules.DC
STANDARD = set("""Document Part Art Sect Div BlockQuote Caption TOC TOCI Index NonStruct Private P H H1 H2 H3 H4 H5 H6 L LI Lbl
LBody Table TR TH TD THead TBody TFoot Span Quote Note Reference BibEntry Code Link Annot Ruby Warichu RB RT RP WT WP Figure
Formula Form""".split())
LANGUAGE = re.compile(r"[A-Za-z]{2,3}(-[A-Za-z0-9]{1,8})*")
PAINTING = set("Tj TJ ' \" f F f* B B* b b* S s Do sh".split())


def rule(clause):
    def add(check):
        RULES.append((clause, check))
        return check
    return add


class Element:
    """A structure element: `contents` are its marked content as (page, number), `objects` its annotations."""

    def __init__(self, node, parent):
        self.node, self.parent, self.type = node, parent, str(node.get("/S", ""))[1:]
        self.children, self.contents, self.objects = [], [], []
        self.kids = []
        kids = node.get("/K")
        for kid in kids if isinstance(kids, pikepdf.Array) else [] if kids is None else [kids]:
            self.add(kid)

    def add(self, kid):
        if isinstance(kid, int):
            self.contents.append((self.node.Pg.objgen, kid))
        elif kid.get("/Type") == Name.MCR:
            self.contents.append((kid.get("/Pg", self.node.get("/Pg")).objgen, int(kid.MCID)))
        elif kid.get("/Type") == Name.OBJR:
            self.objects.append(kid.Obj)
        else:
            self.children.append(Element(kid, self))

    def all(self):
        yield self
        for child in self.children:
            yield from child.all()

    def attribute(self, name):
        attributes = self.node.get("/A", [])
        for entry in attributes if isinstance(attributes, pikepdf.Array) else [attributes]:
            if name in entry:
                return entry[name]
        return None


class Tagged(pdfa_rules.Document):
    def __init__(self, data, standard):
        super().__init__(data, standard)
        root = self.pdf.Root.get("/StructTreeRoot")
        kids = pikepdf.Array() if root is None else root.get("/K", pikepdf.Array())
        self.roots = [Element(kid, None) for kid in (kids if isinstance(kids, pikepdf.Array) else [kids])]
        self.elements = [element for top in self.roots for element in top.all()]
        self.marked, self.problems, self.artifacts = {}, [], []
        for page in self.pages:
            self.read(page)
        self.parents = {}
        if root is not None:
            self.read_parents(root.ParentTree)

    def read(self, page):
        """The numbers of the marked content of a page, and what it shows outside of any."""
        open_content = []
        text = None  # the text object: content is inside or outside of it
        texts = 0
        found = self.marked.setdefault(page.objgen, {})
        for operands, operator in pikepdf.parse_content_stream(page):
            word = str(operator)
            if word in ("BDC", "BMC"):
                entries = operands[1] if word == "BDC" and isinstance(operands[1], pikepdf.Dictionary) else {}
                tag = str(operands[0])
                kinds = [kind for kind, _, _ in open_content]
                if tag == "/Artifact":
                    self.artifacts.append((page.objgen, entries))
                    if "content" in kinds:
                        self.problems.append("an artifact inside of content")
                    open_content.append(("artifact", None, text))
                elif "/MCID" in entries:
                    number = int(entries["/MCID"])
                    if set(kinds) & {"artifact", "content"}:
                        self.problems.append("content inside of other content")
                    if number in found:
                        self.problems.append("two contents with one number")
                    found[number] = [tag[1:], 0]
                    open_content.append(("content", number, text))
                else:
                    open_content.append(("other", None, text))
            elif word == "EMC":
                if not open_content:
                    self.problems.append("content that has no begin")
                elif open_content.pop()[2] != text:
                    self.problems.append("content across text objects")
            elif word == "BT":
                texts += 1
                text = texts
            elif word == "ET":
                text = None
            elif word in PAINTING:
                inside = [number for kind, number, _ in open_content if kind == "content"]
                if inside:
                    found[inside[0]][1] += 1
                elif "artifact" not in [kind for kind, _, _ in open_content]:
                    self.problems.append(f"{word} in neither content nor an artifact")
        if open_content:
            self.problems.append("content that does not end")

    def read_parents(self, node):
        numbers = list(node.get("/Nums", []))
        for key, value in zip(numbers[::2], numbers[1::2]):
            self.parents[int(key)] = value
        for kid in node.get("/Kids", []):
            if not int(kid.Limits[0]) <= int(kid.Limits[1]):
                self.problems.append("the limits of the parent tree")
            self.read_parents(kid)

    def annotations(self):
        return [annotation for page in self.pages for annotation in page.get("/Annots", [])]

    def of(self, *types):
        return [element for element in self.elements if element.type in types]


@rule("5")
def identification(document):
    if document.property(UA + "part") != "1":
        yield "the part of the standard"


@rule("6.7.2.2")
def marked(document):
    info = document.pdf.Root.get("/MarkInfo", {})
    if not info.get("/Marked", False) or info.get("/Suspects", False):
        yield "the document is not marked as tagged"


@rule("6.7.3.3")
def structure(document):
    if not document.roots or any(element.type != "Document" for element in document.roots):
        yield "no structure tree of a document"
    for element in document.elements:
        above = element.parent.node if element.parent else document.pdf.Root.StructTreeRoot
        if element.node.P.objgen != above.objgen:
            yield f"the parent of {element.type}"


@rule("6.7.3.4")
def types(document):
    for element in document.elements:
        if element.type not in STANDARD:
            yield f"the type {element.type}"


@rule("7.1")
def all_content(document):
    """All that pages show is content of one element, or an artifact; the tree has no other content."""
    yield from document.problems
    owned = {}
    for element in document.elements:
        for content in element.contents:
            if content in owned:
                yield f"content of two elements: {element.type}"
            owned[content] = element
    for page in document.pages:
        parents = document.parents.get(page.get("/StructParents", -1), [])
        for number, (tag, _) in document.marked[page.objgen].items():
            element = owned.pop((page.objgen, number), None)
            if element is None:
                yield f"content {number} that no element has"
            elif len(parents) <= number or parents[number].objgen != element.node.objgen:
                yield f"the parent tree does not lead to the {element.type} of content {number}"
            elif tag != element.type:
                yield f"content {tag} of an element {element.type}"
    for element in owned.values():
        yield f"{element.type} has content that no page has"


@rule("7.1")
def title(document):
    if not document.property(DC + "title"):
        yield "no title"
    if not document.pdf.Root.get("/ViewerPreferences", {}).get("/DisplayDocTitle", False):
        yield "the title is not shown"


@rule("7.1")
def not_empty(document):
    for element in document.elements:
        empty = not (element.children or element.contents or element.objects)
        if empty and element.type not in ("TD", "TH"):
            yield f"an empty {element.type}"


@rule("7.2")
def languages(document):
    texts = [document.pdf.Root.get("/Lang", "")] + [element.node.Lang for element in document.elements if "/Lang" in element.node]
    for text in texts:
        if not LANGUAGE.fullmatch(str(text)):
            yield f"the language {text}"


@rule("7.3")
def figures(document):
    for element in document.of("Figure", "Formula"):
        if not str(element.node.get("/Alt", "")).strip():
            yield "a figure without alternate text"
        box = element.attribute("/BBox")
        if box is None or not (float(box[0]) < float(box[2]) and float(box[1]) < float(box[3])):
            yield "a figure without its box"


@rule("7.4.2")
def headings(document):
    last = 0
    for element in document.elements:
        level = re.fullmatch(r"H([1-6])", element.type)
        if element.type == "H":
            yield "a heading without level"
        elif level:
            if int(level[1]) > last + 1:
                yield f"H{level[1]} after H{last}"
            last = int(level[1])


@rule("7.5")
def header_cells(document):
    for element in document.of("TH"):
        if element.attribute("/Scope") not in (Name.Column, Name.Row, Name.Both):
            yield "a header cell without scope"


@rule("7.2")
def tables(document):
    """What tables consist of, and that all their rows cover the same columns."""
    allowed = {"Table": {"THead", "TBody", "TFoot", "TR", "Caption"}, "THead": {"TR"}, "TBody": {"TR"}, "TFoot": {"TR"},
               "TR": {"TH", "TD"}, "L": {"LI", "L", "Caption"}, "LI": {"Lbl", "LBody"}}
    needed = {"TR": {"Table", "THead", "TBody", "TFoot"}, "THead": {"Table"}, "TBody": {"Table"}, "TFoot": {"Table"},
              "TH": {"TR"}, "TD": {"TR"}, "LI": {"L"}, "LBody": {"LI"}}
    for element in document.elements:
        kinds = [child.type for child in element.children]
        if element.type in allowed and not set(kinds) <= allowed[element.type]:
            yield f"{element.type} holds {set(kinds) - allowed[element.type]}"
        if element.type in needed and element.parent.type not in needed[element.type]:
            yield f"{element.type} in {element.parent.type}"
        if element.type == "Table":
            if kinds.count("THead") > 1 or ("THead" in kinds and ("TBody" not in kinds or kinds[0] != "THead")):
                yield "the sections of a table"
            rows = [child for part in element.children for child in ([part] if part.type == "TR" else part.children)]
            widths, hanging = set(), []  # of the cells above: their columns, and how many rows they go on
            for row in rows:
                spans = [(int(cell.attribute("/ColSpan") or 1), int(cell.attribute("/RowSpan") or 1)) for cell in row.children]
                widths.add(sum(columns for columns, _ in spans + hanging))
                hanging = [(columns, left - 1) for columns, left in spans + hanging if left > 1]
            if len(widths) != 1 or hanging:
                yield f"rows of different widths: {widths}"


@rule("7.8")
def running_parts(document):
    kinds = {"/Pagination", "/Layout", "/Page", "/Background"}
    for _, entries in document.artifacts:
        if "/Type" in entries and str(entries["/Type"]) not in kinds:
            yield f"an artifact {entries['/Type']}"
        if "/Subtype" in entries and (str(entries["/Type"]) != "/Pagination"
                                      or str(entries["/Subtype"]) not in ("/Header", "/Footer", "/Watermark")):
            yield f"an artifact {entries['/Subtype']}"


@rule("7.11")
def files(document):
    for item in document.dictionaries:
        if "/EF" in item and not ("/F" in item and "/UF" in item):
            yield "the names of an embedded file"


@rule("7.15")
def dynamic_forms(document):
    if "/XFA" in document.pdf.Root.get("/AcroForm", {}) or "/NeedsRendering" in document.pdf.Root:
        yield "a dynamic form"


@rule("7.16")
def security(document):
    encryption = document.pdf.trailer.get("/Encrypt")
    if encryption is not None and not int(encryption.P) & 1 << 9:
        yield "screen readers may not read it"


@rule("7.18.1")
def annotations(document):
    for annotation in document.annotations():
        parent = document.parents.get(annotation.get("/StructParent", -1))
        wanted = {"/Link": "Link", "/Widget": "Form"}.get(str(annotation.Subtype), "Annot")
        holders = [element for element in document.elements
                   if any(held.objgen == annotation.objgen for held in element.objects)]
        if len(holders) != 1 or parent is None or holders[0].node.objgen != parent.objgen or holders[0].type != wanted:
            yield f"an annotation {annotation.Subtype} that no {wanted} holds"


@rule("7.18.3")
def tab_order(document):
    if any(page.get("/Tabs") != Name.S for page in document.pages):
        yield "the order of tabs"


@rule("7.18.4")
def fields(document):
    for annotation in document.annotations():
        if annotation.Subtype == Name.Widget and not str(annotation.get("/TU", "")):
            yield "a field without a name for readers"


@rule("7.18.5")
def links(document):
    for annotation in document.annotations():
        if annotation.Subtype == Name.Link and not str(annotation.get("/Contents", "")).strip():
            yield "a link without a text"


# The rules of fonts are those of the other standard.
for clause, checks in (("7.21.4.1", (pdfa_rules.embedded_fonts, pdfa_rules.glyphs)), ("7.21.5", (pdfa_rules.widths,)),
                       ("7.21.7", (pdfa_rules.texts,)), ("7.21.8", (pdfa_rules.missing_glyphs,))):
    for check in checks:
        rule(clause)(check)


LEVEL_A = ("6.", "7.1", "7.2")


def faults(data, standard, accessible=True):
    """The texts of all faults, each with its clause. Without `accessible`, only those of level a."""
    document = Tagged(data, standard if standard != "none" else "a-2u")
    return pdfa_rules.found_by([(clause, check) for clause, check in RULES
                                if accessible or (clause.startswith(LEVEL_A) and check is not title)], document)
