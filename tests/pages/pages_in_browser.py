"""Opens the tool's pages in headless Chromium, uses them as a person would, and takes pictures of them.

usage: pages_in_browser.py TOOL EXAMPLE_DATA PICTURES [BLOCK_EXAMPLE]

BLOCK_EXAMPLE is the program that makes a small block of images; without it the page of `adjust` stays out.

Without a Chromium the test is left out, and says so.
"""

from __future__ import annotations

import itertools
import random
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from typing import Any

from devtools import Browser

CHROMIUM = next(filter(None, map(shutil.which, ("chromium", "chromium-browser", "google-chrome"))), None)
LOOKED_AT = ["fit", "refine", "check", "pairs"]
WIDTHS = (1280, 390)
SCHEMES = ("light", "dark")
HOSTILE = "<script>window.hacked=1<script><img src=x onerror=window.hacked=1>\"'&.txt"
# Roles that a person has to be told the name of.
NAMED = ("button", "searchbox", "combobox", "link", "image", "columnheader", "rowheader", "region", "table")
LEAST_CONTRAST = 4.5  # of text on its ground: WCAG 2.2, 1.4.3
LEAST_TEXT = 8.5  # pixels of text in a drawing on the narrow screen

TOOL, DATA, PICTURES = (Path(argument).resolve() for argument in sys.argv[1:4])
BLOCK_EXAMPLE = next(iter(sys.argv[4:]), "")


def run(folder: Path, *arguments: str, text: str = "", status: int = 0) -> str:
    """The tool's standard output; another status ends the test."""
    done = subprocess.run([TOOL, *arguments], cwd=folder, input=text, capture_output=True, text=True, check=False)
    if done.returncode != status:
        raise RuntimeError(f"{arguments}: status {done.returncode}, {done.stderr}")
    return done.stdout


def control_points(folder: Path, across: int, along: int) -> str:
    """A table of points all over the left example image: a shift, a slope, noise, a blunder now and then."""
    dice = random.Random(across * along)
    places = [(dice.uniform(0, 15999), dice.uniform(0, 15999), dice.uniform(380, 480)) for _ in range(across * along)]
    table = "".join(f"{line:.3f} {sample:.3f} {height:.2f}\n" for line, sample, height in places)
    ground = run(folder, "locate", str(DATA / "pushbroom_left.RPB"), text=table).splitlines()
    rows = ["id,lat,lon,height,line,sample,role"]
    for number, (where, (line, sample, _)) in enumerate(zip(ground, places, strict=True)):
        line += 2.3 + (line - 8000) * 2e-4 + dice.gauss(0, 0.35)
        sample += -1.7 + dice.gauss(0, 0.5)
        if number % 17 == 16:
            line += 19
        role = "check" if number % 6 == 5 else "control"
        rows.append(",".join([f"P{number + 1}", *where.split()[:3], f"{line:.3f}", f"{sample:.3f}", role]))
    return "\n".join(rows) + "\n"


