"""Documents are the same bytes wherever they are made: all samples, and a report of dates that time zones have moved,
under six zones and two locales.

usage: zones_test.py MAKE_DOCUMENTS SAMPLES
"""

import csv
import io
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

MAKE_DOCUMENTS, SAMPLES = (pathlib.Path(word) for word in sys.argv[1:3])
# Standard times have changed in Moscow in 2011, in Kathmandu in 1986 and in Caracas in 2007; before 1901 Shanghai had
# its own mean time.
PLACES = [("UTC", "C.UTF-8"), ("UTC", "de_DE.UTF-8"), ("Asia/Shanghai", "C.UTF-8"), ("Europe/Moscow", "de_DE.UTF-8"),
          ("America/New_York", "C.UTF-8"), ("Asia/Kathmandu", "de_DE.UTF-8"), ("America/Caracas", "C.UTF-8")]
DATES = """<?xml version="1.0" encoding="UTF-8"?>
<Report version="1">
  <Fields><Field name="When" type="date"/></Fields>
  <Grid>
    <Columns>
      <Column name="Plain" width="40mm"><Content text="[When + 0]"/></Column>
      <Column name="Day" width="40mm"><Content text="[When:yyyy-MM-dd]"/></Column>
      <Column name="Computed" width="60mm"><Content text="[AddMonths(When, 1):HH:mm:ss dd//MM/yyyy] [Date(Year(When), 1, 1)]"/></Column>
    </Columns>
  </Grid>
</Report>
"""
WHEN = {"2012/01/10": "2012-01-10", "2012年1月10日": "2012-01-10", "2012-01-10 14:30": "2012-01-10 14:30:00",
        "1900/12/31": "1900-12-31", "1984-7-1 00:00": "1984-07-01", "2007年十二月9日": "2007-12-09",
        "02:30:00 2024-03-10": "2024-03-10 02:30:00"}


def add_dates(setup):
    (setup / "Samples/Reports/dates.qbf").write_text(DATES, "utf-8")
    (setup / "Samples/Data/json/jsonDates.txt").write_text(json.dumps([{"When": when} for when in WHEN], ensure_ascii=False), "utf-8")
    file = setup / "Samples/Data/ReportListJson.txt"
    groups = json.loads(file.read_text("utf-8-sig"))
    groups.append({"Items": [{"Name": "dates", "Data": "Dates"}]})
    file.write_text(json.dumps(groups, ensure_ascii=False), "utf-8")


def shrink_images(setup):
    """Low resolutions, so that images take no time."""
    for template in setup.rglob("*.qbf"):
        text = template.read_text("utf-8")
        template.write_text(re.sub(r'(<Report version="1")( imageResolution="\d+")?', r'\1 imageResolution="24"', text, count=1), "utf-8")


def documents(setup, out, zone, locale, locales):
    place = dict(os.environ, TZ=zone, LC_ALL=locale)
    if locale != "C.UTF-8":
        place["LOCPATH"] = str(locales)
    subprocess.run([MAKE_DOCUMENTS, setup, out, "formats"], check=True, env=place, stdout=subprocess.DEVNULL)
    return {str(file.relative_to(out)): file.read_bytes() for file in out.rglob("*") if file.is_file()}


with tempfile.TemporaryDirectory() as name:
    folder = pathlib.Path(name)
    setup, locales = folder / "setup", folder / "locales"
    shutil.copytree(SAMPLES, setup)
    add_dates(setup)
    shrink_images(setup)
    locales.mkdir()
    subprocess.run(["localedef", "-i", "de_DE", "-f", "UTF-8", locales / "de_DE.UTF-8"], check=True)
    first = None
    for number, (zone, locale) in enumerate(PLACES):
        made = documents(setup, folder / f"out{number}", zone, locale, locales)
        first = first or made
        assert made.keys() == first.keys()
        different = [file for file in made if made[file] != first[file]]
        assert not different, f"{zone} {locale}: {different}"
    kinds = {pathlib.Path(file).suffix for file in first}
    assert kinds == {".pdf", ".xls", ".xlsx", ".htm", ".rtf", ".txt", ".csv", ".tif", ".png"}, kinds
    rows = list(csv.reader(io.StringIO(first["auto/csv/dates.csv"].decode("utf-8-sig"))))
    expected = [[shown, shown[:10]] for shown in WHEN.values()]
    assert [row[:2] for row in rows] == expected, rows
