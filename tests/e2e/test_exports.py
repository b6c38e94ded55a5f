"""What each program and library of the application exports, compared with what it is meant to export.

Anything more might replace a symbol of the same name in a library that the process loads, or be replaced by it.
"""

import glob
import os
import re
import subprocess
import unittest

BUILD = os.environ.get("RECORD_CONVERTER_BUILD", "")
APPLICATION = os.environ.get("RECORD_CONVERTER_FOLDER", "")

# The interface of the trace facility: data, C functions, C++ functions.
TRACE = {
    "g_ktrtrace", "g_ktrtraceraw", "g_ktrtracefilename",
    "MacDebugTrace2", "MacInfoTrace2", "MacWarnTrace2", "MacErrorTrace2", "MacTraceFileName2",
    "KTRTRACE2()", "KTRTRACERAW()", "KTRTRACEFILENAME2()",
    "KTRDEBUG()", "KTRINFO()", "KTRWARN()", "KTRERROR()", "KTRDEBUG2()", "KTRINFO2()", "KTRWARN2()", "KTRERROR2()",
}

MEANT = {
    "bin/record-converter": TRACE,
    "bin/meeting-client": set(),
    "bin/convert-recording": set(),
    "lib/libmediaconverter.so": {"CreateMediaConverter", "RemoveConvertedSource"},
    "lib/liblayersurfaces.so": {"layerSurfacesAreOffered", "layerSurfaceAdopt", "layerSurfacePlace",
                                "layerSurfaceAcceptKeyboard"},
    # The allocator reads the first, and the others count what it is asked for.
    "libexec/mediaconverter-worker": {"malloc_conf", "malloc", "calloc", "realloc", "posix_memalign"},
    "PlugIns/ktrtrace.bundle": {"KTRTRACE", "KTRTRACERAW", "KTRTRACEFILENAME"},
}

# Built only where their libraries are.
OPTIONAL = {"lib/liblayersurfaces.so"}

# These have a list of exports, so that they export no instances of templates either.
LISTED = {"lib/libmediaconverter.so", "PlugIns/ktrtrace.bundle"}

# The linker and the C library's start code add them to a program.
OF_THE_LINKER = {"_start", "_edata", "_end", "__end__", "__bss_start", "__bss_start__", "__bss_end__", "_bss_end__",
                 "__data_start", "data_start", "_IO_stdin_used"}

INSTANCE = re.compile(r"\bstd::|\bQ[A-Z]|^typeinfo (name )?for void \(")
SYMBOL = re.compile(r"\s*\d+: [0-9a-f]+ +\S+ \S+ +(GLOBAL|WEAK|UNIQUE) +(?:DEFAULT|PROTECTED) +(?!UND)\S+ (.+)")


def exported(path, is_listed):
    """The names that the file exports; a C++ function with () in place of its parameters.

    Left out: what the linker adds; data of a library that is copied into a program, which has a version; instances of
    the templates of the standard library and of Qt, unless the file has a list of exports.
    """
    table = subprocess.run(["readelf", "--dyn-syms", "-W", "-C", path], check=True, stdout=subprocess.PIPE, text=True,
                           env={**os.environ, "LC_ALL": "C"}).stdout
    names = set()
    for binding, name in (match.groups() for match in map(SYMBOL.fullmatch, table.splitlines()) if match):
        is_instance = binding != "GLOBAL" and INSTANCE.search(name)
        if "@" not in name and name not in OF_THE_LINKER and (is_listed or not is_instance):
            names.add(re.sub(r"\(.*", "()", name))
    return names


class Exports(unittest.TestCase):
    def files(self):
        found = {os.path.relpath(path, APPLICATION): path for folder in ("bin", "lib", "libexec")
                 for path in glob.glob(os.path.join(APPLICATION, folder, "*"))}
        found["PlugIns/ktrtrace.bundle"] = os.path.join(BUILD, "plugins", "ktrtrace.bundle")
        return found

    def test_each_binary_exports_what_it_is_meant_to_and_nothing_else(self):
        files = self.files()
        self.assertEqual(set(files) | OPTIONAL, set(MEANT))
        for name, path in files.items():
            with self.subTest(name):
                self.assertEqual(exported(path, name in LISTED), MEANT[name])


if __name__ == "__main__":
    unittest.main()
