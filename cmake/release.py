"""Makes a release of a finished build: installs it into a folder, adds an SBOM (SPDX 2.3) and checksums, and packs the
folder into a ZIP. The same commit and tools give the same bytes.
"""
import argparse
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import time
import urllib.parse
import zipfile
from pathlib import Path

CHECKSUMS = "SHA256SUMS"


def output_of(*command, **options):
    done = subprocess.run(command, check=False, capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise OSError(f"{' '.join(map(str, command))} failed:\n{done.stderr}")
    return done.stdout.strip()


def time_and_origin(source):
    """The release's time in seconds since 1970, and what it was built from."""
    origin = "sources without a commit"
    commit_time = None
    try:
        commit, commit_time = output_of("git", "log", "-1", "--format=%H %ct", cwd=source).split()
        changed = output_of("git", "status", "--porcelain", "--untracked-files=no", cwd=source)
        origin = f"commit {commit}" + (" with changes" if changed else "")
    except OSError:
        pass
    epoch = os.environ.get("SOURCE_DATE_EPOCH", commit_time)
    if epoch is None:
        sys.exit("This is no Git repository: set SOURCE_DATE_EPOCH to the time of the sources, in seconds since 1970.")
    return int(epoch), origin


def digests(file):
    content = file.read_bytes()
    return {"SHA1": hashlib.sha1(content).hexdigest(), "SHA256": hashlib.sha256(content).hexdigest()}


def spdx_id(kind, name):
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.-]", "-", name)


def file_type(name):
    if name.endswith((".dll", ".exe", ".debug", ".pdb", ".a", ".lib")):
        return "BINARY"
    if name.endswith((".h", ".cmake", ".bash", ".ps1", ".sh")):
        return "SOURCE"
    return "DOCUMENTATION" if "/doc/" in name else "TEXT"


def debian_package(name):
    """The version of a Debian package and its package URL; nothing on other systems."""
    try:
        fields = output_of("dpkg-query", "-W", "-f", "${Version} ${Architecture}", name)
    except OSError:
        return None
    version, architecture = fields.split()
    url = f"pkg:deb/debian/{urllib.parse.quote(name)}@{urllib.parse.quote(version)}?arch={architecture}"
    return version, url


def package_of(component):
    """An SPDX package for a library or tool."""
    version, url = debian_package(component.get("debian", "")) or (component.get("version"), None)
    if not version:
        sys.exit(f"The version of {component['name']} is not known.")
    package = {
        "SPDXID": spdx_id("Package", component["name"]),
        "name": component["name"],
        "versionInfo": version,
        "downloadLocation": component["origin"],
        "filesAnalyzed": False,
        "licenseConcluded": component["license"],
        "licenseDeclared": component["license"],
        "copyrightText": component.get("copyright", "NOASSERTION"),
    }
    if url:
        package["externalRefs"] = [
            {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": url}
        ]
    return package


def sbom_of(stage, files, project, compiler, epoch, origin):
    """The SPDX document about the files of a release."""
    product = {
        "SPDXID": spdx_id("Package", project["name"]),
        "name": project["name"],
        "versionInfo": project["version"],
        "sourceInfo": f"built from {origin}",
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": True,
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NOASSERTION",
        "licenseInfoFromFiles": ["NOASSERTION"],
        "copyrightText": "NOASSERTION",
        "primaryPackagePurpose": "LIBRARY",
    }
    entries = []
    relations = [("SPDXRef-DOCUMENT", "DESCRIBES", product["SPDXID"])]
    for name in files:
        sums = digests(stage / name)
        entries.append({
            "SPDXID": spdx_id("File", name),
            "fileName": "./" + name,
            "fileTypes": [file_type(name)],
            "checksums": [{"algorithm": kind, "checksumValue": value} for kind, value in sums.items()],
            "licenseConcluded": "NOASSERTION",
            "licenseInfoInFiles": ["NOASSERTION"],
            "copyrightText": "NOASSERTION",
        })
        relations.append((product["SPDXID"], "CONTAINS", spdx_id("File", name)))
    sha1s = sorted(entry["checksums"][0]["checksumValue"] for entry in entries)
    code = hashlib.sha1("".join(sha1s).encode()).hexdigest()
    product["packageVerificationCode"] = {
        "packageVerificationCodeValue": code,
        "packageVerificationCodeExcludedFiles": [f"./{stage.name}.spdx.json", f"./{CHECKSUMS}"],
    }

    components = [c for c in project["components"] if c.get("compiler", compiler) == compiler]
    for component in components:
        package = spdx_id("Package", component["name"])
        if "part of" not in component:
            relations.append((package, "BUILD_TOOL_OF", product["SPDXID"]))
        for binary in component.get("part of", []):
            relations.append((spdx_id("File", binary), "STATIC_LINK", package))
    own_licences = {c["license"] for c in components if c["license"].startswith("LicenseRef-")}
    texts = stage / "share/doc" / project["name"] / "LICENSES"
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": stage.name,
        "documentNamespace": f"https://zv.example/spdx/{stage.name}-{code}",
        "creationInfo": {
            "created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(epoch)),
            "creators": ["Organization: Zv", f"Tool: {project['name']}-release.py-{project['version']}"],
        },
        "packages": [product] + [package_of(component) for component in components],
        "files": entries,
        "hasExtractedLicensingInfos": [
            {
                "licenseId": licence,
                "name": licence.removeprefix("LicenseRef-"),
                "extractedText": (texts / (licence.removeprefix("LicenseRef-") + ".txt")).read_text(encoding="utf-8"),
            }
            for licence in sorted(own_licences)
        ],
        "relationships": [
            {"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}
            for one, kind, other in relations
        ],
    }


def files_in(folder):
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file())


