"""Prints what a spreadsheet program reads from a workbook, one fact per line: python3 read_workbook.py FILE"""
import datetime
import html
import re
import struct
import sys
import zipfile


def show(value):
    if value is None:
        return ""
    if isinstance(value, bool):
        return "yes" if value else "no"
    if isinstance(value, float):
        return "#%.15g" % value
    if isinstance(value, int):
        return "#%d" % value
    if isinstance(value, (datetime.datetime, datetime.date)):
        return value.isoformat()
    return ascii(value) if len(value) < 1000 else "%s...(%d)" % (ascii(value[:10]), len(value))


def line_of(side):
    return side.style[0] if side is not None and side.style else "-"


def features(sheet):
    """What only some workbooks have."""
    if sheet.auto_filter.ref:
        print("filter", sheet.auto_filter.ref)
    if sheet.print_area:
        print("print area", sheet.print_area)
    rows = {row: dimension.outlineLevel for row, dimension in sheet.row_dimensions.items() if dimension.outlineLevel}
    columns = {name: dimension.outlineLevel for name, dimension in sheet.column_dimensions.items() if dimension.outlineLevel}
    if rows or columns:
        outline = sheet.sheet_properties.outlinePr
        print("outline", rows, columns, outline is None or outline.summaryBelow, outline is None or outline.summaryRight)
    for chart in sheet._charts:
        scaling = chart.y_axis.scaling if hasattr(chart, "y_axis") else None
        limits = {"min": scaling.min, "max": scaling.max} if scaling else {}
        print("chart", type(chart).__name__, chart.title and ascii(chart.title.tx.rich.p[0].r[0].t),
              chart.y_axis.numFmt.formatCode if hasattr(chart, "y_axis") else "", "legend" if chart.legend else "",
              *(f"{name} {limit:g}" for name, limit in limits.items() if limit is not None))
        for series in chart.series:
            numbers = [part.numRef for part in (series.xVal, series.yVal, series.val, series.bubbleSize) if part is not None]
            print("series", series.tx and series.tx.strRef.f, series.cat and series.cat.strRef.f,
                  [(part.f, part.numCache.formatCode, [point.v for point in part.numCache.pt]) for part in numbers])


def read_xlsx(path):
    import openpyxl

    book = openpyxl.load_workbook(path)
    values = openpyxl.load_workbook(path, data_only=True)
    print("title", book.properties.title)
    # The reader makes a link of several cells one of each.
    with zipfile.ZipFile(path) as package:
        parts = {name: package.read(name).decode() for name in package.namelist() if name.endswith(("xml", "rels"))}
    targets = dict(re.findall(r'Id="(rIdLink\d+)"[^>]* Target="([^"]*)"', "".join(parts.values())))
    print("links", sorted((area, targets[number][:30]) for area, number in
                          re.findall(r'<hyperlink ref="([^"]*)" r:id="([^"]*)"', "".join(parts.values()))))
    print("lines", "".join(parts.values()).count("<xdr:cxnSp>"))
    for cut in re.findall(r"<a:srcRect ([^>]*)/>", "".join(parts.values())):
        print("cut", cut)
    for sheet in book.worksheets:
        hidden = ["hidden"] if sheet.sheet_state != "visible" else []
        print("sheet", *hidden, sheet.title, "freeze", sheet.freeze_panes, "titles", sheet.print_title_rows)
        print("page", sheet.page_setup.paperSize, sheet.page_setup.orientation, sheet.page_setup.scale,
              "fit", bool(sheet.sheet_properties.pageSetUpPr.fitToPage), "left %.3f" % sheet.page_margins.left)
        print("breaks", [b.id for b in sheet.row_breaks.brk])
        printed = [re.search("<odd%s>([^<]*)<" % part, parts["xl/worksheets/sheet1.xml"]) for part in ("Header", "Footer")]
        if any(printed):
            print("printed", *(ascii(code and html.unescape(code[1])) for code in printed))
        print("widths", ["%.2f" % sheet.column_dimensions[c].width for c in sorted(sheet.column_dimensions)])
        print("merged", sorted(str(r) for r in sheet.merged_cells.ranges))
        features(sheet)
        for image in sheet._images:
            start = image.anchor._from
            print("picture", start.col, start.colOff, start.row, start.rowOff, image.anchor.ext.width,
                  image.anchor.ext.height)
        for row in sheet.iter_rows():
            for cell in row:
                if cell.value is None and not cell.has_style:
                    continue
                border = cell.border
                fill = cell.fill.fgColor.rgb if cell.fill.fill_type == "solid" else "-"
                color = cell.font.color.rgb if cell.font.color is not None else "-"
                alignment = cell.alignment
                result = " is " + show(values[sheet.title][cell.coordinate].value) if cell.data_type == "f" else ""
                print(cell.coordinate, cell.data_type, show(cell.value) + result, cell.number_format, "|",
                      cell.font.name, cell.font.sz, color, fill,
                      "".join(n for n, on in (("b", cell.font.b), ("i", cell.font.i), ("u", cell.font.u),
                                              ("w", alignment.wrap_text)) if on),
                      alignment.horizontal, alignment.vertical, alignment.text_rotation,
                      "".join(line_of(s) for s in (border.left, border.top, border.right, border.bottom)),
                      "h%.2f" % sheet.row_dimensions[cell.row].height,
                      (cell.hyperlink.target or "#" + cell.hyperlink.location)[:60] if cell.hyperlink is not None else "")


