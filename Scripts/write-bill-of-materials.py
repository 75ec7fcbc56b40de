#!/usr/bin/env python3
"""Writes the bill of materials of the Debian packages, in SPDX 2.3, on standard output.

write-bill-of-materials.py BUILD DEB...

The libraries that their programs and libraries load, and the packages whose headers were compiled in, with
the versions that are installed here, where BUILD was built. SOURCE_DATE_EPOCH is when.
"""
import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile


def output_of(*command: str) -> str:
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def owners(files: set[str]) -> set[str]:
    """The packages that hold the files. What no package holds is ours."""
    # Packages know their files by names that may be links by now.
    files |= {os.path.realpath(file) for file in files}
    files |= {file.removeprefix("/usr") for file in files if file.startswith("/usr/lib")}
    found = subprocess.run(["dpkg", "-S", *sorted(files)], capture_output=True, text=True).stdout
    return set(re.findall(r"^([^:,\s]+(?::\w+)?): /", found, flags=re.M))


def libraries_loaded(deb: str) -> set[str]:
    with tempfile.TemporaryDirectory() as unpacked:
        output_of("dpkg", "-x", deb, unpacked)
        needed = set()
        for file in pathlib.Path(unpacked).rglob("*"):
            if file.is_file() and not file.is_symlink() and file.read_bytes()[:4] == b"\x7fELF":
                needed |= set(re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-dW", str(file))))
    known = re.findall(r"^\s(\S+) .*=> (\S+)$", output_of("/sbin/ldconfig", "-p"), flags=re.M)
    paths = dict(reversed(known))  # the first one counts
    return owners({paths[name] for name in needed if name in paths})


def element(name: str, version: str, **more: object) -> dict[str, object]:
    return {"SPDXID": "SPDXRef-" + re.sub(r"[^A-Za-z0-9.]", "-", name), "name": name.split(":")[0],
            "versionInfo": version, "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
            "licenseConcluded": "NOASSERTION", "licenseDeclared": "NOASSERTION",
            "copyrightText": "NOASSERTION", **more}


def related(one: dict, kind: str, other: dict) -> dict[str, object]:
    return {"spdxElementId": one["SPDXID"], "relationshipType": kind, "relatedSpdxElement": other["SPDXID"]}


def foreign(name: str) -> dict[str, object]:
    version, = output_of("dpkg-query", "-W", "-f", "${Version}\n", name).splitlines()[:1]
    locator = f"pkg:deb/debian/{name.split(':')[0]}@{version.replace('+', '%2B').replace(':', '%3A')}"
    return element(name, version, externalRefs=[
        {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": locator}])


build, debs = sys.argv[1], sys.argv[2:]
headers = set(re.findall(r"^    (/\S+)$", output_of("ninja", "-C", build, "-t", "deps"), flags=re.M))
compiled_in = owners(headers)
document = {"SPDXID": "SPDXRef-DOCUMENT"}
ours, elements, relations = [], {}, []
for deb in debs:
    name, version = output_of("dpkg-deb", "-W", "--showformat", "${Package}\n${Version}", deb).split("\n")
    digest = hashlib.sha256(pathlib.Path(deb).read_bytes()).hexdigest()
    package = element(name, version, packageFileName=os.path.basename(deb),
                      checksums=[{"algorithm": "SHA256", "checksumValue": digest}])
    ours.append(package)
    relations.append(related(document, "DESCRIBES", package))
    for other in sorted(libraries_loaded(deb)):
        elements.setdefault(other, foreign(other))
        relations.append(related(package, "DYNAMIC_LINK", elements[other]))
    for other in sorted(compiled_in):
        elements.setdefault(other, foreign(other))
        relations.append(related(elements[other], "BUILD_DEPENDENCY_OF", package))
when = datetime.datetime.fromtimestamp(int(os.environ["SOURCE_DATE_EPOCH"]), datetime.timezone.utc)
identity = hashlib.sha256(json.dumps(ours).encode()).hexdigest()
json.dump({**document, "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "name": "PellixProvidersSDK",
           "documentNamespace": f"https://pellix.invalid/spdx/{identity}",
           "creationInfo": {"created": when.strftime("%Y-%m-%dT%H:%M:%SZ"),
                            "creators": ["Tool: write-bill-of-materials.py"]},
           "packages": ours + list(elements.values()), "relationships": relations}, sys.stdout, indent=1)
