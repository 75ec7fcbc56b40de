"""What makes interfaces for other languages out of C headers finds all that ours declare.

  readers.py ROOT
"""
import importlib.util
import pathlib
import re
import subprocess
import sys
import tempfile

import cffi

root = pathlib.Path(sys.argv[1])
spec = importlib.util.spec_from_file_location("exports", root / "Scripts/check-exports.py")
exports = importlib.util.module_from_spec(spec)
spec.loader.exec_module(exports)

libraries = {"Platform": "QVLPlatform", "QuorvelCoreSDK": "QVLQuorvelCore",
             "VeltraneProvidersSDK": "QVLVeltrane", "": "QVLPellix"}
includes = [root / library / "Include" for library in libraries]
headers = [next(path.glob(f"*/{header}.h")) for path, header in zip(includes, libraries.values())]
flags = [f"-I{path}" for path in includes]
declared = {name for path in includes for name in exports.Declarations(path).functions
            if name.startswith("QVL")} | {"QVLCoreErrorTimedOut"}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def swig(directory):
    lines = ["%module pellix", "%include <stdint.i>", "#define PELLIX_EXPORT"]
    lines += [f'%include "{header}"' for header in headers]
    (directory / "pellix.i").write_text("\n".join(lines) + "\n")
    output("swig", "-python", "-Wall", "-Werror", str(directory / "pellix.i"))
    return re.findall(r"\w+", (directory / "pellix.py").read_text())


ffi = cffi.FFI()
ffi.cdef(output(root / "Scripts/c-declarations.sh"))
# libclang comes without its own <stdbool.h> and <stddef.h>; the compiler's are as good.
own = output("cc", "-print-file-name=include").strip()
with tempfile.TemporaryDirectory() as directory:
    found = {"cffi": dir(ffi.dlopen(None)), "SWIG": swig(pathlib.Path(directory)),
             "bindgen": re.findall(r"(QVL[a-zA-Z]\w*) ?(?:\(|:)", output(
                 "bindgen", "--no-prepend-enum-name", headers[-1], "--", *flags, "-isystem", own))}
missing = {reader: sorted(declared - set(names)) for reader, names in found.items()}
sys.exit(str(missing) if any(missing.values()) else 0)
