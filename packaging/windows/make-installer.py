#!/usr/bin/env python3
"""Writes the installer's description for a folder of files that is to be installed.

Usage: make-installer.py TEMPLATE FOLDER FULL-VERSION >FILE
The template is the installer's description for wixl, or the queries that finish its tables.

Every identifier is made from a name, so that the same files give the same installer and a file keeps its component from
version to version.
"""
import os
import sys
import uuid
from xml.sax.saxutils import quoteattr

NAMESPACE = uuid.uuid5(uuid.NAMESPACE_DNS, "adapterzorvik.maravel.example")
FEATURES = {"sdk": "SIMULATOR", "include": "DEVELOPER", "lib": "DEVELOPER", "examples": "DEVELOPER"}
ADAPTER = "bin/MaravelAdapterZorvik.dll"
HOST = "bin/camhost.exe"
SHORTCUT = """<Shortcut Id="ShowCameras" Directory="MenuFolder" Name="Cameras" Description="Shows the cameras in a browser" \
Target="[System64Folder]cmd.exe" Arguments="/k &quot;&quot;[#{file}]&quot; view&quot;" WorkingDirectory="INSTALLDIR"/>"""


def guid(name):
    return "{" + str(uuid.uuid5(NAMESPACE, name)).upper() + "}"


def identifier(kind, path):
    return kind + uuid.uuid5(NAMESPACE, path).hex[:16]


def file_component(path):
    file = identifier("f", path)
    extra = SHORTCUT.format(file=file) if path == HOST else ""
    return (f'<Component Id="{identifier("c", path)}" Guid="{guid("component " + path)}" Win64="yes">'
            f'<File Id="{file}" Name={quoteattr(os.path.basename(path))} Source={quoteattr(path)} KeyPath="yes"/>'
            f"{extra}</Component>")


def directory_content(folder, below=""):
    """The elements of a folder, and the component references of each feature."""
    text, references = [], {"ADAPTER": [], "SIMULATOR": [], "DEVELOPER": []}
    for name in sorted(os.listdir(os.path.join(folder, below))):
        path = f"{below}/{name}" if below else name
        if os.path.isdir(os.path.join(folder, path)):
            inner, others = directory_content(folder, path)
            text.append(f'<Directory Id="{identifier("d", path)}" Name={quoteattr(name)}>\n{inner}\n</Directory>')
            for feature, lines in others.items():
                references[feature] += lines
        else:
            text.append(file_component(path))
            references[FEATURES.get(path.split("/")[0], "ADAPTER")].append(
                f'<ComponentRef Id="{identifier("c", path)}"/>')
    return "\n".join(text), references


def main(template, folder, full_version):
    directories, references = directory_content(folder)
    values = {
        "PRODUCT_CODE": guid("product " + full_version),
        "UPGRADE_CODE": guid("upgrade"),
        "REGISTRY_GUID": guid("registry"),
        "COMPANY_FOLDER_GUID": guid("company folder"),
        "LOG_FOLDER_GUID": guid("log folder"),
        "VERSION": ".".join(full_version.split(".")[:3]),
        "FULL_VERSION": full_version,
        "ADAPTER_FILE": identifier("f", ADAPTER),
        "DIRECTORIES": directories,
        **{feature + "_COMPONENTS": "\n".join(lines) for feature, lines in references.items()},
    }
    with open(template, encoding="utf-8") as file:
        text = file.read()
    for name, value in values.items():
        text = text.replace(f"@{name}@", value)
    print(text, end="")


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*sys.argv[1:])
