#!/usr/bin/env python3
"""usage: make_msi.py --stage FOLDER --actions DLL --version X.Y.Z [--developer] OUTPUT

Makes the Windows Installer package of the files in FOLDER. wixl makes the database with files and
features; the tables of which it knows too little are written here and put in by msibuild.

The same input gives the same bytes: every identifier is derived from what it stands for, and all times
are that of SOURCE_DATE_EPOCH.
"""
import argparse
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import uuid
from xml.sax.saxutils import quoteattr

FAMILY = uuid.UUID("5d0e9f3c-6a0b-4f0e-9c55-3f9b6c1f7a21")  # ever the same: the upgrade code
NAME = "Orva Accelerator Service"
PUBLISHER = "Orva"
SIMULATED_LIBRARY = "accel_sdk/sdk_x64/OpenKernel.dll"

# Kinds of steps, as Windows Installer numbers them: a function of a DLL in the package; run at once,
# or as LocalSystem when the changes are carried out, or on the way back, or when all is done.
AT_ONCE, DEFERRED, ROLLBACK, COMMIT = 0x1, 0xC01, 0xD01, 0xE01

INSTALLING = 'NOT REMOVE="ALL"'
REMOVING = 'REMOVE="ALL" AND NOT ORVAKEEP'
EITHER = "NOT ORVAKEEP"  # set when a removal belongs to an upgrade

# Our steps: name, kind, condition, place in the sequence. What can fail comes before what changes files.
STEPS = [
    # Refuses what is to be refused, and finds out what the service is and does.
    ("OrvaPrepare", AT_ONCE, "", 1010),
    ("OrvaUndoStop", ROLLBACK, EITHER, 1510),
    # Before a file of ours is put there and executed.
    ("OrvaSecureFolder", DEFERRED, INSTALLING, 1520),
    # Copies what is there, until all is done or has been taken back. Before everything that can fail: some
    # engines take back file actions that they have not yet come to.
    ("OrvaUndoFiles", ROLLBACK, INSTALLING, 1525),
    ("OrvaKeepFiles", DEFERRED, INSTALLING, 1530),
    # From here on nobody can start the service, until OrvaStartService or OrvaUndoStop.
    ("OrvaStopService", DEFERRED, EITHER, 1540),
    ("OrvaCheckFiles", DEFERRED, EITHER, 1550),
    ("OrvaUndoUnregister", ROLLBACK, REMOVING, 1560),
    # Before the files: without this, a removal that fails here would leave a registration of nothing.
    ("OrvaUnregisterService", DEFERRED, REMOVING, 1570),
    ("OrvaUndoRegister", ROLLBACK, INSTALLING, 4010),
    ("OrvaRegisterService", DEFERRED, INSTALLING, 4020),
    ("OrvaStartService", COMMIT, INSTALLING, 6520),
    ("OrvaForgetFiles", COMMIT, INSTALLING, 6525),
    ("OrvaCleanUp", COMMIT, "(ORVASIMULATED<>1 AND %s) OR (%s)" % (INSTALLING, REMOVING), 6530),
]

# Those of Windows Installer. The old version is removed last, and within the same transaction: what
# both versions have stays, and a failure up to then leaves the old version as it was.
STANDARD = [
    ("FindRelatedProducts", 25),
    ("LaunchConditions", 100),
    ("ValidateProductID", 700),
    ("CostInitialize", 800),
    ("FileCost", 900),
    ("CostFinalize", 1000),
    ("MigrateFeatureStates", 1200),
    ("InstallValidate", 1400),
    ("InstallInitialize", 1500),
    ("ProcessComponents", 1600),
    ("UnpublishFeatures", 1800),
    ("RemoveFiles", 3500),
    ("RemoveFolders", 3600),
    ("CreateFolders", 3700),
    ("InstallFiles", 4000),
    ("RegisterUser", 6000),
    ("RegisterProduct", 6100),
    ("PublishFeatures", 6300),
    ("PublishProduct", 6400),
    ("InstallExecute", 6500),
    ("RemoveExistingProducts", 6510),
    ("InstallFinalize", 6600),
]


def guid(name):
    return "{%s}" % str(uuid.uuid5(FAMILY, name)).upper()


def identifier(path):
    return "f" + hashlib.sha256(path.encode()).hexdigest()[:16]


