"""The page of `nimbrel report`, in a real browser: what it shows is what `nimbrel explain` says, and
it can be worked with. Usage: page_test.py NIMBREL [TEST ...]"""
import datetime
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

NIMBREL = sys.argv[1]
GALLERY = "6A1F3C52-8E0B-4D27-9C64-1B7E5D20F3A8"
# Four filters, the last of which is mistyped.
FILTERS = [f"{GALLERY}/1/1=Gallery", f"{GALLERY}/1/2=Entrance",
           "C03B9D7E-52F4-4A18-8D6A-E97F14B2065C=Café", f"{GALLERY[:-2]}8A=Hall"]
FILTERED = [word for each in FILTERS for word in ("--filter", each)]
HOSTILE = ["</script><img src=x onerror=alert(1)>", "<!--<script>", "\u2028${alert(1)}&lt;b>",
           "\u202e'\"`]]>", "<style>*{display:none}</style>"]


def start_browser(folder):
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--disable-background-networking", "--disable-component-update",
                     "--no-first-run", "--lang=en-US", f"--user-data-dir={folder}/profile"]:
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    service = webdriver.chrome.service.Service("/usr/bin/chromedriver")
    return webdriver.Chrome(service=service, options=options)


def said(*arguments):
    return subprocess.run([NIMBREL, *arguments], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def explained(*options):
    """What explain says: the devices by their address, and the run."""
    lines = [json.loads(line) for line in said("explain", "--json", *options).splitlines()]
    return {line["device"]: line for line in lines[:-1]}, lines[-1]["run"]


def strength(number):
    return f"{round(number * 10 + 1e-9) / 10:g} dBm".replace("-", "\u2212")


def time(milliseconds):
    moment = datetime.datetime.fromtimestamp(milliseconds // 1000, datetime.timezone.utc)
    return f"{moment:%H:%M:%S}.{milliseconds % 1000 // 100}"


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.browser = start_browser(cls.folder.name)
        cls.browser.get("about:blank")
        cls.browser.get_log("performance")

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.folder.cleanup()

    def tearDown(self):
        self.assertEqual(self.browser.get_log("browser"), [])
        requests = [json.loads(entry["message"])["message"]
                    for entry in self.browser.get_log("performance")]
        addresses = {request["params"]["request"]["url"] for request in requests
                     if request["method"] == "Network.requestWillBeSent"}
        loaded = {address for address in addresses if not address.startswith("data:")}
        self.assertEqual(loaded, {self.page.as_uri()})

    def open(self, *options, width=1440, dark=False):
        self.page = pathlib.Path(self.folder.name) / "page.html"
        self.page.unlink(missing_ok=True)
        said("report", "-o", str(self.page), "--utc", *options)
        command = self.browser.execute_cdp_cmd
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        command("Emulation.setEmulatedMedia", {"features": [scheme]})
        command("Emulation.setDeviceMetricsOverride",
                {"width": width, "height": 1000, "deviceScaleFactor": 1, "mobile": width < 500})
        self.browser.get(self.page.as_uri())

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def opener(self, name):
        return self.browser.find_element(By.XPATH, f"//button[@class='opener'][contains(., '{name}')]")

    def texts(self, selector):
        return self.browser.execute_script(
            "return [...document.querySelectorAll(arguments[0])].map((each) => each.textContent)",
            selector)

    def rows(self, selector):
        """The texts of the cells of a table, row by row."""
        return self.browser.execute_script(
            "return [...document.querySelectorAll(arguments[0])].map("
            "(row) => [...row.cells].map((cell) => cell.textContent))", selector)

    def plotted(self):
        """The labels of the time axis in both plots, and the lanes."""
        return [self.texts(f"#{plot} .dygraph-axis-label-x") for plot in ("signal", "distance")] + [
            self.browser.execute_script("return document.querySelector('#lanes svg').innerHTML")]

    def drag(self, plot, begin, end):
        """Drags along the upper half of a plot; in pixels from its middle."""
        half = (end - begin) // 2
        (ActionChains(self.browser).move_to_element_with_offset(self.find(plot), begin, -50)
         .click_and_hold().move_by_offset(half, 20).move_by_offset(half, 20).release().perform())

    def test_says_of_each_device_and_of_the_run_what_explain_says(self):
        for options in ([], FILTERED):
            devices, run = explained(*options)
            self.open(*options)
            facts = dict(self.rows_of_facts("#facts"))
            self.assertEqual(facts["Advertisements"], f"{run['advertisements']:,}")
            self.assertEqual(facts["Events"], f"{run['events']:,}")
            self.assertEqual(facts["Length"], "3 min 1 s")
            self.assertEqual(facts["Began"], "2024-05-04 10:00:00 UTC")
            for opener in self.browser.find_elements(By.CSS_SELECTOR, ".opener"):
                opener.click()
            rows = self.rows("#devices tbody tr.device")
            reasons = self.browser.execute_script(
                "return [...document.querySelectorAll('tr.details')].map("
                "(row) => [...row.querySelectorAll('li')].map((item) => item.textContent))")
            self.assertEqual(len(rows), len(devices))
            for row, sentences in zip(rows, reasons):
                device = next(device for address, device in devices.items() if address in row[0])
                detected = device["events"] if not options else device["fates"].get("ranged", 0)
                fates = ", ".join(f"{fate} {count}" for fate, count in device["fates"].items())
                rssi = device["rssi"]
                self.assertEqual(row[1:], [
                    fates, str(device["heard"]), str(detected), strength(rssi["min"]),
                    strength(rssi["mean"]), strength(rssi["max"]), time(device["first"]),
                    time(device["last"])])
                self.assertEqual(sentences, device["why"] + device["iphone"])
            self.assertEqual([row[1:] for row in self.rows("#beacons tbody tr")],
                             [[str(beacon[key]) for key in ("devices", "heard", "events", "silent")]
                              for beacon in run["beacons"]])

    def rows_of_facts(self, selector):
        return zip(self.texts(f"{selector} dt"), self.texts(f"{selector} dd"))

    def test_tells_which_filter_heard_nothing_and_why(self):
        self.open(*FILTERED)
        run = explained(*FILTERED)[1]
        self.assertEqual(self.find("h1").text, "17 devices, 7 beacons; 3 of 4 filters heard something")
        verdicts = [f"\u2713 {each['events']} events" for each in run["filters"][:3]]
        self.assertEqual(self.texts("#filters .verdict"), [*verdicts, "\u2717 heard nothing"])
        why = self.find("#filters .silent p").text
        self.assertEqual("The filter " + FILTERS[3] + " detected nothing: n" + why[1:],
                         run["why"][0])
        self.assertFalse(self.find("#attention-section").is_displayed())

    def test_has_a_series_for_each_beacon_and_each_detected_device(self):
        for options in ([], FILTERED):
            devices, run = explained(*options)
            self.open(*options)
            expected = [device for device in devices.values()
                        if device["frame"] or device.get("events", 0) > 0]
            self.assertEqual(len(self.texts("#legend li")), len(expected))
            rows = self.rows("#signal-text tbody tr")
            self.assertEqual(sorted(int(row[1]) for row in rows),
                             sorted(device["heard"] for device in expected))
            self.assertEqual(sum(int(row[-1]) for row in rows), run["events"])
            heard = sum(device["heard"] for device in expected)
            self.assertIn(f"{heard:,} readings", self.find("#plots-note").text)

    def test_zooms_all_plots_together(self):
        self.open(*FILTERED)
        whole = self.plotted()
        self.assertEqual(whole[0], whole[1])
        self.drag("#signal", -300, 200)
        zoomed = self.plotted()
        self.assertEqual(zoomed[0], zoomed[1])
        self.assertRegex(" ".join(zoomed[0]), r"^10:00:[345]\d .* 10:02:0\d$")
        self.assertNotEqual(zoomed[2], whole[2])
        self.find("#whole").click()
        self.assertEqual(self.plotted(), whole)
        self.drag("#distance", 100, -40)
        self.assertNotEqual(self.plotted()[0], whole[0])
        self.find("#distance").send_keys("0")
        self.assertEqual(self.plotted(), whole)
        for button, key in (("closer", "+"), ("wider", "-"), ("earlier", Keys.SHIFT + Keys.LEFT)):
            self.find("#closer").click()
            self.find(f"#{button}").click()
            clicked = self.plotted()
            self.find("#whole").click()
            self.find("#lanes").send_keys("+")
            self.find("#lanes").send_keys(key)
            self.assertEqual(self.plotted(), clicked, button)
            self.find("#lanes").send_keys("0")

    def test_zooms_with_the_range_selector(self):
        self.open()
        before = self.plotted()
        handle = self.browser.find_elements(By.CSS_SELECTOR, ".dygraph-rangesel-zoomhandle")[0]
        (ActionChains(self.browser).click_and_hold(handle).move_by_offset(8, 0)
         .move_by_offset(150, 0).move_by_offset(150, 0).release().perform())
        after = self.plotted()
        self.assertNotEqual(after[0], before[0])
        self.assertEqual(after[0], after[1])
        self.assertNotEqual(after[2], before[2])

    def test_shows_one_device_alone(self):
        self.open(*FILTERED)
        entries = self.browser.find_elements(By.CSS_SELECTOR, "#legend button")
        lanes = len(self.texts("#lanes-text li"))
        gallery = next(entry for entry in entries if "Gallery" in entry.text)
        gallery.click()
        self.assertEqual([row[0] for row in self.rows("#signal-text tbody tr")], ["Gallery 1/1"])
        self.assertEqual(len(self.texts("#lanes-text li")), lanes - 3)
        self.find("#all").click()
        self.assertEqual(len(self.rows("#signal-text tbody tr")), len(entries))
        self.opener("Entrance").click()
        self.assertEqual([row[0] for row in self.rows("#signal-text tbody tr")], ["Entrance 1/2"])
        self.find("#signal").send_keys(Keys.ESCAPE)
        self.assertEqual(len(self.rows("#signal-text tbody tr")), len(entries))

    def test_shows_the_values_under_the_cursor(self):
        self.open(*FILTERED)
        self.find("#signal").send_keys(Keys.RIGHT)
        self.assertRegex(self.find("#cursor-time").text, r"^10:01:3\d\.\d$")
        values = dict(zip(self.texts("#legend li button > span:nth-child(2)"),
                          self.texts("#legend .value")))
        self.assertEqual(values["Café 100/8"], "not heard")
        self.assertRegex(values["Entrance 1/2"], r"^\u2212\d\d dBm( \u00b7 \d\d m far)?$")

    def test_sorts_and_searches_the_table(self):
        self.open()
        devices = explained()[0].values()
        heads = self.browser.find_elements(By.CSS_SELECTOR, "#devices th button")
        for place, key in ((2, "heard"), (3, "events"), (7, "first")):
            column = [row[place] for row in self.rows("#devices tbody tr")]
            heads[place].click()
            shown = [row[place] for row in self.rows("#devices tbody tr")]
            ordered = sorted((device[key] for device in devices), reverse=key != "first")
            self.assertEqual(shown, [time(each) if key == "first" else str(each)
                                     for each in ordered])
            self.assertNotEqual(column, shown)
            heads[place].click()
            self.assertEqual([row[place] for row in self.rows("#devices tbody tr")][0], shown[-1])
        self.find("#search").send_keys("gallery 1-")
        self.assertEqual(len(self.rows("#devices tbody tr")), 1)
        self.assertEqual(self.find("#found").text, "1 of 17 devices")
        self.find("#search").clear()
        self.find("#search").send_keys("coalesced")
        self.assertEqual(len(self.rows("#devices tbody tr")),
                         sum("coalesced" in device["fates"] for device in devices))

    def test_takes_what_comes_from_the_air_as_text(self):
        scenario = pathlib.Path(self.folder.name) / "hostile.jsonl"
        steps = [{"at": 0, "listen": True}, {"call": "startDetection"}]
        steps += [{"at": 1, "advertise": {"address": f"C6:00:00:00:00:0{place}", "name": name,
                                          "manufacturerData": "590001", "rssi": -60}}
                  for place, name in enumerate(HOSTILE)]
        # Those without manufacturer data are not detected, and the reason has their names.
        steps += [{"at": 2, "advertise": {"address": f"C6:00:00:00:00:1{place}", "name": name,
                                          "rssi": -60}} for place, name in enumerate(HOSTILE)]
        scenario.write_text("\n".join(json.dumps(step) for step in steps), encoding="utf-8")
        self.open(str(scenario))
        self.assertEqual(self.texts(".opener > span:nth-child(2)"), HOSTILE + HOSTILE)
        self.assertEqual(self.texts("#legend button > span:nth-child(2)"), HOSTILE)
        for opener in self.browser.find_elements(By.CSS_SELECTOR, ".opener"):
            opener.click()
        sentences = self.texts("tr.details li")
        for name in HOSTILE:
            self.assertTrue(any(f'"{name}"' in sentence for sentence in sentences), name)
        self.assertEqual(self.browser.find_elements(By.CSS_SELECTOR, "img[src=x], tr.details b"), [])

    def test_shows_an_empty_result(self):
        self.open("--for", "0.001")
        self.assertEqual(self.find("h1").text, "0 devices, 0 beacons; 0 devices detected")
        self.assertIn("Nothing was detected", self.find("#attention").text)
        self.assertIn("No beacon was heard", self.find("#signal").text)
        self.assertEqual(self.rows("#devices tbody tr"), [])

    def test_fits_a_telephone_and_a_wide_screen(self):
        for width in (360, 950, 1440):
            for dark in (False, True):
                self.open(*FILTERED, width=width, dark=dark)
                self.browser.execute_script(
                    "document.querySelectorAll('details').forEach((each) => { each.open = true; });"
                    "document.querySelectorAll('.opener').forEach((each) => each.click());")
                wide = self.browser.execute_script(
                    "return [...document.querySelectorAll('body *:not(svg *)')].filter((each) => "
                    "!each.closest('.alternative, .unseen') && "
                    "each.getBoundingClientRect().right > innerWidth + 1).map("
                    "(each) => each.tagName + '.' + each.className)")
                self.assertEqual(wide, [], (width, dark))
                paper = self.find("body").value_of_css_property("background-color")
                self.assertEqual(paper, "rgba(20, 24, 29, 1)" if dark else "rgba(255, 255, 255, 1)")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
