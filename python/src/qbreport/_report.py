"""The class Report."""

from __future__ import annotations

import contextlib
import io
import logging
import os
import re
import threading
import types
import warnings
from collections.abc import Callable, Iterable, Iterator, Mapping, Sequence
from typing import Any, Protocol, TypeAlias, overload

from qbreport import _rows, _values
from qbreport._contents import Field, Font, Info, Parameter, Progress, Query, Table
from qbreport._interface import ffi
from qbreport._library import each, from_utf8, library, structure, utf8
from qbreport._limits import Budget, Reach
from qbreport._messages import Cancelled, Error, Message, ReportWarning, Severity

_logger = logging.getLogger("qbreport")
_logger.addHandler(logging.NullHandler())
_LEVELS = {Severity.ERROR: logging.ERROR, Severity.WARNING: logging.WARNING, Severity.INFO: logging.INFO}


_CONNECTIONS = {".csv": "csv", ".tsv": "csv", ".jsonl": "jsonl"}  # of files by their endings; others: JSON or XML


class Writable(Protocol):
    """A binary file, or anything else that has its `write`."""

    def write(self, data: bytes, /) -> object: ...


Path: TypeAlias = "str | os.PathLike[str]"
Target: TypeAlias = "Path | Writable"
Targets: TypeAlias = "Target | list[Target] | tuple[Target, ...]"
Formats: TypeAlias = "str | list[str] | tuple[str, ...]"
Data: TypeAlias = Any  # see Report.load
OnProgress: TypeAlias = Callable[[Progress], object]


_PDF_OPTIONS = ("standard", "ua", "created", "xmp", "user_password", "owner_password", "permissions", "sign_key",
                "sign_password", "sign_certificates", "sign_reason", "sign_location", "sign_time_server")


_TEXT_OPTIONS = {"values": "csv.values", "separator": "csv.separator", "quotes": "csv.quotes",
                 "line_ends": "text.line-ends", "encoding": "text.encoding", "widths": "txt.widths"}


def _text_options(options: Mapping[str, object]) -> dict[str, object]:
    """The options of the engine. Widths may be a list."""
    unknown = [name for name in options if name not in _TEXT_OPTIONS]
    if unknown:
        raise ValueError(f"text_options has no option {unknown[0]!r}; the options are {', '.join(_TEXT_OPTIONS)}")
    return {_TEXT_OPTIONS[name]: " ".join(map(str, value)) if isinstance(value, (list, tuple)) else value
            for name, value in options.items()}


def _pdf_options(options: Mapping[str, object]) -> dict[str, object]:
    """The options of the engine. Permissions may be a list."""
    unknown = [name for name in options if name not in _PDF_OPTIONS]
    if unknown:
        raise ValueError(f"pdf has no option {unknown[0]!r}; the options are {', '.join(_PDF_OPTIONS)}")
    return {name.replace("_", "-"): ",".join(value) if isinstance(value, (list, tuple)) else value
            for name, value in options.items()}


