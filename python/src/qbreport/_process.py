"""What belongs to the process instead of a report."""

from __future__ import annotations

import os
from collections.abc import Iterator

from qbreport._contents import Format
from qbreport._interface import ffi
from qbreport._library import each, from_utf16, from_utf8, library, structure, utf8
from qbreport._limits import Budget, Reach
from qbreport._messages import Error
from qbreport._report import _message


def _last_error() -> Error:
    error = structure("QBXMessage")
    return Error(_message(error) if library().QBXGetLastError(error) else "the engine gives no reason")


def version() -> str:
    """The engine's version: "1.0.0"."""
    return from_utf16(library().QBGetModuleVersion())


def library_path() -> str:
    """The file of the engine that is in use."""
    return from_utf16(library().QBGetModulePath())


def formats() -> tuple[Format, ...]:
    """The formats of documents. `render` also knows "htm", "text" and "tif"."""
    return tuple(Format(from_utf8(each_format.name), from_utf8(each_format.description))
                 for each_format in each("QBXFormat", library().QBXGetFormat))


def fonts() -> tuple[str, ...]:
    """The font families that are installed or were added, in alphabetical order."""
    def families() -> Iterator[str]:
        index = 0
        while family := library().QBXGetFontFamily(index):
            yield from_utf8(family)
            index += 1
    return tuple(families())


def add_font_folder(path: str | os.PathLike[str]) -> None:
    """Adds a folder with font files for all reports, before the first render, `Report.info` or `fonts`.

    Raises Error if there is no such folder, and if it is too late.
    """
    if not library().QBXAddFontFolder(utf8(path, "the path")):
        raise _last_error()


def set_font_alias(name: str, family: str) -> None:
    """Uses the font `family` in all reports whose template asks for `name`.

    `set_font_alias("Helvetica", "Liberation Sans")`, before the first render, `Report.info` or `fonts`; later it
    raises Error.
    """
    if not library().QBXSetFontAlias(utf8(name, "name"), utf8(family, "family")):
        raise _last_error()


def set_budget(budget: Budget | None) -> None:
    """Limits what the loads and renders may use that begin later, of all reports without a budget.

    None restores the figures of the settings file, or the defaults.
    """
    if not library().QBXSetBudget(budget._structure() if budget is not None else ffi.NULL):
        raise _last_error()


def set_reach(reach: Reach | None) -> None:
    """Sets what the names in templates and data may refer to, for all reports without a reach.

    None restores that of the settings file, or the default. Raises Error if an entry is not valid.
    """
    made, texts = reach._structure() if reach is not None else (ffi.NULL, [])
    if not library().QBXSetReach(made):
        raise _last_error()
    del texts  # the structure refers to them
