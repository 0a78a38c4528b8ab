"""What a report consists of."""

from __future__ import annotations

import dataclasses


@dataclasses.dataclass(frozen=True, slots=True)
class Parameter:
    """A parameter that the template declares, the data has, or a query to a database names."""

    name: str
    type: str  #: "text", "number", "date" or "boolean" if the template declares it; otherwise empty.
    default: str  #: Its value in the template or the data.
    required: bool  #: It must be set.


@dataclasses.dataclass(frozen=True, slots=True)
class Field:
    """A name that the template reads from its data."""

    name: str
    count: int  #: How often the template uses it.
    line: int  #: Where the template uses it first, from 1; 0: unknown.
    column: int


@dataclasses.dataclass(frozen=True, slots=True)
class Table:
    """A table of the loaded data."""

    name: str  #: Empty for rows without a name.
    rows: int
    columns: tuple[str, ...]


@dataclasses.dataclass(frozen=True, slots=True)
class Font:
    """A font family that the template asks for."""

    name: str
    file: str  #: The font file that is used for it.
    count: int  #: How often the template asks for it.


@dataclasses.dataclass(frozen=True, slots=True)
class Info:
    """The contents of a report and of its loaded data."""

    parameters: tuple[Parameter, ...]
    fields: tuple[Field, ...]
    tables: tuple[Table, ...]
    fonts: tuple[Font, ...]


@dataclasses.dataclass(frozen=True, slots=True)
class Format:
    """A format of documents."""

    name: str  #: As in `render(format=...)` and as a file's ending: "pdf".
    description: str  #: "PDF document"


@dataclasses.dataclass(frozen=True, slots=True)
class Progress:
    """How far a load or an export is."""

    rows: int  #: Of the report's grid that are laid out.
    all_rows: int  #: Of the report's grid; 0: the data is being read.
    pages: int  #: That are finished.
    bytes: int  #: Of data that are read.


@dataclasses.dataclass(frozen=True, slots=True)
class Query:
    """Data that the engine reads through a connection: `Query("sqlite:shop.db", "select * from Orders")`.

    docs/data.md lists the connections.
    """

    connection: str
    query: str
