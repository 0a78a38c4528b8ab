"""Passes rows of Python to the engine, one by one."""

from __future__ import annotations

import datetime
import decimal
import functools
import itertools
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from typing import Any

from qbreport import _values
from qbreport._interface import ffi
from qbreport._library import library, utf8


class NestedRows(Exception):
    """The rows contain rows, which JSON can hold and a single table cannot."""


class Rows:
    """A table, whose columns are known before its rows.

    `data` is an iterable of mappings, tuples, lists, dataclasses, or single values; `columns` are the names of
    tuples and lists. Raises NestedRows if `data` is a list and one of its rows contains rows.
    """

    def __init__(self, data: Iterable[Any], columns: Sequence[str] | None) -> None:
        self._rows: Iterator[Any] = _values.frame_rows(data) if _values.is_frame(data) else iter(data)
        self._has_order = columns is not None or _values.is_frame(data) or bool(getattr(data, "description", None))
        if isinstance(columns, str):
            raise TypeError(f"`columns` is a list of names, not {columns!r}")
        names = self._columns_in(data) if columns is None else columns
        self.columns = [_values.name_of(name) for name in names]
        self._index = {name: index for index, name in enumerate(self.columns)}
        self._number = 0
        self._setters = _setters()
        self._ordered_types: dict[type, bool] = {}

    def _columns_in(self, data: Any) -> Iterable[str]:
        if _values.is_frame(data):
            return map(str, data.columns)
        if getattr(data, "description", None):  # a cursor of a database
            return [column[0] for column in data.description]
        if isinstance(data, (list, tuple)):
            return _columns_of_all(data)
        for first in self._rows:
            break
        else:
            return ()
        self._rows = itertools.chain((first,), self._rows)
        return [name for name, _ in _named(first)]

    def next(self, row: Any) -> bool:
        """Fills the engine's row. Returns False after the last one."""
        try:
            values = next(self._rows)
        except StopIteration:
            return False
        self._number += 1
        if self._is_in_order(values):
            self._set_in_order(row, list(_values.values_of(values)))
        else:
            self._set_by_name(row, values)
        return True

    def _is_in_order(self, values: Any) -> bool:
        """Whether the values are those of the columns, by their place: other rows have names of their own."""
        kind = type(values)
        known = self._ordered_types.get(kind)
        if known is not None:
            return known
        if isinstance(values, Mapping):
            return self._ordered_types.setdefault(kind, False)
        names = _values.columns_of(values)
        if names is None:
            return self._ordered_types.setdefault(kind, self._has_order)
        is_in_order = names == self.columns or self._has_order and self._index.keys().isdisjoint(names)
        if not hasattr(values, "keys"):  # rows of databases have the names of their query
            self._ordered_types[kind] = is_in_order
        return is_in_order

    def _set_by_name(self, row: Any, values: Any) -> None:
        for name, value in _named(values):
            index = self._index.get(name)
            if index is None:
                raise ValueError(f"row {self._number} has {name!r}, which is none of the columns: the first row of an "
                                 f"iterator has all of them, or `columns` lists them")
            self._set(row, index, value)

    def _set_in_order(self, row: Any, values: list[Any]) -> None:
        if len(values) != len(self.columns):
            raise ValueError(f"row {self._number} has {len(values)} values for {len(self.columns)} columns")
        for index, value in enumerate(values):
            self._set(row, index, value)

    def _set(self, row: Any, index: int, value: Any) -> None:
        try:
            setter = self._setters.get(type(value))
            if setter is None:
                value = _values.plain(value)
                setter = _setter_of(value)
            setter(row, index, value)
        except (TypeError, ValueError) as error:
            error.add_note(f"in column {self.columns[index]!r} of row {self._number}")
            raise


def _flat(row: Mapping[Any, Any], outer: str = "") -> Iterator[tuple[str, Any]]:
    """The names and values of a row; those of nested mappings are named "outer.inner"."""
    for key, value in row.items():
        name = outer + _values.name_of(key)
        if isinstance(value, Mapping):
            yield from _flat(value, name + ".")
        else:
            yield name, value


def _named(row: Any) -> Iterator[tuple[str, Any]]:
    """The names and values of a row of any type."""
    if isinstance(row, Mapping):
        yield from _flat(row)
        return
    names = _values.columns_of(row)
    if names is not None:
        yield from zip(names, _values.values_of(row))
    elif isinstance(row, (tuple, list)):
        raise TypeError("rows that are tuples or lists need `columns`, the names of their values")
    else:
        yield "value", row


def _columns_of_all(rows: Iterable[Any]) -> list[str]:
    columns: dict[str, None] = {}
    plain = _setters()
    for row in rows:
        for name, value in _named(row):
            if type(value) not in plain and _values.has_members(value):
                raise NestedRows
            columns[name] = None
    return list(columns)


_Setter = Callable[[Any, int, Any], object]


@functools.cache
def _setters() -> dict[type, _Setter]:
    """How values of each type are set. The order is that for subclasses: a bool is an int."""
    engine = library()

    def set_text(row: Any, index: int, value: str) -> None:
        encoded = value.encode("utf-8")
        engine.QBXRowSetText(row, index, encoded, len(encoded))

    def set_digits(row: Any, index: int, value: int | decimal.Decimal) -> None:
        written = _values.digits(value)
        if not engine.QBXRowSetDecimal(row, index, written.encode("ascii")):
            set_text(row, index, written)  # as in JSON: what no double can hold even nearly

    def set_integer(row: Any, index: int, value: int) -> None:
        if -(2**63) <= value < 2**63:
            engine.QBXRowSetInteger(row, index, value)
        else:
            set_digits(row, index, value)

    def set_decimal(row: Any, index: int, value: decimal.Decimal) -> None:
        if value.is_finite():
            set_digits(row, index, value)

    def set_date(row: Any, index: int, value: datetime.date) -> None:
        written = _values.iso(value)
        if not engine.QBXRowSetDate(row, index, written.encode("ascii")):
            set_text(row, index, written)

    def set_nothing(row: Any, index: int, value: None) -> None:
        """A value that is not set is null."""

    return {str: set_text, bool: engine.QBXRowSetBoolean, int: set_integer, float: engine.QBXRowSetNumber,
            decimal.Decimal: set_decimal, datetime.datetime: set_date, datetime.date: set_date,
            type(None): set_nothing}


def _setter_of(value: object) -> _Setter:
    for kind, setter in _setters().items():
        if isinstance(value, kind):
            return setter
    return _refuse


def _refuse(row: Any, index: int, value: object) -> None:
    raise TypeError("rows within a row of an iterator: pass all rows as a list to have nested tables")


def load(handle: Any, table: str, rows: Rows, next_row: Any) -> int:
    """Calls QBXReportLoadRows with the callback `next_row`, which calls `rows.next`."""
    names = [ffi.new("char[]", utf8(name, "a column")) for name in rows.columns]
    return int(library().QBXReportLoadRows(handle, utf8(table, "the table"), ffi.new("char*[]", names), len(names),
                                           next_row, ffi.NULL))
