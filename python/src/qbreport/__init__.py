"""Turns report templates and data into PDF, XLSX, XLS, ODS, DOCX, RTF, HTML, text, CSV, JSON, TIFF and PNG.

    import qbreport
    qbreport.Report("invoice.qbf").render(data=rows, to="invoice.pdf", Year=2026)

`Report` has the documentation of templates, data, results and options. docs/python.md is a tutorial.
"""

from qbreport._contents import Field, Font, Format, Info, Parameter, Progress, Query, Table
from qbreport._library import configure
from qbreport._limits import Budget, Reach
from qbreport._messages import Cancelled, Error, Message, ReportWarning, Severity
from qbreport._process import (add_font_folder, fonts, formats, library_path, set_budget, set_font_alias, set_reach,
                               version)
from qbreport._report import Report

__all__ = [
    "Budget", "Cancelled", "Error", "Field", "Font", "Format", "Info", "Message", "Parameter", "Progress", "Query",
    "Reach", "Report", "ReportWarning", "Severity", "Table", "add_font_folder", "configure", "fonts", "formats",
    "library_path", "set_budget", "set_font_alias", "set_reach", "version",
]
