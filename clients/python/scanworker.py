#!/usr/bin/env python3
"""Scans from any Python (3.8 on, 32 or 64 bits; Windows, or Linux with Wine) through smworker.exe.

    for page in scanworker.scan(mode="gray", resolution=300, pages="all", output="page%03d.png"):
        print(page["file"], page["width"], page["height"])

A Worker is for more than one scan, and for what else the worker can do (docs/worker.md). This file needs nothing
else and may be copied. As a command: scanworker.py --mode gray --pages all out.pdf; --help tells the rest.
"""
import collections
import json
import os
import queue
import subprocess
import sys
import threading
from pathlib import Path

END, USUAL = object(), object()


class ScanError(Exception):
    """What the worker answered instead of a result: code, text, data (condition, page, pagesKept ...)."""

    def __init__(self, code, message, data=None):
        super().__init__(message)
        self.code, self.data = code, data or {}


class WorkerGone(Exception):
    """The worker ended: mostly a driver that crashed. Its error output says why; pages that were told are kept."""


class WorkerSilent(Exception):
    """Nothing came in the time allowed. The worker can still be asked: ping() tells whether the source hangs."""


def default_command():
    """SMWORKER in the environment ("wine smworker.exe"), or smworker.exe beside this file or in its package."""
    given = os.environ.get("SMWORKER")
    if given:
        return [given] if Path(given).exists() else given.split(" ")
    here = Path(__file__).resolve().parent
    places = [here, here / "../../bin", here / "../../build/mingw32/bin"]
    found = [str(place / "smworker.exe") for place in places if (place / "smworker.exe").exists()]
    return ([] if os.name == "nt" else ["wine"]) + [(found or ["smworker.exe"])[0]]


class Worker:
    """A process of its own, with one source open at a time. Relative file names count from `cwd`."""

    def __init__(self, command=None, cwd=None, env=None, stderr=None, timeout=120):
        self.timeout, self.events, self._id = timeout, collections.deque(), 0
        self.process = subprocess.Popen(command or default_command(), stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=stderr, cwd=cwd, env=env)
        self._lines = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()
        try:
            self.about = self.call("initialize", protocolVersion=1)
        except BaseException:
            self.kill()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _read(self):
        try:
            for line in self.process.stdout:
                if line.endswith(b"\n"):  # else it was cut off in the midst
                    self._lines.put(json.loads(line))
        finally:
            self._lines.put(END)

    def send(self, method, **params):
        """Sends a request without waiting; returns its id."""
        self._id += 1
        request = {"jsonrpc": "2.0", "id": self._id, "method": method, "params": params}
        try:
            self.process.stdin.write(json.dumps(request).encode() + b"\n")
            self.process.stdin.flush()
        except OSError:
            raise WorkerGone("the worker is gone") from None
        return self._id

    def receive(self, timeout=USUAL):
        """The next message, whatever it is. A timeout of None is none."""
        limit = self.timeout if timeout is USUAL else timeout
        try:
            message = self._lines.get(timeout=limit)
        except queue.Empty:
            raise WorkerSilent(f"nothing from the worker in {limit} seconds") from None
        if message is END:
            self._lines.put(END)
            raise WorkerGone("the worker is gone")
        return message

    def answer(self, request, timeout=USUAL):
        """Waits for the result of a request; notifications that come before are kept in `events`."""
        while True:
            message = self.receive(timeout)
            if "method" in message:
                self.events.append(message)
            elif message["id"] in (request, None):  # none: it couldn't be read
                return result_of(message)

    def call(self, method, **params):
        return self.answer(self.send(method, **params))

    def ping(self):
        """What the worker is at; also while a scan runs. Another request's answer isn't to be waited for meanwhile."""
        return self.answer(self.send("ping"), timeout=5)

    def open(self, source=None):
        return self.call("open", **({} if source is None else {"source": source}))["source"]

    def scan(self, on_event=None, **order):
        """Yields each page as it is complete. Whoever stops early cancels the rest."""
        request, done = self.send("scan", **for_worker(order)), False
        try:
            while True:
                message = self.receive(None if order.get("ui") else USUAL)  # people take their time
                if message.get("method") == "page":
                    yield from_worker(message["params"])
                elif "method" in message:
                    if on_event:
                        on_event(message["method"], message["params"])
                elif message["id"] in (request, None):
                    done = True
                    result_of(message)
                    return
        except WorkerGone:
            done = True
            raise
        finally:
            if not done:
                self.send("cancel", id=request)
                try:
                    self.answer(request, timeout=10)
                except (ScanError, WorkerGone, WorkerSilent):
                    pass

    def close(self):
        """Ends the worker: by itself, within five seconds even when the driver hangs; else by force."""
        try:
            self.process.stdin.close()
        except OSError:
            pass
        try:
            self.process.wait(8)
        except subprocess.TimeoutExpired:
            self.kill()

    def kill(self):
        self.process.kill()
        self.process.wait()


def result_of(message):
    if "error" in message:
        error = message["error"]
        raise ScanError(error["code"], error["message"], error.get("data"))
    return message["result"]


def for_worker(order):
    """Wine shows the files of Linux as drive Z:."""
    output = str(order.get("output", ""))
    drive = "Z:" if os.name != "nt" and output.startswith("/") else ""
    return {**order, **({"output": drive + output} if output else {})}


def from_worker(page):
    file = page["file"]
    return {**page, "file": file[2:] if os.name != "nt" and file.startswith("Z:") else file}


def scan(source=None, command=None, on_event=None, **order):
    """One scan with a worker of its own: a generator of pages (dictionaries; docs/worker.md tells what is in them)."""
    with Worker(command) as worker:
        worker.open(source)
        yield from worker.scan(on_event, **order)


def main(words=None, command=None):
    words = sys.argv[1:] if words is None else words
    usage = ("usage: scanworker.py [--source NAME] [--SETTING VALUE]... FILE\n"
             "Scans to FILE (page%03d.png, out.pdf ...). Settings are smscan's: --mode color, --resolution 300,\n"
             "--pages all, --paper a4 ... A setting that is only switched on stands as --force on.")
    asked = words[-1:] in (["-h"], ["--help"])
    if asked or len(words) % 2 == 0 or words[-1].startswith("--") or not all(n.startswith("--") for n in words[:-1:2]):
        print(usage, file=sys.stdout if asked else sys.stderr)
        return 0 if asked else 2
    order = {name[2:]: value for name, value in zip(words[:-1:2], words[1:-1:2])}
    try:
        for page in scan(order.pop("source", None), command, lambda method, params: method == "note" and print(
                "Note:", params["text"], file=sys.stderr), output=words[-1], **order):
            print("{file}  {width} x {height} pixels, {bitsPerPixel} bit".format(**page), flush=True)
    except ScanError as error:
        print(error, file=sys.stderr)
        return error.code if 0 < error.code < 7 else 5 if error.code == -32800 else 2
    except KeyboardInterrupt:
        print("Cancelled. Pages that are complete are kept.", file=sys.stderr)
        return 5
    except (WorkerGone, WorkerSilent, OSError) as error:
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
