"""Makes qbreport/_interface.py, a module that cffi loads without a C parser, from the declarations in interface.cdef."""

import pathlib

import cffi

ffi = cffi.FFI()
ffi.set_source("qbreport._interface", None)
ffi.cdef((pathlib.Path(__file__).parent / "interface.cdef").read_text(encoding="ascii"))