def short_name(path):
    """Of any file, in the 8.3 form that the table wants beside the long one."""
    name = pathlib.PurePosixPath(path).name
    digest = hashlib.sha256(path.encode()).hexdigest()[:7].upper()
    return "F%s.%s" % (digest, (name.rpartition(".")[2] or "X")[:3].upper())


def wix_source(options, files):
    lines = [
        '<?xml version="1.0" encoding="utf-8"?>',
        '<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">',
        '<Product Id="%s" Name="%s" Language="1033" Version="%s" Manufacturer="%s" UpgradeCode="{%s}">'
        % (product_code(options), NAME, options.version, PUBLISHER, str(FAMILY).upper()),
        # 5.0: Windows 7 and later.
        '<Package InstallerVersion="500" Compressed="yes" InstallScope="perMachine" Description="%s %s"'
        ' Manufacturer="%s" Comments="%s"/>'
        % (NAME, options.version, PUBLISHER, "With the simulated library" if options.developer else ""),
        '<Media Id="1" Cabinet="files.cab" EmbedCab="yes"/>',
        '<Icon Id="orva.ico" SourceFile="orva.ico"/>',
        '<Binary Id="OrvaSetupActions" SourceFile="actions.dll"/>',
    ]
    for name, value in {
        # Every file, whatever its version: after an installation what is there is what was packed.
        "REINSTALLMODE": "amus",
        # Never: nothing that is in use is replaced.
        "REBOOT": "ReallySuppress",
        # The service is stopped by a step of ours, and started again only if it ran.
        "MSIRESTARTMANAGERCONTROL": "Disable",
        "SecureCustomProperties": "ORVA_OLDER;ORVA_NEWER",
        "ARPPRODUCTICON": "orva.ico",
        "ARPNOMODIFY": "1",
        "ORVASIMULATED": "1" if options.developer else "0",
        "ORVANEEDEDKB": str(needed_kb(options, files)),
    }.items():
        lines.append('<Property Id="%s" Value="%s"/>' % (name, value))
    lines.append('<Directory Id="TARGETDIR" Name="SourceDir"><Directory Id="ProgramFiles64Folder">')
    lines += directory(options, files, "", "INSTALLDIR", "Orva")
    lines.append("</Directory></Directory>")
    lines.append('<Feature Id="Main" Title="%s" Level="1" Absent="disallow">' % NAME)
    lines += ['<ComponentRef Id="%s"/>' % identifier(path) for path in files]
    return "\n".join(lines + ["</Feature></Product></Wix>", ""])


def directory(options, files, path, name_id, name):
    lines = ['<Directory Id="%s" Name=%s>' % (name_id, quoteattr(name))]
    for file in files:
        if str(pathlib.PurePosixPath(file).parent) != (path or "."):
            continue
        own = identifier(file)
        # A component a file, known by the file's name: so two versions share what both have.
        lines.append(
            '<Component Id="%s" Guid="%s" Win64="yes"><File Id="%s" Name=%s Source=%s KeyPath="yes"/></Component>'
            % (own, guid("component " + file), own, quoteattr(pathlib.PurePosixPath(file).name),
               quoteattr("files/" + file)))
    below = sorted({f[len(path) + 1 if path else 0:].split("/")[0] for f in files
                    if f.startswith(path + "/" if path else "") and "/" in f[len(path) + 1 if path else 0:]})
    for child in below:
        child_path = path + "/" + child if path else child
        lines += directory(options, files, child_path, "d" + identifier(child_path), child)
    return lines + ["</Directory>"]


def product_code(options):
    return guid("product %s %s" % (options.version, "developer" if options.developer else "ordinary"))


def needed_kb(options, files):
    # Thrice: both Windows Installer and we keep the old files until all is done.
    return 3 * sum(os.path.getsize(os.path.join(options.stage, f)) for f in files) // 1024


def table(folder, name, columns, types, keys, rows):
    text = "\r\n".join("\t".join(str(cell) for cell in row) for row in [columns, types, [name] + keys] + rows)
    path = folder / (name + ".idt")
    path.write_bytes((text + "\r\n").encode("ascii"))
    return path


