#!/usr/bin/python3
"""How CPU time and memory grow with the input: the exponent e of n^e, from documents of n, 2n and 4n.

usage: bench/scaling_bench.py [QBREPORT] [CASE ...]     (build/bench/bin/qbreport; every case)

1 is linear, 0 does not depend on the input. The time is that of the best of three runs, without what an empty report
takes; the exponent is that between n and 4n. Memory is the largest resident set, also without that of an empty report.
"""

import json
import math
import pathlib
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
from report_bench import ROOT, measured  # noqa: E402

RUNS = 3


def report(content, data="<Data table='t'/>"):
    return f"<Report version='1'><DefaultStyle font='Liberation Sans' fontSize='8pt'/>{data}{content}</Report>"


def grid(content="[a]", height="5mm", groups="", fields=""):
    return report(f"{fields}<Grid rowHeight='{height}' rowCanGrow='false'><Columns><Column name='a' width='60mm'>{content}</Column>"
                  f"</Columns>{groups}</Grid>")


def text(template):
    return f"<Content text='{template}'/>"


def rows(count, row=lambda i: {"a": i}):
    return {"t": [row(i) for i in range(count)]}


def group(footer):
    return f"<Groups><Group name='g' by='g'><Footer height='5mm'><Text width='50mm' height='4mm' text='{footer}'/></Footer></Group></Groups>"


def sub_reports(count):
    inner = "<Report><Data table='u'/><Grid filter='k = Key'><Columns><Column name='v' width='50mm'><Content text='[v]'/></Column></Columns></Grid></Report>"
    template = grid(f"<Content><SubReport><Parameter name='Key' expression='a'/>{inner}</SubReport></Content>")
    return template, rows(count) | {"u": [{"k": i % count, "v": i} for i in range(4 * count)]}


def cross_table(count):
    template = report("<CrossTable><Row by='r'/><Column by='c' title='[c]'/><Cell value='Sum(a)' width='20mm'/></CrossTable>")
    return template, rows(count, lambda i: {"r": i % 100, "c": i // 100 % 50, "a": i})


def controls(count):
    texts = "".join(f"<Text x='{i % 40 * 4}mm' y='{i // 40 % 40 * 5}mm' width='4mm' height='4mm' text='{i}'/>" for i in range(count))
    return report(f"<ReportHeader height='210mm'>{texts}</ReportHeader>", ""), {}


# Each makes a template and data for a number; the number of the smallest document; the format.
CASES = {
    "rows": (lambda n: (grid(text("[a]")), rows(n)), 25_000, "csv"),
    "pages": (lambda n: (grid(text("Row [a] on page [PageNumber] of the [PageCount] pages of this report"), "140mm"), rows(n)), 5_000, "pdf"),
    "groups": (lambda n: (grid(text("[a]"), groups=group("[g] [Sum(a)]")), rows(n, lambda i: {"g": i, "a": i})), 10_000, "csv"),
    "aggregates of one group": (lambda n: (grid(text("[Sum(a)] [RowNumber / Count()]")), rows(n)), 20_000, "csv"),
    "carried sums": (lambda n: (grid(text("[Sum(a, Page)] [Sum(a, BroughtForward)]")), rows(n)), 20_000, "pdf"),
    "indexed sub-reports": (sub_reports, 1_000, "csv"),
    "cross-table": (cross_table, 50_000, "csv"),
    "controls of a section": (controls, 2_000, "pdf"),
    "different texts": (lambda n: (grid(text("[a]")), rows(n, lambda i: {"a": f"{chr(0x4E00 + i % 20_000)}{i}"})), 10_000, "pdf"),
    "links": (lambda n: (grid("<Content text='[a]' link='https://example.com/[a]'/>"), rows(n)), 10_000, "pdf"),
    "tagged PDF": (lambda n: (grid(text("[a]"), fields="<Pdf ua='true'/><Info title='t' language='en'/>"), rows(n)), 20_000, "pdf"),
    "XLSX": (lambda n: (grid(text("[a:#,##0.00]")), rows(n)), 20_000, "xlsx"),
    "DOCX": (lambda n: (grid(text("[a]")), rows(n)), 10_000, "docx"),
    "ODS": (lambda n: (grid(text("[a]")), rows(n)), 10_000, "ods"),
    "HTM": (lambda n: (grid(text("[a]")), rows(n)), 20_000, "htm"),
    "RTF": (lambda n: (grid(text("[a]")), rows(n)), 10_000, "rtf"),
    "JSON": (lambda n: (grid(text("[a]")), rows(n)), 20_000, "json"),
}


def export(program, folder, template, data, form):
    """CPU seconds of the best run, and peak MiB."""
    (folder / "report.qbf").write_text(template)
    (folder / "data.json").write_text(json.dumps(data))
    output = folder / ("document." + form)
    best = (math.inf, math.inf)
    for _ in range(RUNS):
        output.unlink(missing_ok=True)
        _, cpu, memory = measured([program, "render", "-q", folder / "report.qbf", "-d", folder / "data.json", "-o", output])
        assert output.exists(), f"no {form}"
        best = min(best[0], cpu), min(best[1], memory)
    return best


def exponent(small, large, nothing):
    least = nothing / 10  # what cannot be told from no growth
    return max(math.log((large - nothing) / max(small - nothing, least), 4), 0) if large > nothing + least else 0


def main():
    words = sys.argv[1:]
    program = pathlib.Path(words.pop(0) if words else ROOT / "build/bench/bin/qbreport").resolve()
    print(f"{'':<26}{'n':>8}  {'CPU s of n, 2n, 4n':<24}{'e':>5}   {'MiB':<20}{'e':>5}")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for case in words or CASES:
            make, number, form = CASES[case]
            nothing = export(program, folder, report("", ""), {}, form)
            sizes = [export(program, folder, *make(number * factor), form) for factor in (1, 2, 4)]
            times, memory = zip(*sizes)
            print(f"{case:<26}{number:>8,}  {'  '.join(f'{time:6.3f}' for time in times):<24}{exponent(times[0], times[2], nothing[0]):>5.2f}   "
                  f"{'  '.join(f'{size:5.1f}' for size in memory):<20}{exponent(memory[0], memory[2], nothing[1]):>5.2f}", flush=True)


if __name__ == "__main__":
    main()
