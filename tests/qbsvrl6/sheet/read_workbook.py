"""Prints what a spreadsheet program sees in a workbook, one fact a line: python3 read_workbook.py FILE"""
import datetime
import sys


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


def read_xlsx(path):
    import openpyxl

    book = openpyxl.load_workbook(path)
    print("title", book.properties.title)
    for sheet in book.worksheets:
        print("sheet", sheet.title, "freeze", sheet.freeze_panes, "titles", sheet.print_title_rows)
        print("page", sheet.page_setup.paperSize, sheet.page_setup.orientation, sheet.page_setup.scale,
              "fit", bool(sheet.sheet_properties.pageSetUpPr.fitToPage), "left %.3f" % sheet.page_margins.left,
              "breaks", [b.id for b in sheet.row_breaks.brk])
        print("widths", ["%.2f" % sheet.column_dimensions[c].width for c in sorted(sheet.column_dimensions)])
        print("merged", sorted(str(r) for r in sheet.merged_cells.ranges))
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
                print(cell.coordinate, cell.data_type, show(cell.value), cell.number_format, "|",
                      cell.font.name, cell.font.sz, color, fill,
                      "".join(n for n, on in (("b", cell.font.b), ("i", cell.font.i), ("u", cell.font.u),
                                              ("w", alignment.wrap_text)) if on),
                      alignment.horizontal, alignment.vertical, alignment.text_rotation,
                      "".join(line_of(s) for s in (border.left, border.top, border.right, border.bottom)),
                      "h%.2f" % sheet.row_dimensions[cell.row].height,
                      cell.hyperlink.target if cell.hyperlink is not None else "")


if __name__ == "__main__":
    read_xlsx(sys.argv[1])
