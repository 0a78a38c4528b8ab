"""What a load or an export may use and reach."""

from __future__ import annotations

import dataclasses
import math
import os
from collections.abc import Iterable
from typing import Any

from qbreport._interface import ffi
from qbreport._library import structure, utf8

_UNLIMITED = 2**64 - 1

# The members of QBXBudget, and how many of their units our units have.
_MEMBERS = {
    "wall_time": ("wallMilliseconds", 1000),
    "cpu_time": ("cpuMilliseconds", 1000),
    "data_memory": ("dataBytes", 1),
    "cells": ("cells", 1),
    "name_length": ("nameUnits", 1),
    "fetches": ("fetches", 1),
    "fetch_time": ("fetchMilliseconds", 1000),
    "fetched_bytes": ("fetchedBytes", 1),
    "pages": ("pages", 1),
    "page_items": ("pageItems", 1),
    "pixels": ("pixels", 1),
    "picture_scans": ("pictureScans", 1),
    "template_elements": ("templateElements", 1),
    "document_size": ("documentBytes", 1),
}


@dataclasses.dataclass(frozen=True, slots=True)
class Budget:
    """What one load of a template or of data, or one export, may use. If it needs more, it fails.

    Times are in seconds, sizes in bytes, all others are counts. `None` leaves a figure as it is in the budget of
    the process, whose defaults docs/settings.md lists; `math.inf` removes the limit. Zero and negative figures
    raise ValueError.
    """

    wall_time: float | None = None  #: From the beginning to the end.
    cpu_time: float | None = None  #: Of the thread.
    data_memory: float | None = None  #: Of the tables.
    cells: float | None = None  #: Values that exist, and rows, of all tables.
    name_length: float | None = None  #: UTF-16 units of one name in data.
    fetches: float | None = None  #: Pictures, data and other files, from disk and web together.
    fetch_time: float | None = None  #: Of all fetches together.
    fetched_bytes: float | None = None  #: Of all fetches together.
    pages: float | None = None  #: Of the document.
    page_items: float | None = None  #: Texts, lines, boxes and pictures of one page or band.
    pixels: float | None = None  #: Decoded, of all pictures together; also of one page as an image.
    picture_scans: float | None = None  #: Of one progressive picture.
    template_elements: float | None = None  #: Controls, styles and all other elements of a template.
    document_size: float | None = None  #: At most 2 GiB, with or without a limit.

    def _structure(self) -> Any:
        made = structure("QBXBudget")
        for name, (member, factor) in _MEMBERS.items():
            figure = getattr(self, name)
            if figure is None:
                continue
            if not figure > 0:
                raise ValueError(f"{name} must be more than zero, not {figure!r}")
            setattr(made, member, min(math.ceil(figure * factor), _UNLIMITED) if figure < math.inf else _UNLIMITED)
        return made


@dataclasses.dataclass(frozen=True, slots=True)
class Reach:
    """The files and web addresses that names in templates and data may refer to.

    By default these are files below the template's folder and the set-up folder, and public web addresses.
    `folders` and `hosts` allow more; the word "none" takes the default away, and "any" allows all. docs/trust.md
    has the syntax. `None` leaves a list as it is for the process. Names that a program passes may refer to
    anything.
    """

    folders: Iterable[str | os.PathLike[str]] | None = None  #: `["/srv/logos", "/srv/data"]`
    hosts: Iterable[str] | None = None  #: `["intranet.example", "10.1.0.0/16"]`

    def _structure(self) -> tuple[Any, list[Any]]:
        """The structure, and the texts that must outlive it."""
        made, texts = structure("QBXReach"), []
        for member, names, separator in (("folders", self.folders, ":"), ("hosts", self.hosts, ", ")):
            if names is None:
                continue
            if isinstance(names, (str, bytes)):
                raise TypeError(f"{member} is a list, not {names!r}")
            entries = [os.fspath(name) for name in names]
            for entry in entries:
                if separator.strip() in entry:
                    raise ValueError(f"{entry!r} in {member} contains {separator.strip()!r}")
            texts.append(ffi.new("char[]", utf8(separator.join(entries), member)))
            setattr(made, member, texts[-1])
        return made, texts