class Report:
    """A template with its data, which makes documents.

        with qbreport.Report("invoice.qbf") as report:
            report.render({"Number": 17, "Items": items}, to="invoice.pdf")

    `template` is a path, or the bytes of a template. `name` is the file name of a template of bytes: for messages,
    and as the place where its relative names start. `budget` and `reach` limit what this report may use and refer
    to; without them the limits of the process apply. With `warn`, warnings of the engine are issued with
    `warnings.warn` as ReportWarning; they are always in `messages` and logged by the logger "qbreport".

    Raises Error if the template cannot be read or is not valid; `Error.messages` has all of its errors.

    A report holds memory of the engine until it is closed: use it in `with`, or call `close`. Different reports can
    be used by different threads at the same time; the interpreter is not locked while the engine works. A report
    that is in use by another thread, or by the caller of a callback, raises RuntimeError.
    """

    def __init__(self, template: Path | bytes | bytearray | memoryview, *, name: str = "",
                 budget: Budget | None = None, reach: Reach | None = None, warn: bool = False) -> None:
        self._handle: Any = None
        self._lock = threading.Lock()  # held by the thread that uses the report
        self._state_lock = threading.RLock()  # makes `cancel` hit the call that is running, or none
        self._cancelled = False
        self._data_is_missing = False  # since the last load failed
        self._messages: tuple[Message, ...] = ()
        self._warn = warn
        self._library = library()
        self._handle = self._library.QBReportCreate() or None
        if self._handle is None:
            raise MemoryError("no memory for a report")
        try:
            with self._call(None) as call:
                self._set_limits(call, budget, reach)
                call.checked(self._load_template(template, name), first_error=True)
        except BaseException:
            self.close()
            raise

    def _set_limits(self, call: _Call, budget: Budget | None, reach: Reach | None) -> None:
        if budget is not None:
            call.checked(self._library.QBXReportSetBudget(self._handle, budget._structure()))
        if reach is not None:
            made, texts = reach._structure()
            call.checked(self._library.QBXReportSetReach(self._handle, made))
            del texts  # the structure refers to them

    def _load_template(self, template: Path | bytes | bytearray | memoryview, name: str) -> Any:
        if isinstance(template, (bytes, bytearray, memoryview)):
            text = bytes(template)
            return self._library.QBXReportLoadTemplate(self._handle, text, len(text), utf8(name, "name"))
        return self._library.QBXReportLoadTemplateFile(self._handle, utf8(template, "the template's path"))

    def __enter__(self) -> Report:
        self._require_open()
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_handle", None) is not None:
            self.close()

    def __repr__(self) -> str:
        return f"<qbreport.Report{' (closed)' if self._handle is None else ''}>"

    def close(self) -> None:
        """Frees the report. May be called again. Raises RuntimeError while the report is in use."""
        with self._in_use():
            with self._state_lock:
                handle, self._handle = self._handle, None
            if handle is not None:
                self._library.QBReportRelease(handle)

    # ---- Data

    def load(self, data: Data, *, columns: Sequence[str] | None = None, data_format: str = "", table: str = "",
             progress: OnProgress | None = None) -> None:
        """Loads the data for the renders that follow, until other data is loaded.

        `data` is one of

        - a mapping: each scalar is a parameter, each list of rows a table by its name, and a mapping within it
          names what it has "outer.inner", as in a JSON file. It is passed on as JSON, with the rows of iterators in
          it;
        - a list, an iterator or a generator of rows, which become one table named `table`. A row is a mapping, a
          dataclass, a named tuple, or a tuple or list with `columns` as the names of its values; or a single value,
          whose column is "value". Rows of a generator are passed on one at a time. The first row of an iterator of
          mappings has all columns, unless `columns` lists them; a list may have rows with different columns, and
          rows within rows;
        - a cursor of a database after `execute`: its rows, with the column names of the query;
        - a pandas data frame, without its index;
        - a path or an address of a file: `data_format` is its connection (docs/data.md), by default that of the
          ending .csv, .tsv or .jsonl, or else JSON or XML;
        - bytes, or a binary or text file object that is read to its end. `data_format` is "json", "jsonl", "xml" or
          "csv", with its options ("csv:separator=;"); by default the engine recognises JSON and XML;
        - a `Query` through a connection.

        Values are texts, bools, ints and decimals of any size (exactly), floats (NaN and infinities are empty),
        dates, datetimes and times (of their clock: time zones are left out, and fractions of seconds), enums by
        their value, UUIDs, None, bytes of pictures, and values of numpy and pandas. Other types raise TypeError.

        After a load that fails, the report has no data: renders raise Error until other data is loaded.

        `progress` is described at `render`.
        """
        with self._call(progress) as call:
            self._load(call, data, columns, data_format, table)

    def _load(self, call: _Call, data: Data, columns: Sequence[str] | None, data_format: str, table: str) -> None:
        if data is None:
            if self._data_is_missing:
                raise Error("the last data could not be loaded: load it again, or other data")
            return
        self._data_is_missing = True
        self._pass_on(call, data, columns, data_format, table)
        self._data_is_missing = False

    def _pass_on(self, call: _Call, data: Data, columns: Sequence[str] | None, data_format: str, table: str) -> None:
        if isinstance(data, Query):
            call.checked(self._library.QBXReportLoadDataFrom(
                self._handle, utf8(data.connection, "connection"), utf8(data.query, "query")))
        elif isinstance(data, (str, os.PathLike)):
            connection = data_format or _CONNECTIONS.get(os.path.splitext(data)[1].lower(), "")
            call.checked(self._library.QBXReportLoadDataFrom(
                self._handle, utf8(connection, "data_format"), utf8(data, "the path")))
        elif isinstance(data, (bytes, bytearray, memoryview)):
            self._load_bytes(call, bytes(data), data_format, "data")
        elif callable(getattr(data, "read", None)):
            content = data.read()
            name = getattr(data, "name", "")
            self._load_bytes(call, content.encode("utf-8") if isinstance(content, str) else bytes(content),
                             data_format, name if isinstance(name, str) else "data")
        elif isinstance(data, Mapping):
            self._load_bytes(call, _values.json_text(data), "json", "data")
        elif isinstance(data, Iterable):
            self._load_rows(call, data, columns, table)
        else:
            raise TypeError(f"{type(data).__name__} is no data for a report: {data!r:.60}")

    def _load_bytes(self, call: _Call, content: bytes, data_format: str, name: str) -> None:
        call.checked(self._library.QBXReportLoadData(
            self._handle, utf8(data_format, "data_format"), content, len(content), utf8(name, "the name")))

    def _load_rows(self, call: _Call, data: Iterable[Any], columns: Sequence[str] | None, table: str) -> None:
        try:
            rows = _rows.Rows(data, columns)
        except _rows.NestedRows:
            self._load_bytes(call, _values.json_text({table: data} if table else data), "json", "data")
            return
        self._load_bytes(call, b"[]", "json", "data")  # rows replace what is loaded; further rows would be added
        call.load_rows(rows, table)

    # ---- Documents

    @overload
    def render(self, data: Data = None, to: None = None, *, format: str, **options: Any) -> bytes: ...

    @overload
    def render(self, data: Data = None, to: None = None, *, format: list[str] | tuple[str, ...],
               **options: Any) -> list[bytes]: ...

    @overload
    def render(self, data: Data = None, *, to: Targets, format: Formats | None = None, **options: Any) -> None: ...

    @overload
    def render(self, data: Data, to: Targets, *, format: Formats | None = None, **options: Any) -> None: ...

    def render(self, data: Data = None, to: Targets | None = None, *, format: Formats | None = None,
               columns: Sequence[str] | None = None, data_format: str = "", table: str = "",
               pages: str | int | None = None, layout: str | None = None, page_breaks: bool | None = None,
               page_headers: bool | None = None, resolution: int | None = None, all_in_one: bool | None = None,
               whole_fonts: bool | None = None, defuse: bool | None = None, pdf: Mapping[str, object] | None = None,
               text_options: Mapping[str, object] | None = None,
               progress: OnProgress | None = None, parameters: Mapping[str, object] | None = None,
               **more_parameters: object) -> bytes | list[bytes] | None:
        """Makes one document, or several of the same data.

        `data`, `columns`, `data_format` and `table` are those of `load`; without `data`, the document has the data
        that was loaded last, or else that of the template's queries.

        `to` is a path, whose file is replaced as a whole or not at all and whose missing folders are made, or a
        binary file object, or a list of them. Without `to`, the result is the document as bytes; with a list of
        formats, a list of documents. `format` is a name of `formats()`; by default it is the ending of the path. PNG
        has a file per page, "a.png", "a-2.png", ...; in other targets it has the first page only. If a render
        fails, a file object may have received a part of the document.

        Options, which formats without them ignore:

        - `pages`: "3", "1-3", "2-" or "1-3,7", of the document. Default: all.
        - `layout`: "pages" as printed (default), "table" for one continuous table, "grid" for the rows of the
          detail grid alone. In all formats but PDF and images.
        - `page_breaks`, `page_headers`: in the layout "pages" of these formats. Default: True.
        - `resolution`: of images, in dots per inch, 36 to 1200. Default: as the template says.
        - `all_in_one`: all pages in one image. Default: False.
        - `whole_fonts`: in PDF, instead of subsets. Default: False.
        - `pdf`: of a PDF, a dictionary of `standard`, `ua`, `created`, `xmp`, `user_password`, `owner_password`,
          `permissions`, `sign_key`, `sign_password`, `sign_certificates`, `sign_reason`,
          `sign_location` and `sign_time_server`.
        - `text_options`: of CSV and TXT, a dictionary of `values`, `separator`, `quotes`, `line_ends`, `encoding`
          and `widths`. Default: as the template says.
        - `defuse`: in CSV, an apostrophe before texts that a spreadsheet would calculate. Default: as the template
          and the settings say.

        All other keyword arguments are parameters of the template, for this render; `parameters` holds those whose
        names are no identifiers or are names of arguments. They replace those of the data and of the template.
        None leaves a parameter as it is. An unknown name raises ValueError.

        `progress` is called with a Progress at most ten times a second; if it returns False, the render ends with
        Cancelled. So it does after `cancel` is called in another thread; Ctrl-C ends it with KeyboardInterrupt.

        Raises Error if the data cannot be read or the document cannot be made. Exceptions of a generator, of a file
        object and of `progress` are raised unchanged.
        """
        options: dict[str, object] = {
            "pages": pages, "layout": layout, "page-breaks": page_breaks, "page-headers": page_headers,
            "resolution": resolution, "all-in-one": all_in_one, "whole-fonts": whole_fonts, "csv.defuse": defuse,
            **_pdf_options(pdf or {}), **_text_options(text_options or {})}
        jobs = list(_jobs(to, format))
        with self._call(progress) as call:
            with self._parameters(call, {**(parameters or {}), **more_parameters}) as names:
                self._load(call, data, columns, data_format, table)
                self._refuse_unknown(names, data)
                documents = [self._export(call, target, name, options) for target, name in jobs]
        if to is not None:
            return None
        made = [document for document in documents if document is not None]
        return made[0] if isinstance(format, str) else made

    def _export(self, call: _Call, target: Target | None, format: str, options: Mapping[str, object]) -> bytes | None:
        handle, engine = self._handle, self._library
        call.checked(engine.QBXReportPrepareExport(handle, utf8(format, "format")))
        try:
            for name, value in options.items():
                if value is not None:
                    text = ("no", "yes")[value] if isinstance(value, bool) else str(value)
                    call.checked(engine.QBXReportSetExportOption(handle, name.encode(), utf8(text, name)))
            if isinstance(target, (str, os.PathLike)):
                call.checked(engine.QBXReportExportToFile(handle, utf8(target, "the path")))
                return None
            if target is not None:
                call.export(target.write)
                return None
            parts: list[bytes] = []
            call.export(parts.append)
            return b"".join(parts)
        finally:
            engine.QBReportUnprepareExport(handle)

    @contextlib.contextmanager
    def _parameters(self, call: _Call, parameters: Mapping[str, object]) -> Iterator[Iterable[str]]:
        """Sets the parameters before the data is loaded, since queries have parameters too."""
        texts = {_values.name_of(name): _values.scalar_text(_values.plain(value))
                 for name, value in parameters.items()}
        try:
            for name, text in texts.items():
                if text is not None:
                    call.checked(self._library.QBXReportSetParameter(
                        self._handle, utf8(name, "a parameter"), utf8(text, f"the parameter {name}")))
            yield texts
        finally:
            for name in texts:
                self._library.QBXReportSetParameter(self._handle, utf8(name, "a parameter"), ffi.NULL)

    def _refuse_unknown(self, names: Iterable[str], data: Data) -> None:
        if not names:
            return
        kinds = (self._library.QBXItemKind_Parameter, self._library.QBXItemKind_Field)
        known = {from_utf8(item.name) for kind in kinds for item in self._items(kind)}
        if isinstance(data, Query):
            known.update(re.findall(r":(\w+)", data.query))
        lower = {name.lower() for name in known}
        for name in names:
            if name.lower() not in lower:
                raise ValueError(f"{name!r} is neither an option nor a parameter of the template, "
                                 f"which has: {', '.join(sorted(known)) or 'none'}")

    # ---- Contents

    def check(self, data: Data = None, *, columns: Sequence[str] | None = None, data_format: str = "",
              table: str = "", parameters: Mapping[str, object] | None = None,
              **more_parameters: object) -> tuple[Message, ...]:
        """Finds errors and warnings as a render would, without making a document.

        For example unknown fields, controls beside the paper, and columns wider than the page. The arguments are
        those of `render`. Returns the messages; there are none if all is well. Raises Error only for data that
        cannot be read.
        """
        with self._call(None) as call:
            with self._parameters(call, {**(parameters or {}), **more_parameters}) as names:
                self._load(call, data, columns, data_format, table)
                self._refuse_unknown(names, data)
                call.ended(self._library.QBXReportCheck(self._handle))
        return self._messages

    def info(self) -> Info:
        """The parameters, fields and fonts of the template, and the tables of the data that is loaded."""
        with self._in_use():
            self._require_open()
            engine = self._library
            columns: dict[str, list[str]] = {}
            for item in self._items(engine.QBXItemKind_Column):
                columns.setdefault(from_utf8(item.table), []).append(from_utf8(item.name))
            return Info(
                tuple(Parameter(from_utf8(item.name), from_utf8(item.type), from_utf8(item.value), bool(item.required))
                      for item in self._items(engine.QBXItemKind_Parameter)),
                tuple(Field(from_utf8(item.name), item.count, item.line, item.column)
                      for item in self._items(engine.QBXItemKind_Field)),
                tuple(Table(name, item.count, tuple(columns.get(name, ())))
                      for item in self._items(engine.QBXItemKind_Table) for name in [from_utf8(item.name)]),
                tuple(Font(from_utf8(item.name), from_utf8(item.value), item.count)
                      for item in self._items(engine.QBXItemKind_Font)))

    def _items(self, kind: int) -> Iterator[Any]:
        return each("QBXItem", lambda index, item: self._library.QBXReportGetItem(self._handle, kind, index, item))

    @property
    def messages(self) -> tuple[Message, ...]:
        """The errors and warnings of the last call: of the template, a load, a render or a check."""
        return self._messages

    @property
    def page_count(self) -> int:
        """The pages of the last document; 0 if it has none, as in the layouts "table" and "grid"."""
        with self._in_use():
            self._require_open()
            return int(self._library.QBXReportGetPageCount(self._handle))

    # ---- Calls

    def cancel(self) -> bool:
        """Ends the load or render that another thread is running, which soon raises Cancelled.

        Returns whether something was running.
        """
        with self._state_lock:
            if self._handle is None or not self._lock.locked():
                return False
            self._cancelled = True
            self._library.QBXReportCancel(self._handle)
            return True

    def _require_open(self) -> None:
        if self._handle is None:
            raise ValueError("the report is closed")

    @contextlib.contextmanager
    def _in_use(self) -> Iterator[None]:
        if not self._lock.acquire(blocking=False):
            raise RuntimeError("the report is in use by another thread or by the caller of this function")
        try:
            yield
        finally:
            with self._state_lock:
                self._cancelled = False
                self._lock.release()

    @contextlib.contextmanager
    def _call(self, progress: OnProgress | None) -> Iterator[_Call]:
        """One call of the user: its messages are collected, and it can be cancelled."""
        with self._in_use():
            self._require_open()
            self._library.QBXReportClearMessages(self._handle)
            call = _Call(self, progress)
            on_progress = ffi.callback("QBXOnProgress", call.on_progress, error=0, onerror=call.failed)
            self._library.QBXReportSetProgress(self._handle, on_progress, ffi.NULL)
            try:
                yield call
            finally:
                self._library.QBXReportSetProgress(self._handle, ffi.NULL, ffi.NULL)
                self._messages = self._messages_of_engine()
                for message in self._messages:
                    _logger.log(_LEVELS[message.severity], "%s", message)
        if self._warn:
            for message in self._messages:
                if message.severity is Severity.WARNING:
                    warnings.warn(str(message), ReportWarning, stacklevel=4)

    def _messages_of_engine(self) -> tuple[Message, ...]:
        get = self._library.QBXReportGetMessage
        return tuple(map(_message, each("QBXMessage", lambda index, to: get(self._handle, index, to))))


