"""What the engine reports: messages, and the exceptions made of them."""

from __future__ import annotations

import dataclasses
import enum


class Severity(enum.IntEnum):
    """How serious a message is."""

    ERROR = 1  #: A call failed, or a part of the document is missing.
    WARNING = 2  #: The document may not be what its author wants.
    INFO = 3


@dataclasses.dataclass(frozen=True, slots=True)
class Message:
    """An error, a warning or a note, with its position. `str()` gives "file:line:column: text"."""

    severity: Severity
    text: str  #: A sentence without the file and the position.
    file: str = ""  #: The template or the data; empty: unknown.
    line: int = 0  #: From 1; 0: unknown.
    column: int = 0  #: In characters, from 1; 0: unknown.
    code: str = ""  #: Why a call failed, such as "budget"; engine/qbsvr_more.h lists them. Empty: it has no code.

    def __str__(self) -> str:
        position = f"{self.line}:{self.column}" if self.line else ""
        return ": ".join(filter(None, (":".join(filter(None, (self.file, position))), self.text)))


class Error(Exception):
    """The engine could not do what was asked. `str()` gives "file:line:column: message".

    An error of the caller is a `TypeError`, `ValueError` or `RuntimeError`; an exception of a generator, a file
    object or a progress function is raised unchanged.
    """

    message: str  #: The cause, a sentence without the position.
    file: str  #: The template or the data; empty: unknown.
    line: int  #: From 1; 0: unknown.
    column: int  #: In characters, from 1; 0: unknown.
    code: str  #: Why it failed, such as "budget"; engine/qbsvr_more.h lists them. Empty: it has no code.
    messages: tuple[Message, ...]  #: All messages of the failed call: a template may have several errors.

    def __init__(self, cause: str | Message, messages: tuple[Message, ...] = ()) -> None:
        main = cause if isinstance(cause, Message) else Message(Severity.ERROR, cause)
        super().__init__(str(main))
        self.message, self.file, self.line, self.column = main.text, main.file, main.line, main.column
        self.code = main.code
        self.messages = messages or (main,)

    def __reduce__(self) -> tuple[object, ...]:  # pickling passes errors on from worker processes
        main = Message(Severity.ERROR, self.message, self.file, self.line, self.column, self.code)
        return type(self), (main, self.messages)


class Cancelled(Error):
    """`Report.cancel` or the progress function ended the call."""


class ReportWarning(UserWarning):
    """A warning of the engine, if the report was created with `warn=True`."""