def make_pages(folder: Path) -> dict[str, Path]:
    """The pages that are looked at, by name."""
    model = str(DATA / "pushbroom_left.RPB")
    (folder / "control.txt").write_text(control_points(folder, 7, 7))
    (folder / HOSTILE).write_text(control_points(folder, 3, 3))
    (folder / "many.txt").write_text(control_points(folder, 250, 400))
    run(folder, "fit", "control.txt", "fitted.RPB", "--html", "fit.html")
    run(folder, "refine", model, "control.txt", "refined.xml", "--html", "refine.html")
    run(folder, "refine", model, HOSTILE, "refined.xml", "--html", "hostile.html")
    run(folder, "fit", "many.txt", "many.RPB", "--html", "many.html")
    # A coefficient of the denominator that puts a pole into the image, and heights that no ground has.
    text = (DATA / "pushbroom_right.RPB").read_text()
    (folder / "pole.RPB").write_text(re.sub(r"(lineDenCoef = \((?:[^,]*,){2})[^,]*", r"\1 4.0", text))
    (folder / "tall.RPB").write_text(re.sub(r"heightScale = .*;", "heightScale = 9000;", text))
    run(folder, "check", model, "pole.RPB", "tall.RPB", "none.RPB", "--mirrored", "--html", "check.html", status=1)
    right = str(DATA / "pushbroom_right.RPB")
    run(folder, "pairs", model, right, "tall.RPB", "--min-angle", "20", "--html", "pairs.html")
    pages = {name: folder / f"{name}.html" for name in (*LOOKED_AT, "hostile", "many")}
    if BLOCK_EXAMPLE:
        (folder / "block").mkdir()
        subprocess.run([BLOCK_EXAMPLE, "block"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
        images = [f"block/image{i}.xml" for i in range(6)]
        ties = ("--measurements", "block/measurements.csv", "--control", "block/control.csv")
        run(folder, "adjust", *images, *ties, "--sigma", "0.3", "--out", "adjusted")
        pages["adjust"] = folder / "adjusted" / "report.html"
        LOOKED_AT.append("adjust")
    return pages


def contrast(first: str, second: str) -> float:
    """Ratio of luminances of two colours "#rrggbb" (WCAG 2.2, relative luminance)."""

    def luminance(colour: str) -> float:
        parts = [int(colour[i : i + 2], 16) / 255 for i in (1, 3, 5)]
        linear = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in parts]
        return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]

    light, dark = sorted((luminance(first), luminance(second)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


# Rows of the first table that sorts, as they are shown: texts of the cells.
ROWS = """[...document.querySelector("[data-sorts-and-filters] tbody").rows].filter(r => r.checkVisibility())
          .map(r => [...r.cells].map(c => c.textContent))"""
HEAD = 'document.querySelectorAll("[data-sorts-and-filters] thead th")'
COLOURS = """Object.fromEntries(["paper","panel","ink","muted","plain","second","bad","land","mark"].map(name =>
          [name, getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim()]))"""
# Elements that reach beyond the screen's right edge.
BEYOND = """[...document.querySelectorAll("main :not(svg *)")]
            .filter(e => e.getBoundingClientRect().right > innerWidth + 0.5).map(e => e.outerHTML.slice(0, 80))"""
# Words in drawings: what lies on each other or outside of its drawing, and the smallest letters.
WORDS = """[...document.querySelectorAll("figure > svg")].map(svg => {
  const box = svg.getBoundingClientRect();
  const scale = box.width / svg.viewBox.baseVal.width;
  const texts = [...svg.querySelectorAll("text")].map(t => [t.textContent, t.getBoundingClientRect(),
                                                            parseFloat(getComputedStyle(t).fontSize) * scale]);
  const apart = (a, b) => a.right <= b.left || b.right <= a.left || a.bottom - 3 <= b.top || b.bottom - 3 <= a.top;
  return {name: svg.querySelector("title").textContent, smallest: Math.min(...texts.map(t => t[2])),
    outside: texts.filter(([, r]) => r.left < box.left || r.right > box.right ||
                                     r.top < box.top || r.bottom > box.bottom).map(t => t[0]),
    overlapping: texts.flatMap((a, i) => texts.slice(i + 1).filter(b => !apart(a[1], b[1])).map(b => [a[0], b[0]]))};
})"""


@unittest.skipIf(CHROMIUM is None, "no chromium on this machine")
class Pages(unittest.TestCase):
    """Every page, at two widths, light and dark, on paper, by mouse and by keyboard."""

    folder: Path
    pages: dict[str, Path]
    browser: Browser

    @classmethod
    def setUpClass(cls) -> None:
        cls.folder = Path(tempfile.mkdtemp(prefix="pages-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.pages = make_pages(cls.folder)
        PICTURES.mkdir(parents=True, exist_ok=True)
        assert CHROMIUM is not None
        cls.browser = Browser(CHROMIUM)
        cls.addClassCleanup(cls.browser.close)

    def open(self, name: str, width: int = 1280, scheme: str = "light", media: str = "") -> None:
        """Opens a page; it must ask for nothing but itself, and complain of nothing."""
        self.browser.show(width, 844 if width < 600 else 900, scheme, media)
        self.browser.open(self.pages[name])
        self.assertEqual(self.browser.requests(), [self.pages[name].as_uri()])
        self.assertEqual(self.browser.complaints(), [])

    def tearDown(self) -> None:
        self.assertEqual(self.browser.complaints(), [], "after the page has been used")
        self.assertEqual(len(self.browser.requests()), 1, "after the page has been used")

    def ask(self, expression: str) -> Any:
        return self.browser.evaluate(expression)

    def test_pictures_and_words(self) -> None:
        """Nothing is wider than the screen, no words of a drawing lie on each other or are too small."""
        for name, width, scheme in itertools.product(LOOKED_AT, WIDTHS, SCHEMES):
            with self.subTest(page=name, width=width, scheme=scheme):
                self.open(name, width, scheme)
                self.assertEqual(self.ask("document.documentElement.scrollWidth"), width)
                self.assertEqual(self.ask(BEYOND), [])
                for drawing in self.ask(WORDS):
                    self.assertEqual((drawing["outside"], drawing["overlapping"]), ([], []), drawing["name"])
                    self.assertGreater(drawing["smallest"], LEAST_TEXT, drawing["name"])
                self.browser.picture(PICTURES / f"{name}-{width}-{scheme}.png")

    def test_colours_have_contrast(self) -> None:
        dark = {}
        for scheme in SCHEMES:
            self.open("fit", scheme=scheme)
            colours = self.ask(COLOURS)
            for ink, ground in itertools.product(
                ("ink", "muted", "plain", "second", "bad"), ("paper", "panel", "land", "mark")
            ):
                ratio = contrast(colours[ink], colours[ground])
                self.assertGreaterEqual(ratio, LEAST_CONTRAST, f"{scheme}: {ink} on {ground}")
            dark[scheme] = colours
        # The button gives the same colours as the system's setting, both ways.
        for scheme, other in (SCHEMES, SCHEMES[::-1]):
            self.open("fit", scheme=scheme)
            self.browser.click("document.getElementById('dark')")
            self.assertEqual(self.ask(COLOURS), dark[other])
            self.assertEqual(self.ask("document.getElementById('dark').ariaPressed"), str(other == "dark").lower())

    def sorted_rows(self, column: int, down: bool) -> None:
        """The rows stand by a column, numbers by value."""
        head = f"{HEAD}[{column}]"
        self.assertEqual(self.ask(f"{head}.ariaSort"), "descending" if down else "ascending")
        self.assertEqual(self.ask(f"{HEAD}.length - [...{HEAD}].filter(h => h.ariaSort === null).length"), 1)
        cells = [row[column] for row in self.ask(ROWS)]
        if self.ask(f"{head}.dataset.kind") == "number":
            values: list[Any] = [float(cell) for cell in cells if cell != "none"]
        else:
            values = [[int(part) if part.isdigit() else part for part in re.split(r"(\d+)", cell)] for cell in cells]
        self.assertGreater(len(values), 40)
        self.assertEqual(values, sorted(values, reverse=down))

    def test_tables_sort_by_mouse_and_keyboard(self) -> None:
        for width in WIDTHS:
            self.open("refine", width)
            for column in range(self.ask(f"{HEAD}.length")):
                numbers = self.ask(f"{HEAD}[{column}].dataset.kind") == "number"
                down = self.ask(f"{HEAD}[{column}].ariaSort") != "descending" if numbers else False
                with self.subTest(width=width, column=column):
                    self.browser.click(f"{HEAD}[{column}].querySelector('button')")
                    self.sorted_rows(column, down)
                    self.assertEqual(self.ask("document.activeElement.tagName"), "BUTTON")
                    self.browser.press("Enter", 13, "\r")
                    self.sorted_rows(column, not down)

    def test_tables_filter(self) -> None:
        self.open("fit")
        rows = self.ask(ROWS)
        self.assertEqual(len(rows), 49)
        self.ask('document.querySelector("input[type=search]").focus()')
        self.browser.type("p1 CHECK")
        found = [row for row in rows if "p1" in " ".join(row).lower() and "check" in row]
        self.assertTrue(found)
        self.assertEqual(self.ask(ROWS), found)
        status = 'document.querySelector("[role=status]").textContent'
        self.assertEqual(self.ask(status), f"{len(found)} of 49 rows")
        self.ask('document.querySelector("input[type=search]").select()')
        self.browser.press("Delete", 46)
        self.assertEqual(len(self.ask(ROWS)), 49)
        # The choice by keyboard: its first word is "all", then those that occur by the alphabet.
        self.ask('document.querySelector(".controls select").focus()')
        self.browser.press("ArrowDown", 40)
        self.assertEqual([row[1] for row in self.ask(ROWS)], [row[1] for row in rows if row[1] == "bad"])

    def test_assistive_technology_is_told_everything(self) -> None:
        for name, width in itertools.product(("fit", "refine"), WIDTHS):
            with self.subTest(page=name, width=width):
                self.open(name, width)
                nodes = self.browser.accessible()
                roles = [role for role, _ in nodes]
                for landmark in ("banner", "navigation", "main", "contentinfo"):
                    self.assertEqual(roles.count(landmark), 1, landmark)
                nameless = [role for role, text in nodes if role in NAMED and not text.strip()]
                self.assertEqual(nameless, [])
                self.assertEqual(roles.count("image"), self.ask("document.querySelectorAll('figure').length"))
                # Cards of narrow screens are still rows and cells.
                self.assertGreater(roles.count("row"), 49)
                self.assertGreater(roles.count("rowheader"), 48)
                self.assertGreater(roles.count("cell") + roles.count("gridcell"), 49 * 6)
                levels = self.ask("[...document.querySelectorAll('h1,h2,h3')].map(h => +h.tagName[1])")
                self.assertEqual(levels[0], 1)
                self.assertEqual(levels.count(1), 1)
                self.assertTrue(all(after - before <= 1 for before, after in itertools.pairwise(levels)), levels)
                self.assertEqual(self.ask("[...document.querySelectorAll('table')].filter(t => !t.caption).length"), 0)
                self.assertEqual(self.ask("document.querySelectorAll('th:not([scope])').length"), 0)
                ids = self.ask("[...document.querySelectorAll('[id]')].map(e => e.id)")
                self.assertEqual(len(ids), len(set(ids)))

    def test_names_of_strangers_stay_words(self) -> None:
        self.open("hostile")
        self.assertIsNone(self.ask("window.hacked ?? null"))
        self.assertEqual(self.ask("document.querySelectorAll('script, img').length"), 1)
        self.assertIn(HOSTILE, self.ask("document.querySelector('h1').textContent"))
        # Were one of them let through, the policy would still not run it.
        self.ask("document.body.insertAdjacentHTML('beforeend', '<img src=data:, onerror=window.hacked=1>')")
        self.ask("new Promise(done => setTimeout(done, 50))")
        self.assertIsNone(self.ask("window.hacked ?? null"))
        self.browser.events = [e for e in self.browser.events if e.get("method") != "Log.entryAdded"]

    def test_verdicts_and_findings(self) -> None:
        """The heaviest come first, on the page and on the map, and the lists of choices leave what they say."""
        self.open("check")
        verdicts = [row[1] for row in self.ask(ROWS)]
        self.assertEqual(verdicts, ["cannot be read", "unfit", "fit, with warnings", "fit"])
        outlines = self.ask(
            "[...document.querySelectorAll('figure > svg > g > path.outline')].map(e => e.classList[1])"
        )
        self.assertEqual(outlines, [None, "second"])  # one with a pole in it has no outline
        select = "document.getElementById('table-2-choice-1')"
        self.ask(f"{select}.value = 'unfit'; {select}.dispatchEvent(new Event('change'))")
        shown = (
            "[...document.querySelector('#table-2 tbody').rows].filter(r => !r.hidden).map(r => r.cells[0].textContent)"
        )
        self.assertEqual(set(self.ask(shown)), {"pole.RPB"})

    def test_check_points(self) -> None:
        """They are among the points, and the summary has the root mean square of what the table says."""
        self.open("refine")
        distances = [float(row[8]) for row in self.ask(ROWS) if row[1] == "check"]
        self.assertEqual(len(distances), 8)
        rms = (sum(distance**2 for distance in distances) / 8) ** 0.5
        self.assertIn(f"8, rms after {rms:.3f}", self.ask("document.querySelector('dl').textContent"))
        self.assertEqual(self.ask("document.querySelectorAll('.arrow.second').length"), 16)

    def test_pairs(self) -> None:
        """The best come first, those that do not meet the criteria say why, overlaps lie on the map."""
        self.open("pairs")
        rows = self.ask(ROWS)
        self.assertEqual([row[2] for row in rows], ["yes", "no", "no"])
        self.assertEqual([row[-1] for row in rows], ["", "convergence", "convergence"])
        self.assertEqual(self.ask("document.querySelectorAll('figure > svg > g > path.outline.second').length"), 3)

    def test_many_points(self) -> None:
        """A hundred thousand points make a page that is short enough, and says what it leaves out."""
        self.open("many")
        self.assertEqual(self.ask("document.querySelectorAll('.arrow').length"), 601)  # and the key's
        self.assertEqual(len(self.ask(ROWS)), 500)
        text = self.ask("document.body.innerText")
        self.assertIn("600 of 100,000 points", text)
        self.assertIn("500 points with the largest residuals of 100,000 are listed", text)
        self.assertLess(self.pages["many"].stat().st_size, 1_500_000)
        self.browser.picture(PICTURES / "many-1280-light.png")

    def test_paper(self) -> None:
        """Print is light, has no controls, and opens what is closed."""
        for name in LOOKED_AT:
            self.open(name, 794, "dark", "print")
            self.assertEqual(self.ask(COLOURS)["ink"], "#1b2429")
            controls = "[...document.querySelectorAll('.controls, #dark, nav')]"
            self.assertFalse(self.ask(f"{controls}.some(e => e.checkVisibility())"))
            self.ask("window.dispatchEvent(new Event('beforeprint'))")
            self.assertEqual(self.ask("document.querySelectorAll('details:not([open])').length"), 0)
            self.assertEqual(self.ask("document.documentElement.scrollWidth"), 794)
            self.browser.picture(PICTURES / f"{name}-print.png")
            self.ask("window.dispatchEvent(new Event('afterprint'))")
            self.assertEqual(self.ask("document.querySelectorAll('details[open]').length"), 0)
            self.browser.print(PICTURES / f"{name}.pdf")

    def test_without_scripts(self) -> None:
        """The page is whole, only still."""
        self.browser.call("Emulation.setScriptExecutionDisabled", value=True)
        self.addCleanup(self.browser.call, "Emulation.setScriptExecutionDisabled", value=False)
        self.open("fit")
        roles = [role for role, _ in self.browser.accessible()]
        self.assertGreater(roles.count("row"), 49)
        self.assertEqual(roles.count("button"), 0)


if __name__ == "__main__":
    if CHROMIUM is None:
        print("[ LEFT OUT ] the pages in a browser: no chromium on this machine")
        sys.exit(0)
    unittest.main(argv=sys.argv[:1])
