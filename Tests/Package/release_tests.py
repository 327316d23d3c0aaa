"""What a release holds, seen by somebody who unpacked it.
usage: release_tests.py RELEASE.zip
"""
import hashlib
import json
import re
import sys
import tempfile
import unittest
import zipfile
import zlib
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
BINARIES = ["bin/Logging.dll", "bin/WMIService.dll", "bin/wmihost.exe"]

# SPDX 2.3: the members that an object must have, and those that it also may have as far as a release needs them.
MEMBERS = {
    "document": ("SPDXID creationInfo dataLicense name spdxVersion documentNamespace packages files relationships",
                 "hasExtractedLicensingInfos"),
    "creation": ("created creators", ""),
    "package": ("SPDXID name downloadLocation versionInfo licenseConcluded licenseDeclared copyrightText filesAnalyzed",
                "sourceInfo licenseInfoFromFiles primaryPackagePurpose packageVerificationCode externalRefs"),
    "reference": ("referenceCategory referenceType referenceLocator", ""),
    "file": ("SPDXID fileName checksums licenseConcluded licenseInfoInFiles copyrightText fileTypes", ""),
    "checksum": ("algorithm checksumValue", ""),
    "relation": ("spdxElementId relationshipType relatedSpdxElement", ""),
    "licence": ("licenseId extractedText name", ""),
}
FILE_TYPES = {"SOURCE", "BINARY", "TEXT", "DOCUMENTATION"}
RELATION_TYPES = {"DESCRIBES", "CONTAINS", "STATIC_LINK", "BUILD_TOOL_OF"}


