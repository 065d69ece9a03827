#!/usr/bin/python3
"""Whether the document about what a release is made of is whole, and about these files: SbomTest.py TREE"""

import hashlib
import json
import sys

tree = sys.argv[1]
with open(tree + "/VlanAgent.spdx.json", encoding="utf-8") as file:
    document = json.load(file)
ids = {"SPDXRef-DOCUMENT"} | {entry["SPDXID"] for kind in ("packages", "files") for entry in document[kind]}
assert document["spdxVersion"] == "SPDX-2.3" and document["dataLicense"] == "CC0-1.0", "the kind of document"
assert document["documentNamespace"] and document["creationInfo"]["created"], "its name and date"
for relation in document["relationships"]:
    assert {relation["spdxElementId"], relation["relatedSpdxElement"]} <= ids, f"a relation to nothing: {relation}"
assert len(document["packages"]) > 1 and all(entry["versionInfo"] for entry in document["packages"]), "what is linked in"
assert {entry["fileName"] for entry in document["files"]} == {"./bin/VlanAgent.dll", "./bin/vlanctl.exe"}, "the files"
own = document["packages"][0]
sums = "".join(sorted(sum["checksumValue"] for entry in document["files"] for sum in entry["checksums"] if sum["algorithm"] == "SHA1"))
assert own["filesAnalyzed"], "a package whose files are named"
assert own["packageVerificationCode"]["packageVerificationCodeValue"] == hashlib.sha1(sums.encode()).hexdigest(), "its code"
for entry in document["files"]:
    sums = {checksum["algorithm"].lower(): checksum["checksumValue"] for checksum in entry["checksums"]}
    with open(tree + "/" + entry["fileName"], "rb") as file:
        content = file.read()
    for name, value in sums.items():
        assert hashlib.new(name, content).hexdigest() == value, f"the checksum of {entry['fileName']}"
