"""Run by gdb when it loads the library: takes the printers from beside that library, wherever it is installed."""
import os
import sys

import gdb


def load_orvel_printers():
    # None when a user sources this file.
    objfile = gdb.current_objfile() or next(
        (file for file in gdb.objfiles() if os.path.basename(file.filename).startswith("liborvel_framework.so")), None)
    if objfile is None:
        raise gdb.GdbError("liborvel_framework.so is not loaded yet")
    directory = os.path.join(os.path.dirname(os.path.realpath(objfile.filename)), "orvel_framework", "gdb")
    if directory not in sys.path:
        sys.path.insert(0, directory)
    # Nothing is written beside an installed library: removing the library would leave it there.
    writes_no_bytecode, sys.dont_write_bytecode = sys.dont_write_bytecode, True
    try:
        import orvel_printers
    finally:
        sys.dont_write_bytecode = writes_no_bytecode
    orvel_printers.register(objfile)


load_orvel_printers()
