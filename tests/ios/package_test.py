"""The Swift package and the pod hand the same files to the phone's compiler, as they stand here and
as they stand in a published package."""
import glob
import os
import pathlib
import plistlib
import re
import shutil
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
TARGET = "nimbrel/Sources/nimbrel"
COMPILED = {".c", ".cc", ".cpp", ".m", ".mm", ".S", ".swift"}


def quoted(text):
    return re.findall(r"""["']([^"']+)["']""", text)


class SwiftPackage:
    """What the Swift package manager makes of Package.swift, below the folder `ios`."""

    def __init__(self, ios):
        manifest = (ios / "nimbrel/Package.swift").read_text(encoding="utf-8")
        target = ios / TARGET
        excluded = tuple(f"{target}/{name}/" for name in quoted(self.argument(manifest, "exclude")))
        files = {os.path.join(folder, name) for folder, _, names in os.walk(target, followlinks=True)
                 for name in names}
        files = {pathlib.Path(file) for file in files if not file.startswith(excluded)}
        self.sources = {file for file in files if file.suffix in COMPILED}
        self.public = {file for file in files if target / "include" in file.parents}
        self.resources = {target / name
                          for name in re.findall(r'\.(?:process|copy)\("([^"]+)"\)', manifest)}
        self.others = {file for file in files - self.sources - self.resources
                       if file.suffix != ".h"}
        self.frameworks = set(re.findall(r'\.linkedFramework\("([^"]+)"\)', manifest))
        self.search_paths = {target / path
                             for path in re.findall(r'\.headerSearchPath\("([^"]+)"\)', manifest)}
        self.ios_version, = re.findall(r'\.iOS\("([^"]+)"\)', manifest)
        self.language, = re.findall(r"cxxLanguageStandard: \.cxx(\w+)", manifest)

    @staticmethod
    def argument(manifest, name):
        return re.search(name + r": \[([^\]]*)\]", manifest)[1]


class Pod:
    """What CocoaPods makes of the podspec in the folder `ios`."""

    def __init__(self, ios):
        self.ios = ios
        self.spec = (ios / "nimbrel.podspec").read_text(encoding="utf-8")
        files = self.files("source_files")
        self.sources = {file for file in files if file.suffix in COMPILED}
        self.public = self.files("public_header_files")
        self.resources = self.files("resource_bundles")
        self.others = {file for file in files - self.sources if file.suffix != ".h"}
        self.frameworks = set(quoted(self.attribute("frameworks")))
        paths = re.search(r"'HEADER_SEARCH_PATHS' => '(.*)'", self.spec)[1]
        self.search_paths = {pathlib.Path(path.replace("${PODS_TARGET_SRCROOT}", str(ios)))
                             for path in re.findall(r'"([^"]+)"', paths)}
        self.ios_version = quoted(self.attribute("platform"))[0]
        self.language, = re.findall(r"'CLANG_CXX_LANGUAGE_STANDARD' => 'c\+\+(\w+)'", self.spec)

    def attribute(self, name):
        return re.search(rf"s\.{name} +=(.*?)\n *(?:s\.|end|#|\n)", self.spec, re.DOTALL)[1]

    def files(self, name):
        patterns = [pattern for pattern in quoted(self.attribute(name)) if "/" in pattern]
        return {pathlib.Path(file) for pattern in patterns for single in self.alternatives(pattern)
                for file in glob.glob(str(self.ios / single), recursive=True)}

    @classmethod
    def alternatives(cls, pattern):
        braces = re.search(r"\{([^}]*)\}", pattern)
        if braces is None:
            return [pattern]
        return [single for word in braces[1].split(",")
                for single in cls.alternatives(pattern[:braces.start()] + word
                                               + pattern[braces.end():])]


class Package(unittest.TestCase):
    def compare(self, ios):
        swift, pod = SwiftPackage(ios), Pod(ios)
        for what in ("sources", "public", "resources", "others", "frameworks", "search_paths",
                     "ios_version", "language"):
            with self.subTest(what=what):
                self.assertEqual(getattr(swift, what), getattr(pod, what))
        return swift

    def test_both_lists_are_the_same(self):
        swift = self.compare(ROOT / "ios")
        self.assertEqual({file.name for file in swift.sources} - {"PluginSources.cpp"},
                         {file.name for file in (ROOT / "ios" / TARGET).glob("*.mm")})
        self.assertEqual({file.name for file in swift.public}, {"NimbrelPlugin.h"})
        self.assertEqual(swift.others, set())
        self.assertEqual(swift.search_paths, {ROOT / "ios" / TARGET})

    def test_they_are_the_same_with_copies_in_place_of_links(self):
        linked = SwiftPackage(ROOT / "ios")
        with tempfile.TemporaryDirectory() as folder:
            published = pathlib.Path(folder) / "ios"
            shutil.copytree(ROOT / "ios", published, symlinks=False)
            copied = self.compare(published)
            self.assertEqual({file.relative_to(published) for file in copied.sources},
                             {file.relative_to(ROOT / "ios") for file in linked.sources})

    def test_the_links_lead_to_the_plug_in(self):
        for name in ("Classes", "platform"):
            link = ROOT / "ios" / TARGET / name
            self.assertTrue(link.is_symlink())
            self.assertEqual(link.resolve(), ROOT / name)

    def test_one_version_for_all(self):
        versions = {re.search(pattern, (ROOT / file).read_text(encoding="utf-8"))[1]
                    for file, pattern in {
                        "ios/nimbrel.podspec": r"s\.version += '(.*)'",
                        "pubspec.yaml": r"\nversion: (.*)\n",
                        "CMakeLists.txt": r"project\(nimbrel VERSION (\S+)"}.items()}
        self.assertEqual(len(versions), 1, versions)

    def test_the_privacy_manifest_says_that_nothing_tracks(self):
        resource, = SwiftPackage(ROOT / "ios").resources
        manifest = plistlib.loads(resource.read_bytes())
        self.assertEqual(manifest, {"NSPrivacyTracking": False, "NSPrivacyTrackingDomains": [],
                                    "NSPrivacyCollectedDataTypes": [],
                                    "NSPrivacyAccessedAPITypes": []})


if __name__ == "__main__":
    unittest.main()
