"""Converts values of Python to those of the engine."""

from __future__ import annotations

import base64
import dataclasses
import datetime
import decimal
import enum
import json
import math
import numbers
import sys
import uuid
from collections.abc import Iterable, Iterator, Mapping
from typing import Any

_MOST_ZEROS = 400  # of a decimal that is written without an exponent
_SHORT_BITS = 1_000  # Python may refuse to write longer numbers as int

_BYTES = (bytes, bytearray, memoryview)

_quoted = json.JSONEncoder(ensure_ascii=False).encode


def is_frame(data: object) -> bool:
    pandas = sys.modules.get("pandas")
    return pandas is not None and isinstance(data, pandas.DataFrame)


def frame_rows(frame: Any) -> Iterator[tuple[object, ...]]:
    """The rows of a data frame without its index; missing values are None."""
    rows_at_once = 4096
    for start in range(0, len(frame), rows_at_once):
        part = frame.iloc[start:start + rows_at_once].astype(object)
        yield from part.where(part.notna(), None).itertuples(index=False, name=None)


def has_members(value: object) -> bool:
    """Whether the value of a row is a list, or has members of its own; an iterator is not consumed."""
    return dataclasses.is_dataclass(value) or isinstance(value, Iterable) and not isinstance(value, (str, *_BYTES))


def columns_of(row: Any) -> list[str] | None:
    """The names that a row has for its values; None for a row without names."""
    if isinstance(row, tuple):
        return list(getattr(row, "_fields", ())) or None
    if dataclasses.is_dataclass(row):
        return [field.name for field in dataclasses.fields(row)]
    if not isinstance(row, Mapping) and callable(getattr(row, "keys", None)):
        return list(row.keys())  # sqlite3.Row
    return None


def values_of(row: Any) -> Iterable[object]:
    """The values of a row that is no mapping, in the order of its columns."""
    if dataclasses.is_dataclass(row):
        return [getattr(row, field.name) for field in dataclasses.fields(row)]
    if isinstance(row, (tuple, list)) or callable(getattr(row, "keys", None)):
        return row  # type: ignore[no-any-return]
    return (row,)


def digits(value: int | decimal.Decimal) -> str:
    """The exact number, without an exponent unless that would make it very long."""
    if isinstance(value, int):
        if value.bit_length() < _SHORT_BITS:
            return str(int(value))
        value = decimal.Decimal(value)
    exponent = value.as_tuple().exponent
    is_short = isinstance(exponent, int) and abs(exponent) < _MOST_ZEROS
    return format(value, "f") if is_short else str(value)


def iso(value: datetime.date) -> str:
    """The date, or the date and time to the second. A time zone is left out: the time is that of its clock."""
    if isinstance(value, datetime.datetime):
        return value.replace(tzinfo=None).isoformat(" ", "seconds")
    return value.isoformat()


def plain(value: Any) -> Any:
    """The value as None, bool, int, float, Decimal, str, date or datetime, a mapping or a list.

    NaN, infinities and pandas' NaT are None. Raises TypeError for values of other types.
    """
    if value is None or isinstance(value, (str, int)) and not isinstance(value, enum.Enum):
        return value
    if isinstance(value, float):
        return value if math.isfinite(value) else None
    if isinstance(value, decimal.Decimal):
        return value if value.is_finite() else None
    if isinstance(value, datetime.date):
        return value if value == value else None
    if isinstance(value, (Mapping, list)):
        return value
    return _plain_of_others(value)


def _plain_of_others(value: Any) -> Any:
    if isinstance(value, enum.Enum):
        return plain(value.value)
    if isinstance(value, datetime.time):
        return value.replace(tzinfo=None).isoformat("seconds")
    if isinstance(value, uuid.UUID):
        return str(value)
    if isinstance(value, _BYTES):
        return base64.b64encode(value).decode("ascii")  # what pictures in data are
    if is_frame(value):
        columns = [str(column) for column in value.columns]
        return [dict(zip(columns, row)) for row in frame_rows(value)]
    if hasattr(value, "dtype") and callable(getattr(value, "tolist", None)):  # numpy
        return plain(value.tolist())
    names = columns_of(value)
    if names is not None:
        return dict(zip(names, values_of(value)))
    if isinstance(value, numbers.Real):
        return float(value)
    if isinstance(value, Iterable):
        return list(value)
    if type(value).__name__ == "NAType":  # pandas
        return None
    raise TypeError(f"{type(value).__name__} is no type of a report's values: {value!r:.60}")


def name_of(key: object) -> str:
    if not isinstance(key, str):
        raise TypeError(f"the name of a column or parameter is a text, not {key!r:.60}")
    return key


def scalar_text(value: object) -> str | None:
    """A plain value as a parameter's text, or as JSON if it is neither a text nor a date."""
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, (int, decimal.Decimal)):
        return digits(value)
    if isinstance(value, float):
        return repr(value)
    if isinstance(value, datetime.date):
        return iso(value)
    if value is None or isinstance(value, str):
        return value
    raise TypeError(f"a parameter has a single value, not {value!r:.60}")


def json_text(value: object) -> bytes:
    """JSON with exact numbers; dates are texts, NaN and infinities are null."""
    parts: list[str] = []
    _add_json(value, parts.append)
    return "".join(parts).encode("utf-8")


def _add_json(value: Any, add: Any) -> None:
    value = plain(value)
    if isinstance(value, str):
        add(_quoted(str(value)))
    elif isinstance(value, Mapping):
        separator = "{"
        for key, member in value.items():
            add(f"{separator}{_quoted(name_of(key))}:")
            _add_json(member, add)
            separator = ","
        add("}" if value else "{}")
    elif isinstance(value, list):
        separator = "["
        for element in value:
            add(separator)
            _add_json(element, add)
            separator = ","
        add("]" if value else "[]")
    elif isinstance(value, datetime.date):
        add(_quoted(iso(value)))
    else:
        add(scalar_text(value) or "null")
