#!/usr/bin/python3
"""Writes what a release is made of, as SPDX 2.3: sbom.py VERSION FILE... prints it. The versions of what is linked in are those of
the Debian packages that this machine builds with."""

import datetime
import hashlib
import json
import os
import subprocess
import sys
import uuid

# name, Debian package, licence, what it is for
LINKED = [
    ("libstdc++ and libgcc", "g++-mingw-w64-x86-64-posix", "GPL-3.0-or-later WITH GCC-exception-3.1", "the C++ library, linked statically"),
    ("MinGW-w64 runtime and winpthreads", "mingw-w64-x86-64-dev", "NOASSERTION", "start-up code, import libraries, threads; linked statically"),
    ("CLI11", "libcli11-dev", "BSD-3-Clause", "the command line of vlanctl; headers"),
    ("JSON for Modern C++", "nlohmann-json3-dev", "MIT", "JSON in vlanctl; headers"),
]


def version_of(package):
    query = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True, check=False)
    if query.returncode != 0 or not query.stdout:
        raise SystemExit(f"sbom: the package {package} is not installed, so nobody knows what was linked in")
    return query.stdout


def identifier(text):
    return "SPDXRef-" + "".join(c if c.isalnum() else "-" for c in text)


def file_entry(path):
    with open(path, "rb") as file:
        content = file.read()
    return {
        "SPDXID": identifier("File-" + os.path.basename(path)),
        "fileName": "./bin/" + os.path.basename(path),
        "checksums": [
            {"algorithm": "SHA1", "checksumValue": hashlib.sha1(content).hexdigest()},
            {"algorithm": "SHA256", "checksumValue": hashlib.sha256(content).hexdigest()},
        ],
        "licenseConcluded": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }


def package_entry(name, version, licence, comment):
    return {
        "SPDXID": identifier("Package-" + name),
        "name": name,
        "versionInfo": version,
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "licenseConcluded": licence,
        "licenseDeclared": licence,
        "copyrightText": "NOASSERTION",
        "comment": comment,
    }


def main(version, paths):
    own = package_entry("VLAN agent", version, "NOASSERTION", "VlanAgent.dll, vlanctl.exe and what belongs to them")
    linked = [package_entry(name, version_of(package), licence, comment) for name, package, licence, comment in LINKED]
    files = [file_entry(path) for path in paths]
    # Whoever names the files of a package gives a code of them all.
    sums = "".join(sorted(file["checksums"][0]["checksumValue"] for file in files))
    code = hashlib.sha1(sums.encode()).hexdigest()
    own.update(filesAnalyzed=True, packageVerificationCode={"packageVerificationCodeValue": code})
    # The same release gives the same document, but for its date.
    digest = hashlib.sha256("".join(file["checksums"][1]["checksumValue"] for file in files).encode()).hexdigest()
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", own["SPDXID"])]
    relations += [(own["SPDXID"], "STATIC_LINK", entry["SPDXID"]) for entry in linked]
    relations += [(own["SPDXID"], "CONTAINS", file["SPDXID"]) for file in files]
    document = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"VlanAgent-{version}",
        "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, digest)}",
        "creationInfo": {
            "created": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
            "creators": ["Tool: sbom.py"],
        },
        "packages": [own] + linked,
        "files": files,
        "relationships": [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b} for a, kind, b in relations],
    }
    json.dump(document, sys.stdout, indent=2)
    print()


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2:])
