import setuptools

setuptools.setup(cffi_modules=["build_interface.py:ffi"])
