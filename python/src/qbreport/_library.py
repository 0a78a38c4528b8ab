"""Finds the engine's library, and converts texts and structures."""

from __future__ import annotations

import os
import pathlib
import threading
from collections.abc import Callable, Iterator
from typing import Any

from qbreport._interface import ffi
from qbreport._messages import Error

_NAME = "libqbsvrl6.so"
_VARIABLE = "QBREPORT_LIBRARY"

_lock = threading.Lock()
_opened: Any = None
_setup_folder = ""


def library() -> Any:
    """The engine, opened at the first call. Raises Error if it is not found."""
    global _opened
    if _opened is None:
        with _lock:
            if _opened is None:
                _opened = _open()
    return _opened


def configure(setup_folder: str | os.PathLike[str]) -> None:
    """Sets the set-up folder, which has the settings file `qbsvrl6.conf` and the engine's log in `log/`.

    Without it, the settings are those of the user, in `~/.config/qbsvrl6.conf`, and the log is in
    `~/.local/state/qbsvrl6`. Call it before anything else of the package: later it raises RuntimeError.
    """
    global _setup_folder
    with _lock:
        if _opened is not None:
            raise RuntimeError("the engine is in use already: call configure() first")
        _setup_folder = os.fspath(setup_folder)


def _open() -> Any:
    named = os.environ.get(_VARIABLE)
    beside = pathlib.Path(__file__).parent / _NAME
    causes = []
    for place in [named] if named else [str(beside)] * beside.exists() + [_NAME]:
        try:
            opened = ffi.dlopen(place)
            for function in dir(opened):
                getattr(opened, function)
        except (OSError, ffi.error) as error:
            causes.append(str(error))
        else:
            setup = ffi.new("char16_t[]", _setup_folder)
            opened.QBInitConfig(ffi.cast("lkchar*", setup))
            return opened
    raise Error(f"the engine cannot be loaded: {'; '.join(causes)}. Set {_VARIABLE} to the path of {_NAME}, "
                "or install it where the system's loader finds it")


def from_utf16(text: Any) -> str:
    return str(ffi.string(ffi.cast("char16_t*", text)))


def utf8(text: str | os.PathLike[str], what: str) -> bytes:
    """An argument of the engine, whose texts end with a zero byte."""
    if not isinstance(text, str):
        text = os.fspath(text)
    encoded = text.encode("utf-8", "surrogateescape")  # as paths are, in UTF-8 mode and in UTF-8 locales
    if b"\0" in encoded:
        raise ValueError(f"{what} contains a zero character: {text!r}")
    return encoded


def from_utf8(text: Any) -> str:
    return bytes(ffi.string(text)).decode("utf-8", "replace") if text else ""


def structure(name: str) -> Any:
    """A structure of the engine. Structures may grow: the first member is the size that the caller knows."""
    made = ffi.new(name + "*")
    made.size = ffi.sizeof(name)
    return made


def each(name: str, get: Callable[[int, Any], object]) -> Iterator[Any]:
    """What `get` fills the structure with, for the indexes from 0 until it returns zero."""
    filled = structure(name)
    index = 0
    while get(index, filled):
        yield filled
        index += 1