def printed_codes(path):
    """The header and footer of the first sheet of an old workbook; xlrd does not read them."""
    import xlrd.compdoc

    with open(path, "rb") as file:
        stream, at, size = xlrd.compdoc.CompDoc(file.read()).locate_named_stream("Workbook")
    codes, end = {}, at + size
    while at < end:
        number, length = struct.unpack_from("<HH", stream, at)
        if number in (0x14, 0x15) and length > 0:
            codes.setdefault(number, bytes(stream[at + 7:at + 4 + length]).decode("utf-16-le"))
        at += 4 + length
    return codes.get(0x14), codes.get(0x15)


def read_xls(path):
    """The same facts from the old format, in the words of the new one."""
    import xlrd

    book = xlrd.open_workbook(path, formatting_info=True)
    lines = {0: "-", 1: "t", 2: "m", 5: "t", 7: "h"}  # thick and thin are one letter there too
    for index, sheet in enumerate(book.sheets()):
        frozen = xlrd.cellname(sheet.horz_split_pos, sheet.vert_split_pos) if sheet.panes_are_frozen else None
        titles, printed_areas = ([n for n in book.name_obj_list if n.builtin and n.name == name and n.scope == index]
                         for name in ("Print_Titles", "Print_Area"))
        title_rows = "$%d:$%d" % (titles[0].area2d()[1] + 1, titles[0].area2d()[2]) if titles else None
        print("sheet", sheet.name, "freeze", frozen, "titles", title_rows)
        print("breaks", [b[0] for b in sheet.horizontal_page_breaks])
        printed = printed_codes(path)
        if any(printed):
            print("printed", *map(ascii, printed))
        print("widths", ["%.2f" % (sheet.colinfo_map[c].width / 256) for c in sorted(sheet.colinfo_map)])
        names = lambda r, c: xlrd.cellname(r, c)
        for area in printed_areas:
            top, bottom, left, right = area.area2d(clipped=False)[1:]
            print("print area", names(top, left) + ":" + names(bottom - 1, right - 1))
        rows = {r + 1: info.outline_level for r, info in sorted(sheet.rowinfo_map.items()) if info.outline_level}
        columns = {c: info.outline_level for c, info in sorted(sheet.colinfo_map.items()) if info.outline_level}
        if rows or columns:
            print("outline", rows, columns)
        print("merged", sorted("%s:%s" % (names(r1, c1), names(r2 - 1, c2 - 1))
                               for r1, r2, c1, c2 in sheet.merged_cells))
        areas = [((n.frowx, n.fcolx), (n.lrowx, n.lcolx), (n.url_or_path or "#" + n.textmark)[:30]) for n in sheet.hyperlink_list]
        print("links", sorted((names(*a) if a == b else names(*a) + ":" + names(*b), url) for a, b, url in areas))
        for row in range(sheet.nrows):
            for column in range(sheet.ncols):
                cell = sheet.cell(row, column)
                if cell.ctype == xlrd.XL_CELL_EMPTY:
                    continue
                look = book.xf_list[cell.xf_index]
                font = book.font_list[look.font_index]
                rgb = lambda n: "-" if book.colour_map.get(n) is None else "FF%02X%02X%02X" % book.colour_map[n]
                kind = {xlrd.XL_CELL_NUMBER: "n", xlrd.XL_CELL_DATE: "d", xlrd.XL_CELL_BOOLEAN: "b",
                        xlrd.XL_CELL_BLANK: "n"}.get(cell.ctype, "s")
                value = {"b": bool(cell.value), "n": cell.value or None}.get(kind, cell.value)
                if kind == "n" and cell.ctype == xlrd.XL_CELL_NUMBER:
                    value = cell.value
                if kind == "d":
                    value = xlrd.xldate.xldate_as_datetime(cell.value, book.datemode)
                border, align, link = look.border, look.alignment, sheet.hyperlink_map.get((row, column))
                print(xlrd.cellname(row, column), kind, show(value), book.format_map[look.format_key].format_str, "|",
                      font.name, font.height / 20, rgb(font.colour_index).replace("-", "FF000000"),
                      rgb(look.background.pattern_colour_index) if look.background.fill_pattern == 1 else "-",
                      "".join(n for n, on in (("b", font.weight >= 700), ("i", font.italic), ("u", font.underline_type),
                                              ("w", align.text_wrapped)) if on),
                      ["", "left", "center", "right", "", "justify"][align.hor_align],
                      ["top", "center", "bottom"][align.vert_align], align.rotation,
                      lines[border.left_line_style] + lines[border.top_line_style] +
                      lines[border.right_line_style] + lines[border.bottom_line_style],
                      "h%.2f" % (sheet.rowinfo_map[row].height / 20),
                      (link.url_or_path or "#" + link.textmark)[:60] if link is not None else "")


if __name__ == "__main__":
    (read_xls if sys.argv[1].endswith(".xls") else read_xlsx)(sys.argv[1])