def tables(folder, options):
    sequence = [(name, "", number) for name, number in STANDARD]
    sequence += [(name, condition, number) for name, _, condition, number in STEPS]
    family = "{%s}" % str(FAMILY).upper()
    moment = time.strftime("%Y/%m/%d %H:%M:%S", time.gmtime(int(os.environ["SOURCE_DATE_EPOCH"])))
    digest = hashlib.sha256()
    for path in sorted(p for p in pathlib.Path(options.stage).rglob("*") if p.is_file()):
        digest.update(str(path.relative_to(options.stage)).encode() + path.read_bytes())
    for path in (options.actions, __file__):
        digest.update(pathlib.Path(path).read_bytes())
    return [
        table(folder, "CustomAction", ["Action", "Type", "Source", "Target", "ExtendedType"],
              ["s72", "i2", "S72", "S255", "I4"], ["Action"],
              [[name, kind, "OrvaSetupActions", name, ""] for name, kind, _, _ in STEPS]),
        table(folder, "InstallExecuteSequence", ["Action", "Condition", "Sequence"], ["s72", "S255", "I2"],
              ["Action"], sorted(sequence, key=lambda row: row[2])),
        # Older ones, this version's other package included, are removed; newer ones are only found.
        table(folder, "Upgrade",
              ["UpgradeCode", "VersionMin", "VersionMax", "Language", "Attributes", "Remove", "ActionProperty"],
              ["s38", "S20", "S20", "S255", "i4", "S255", "s72"],
              ["UpgradeCode", "VersionMin", "VersionMax", "Language", "Attributes"],
              [[family, "0.0.0", options.version, "", 0x1 | 0x100 | 0x200, "", "ORVA_OLDER"],
               [family, options.version, "", "", 0x2, "", "ORVA_NEWER"]]),
        # What identifies this very package is derived from what is in it.
        table(folder, "_SummaryInformation", ["PropertyId", "Value"], ["i2", "l255"], ["PropertyId"],
              [[1, 1252], [2, "Installation Database"], [3, "%s %s" % (NAME, options.version)], [4, PUBLISHER],
               [5, "Installer"], [7, "x64;1033"], [9, guid("package " + digest.hexdigest() + options.version)],
               [12, moment], [13, moment], [14, 500], [15, 2], [18, "msitools"], [19, 2]]),
    ]


def run(command):
    result = subprocess.run(command, capture_output=True, text=True)
    # wixl warns of every attribute that it does not know, and then leaves it out.
    messages = [line for line in (result.stdout + result.stderr).splitlines() if line.strip()]
    if result.returncode != 0 or messages:
        sys.exit("%s: exit code %d\n%s" % (command[0], result.returncode, "\n".join(messages)))


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    for name in ("--stage", "--actions", "--version", "--icon"):
        parser.add_argument(name, required=True)
    parser.add_argument("--developer", action="store_true")
    parser.add_argument("output")
    options = parser.parse_args()
    stage = pathlib.Path(options.stage)
    files = sorted(p.relative_to(stage).as_posix() for p in stage.rglob("*") if p.is_file())
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        # wixl takes some names only relative to its source. With their times: they go into the package.
        shutil.copytree(stage, folder / "files")
        shutil.copy(options.icon, folder / "orva.ico")
        shutil.copy(options.actions, folder / "actions.dll")
        source = folder / "package.wxs"
        source.write_text(wix_source(options, files), encoding="utf-8")
        made = folder / "package.msi"
        run(["wixl", "-a", "x64", "-o", str(made), str(source)])
        command = ["msibuild", str(made)]
        for path in tables(folder, options):
            command += ["-i", str(path)]
        run(command)
        queries = []
        for file in files:
            names = "%s|%s" % (short_name(file), pathlib.PurePosixPath(file).name)
            version = options.version + ".0" if file.endswith((".exe", ".dll")) else ""
            queries.append("UPDATE File SET FileName='%s', Version='%s' WHERE File='%s'"
                           % (names, version, identifier(file)))
        if any(file.startswith("accel_sdk/") for file in files):
            queries.append("UPDATE Directory SET DefaultDir='ACCELSDK|accel_sdk' WHERE DefaultDir='accel_sdk'")
        if SIMULATED_LIBRARY in files:
            # Not removed by Windows Installer, but by OrvaCleanUp, which looks whether it is still ours:
            # 64-bit (256) and permanent (16).
            queries.append("UPDATE Component SET Attributes=272 WHERE Component='%s'"
                           % identifier(SIMULATED_LIBRARY))
        run(["msibuild", str(made)] + [word for query in queries for word in ("-q", query)])
        pathlib.Path(options.output).write_bytes(made.read_bytes())


if __name__ == "__main__":
    main()