def pack(stage, archive, epoch):
    """A ZIP whose bytes depend on the files' names and contents and on the time given, on nothing else."""
    when = time.gmtime(max(epoch, 315532800))[:6]  # a ZIP's time begins in 1980
    with zipfile.ZipFile(archive, "w") as packed:
        for name in files_in(stage):
            entry = zipfile.ZipInfo(f"{stage.name}/{name}", when)
            entry.create_system = 3  # so that the permissions count
            entry.external_attr = (0o100755 if name.endswith((".dll", ".exe", ".sh")) else 0o100644) << 16
            packed.writestr(entry, (stage / name).read_bytes(), zipfile.ZIP_DEFLATED)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("source", "build", "output"):
        parser.add_argument(f"--{name}", type=Path, required=True)
    parser.add_argument("--site", type=Path, help="the built site of the documentation")
    for name in ("cmake", "config", "compiler", "emulator"):
        parser.add_argument(f"--{name}", required=True)
    arguments = parser.parse_args()

    project = json.loads((arguments.build / "Components.json").read_text(encoding="utf-8"))
    epoch, origin = time_and_origin(arguments.source)
    stage = arguments.output / f"{project['name']}-{project['version']}-x64"
    shutil.rmtree(arguments.output, ignore_errors=True)
    output_of(arguments.cmake, "--install", arguments.build, "--config", arguments.config, "--prefix", stage)

    if arguments.site:
        shutil.copytree(arguments.site, stage / "share/doc" / project["name"] / "site")

    files = files_in(stage)
    sbom = stage / f"{stage.name}.spdx.json"
    document = sbom_of(stage, files, project, arguments.compiler, epoch, origin)
    sbom.write_text(json.dumps(document, indent=2) + "\n", encoding="utf-8", newline="\n")

    sums = "".join(f"{digests(stage / name)['SHA256']}  {name}\n" for name in files_in(stage))
    (stage / CHECKSUMS).write_text(sums, encoding="utf-8", newline="\n")

    archive = arguments.output / f"{stage.name}.zip"
    pack(stage, archive, epoch)
    (arguments.output / f"{archive.name}.sha256").write_text(
        f"{digests(archive)['SHA256']}  {archive.name}\n", encoding="utf-8", newline="\n")
    print(f"{archive}: {archive.stat().st_size} bytes, built from {origin}")


if __name__ == "__main__":
    main()