class Release(unittest.TestCase):
    archive: Path

    @classmethod
    def setUpClass(cls):
        cls.unpacked = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.unpacked.cleanup)
        with zipfile.ZipFile(cls.archive) as archive:
            cls.entries = archive.infolist()
            archive.extractall(cls.unpacked.name)
        cls.root = Path(cls.unpacked.name) / cls.archive.stem
        cls.files = sorted(p.relative_to(cls.root).as_posix() for p in cls.root.rglob("*") if p.is_file())
        cls.sbom_name = f"{cls.archive.stem}.spdx.json"
        cls.sbom = json.loads((cls.root / cls.sbom_name).read_text(encoding="utf-8"))

    def digest(self, name, algorithm):
        return hashlib.new(algorithm, (self.root / name).read_bytes()).hexdigest()

    def check_members(self, kind, thing):
        must, may = (set(names.split()) for names in MEMBERS[kind])
        self.assertLessEqual(must, set(thing), kind)
        self.assertLessEqual(set(thing), must | may, kind)
        for name in set(thing) & {"SPDXID", "spdxElementId", "relatedSpdxElement"}:
            self.assertRegex(thing[name], r"^SPDXRef-[A-Za-z0-9.-]+$")

    def test_the_zip_has_one_folder_with_its_own_name_and_files_in_order_of_one_time(self):
        names = [entry.filename for entry in self.entries]
        self.assertEqual(names, sorted(names))
        self.assertEqual({name.split("/")[0] for name in names}, {self.archive.stem})
        self.assertEqual(len({entry.date_time for entry in self.entries}), 1)
        digest, name = Path(f"{self.archive}.sha256").read_text().split()
        self.assertEqual((digest, name),
                         (hashlib.sha256(self.archive.read_bytes()).hexdigest(), self.archive.name))

    def test_everything_is_there_and_nothing_else(self):
        expected = set((TREE / "Tests/Package/Files.txt").read_text().split())
        expected |= {"SHA256SUMS", self.sbom_name}
        for folder, place in (("Simulator/machines", "share/WMIService/machines"),
                              ("docs", "share/doc/WMIService/docs"),
                              ("LICENSES", "share/doc/WMIService/LICENSES")):
            expected |= {f"{place}/{path.relative_to(TREE / folder).as_posix()}"
                         for path in (TREE / folder).rglob("*") if path.is_file()}
        # The site is made where Doxygen is.
        site = {name for name in self.files if name.startswith("share/doc/WMIService/site/")}
        if site:
            self.assertLessEqual({f"share/doc/WMIService/site/{page}" for page in ("index.html", "search/search.js")},
                                 site)
        symbols = {name for name in self.files if name.endswith((".debug", ".pdb"))}
        libraries = {name for name in self.files if name in ("lib/Logging.dll.a", "lib/Logging.lib")}
        self.assertEqual(len(libraries), 1)
        self.assertEqual(set(self.files) - symbols - site - libraries, expected)
        self.assertEqual(len(symbols), len(BINARIES))

    def test_every_file_has_its_checksum(self):
        lines = (self.root / "SHA256SUMS").read_text().splitlines()
        listed = dict(reversed(line.split("  ", 1)) for line in lines)
        self.assertEqual(sorted(listed), sorted(set(self.files) - {"SHA256SUMS"}))
        for name, value in listed.items():
            self.assertEqual(value, self.digest(name, "sha256"), name)

    def test_debuggers_find_the_symbols_and_they_belong_to_the_binary(self):
        for name in BINARIES:
            symbols = self.root / f"{name}.debug"
            if not symbols.exists():  # Microsoft's compiler: a PDB file, whose name the binary holds
                pdb = (self.root / name).with_suffix(".pdb")
                self.assertIn(pdb.name.encode(), (self.root / name).read_bytes())
                self.assertTrue(pdb.exists())
                continue
            binary = (self.root / name).read_bytes()
            link = symbols.name.encode() + b"\0"
            at = binary.index(link) + (len(link) + 3) // 4 * 4  # a check sum follows the name, which is filled up
            self.assertEqual(int.from_bytes(binary[at:at + 4], "little"), zlib.crc32(symbols.read_bytes()), name)

    def test_machines_name_the_schema_beside_them(self):
        for machine in (self.root / "share/WMIService/machines").iterdir():
            schema = json.loads(machine.read_text(encoding="utf-8"))["$schema"]
            self.assertTrue((machine.parent / schema).is_file(), machine)

    def test_the_sbom_has_the_members_that_spdx_asks_for_and_no_unknown_ones(self):
        self.check_members("document", self.sbom)
        self.check_members("creation", self.sbom["creationInfo"])
        self.assertEqual((self.sbom["spdxVersion"], self.sbom["dataLicense"], self.sbom["SPDXID"]),
                         ("SPDX-2.3", "CC0-1.0", "SPDXRef-DOCUMENT"))
        self.assertRegex(self.sbom["creationInfo"]["created"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertRegex(self.sbom["documentNamespace"], r"^https://[^#]+$")
        for creator in self.sbom["creationInfo"]["creators"]:
            self.assertRegex(creator, r"^(Organization|Tool): ")
        for package in self.sbom["packages"]:
            self.check_members("package", package)
            self.assertEqual("packageVerificationCode" in package, package["filesAnalyzed"])
            for reference in package.get("externalRefs", []):
                self.check_members("reference", reference)
                self.assertRegex(reference["referenceLocator"], r"^pkg:deb/debian/[a-zA-Z0-9%-]+@[^ ]+\?arch=\w+$")
        for file in self.sbom["files"]:
            self.check_members("file", file)
            self.assertLessEqual(set(file["fileTypes"]), FILE_TYPES)
            for checksum in file["checksums"]:
                self.check_members("checksum", checksum)
        for relation in self.sbom["relationships"]:
            self.check_members("relation", relation)
            self.assertIn(relation["relationshipType"], RELATION_TYPES)
        for licence in self.sbom["hasExtractedLicensingInfos"]:
            self.check_members("licence", licence)

    def test_the_sbom_tells_of_every_file_with_its_digests(self):
        excluded = {"SHA256SUMS", self.sbom_name}
        self.assertEqual(sorted(file["fileName"] for file in self.sbom["files"]),
                         [f"./{name}" for name in self.files if name not in excluded])
        for file in self.sbom["files"]:
            sums = {sum["algorithm"]: sum["checksumValue"] for sum in file["checksums"]}
            self.assertEqual(sums, {kind.upper(): self.digest(file["fileName"], kind) for kind in ("sha1", "sha256")})
        product = self.sbom["packages"][0]["packageVerificationCode"]
        sha1s = sorted(self.digest(name, "sha1") for name in self.files if name not in excluded)
        self.assertEqual(product["packageVerificationCodeValue"], hashlib.sha1("".join(sha1s).encode()).hexdigest())
        self.assertEqual(set(product["packageVerificationCodeExcludedFiles"]), {f"./{name}" for name in excluded})

    def test_relationships_lead_to_what_the_sbom_tells_of(self):
        ids = [thing["SPDXID"] for thing in [self.sbom, *self.sbom["packages"], *self.sbom["files"]]]
        self.assertEqual(len(ids), len(set(ids)))
        related = set()
        for relation in self.sbom["relationships"]:
            related |= {relation["spdxElementId"], relation["relatedSpdxElement"]}
        self.assertEqual(related, set(ids))

    def test_every_library_has_its_version_and_the_text_of_its_licence(self):
        linked = {relation["relatedSpdxElement"] for relation in self.sbom["relationships"]
                  if relation["relationshipType"] == "STATIC_LINK"}
        packages = {package["SPDXID"]: package for package in self.sbom["packages"]}
        extracted = {licence["licenseId"] for licence in self.sbom["hasExtractedLicensingInfos"]}
        for package in (packages[one] for one in linked):
            self.assertRegex(package["versionInfo"], r"^\d+\.\d+")
            if package["licenseDeclared"] != "NOASSERTION":
                text = self.root / f"share/doc/WMIService/LICENSES/{package['name']}.txt"
                self.assertIn(re.sub(r"^Copyright \([cC]\) [0-9-]+,? ", "", package["copyrightText"]).split(",")[0],
                              text.read_text(encoding="utf-8"))
            own = re.findall(r"LicenseRef-[A-Za-z0-9.-]+", package["licenseDeclared"])
            self.assertLessEqual(set(own), extracted)


if __name__ == "__main__":
    Release.archive = Path(sys.argv.pop(1)).resolve()
    unittest.main()
