"""A wrong include for each arrow is refused, and named; the right ones pass."""
import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))
import check_includes  # noqa: E402

HOST = ["base", "engine", "air", "phone", "bluez", "scenario", "findings", "terminal", "cli"]
HEADERS = {"platform": "platform/Platform.hpp", "Classes": "Classes/model/BeaconFilter.hpp",
           "ios": "ios/Binding.h", **{f"host/{room}": f"host/{room}/A.hpp" for room in HOST}}
UPPER = ["host/bluez", "host/scenario", "host/findings", "host/terminal", "host/cli"]
# The rooms that each room must not include from.
FORBIDDEN = {
    "platform": [room for room in HEADERS if room != "platform"],
    "Classes": ["ios", *(f"host/{room}" for room in HOST)],
    "ios": [f"host/{room}" for room in HOST],
    "host/base": ["ios", "host/engine", "host/air", "host/phone", *UPPER],
    "host/engine": ["ios", "host/air", "host/phone", *UPPER],
    "host/air": ["ios", "host/engine", "host/phone", *UPPER],
    "host/phone": ["ios", "host/engine", "host/air", *UPPER],
    **{room: ["ios", *(other for other in UPPER if other != room)] for room in UPPER[:-1]},
    "host/cli": ["ios"],
}
# Single headers, and what becomes of them.
SINGLE = [
    ("host/phone", '"host/air/Advertisement.hpp"', True),
    ("host/phone", '"host/air/ByteCursor.hpp"', False),
    ("host/phone", '"Classes/NimbrelPlugin.hpp"', False),
    ("host/scenario", '"Classes/NimbrelPlugin.hpp"', True),
    ("host/base", '"JsonText.hpp"', False),
    ("host/air", '"../phone/Phone.hpp"', False),
    ("ios", '"Binding.h"', True),
    ("ios", '"../host/phone/Phone.hpp"', False),
    ("Classes", "<vector>", True),
    ("Classes", "<nlohmann/json.hpp>", False),
    ("platform", "<poll.h>", False),
    ("host/air", "<zlib.h>", True),
]


def faults(room, include):
    """The faults of a tree with one file, whose second line is the include."""
    with tempfile.TemporaryDirectory() as folder:
        file = pathlib.Path(folder) / room / "inner" / "File.cpp"
        file.parent.mkdir(parents=True)
        file.write_text(f"// A file.\n#include {include}\n", encoding="utf-8")
        return check_includes.check(pathlib.Path(folder))


class CheckIncludes(unittest.TestCase):
    def test_each_arrow_points_one_way(self):
        for room in HEADERS:
            for target, header in HEADERS.items():
                with self.subTest(room=room, target=target):
                    found = faults(room, f'"{header}"')
                    if target in FORBIDDEN[room]:
                        self.assertEqual([line.split(" ")[0] for line in found],
                                         [f"{room}/inner/File.cpp:2:"])
                    else:
                        self.assertEqual(found, [])

    def test_single_headers(self):
        for room, include, passes in SINGLE:
            with self.subTest(room=room, include=include):
                self.assertEqual(faults(room, include) == [], passes)

    def test_the_project_itself_passes(self):
        self.assertEqual(check_includes.check(ROOT), [])


if __name__ == "__main__":
    unittest.main()
