#!/usr/bin/env python3
"""Looks whether a bill of materials keeps the rules of SPDX 2.3, and says of the packages what they say.

check-bill-of-materials.py FILE DEB...
"""
import json
import re
import subprocess
import sys

KINDS = {"DESCRIBES", "DYNAMIC_LINK", "BUILD_DEPENDENCY_OF"}
with open(sys.argv[1]) as file:
    bill = json.load(file)
faults = []


def expect(holds: object, fault: str) -> None:
    if not holds:
        faults.append(fault)


expect(bill["spdxVersion"] == "SPDX-2.3" and bill["dataLicense"] == "CC0-1.0", "version or licence of the data")
expect(bill["SPDXID"] == "SPDXRef-DOCUMENT" and bill["name"], "no document")
expect(re.fullmatch(r"[a-z]+://[^#\s]+", bill["documentNamespace"]), "no namespace")
expect(re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", bill["creationInfo"]["created"]), "no date")
expect(all(re.match(r"(Tool|Person|Organization): ", who) for who in bill["creationInfo"]["creators"]), "no creator")
identities = [package["SPDXID"] for package in bill["packages"]]
expect(len(set(identities)) == len(identities), "an identifier twice")
for package in bill["packages"]:
    expect(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", package["SPDXID"]), f"identifier {package['SPDXID']}")
    expect(package["name"] and package["versionInfo"] and package["downloadLocation"], f"too little on {package}")
for relation in bill["relationships"]:
    expect(relation["relationshipType"] in KINDS, f"kind {relation['relationshipType']}")
    for end in ("spdxElementId", "relatedSpdxElement"):
        expect(relation[end] in [bill["SPDXID"], *identities], f"nothing is {relation[end]}")

named = {package["SPDXID"]: package["name"] for package in bill["packages"]}
for deb in sys.argv[2:]:
    fields = subprocess.run(["dpkg-deb", "-W", "--showformat", "${Package}\n${Depends}", deb],
                            capture_output=True, text=True, check=True).stdout
    name, depends = fields.split("\n")
    stated = set(re.findall(r"(?:^|, )([^ ,]+)", depends)) - set(named[i] for i in identities if "pellix" in i)
    listed = {named[relation["relatedSpdxElement"]] for relation in bill["relationships"]
              if relation["relationshipType"] == "DYNAMIC_LINK" and named[relation["spdxElementId"]] == name}
    expect(stated == listed, f"{name} depends on {stated}, and is said to load {listed}")
sys.exit("\n".join(faults) or 0)
