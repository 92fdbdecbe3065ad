"""A headless Chromium, driven by its DevTools protocol through a pipe; nothing but the standard library.

Protocol: https://chromedevtools.github.io/devtools-protocol/ ; over a pipe, messages are JSON texts that end in a null
byte, on the descriptors 3 (to the browser) and 4 (from it).
"""

from __future__ import annotations

import base64
import json
import os
import select
import shutil
import subprocess
import tempfile
from pathlib import Path
from typing import Any

PATIENCE = 60.0
"""Seconds without a word from the browser after which a call has failed."""


class Browser:
    """One browser with one tab."""

    def __init__(self, program: str) -> None:
        self._profile = tempfile.mkdtemp(prefix="pages-")
        to_browser, self._to = os.pipe()
        self._from, from_browser = os.pipe()
        # The shell puts the pipes where the browser looks for them; the program's own descriptors may stand there.
        wire = f'exec 3<&{to_browser} 4>&{from_browser}; exec "$@"'
        options = [
            "--headless=new",
            "--no-sandbox",  # as root there is none
            "--remote-debugging-pipe",
            "--disable-gpu",
            "--disable-dev-shm-usage",  # containers have little of it
            "--disable-background-networking",
            "--no-first-run",
            "--hide-scrollbars",
            "--force-color-profile=srgb",
            f"--user-data-dir={self._profile}",
            "about:blank",
        ]
        self._process = subprocess.Popen(
            ["bash", "-c", wire, "bash", program, *options],
            pass_fds=(to_browser, from_browser),
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
        )
        os.close(to_browser)
        os.close(from_browser)
        self._read = b""
        self._last = 0
        self.events: list[dict[str, Any]] = []
        self._session = ""
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network", "Accessibility"):
            self.call(f"{domain}.enable")

    def close(self) -> None:
        """Ends the browser and takes its profile away."""
        self._session = ""
        try:
            self.call("Browser.close")
        except (OSError, RuntimeError):
            self._process.kill()
        try:
            self._process.wait(10)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        os.close(self._to)
        os.close(self._from)
        shutil.rmtree(self._profile, ignore_errors=True)

    def _message(self) -> dict[str, Any]:
        while b"\0" not in self._read:
            ready, _, _ = select.select([self._from], [], [], PATIENCE)
            part = os.read(self._from, 1 << 20) if ready else b""
            if not part:
                raise RuntimeError("the browser is silent" if not ready else "the browser has ended")
            self._read += part
        text, self._read = self._read.split(b"\0", 1)
        message: dict[str, Any] = json.loads(text)
        return message

    def call(self, method: str, **parameters: Any) -> dict[str, Any]:
        """Calls a method and gives its result; events that come meanwhile are kept."""
        self._last += 1
        message: dict[str, Any] = {"id": self._last, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self._to, data) :]
        while True:
            answer = self._message()
            if answer.get("id") != self._last:
                self.events.append(answer)
            elif "error" in answer:
                raise RuntimeError(f"{method}: {answer['error']}")
            else:
                result: dict[str, Any] = answer["result"]
                return result

    def open(self, page: Path) -> None:
        """Opens a file in the tab and waits until it is loaded; events from before are forgotten."""
        self.events.clear()
        self.call("Page.navigate", url=page.as_uri())
        while not any(event.get("method") == "Page.loadEventFired" for event in self.events):
            self.events.append(self._message())

    def evaluate(self, expression: str) -> Any:
        """The value of an expression in the page; an exception there is one here."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(answer["exceptionDetails"].get("exception", {}).get("description", "exception"))
        return answer["result"].get("value")

    def show(self, width: int, height: int, scheme: str = "light", media: str = "") -> None:
        """Sets the size of the screen, the colour scheme of the system, and the medium."""
        self.call(
            "Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=width < 600
        )
        features = [{"name": "prefers-color-scheme", "value": scheme}]
        self.call("Emulation.setEmulatedMedia", media=media, features=features)

    def click(self, element: str) -> None:
        """Clicks with the mouse into the middle of the element that an expression gives."""
        place = self.evaluate(
            f"(() => {{ const e = {element}; e.scrollIntoView({{block: 'center'}});"
            " const r = e.getBoundingClientRect(); return [r.x + r.width / 2, r.y + r.height / 2]; })()"
        )
        for kind in ("mousePressed", "mouseReleased"):
            self.call("Input.dispatchMouseEvent", type=kind, x=place[0], y=place[1], button="left", clickCount=1)

    def press(self, key: str, code: int, text: str = "") -> None:
        """Presses a key."""
        for kind in ("keyDown", "keyUp"):
            self.call("Input.dispatchKeyEvent", type=kind, key=key, code=key, windowsVirtualKeyCode=code, text=text)

    def type(self, text: str) -> None:
        """Types into what has the focus."""
        self.call("Input.insertText", text=text)

    def complaints(self) -> list[str]:
        """What the page wrote to the console, threw, or had refused since it was opened."""
        found = []
        for event in self.events:
            if event.get("method") in ("Runtime.consoleAPICalled", "Runtime.exceptionThrown", "Log.entryAdded"):
                found.append(json.dumps(event["params"])[:500])
        return found

    def requests(self) -> list[str]:
        """Addresses that were asked for since the page was opened, data in the page itself apart."""
        sent = [e["params"]["request"]["url"] for e in self.events if e.get("method") == "Network.requestWillBeSent"]
        return [url for url in sent if not url.startswith("data:")]

    def picture(self, file: Path) -> None:
        """Takes a picture of the whole page, as long as it is (at most 16,000 pixels)."""
        size = self.call("Page.getLayoutMetrics")["cssContentSize"]
        clip = {"x": 0, "y": 0, "width": size["width"], "height": min(size["height"], 16000), "scale": 1}
        shot = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=True, clip=clip)
        file.write_bytes(base64.b64decode(shot["data"]))

    def print(self, file: Path) -> None:
        """Prints the page into a PDF file."""
        answer = self.call("Page.printToPDF", preferCSSPageSize=True, paperWidth=8.27, paperHeight=11.69)
        file.write_bytes(base64.b64decode(answer["data"]))

    def accessible(self) -> list[tuple[str, str]]:
        """Role and name of everything that assistive technology is told of."""
        nodes = self.call("Accessibility.getFullAXTree")["nodes"]
        return [
            (node["role"]["value"], node.get("name", {}).get("value", ""))
            for node in nodes
            if not node.get("ignored") and "role" in node
        ]