class _Call:
    """What a call of the user needs while the engine works: its exceptions never enter the engine."""

    def __init__(self, report: Report, progress: OnProgress | None) -> None:
        self._report = report
        self._progress = progress
        self._exception: BaseException | None = None

    def failed(self, kind: type[BaseException], exception: BaseException,
               trace: types.TracebackType | None) -> None:
        """Keeps an exception of a callback, such as KeyboardInterrupt, for the caller of the engine."""
        if self._exception is None:
            self._exception = exception.with_traceback(trace)

    def on_progress(self, context: object, state: Any) -> int:
        if self._report._cancelled or self._exception is not None:
            return 0
        if self._progress is not None:
            if self._progress(Progress(state.rows, state.allRows, state.pages, state.bytes)) is False:
                self._report._cancelled = True
                return 0
        return 1

    def load_rows(self, rows: _rows.Rows, table: str) -> None:
        def fill_next(context: object, row: Any) -> int:
            return -1 if self._report._cancelled else int(rows.next(row))  # a row, or none left

        next_row = ffi.callback("QBXNextRow", fill_next, error=-1, onerror=self.failed)
        self.checked(_rows.load(self._report._handle, table, rows, next_row))

    def export(self, write: Callable[[bytes], object]) -> None:
        def write_all(context: object, content: Any, size: int) -> int:
            rest = bytes(ffi.buffer(content, size))
            while rest:
                count = write(rest)
                if not isinstance(count, int) or count >= len(rest):
                    break
                rest = rest[count:]  # a raw file may take a part
            return 1

        writer = ffi.callback("QBXWrite", write_all, error=0, onerror=self.failed)
        self.checked(self._report._library.QBXReportExportToWriter(self._report._handle, writer, ffi.NULL))

    def ended(self, result: Any) -> bool:
        """Raises what ended a call of the engine from outside."""
        exception, self._exception = self._exception, None
        if exception is not None:
            raise exception
        if self._report._cancelled:
            raise Cancelled("the call was cancelled", self._report._messages_of_engine())
        return bool(result)

    def checked(self, result: Any, first_error: bool = False) -> None:
        """Raises the error of a call of the engine that failed."""
        if self.ended(result):
            return
        messages = self._report._messages_of_engine()
        errors = [message for message in messages if message.severity is Severity.ERROR]
        if not errors:
            raise Error("the engine failed without a message")
        raise Error(errors[0 if first_error else -1], messages)


