#!/usr/bin/env python3
"""Writes the SPDX document of a folder of packages, from the table in THIRD-PARTY.md.

Usage: sbom.py THIRD-PARTY.md FOLDER FULL-VERSION SOURCE-DATE-EPOCH >FILE
"""
import datetime
import hashlib
import json
import os
import subprocess
import sys
from urllib.parse import quote

RELATIONS = {"compiled in": "CONTAINS", "linked in (Windows)": "STATIC_LINK", "the system's own (Linux)": "DYNAMIC_LINK"}


def parts(notices):
    with open(notices, encoding="utf-8") as file:
        rows = [line.strip().strip("|").split("|") for line in file if line.startswith("| ")]
    return [[cell.strip() for cell in row] for row in rows[1:]]


def version_of(package):
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True, capture_output=True,
                          text=True).stdout


def package(identifier, name, version, licence, rights, **more):
    return {"SPDXID": identifier, "name": name, "versionInfo": version, "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False, "licenseConcluded": licence, "licenseDeclared": licence, "copyrightText": rights,
            **more}


def main(notices, folder, version, epoch):
    packages = [package("SPDXRef-Product", "MaravelAdapterZorvik", version, "NOASSERTION", "NOASSERTION")]
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", "SPDXRef-Product")]
    for name in sorted(os.listdir(folder)):
        identifier = "SPDXRef-File-" + "".join(c if c.isalnum() or c in ".-" else "-" for c in name)
        with open(os.path.join(folder, name), "rb") as file:
            digest = hashlib.sha256(file.read()).hexdigest()
        packages.append(package(identifier, name, version, "NOASSERTION", "NOASSERTION", packageFileName=name,
                                checksums=[{"algorithm": "SHA256", "checksumValue": digest}]))
        relations.append(("SPDXRef-Product", "CONTAINS", identifier))
    for number, (name, debian, licence, how, where, rights) in enumerate(parts(notices), 1):
        identifier = f"SPDXRef-Part-{number}"
        found = version_of(debian)
        packages.append(package(identifier, name, found, licence, rights, comment=f"{how}; in: {where}",
                                externalRefs=[{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                                               "referenceLocator": f"pkg:deb/debian/{debian}@{quote(found)}?distro=bookworm"}]))
        relations.append(("SPDXRef-Product", RELATIONS[how], identifier))
    document = {
        "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"MaravelAdapterZorvik-{version}",
        "documentNamespace": f"https://maravel.example/spdx/MaravelAdapterZorvik-{version}-{epoch}",
        "creationInfo": {
            "created": datetime.datetime.fromtimestamp(int(epoch), datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
            "creators": ["Organization: maravel", f"Tool: scripts/release-{version}"]},
        "packages": packages,
        "relationships": [{"spdxElementId": a, "relationshipType": kind, "relatedSpdxElement": b}
                          for a, kind, b in relations],
    }
    print(json.dumps(document, indent=2, ensure_ascii=False))


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