def _message(message: Any) -> Message:
    return Message(Severity(message.severity), from_utf8(message.text), from_utf8(message.file), message.line,
                   message.column, from_utf8(message.code))


def _jobs(to: Targets | None, format: Formats | None) -> Iterator[tuple[Target | None, str]]:
    """The targets with their formats."""
    targets: list[Target | None] = [*to] if isinstance(to, (list, tuple)) else [to]
    formats: list[str | None] = [*format] if isinstance(format, (list, tuple)) else [format] * len(targets)
    if to is None:
        if format is None:
            raise TypeError("without `to`, the format of the document is needed: format=\"pdf\"")
        targets *= len(formats)
    if len(targets) != len(formats):
        raise ValueError(f"{len(formats)} formats for {len(targets)} targets")
    for target, name in zip(targets, formats):
        yield _writable(target), name or _format_of(target)


def _writable(target: Any) -> Any:
    if isinstance(target, io.TextIOBase):
        raise TypeError("a document is written to a binary file: open it with \"wb\"")
    is_path = target is None or isinstance(target, (str, os.PathLike))
    if not is_path and not callable(getattr(target, "write", None)):
        raise TypeError(f"{type(target).__name__} is neither a path nor a file: {target!r:.60}")
    return target


def _format_of(target: Any) -> str:
    path = target if isinstance(target, (str, os.PathLike)) else getattr(target, "name", "")
    ending = os.path.splitext(os.fspath(path))[1] if isinstance(path, (str, os.PathLike)) else ""
    if not ending:
        raise ValueError(f"the format of {target!r} is unknown: pass format=\"pdf\" or another of formats()")
    return ending[1:]
