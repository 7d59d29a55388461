"""The worker as 64-bit programs meet it: native Python on this side, through the client that is shipped.

Usage: worker_test.py SOURCE_DIR BUILD_DIR [FUZZED_LINES]. After each end the files that are left are compared too.
"""
import contextlib
import io
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

SOURCES, BUILD = Path(sys.argv[1]), Path(sys.argv[2])
FUZZED_LINES = int(sys.argv[3]) if len(sys.argv) > 3 else 2000
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCES / "clients/python"))
import scanworker  # noqa: E402
from scanworker import ScanError, Worker, WorkerGone  # noqa: E402

WINE = [str(SOURCES / "scripts/wine.sh"), "--build-dir", str(BUILD), "--prefix", "scan-tests"]
WORKER = [*WINE, "--exec", str(BUILD / "bin/smworker.exe")]
SLOW = dict(Delay=30, StripRows=20)  # a page of some seconds
SMALL = {"resolution": 100, "area": "0,0,2,1"}


def environment(settings):
    return dict(os.environ, **{"VSCAN_" + key.upper(): str(value) for key, value in settings.items()})


class Rude(Worker):
    """Says whatever it is told to."""

    def write(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()


class WorkerTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        self.errors = open(self.folder.with_suffix(".log"), "w+b")
        self.addCleanup(lambda: (self.errors.close(), os.unlink(self.errors.name)))

    def worker(self, opened=True, **settings):
        worker = Rude(WORKER, self.folder, environment(settings), self.errors, timeout=30)
        self.addCleanup(lambda: (worker.kill(), worker.process.stdin.close(), worker.process.stdout.close()))
        if opened:
            worker.open()
        return worker

    def raw(self, settings, *requests):
        """A worker without a client."""
        process = subprocess.Popen(WORKER, cwd=self.folder, env=environment(settings), stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, stderr=self.errors)
        self.addCleanup(lambda: (process.kill(), process.wait(), process.stdin.close(), process.stdout.close()))
        for method, params in requests:
            line = json.dumps({"jsonrpc": "2.0", "id": 1, "method": method, "params": params})
            process.stdin.write(line.encode() + b"\n")
        process.stdin.flush()
        return process

    def files(self):
        return sorted(path.name for path in self.folder.iterdir())

    def log(self):
        return Path(self.errors.name).read_text()

    def until(self, worker, method, page=1):
        """Reads on to this notification."""
        while True:
            message = worker.receive()
            self.assertNotIn("error", message)
            if message.get("method") == method and message["params"]["page"] == page:
                return message["params"]

    def fails(self, code, step, **data):
        with self.assertRaises(ScanError) as raised:
            step()
        self.assertEqual((raised.exception.code, raised.exception.data), (code, data), raised.exception)
        return str(raised.exception)

    def ends(self, worker, code, seconds):
        start = time.monotonic()
        self.assertEqual(worker.process.wait(seconds[1]), code, self.log())
        self.assertGreaterEqual(time.monotonic() - start, seconds[0])

    def test_examples_of_the_docs(self):
        blocks = re.findall(r"```text(.*)\n((?:[<>] .*\n)+)```", (SOURCES / "docs/worker.md").read_text())
        self.assertGreater(len(blocks), 7)
        for settings, block in blocks:
            opened = [] if "initialize" in block else [("initialize", {"protocolVersion": 1}), ("open", {})]
            worker = self.raw({"Pages": 2, **dict(word.split("=") for word in settings.split())}, *opened)
            for _ in opened:
                worker.stdout.readline()
            for line in block.splitlines():
                if line.startswith("> "):
                    worker.stdin.write(line[2:].encode() + b"\n")
                    worker.stdin.flush()
                    continue
                message = json.loads(worker.stdout.readline())
                while message.get("method") == "progress" and '"progress"' not in line:
                    message = json.loads(worker.stdout.readline())
                expected = ".*".join(re.escape(part) for part in line[2:].split("..."))
                self.assertRegex(json.dumps(message), f"^{expected}$")
            worker.stdin.close()
            self.assertEqual(worker.wait(5), 0)
        self.assertEqual(self.files(), ["glass1.png", "jam1.png", "jam2.png", "letter.png", "two.pdf"])

    def test_pages_are_those_of_smscan(self):
        rows = [
            ("png", {"mode": "gray", "resolution": 120, "gamma": 1.5, "scale": 0.5},
             "--mode gray --resolution 120 --gamma 1.5 --scale 50%"),
            ("tif", {"mode": "bw", "threshold": 100, "size": "50x30mm", "multipage": True, "mech": "native"},
             "--mode bw --threshold 100 --size 50x30mm --multipage --mech native"),
            ("pdf", {"depth": 8, "mode": "palette", "brightness": -20, "switches": {"unsharp-mask": True}, "mech": "block"},
             "--depth 8 --mode palette --brightness=-20 --set unsharp-mask=on --mech block"),
            ("jpg", {"quality": 40, "flatbed": False, "paper": "a5", "start": 5, "mech": "file", "contrast": 10},
             "--quality 40 --feeder --paper a5 --start 5 --mech file --contrast 10"),
        ]
        (self.folder / "theirs").mkdir()
        for extension, settings, options in rows:
            with self.subTest(extension=extension):
                name = "p%d." + extension if extension in ("png", "jpg") else "p." + extension
                subprocess.run([*WINE, str(BUILD / "bin/smscan.exe"), *options.split(), "-q", "-n", "all", "-o", name],
                               cwd=self.folder / "theirs", env=environment(dict(Pages=3)), check=True)
                worker = self.worker(Pages=3)
                told = []
                pages = list(worker.scan(lambda method, params: told.append((method, params.get("page"))),
                                         output=name, pages="all", **settings))
                worker.close()
                self.assertEqual(worker.process.returncode, 0)
                self.assertEqual([page["page"] for page in pages], [1, 2, 3])
                self.assertEqual([row for row in told if row[0] == "pageStart"], [("pageStart", n) for n in (1, 2, 3)])
        ours = [name for name in self.files() if name != "theirs"]
        self.assertEqual(ours, sorted(path.name for path in (self.folder / "theirs").iterdir()))
        self.assertEqual(len(ours), 8)
        for name in ours:
            self.assertEqual((self.folder / name).read_bytes(), (self.folder / "theirs" / name).read_bytes(), name)

    def test_what_is_set_holds_until_the_source_is_closed(self):
        worker = self.worker()
        worker.call("set", mode="bw", paper="a5")
        worker.call("set", area=[0, 0, 1, 0.5], resolution=200.0)
        self.fails(2, lambda: worker.call("set", mode="gray", resolution=9999), pagesKept=0)
        facts = [(p["width"], p["height"], p["bitsPerPixel"]) for n in "ab" for p in worker.scan(output=n + ".bmp")]
        self.assertEqual(facts, [(200, 100, 1)] * 2)
        worker.call("close")
        worker.open(1)
        page, = worker.scan(output="c.bmp")
        self.assertEqual((page["width"], page["bitsPerPixel"]), (1240, 24))
        self.assertEqual(self.files(), ["a.bmp", "b.bmp", "c.bmp"])

    def test_progress(self):
        worker = self.worker(**SLOW)
        lines = []
        def keep(method, params):
            if method == "progress":
                self.assertEqual((params["of"], params["page"]), (1169, 1))
                lines.append((params["lines"], time.monotonic()))
        list(worker.scan(keep, resolution=100, output="p.bmp"))
        self.assertGreater(len(lines), 3)
        self.assertEqual(lines, sorted(lines))
        self.assertLess(len(lines), (lines[-1][1] - lines[0][1]) / 0.09 + 2)  # one in 100 ms

    def test_cancel(self):
        worker = self.worker(Pages=9, **SLOW)
        request = worker.send("scan", output="p%d.bmp", pages="all", resolution=50)
        self.until(worker, "pageStart", 2)
        start = time.monotonic()
        self.assertEqual(worker.call("cancel", id=request), {"cancelled": True})
        self.fails(-32800, lambda: worker.answer(request), pagesKept=1)
        self.assertLess(time.monotonic() - start, 1)
        self.assertEqual(self.files(), ["p1.bmp"])
        for number in range(10):  # with its scan in one write
            scan = {"jsonrpc": "2.0", "id": f"s{number}", "method": "scan", "params": {"output": "q.bmp"}}
            cancel = {"jsonrpc": "2.0", "method": "cancel", "params": {"id": f"s{number}"}}
            worker.write((json.dumps(scan) + "\n" + json.dumps(cancel) + "\n").encode())
            self.fails(-32800, lambda: worker.answer(f"s{number}"), pagesKept=0)
        request = worker.send("scan", output="q.bmp", ui=True)  # nobody sees the window
        while worker.receive().get("method") != "note":
            pass
        time.sleep(0.3)
        self.assertTrue(worker.ping()["busy"])
        worker.send("cancel")
        self.fails(-32800, lambda: worker.answer(request), pagesKept=0)
        for page in worker.scan(output="r%d.bmp", pages=3, resolution=50, progressMs=0):
            break  # whoever stops reading
        self.assertEqual(self.files(), ["p1.bmp", "r1.bmp"])
        self.assertEqual(worker.call("cancel"), {"cancelled": False})

    def test_death_in_a_page_takes_the_worker_only(self):
        for fault in ("crash", "exit"):
            worker = self.worker(Pages=3, FailAtPage=2, StripRows=100, FaultAfterStrip=2, FailBy=fault)
            with self.assertRaises(WorkerGone):
                list(worker.scan(output=f"{fault}%d.bmp", pages="all"))
            self.ends(worker, 1, (0, 5))
        self.assertRegex(self.log(), r"smworker: The source or its driver crashed \(exception c0000005 in sane.ds, during "
                                     r"smIsDSEvent\)")
        self.assertIn("ended the program", self.log())
        worker = self.worker(OpenFault="crash", opened=False)
        self.assertRaises(WorkerGone, worker.open)
        worker = self.worker(Pages=3, **SLOW)
        worker.send("scan", output="kill%d.bmp", pages="all", resolution=50)
        self.until(worker, "pageStart", 2)
        start = time.monotonic()
        worker.process.kill()
        with self.assertRaises(WorkerGone):
            while True:
                worker.receive()
        self.assertLess(time.monotonic() - start, 1)
        self.assertEqual([name for name in self.files() if ".part" not in name],
                         ["crash1.bmp", "exit1.bmp", "kill1.bmp"])
        self.assertLessEqual(len(self.files()), 4)

    def test_end_of_input(self):
        idle = self.worker()
        idle.process.stdin.close()
        self.ends(idle, 0, (0, 3))
        self.assertRaises(WorkerGone, idle.receive)
        busy = self.worker(Pages=3, **SLOW)
        busy.send("scan", output="p%d.bmp", pages="all", resolution=50)
        self.until(busy, "pageStart", 2)
        busy.process.stdin.close()
        self.ends(busy, 0, (0, 3))
        window = self.worker()
        window.send("scan", output="q%d.bmp", ui=True)
        window.receive()
        window.process.stdin.close()
        self.ends(window, 0, (0, 3))
        told = self.worker()
        self.assertEqual(told.call("shutdown"), {})
        self.ends(told, 0, (0, 3))
        self.assertEqual(self.files(), ["p1.bmp"])

    def test_ends_that_something_delays(self):
        hung = self.worker(Pages=3, FailAtPage=2, StripRows=100, FaultAfterStrip=2, FailBy="hang")
        hung.send("scan", output="p%d.bmp", pages="all")
        self.until(hung, "pageStart", 2)
        time.sleep(0.5)
        state = hung.ping()
        self.assertEqual((state["busy"], state["method"], state["function"]), (True, "scan", "smIsDSEvent"))
        self.assertGreaterEqual(state["sinceMs"], 300)
        # Nobody reads; meanwhile a scan runs.
        opened = [("initialize", {"protocolVersion": 1}), ("open", {})]
        silent = self.raw(SLOW, *opened, ("scan", {"output": "q.bmp", "resolution": 400}))
        silent.stdin.write(b"no JSON\n" * 3000)
        silent.stdin.flush()
        gone = self.raw(dict(Pages=3, **SLOW), *opened, ("scan", {"output": "r%d.bmp", "pages": "all", "resolution": 50}))
        while b'"page":2' not in gone.stdout.readline():
            pass
        gone.stdout.close()
        self.assertEqual(gone.wait(5), 0, self.log())
        start = time.monotonic()
        for process in (hung.process, silent):
            process.stdin.close()
        for process in (hung.process, silent):
            self.assertEqual(process.wait(9), 5, self.log())
            self.assertGreaterEqual(time.monotonic() - start, 4.8)
        self.assertIn("the source didn't come back from smIsDSEvent", self.log())
        self.assertEqual(self.files(), ["p1.bmp", "r1.bmp"])

    def test_lines_that_are_no_requests(self):
        worker = self.worker()
        rows = [
            (b"x", -32700), (b'{"jsonrpc": "2.0", "id": 1, "method": "ping"', -32700), (b'"\xff"', -32700),
            (b"[" * 200000, -32700), (b'{"id": ' + b"[" * 200000 + b"]" * 200000 + b"}", -32700), (b"1e999", -32700),
            (b" " * (1 << 20) + b"1", -32700), (b'"' + b"x" * 3000000 + b'"', -32700), (b"\x00", -32700),
            (b"1", -32600), (b"null", -32600), (b"[]", -32600), (b'[{"jsonrpc": "2.0", "id": 1, "method": "ping"}]', -32600),
            (b"{}", -32600), (b'{"jsonrpc": "1.0", "method": "ping"}', -32600), (b'{"jsonrpc": "2.0", "id": 1}', -32600),
        ]
        for line, code in rows:
            with self.subTest(line=line[:60]):
                worker.write(line + b"\n")
                self.assertEqual(worker.receive()["error"]["code"], code)
        requests = [
            ('"id": null, "method": "ping"', -32600), ('"id": {}, "method": "ping"', -32600), ('"id": 1, "method": 7', -32600),
            ('"id": 1, "method": "ping", "params": [1]', -32602), ('"id": 1, "method": "Ping"', -32601),
            ('"id": 1, "method": "set", "params": {"mode": "red"}', -32602),
            ('"id": 1, "method": "set", "params": {"mode": null}', -32602),
            ('"id": 1, "method": "set", "params": {"area": "0,0,1,1", "paper": "a4"}', -32602),
            ('"id": 1, "method": "set", "params": {"resolution": 300.5}', -32602),
            ('"id": 1, "method": "set", "params": {"set": "unsharp-mask=on"}', -32602),
            ('"id": 1, "method": "set", "params": {"switches": {"no-such": true}}', -32602),
            ('"id": 1, "method": "set", "params": {"pages": 2}', -32602),
            ('"id": 1, "method": "scan", "params": {"output": "-"}', -32602),
            ('"id": 1, "method": "scan", "params": {"output": "p\\u0000.bmp"}', -32602),
            ('"id": 1, "method": "scan", "params": {"output": "p.bmp", "progressMs": -1}', -32602),
            ('"id": 1, "method": "scan", "params": {"output": "p.xyz"}', 2),
            ('"id": 1, "method": "scan", "params": {"output": "nowhere/p.bmp"}', 6),
            ('"id": 1, "method": "initialize", "params": {"protocolVersion": 1}', -32003),
            ('"id": 1, "method": "listSources"', -32003),
        ]
        for request, code in requests:
            with self.subTest(request=request):
                worker.write(('{"jsonrpc": "2.0", ' + request + "}\n").encode())
                self.assertEqual(worker.receive()["error"]["code"], code)
        worker.write(b'\r\n \n{"jsonrpc": "2.0", "method": "capabilities"}\r\n')  # not answered
        self.assertEqual(worker.ping().keys() - {"method", "sinceMs", "function"}, {"busy"})
        worker.call("close")
        for method in ("set", "scan", "close", "capabilities"):
            self.fails(-32003, lambda: worker.call(method))
        self.fails(4, lambda: worker.open("no such"), pagesKept=0)
        self.fails(-32602, lambda: worker.open([1]))
        first = subprocess.run(WORKER, input='\ufeff{"jsonrpc":"2.0","id":1,"method":"open"}\n{"cut'.encode(), cwd=self.folder,
                               env=environment({}), stdout=subprocess.PIPE, stderr=self.errors, timeout=30)
        self.assertEqual((first.returncode, json.loads(first.stdout)["error"]["code"]), (0, -32002))
        self.assertEqual(self.files(), [])

    def test_one_scan_at_a_time(self):
        worker = self.worker(Delay=10, StripRows=20)
        one = worker.send("scan", output="p.bmp", resolution=50)
        self.fails(-32001, lambda: worker.call("scan", output="q.bmp"))
        self.assertIn("capabilities", worker.call("capabilities"))  # waits its turn
        self.fails(-32601, lambda: worker.answer(worker.send("print")))
        with self.assertRaises(WorkerGone):
            worker.close()
            worker.answer(one + 99)
        self.assertEqual(self.files(), ["p.bmp"])

    def test_errors_of_the_source_and_the_scan_after(self):
        rows = [
            (dict(JamAtPage=2, Pages=3), 1, dict(condition=20, conditionName="paper jam", page=2, pagesKept=1)),
            (dict(FailAtPage=1, FailConditionCode=2), 1, dict(condition=2, conditionName="not enough memory", page=1,
                                                              pagesKept=0)),
            (dict(CancelAtPage=2, Pages=2), 5, dict(page=2, pagesKept=1)),
            (dict(Pages=0), 1, dict(pagesKept=0)),
        ]
        for number, (settings, code, data) in enumerate(rows):
            with self.subTest(settings=settings):
                worker = self.worker(FaultAfterStrip=1, StripRows=20, **settings)
                scan = dict(output=f"{number}-%d.bmp", pages="all", **SMALL)
                self.fails(code, lambda: list(worker.scan(**scan)), **data)
                again = (lambda: list(worker.scan(**scan)))
                if data.get("page") == 2:
                    self.assertEqual(len(list(worker.scan(**{**scan, "pages": 1}))), 1)
                else:
                    self.fails(code, again, **data)
        self.assertEqual(self.files(), ["0-1.bmp", "0-2.bmp", "2-1.bmp", "2-2.bmp"])
        offline = self.worker(opened=False, OpenFault="offline")
        data = dict(condition=1, conditionName="failure of unknown cause", pagesKept=0)  # as Wine's manager hands it on
        self.fails(1, offline.open, **data)
        self.fails(1, offline.open, **data)
        self.assertIn("sources", offline.call("listSources"))

    def test_names_of_any_language(self):
        worker = self.worker(opened=False, ProductName="Größe für Ärzte")
        self.assertEqual(worker.call("listSources")["sources"][0]["source"], "Größe für Ärzte")
        self.assertEqual(worker.open("größe"), "Größe für Ärzte")
        for output in ("日本 %%.png", str(self.folder / "Ω.png")):
            page, = worker.scan(output=output, mech="file", **SMALL)
        self.assertEqual(page["file"], str(self.folder / "Ω.png"))
        self.assertEqual(self.files(), ["Ω.png", "日本 %.png"])

    def test_a_source_that_prints_and_reads(self):
        worker = self.worker(Prints=1, ReadsInput=1)
        self.assertEqual(len(list(worker.scan(output="p.bmp", **SMALL))), 1)
        worker.close()
        self.assertEqual((worker.process.returncode, self.log().count('{"warming": "up"}')), (0, 2))

    def test_malformed_input(self):
        dice = random.Random(1)
        worker = self.worker()
        valid = [json.dumps({"jsonrpc": "2.0", "id": n, "method": method, "params": params}).encode() for n, (method, params) in
                 enumerate([("ping", {}), ("cancel", {"id": 1}), ("set", {"mode": "gray", "resolution": 100}),
                            ("set", {"area": [0, 0, 1, 1], "switches": {"unsharp-mask": True}}), ("open", {"source": 1}),
                            ("scan", {"pages": "none", "output": "f.bmp"}), ("initialize", {"protocolVersion": 1})])]
        pieces = [b"{", b"}", b"[", b"]", b'"', b"\\", b"\\ud800", b"\xff", b"\xef\xbb\xbf", b"\0", b"null", b"-1", b"1e400", b","]

        def line():
            data = bytearray(dice.choice(valid))
            for _ in range(dice.randint(1, 4)):
                place, what = dice.randrange(len(data)), dice.randrange(4)
                if what == 0:
                    del data[place:place + dice.randint(1, 9)]
                elif what == 1:
                    data[place:place] = dice.choice(pieces)
                elif what == 2:
                    data[place] = dice.randrange(256)
                else:
                    data += data[place:]
                data = data or bytearray(b"x")
            return bytes(data).replace(b"\n", b" ") + b"\n"
        errors = 0
        for number in range(0, FUZZED_LINES, 100):
            worker.write(b"".join(line() for _ in range(100)))
            request = worker.send("ping")
            while True:
                message = worker.receive()
                self.assertEqual(message["jsonrpc"], "2.0")
                errors += "error" in message
                if message.get("id") == request and "busy" in message.get("result", {}):
                    break
        self.assertGreater(errors, FUZZED_LINES / 2)
        worker.process.stdin.close()
        self.ends(worker, 0, (0, 5))

    def test_the_client_as_a_command(self):
        def run(*words):
            output, notes = io.StringIO(), io.StringIO()
            with contextlib.redirect_stdout(output), contextlib.redirect_stderr(notes):
                return scanworker.main([*words], WORKER), output.getvalue(), notes.getvalue()
        file = str(self.folder / "p.png")
        code, output, _ = run("--resolution", "100", "--area", "0,0,2,1", file)
        self.assertEqual((code, output), (0, f"{file}  200 x 100 pixels, 24 bit\n"))
        for code, words in ((6, [file]), (2, ["--mode", "red", file]), (2, ["--mode"]), (4, ["--source", "no such", file]),
                            (0, ["--help"])):
            self.assertEqual(run(*words)[0], code)
        command = [sys.executable, str(SOURCES / "clients/python/scanworker.py"), "--pages", "all", "--resolution", "50", "c%d.png"]
        started = subprocess.Popen(command, cwd=self.folder, stdout=subprocess.PIPE, stderr=self.errors,
                                   env={**environment(dict(SLOW, Pages=9)), "SMWORKER": " ".join(WORKER)}, text=True)
        self.assertIn("c1.png", started.stdout.readline())
        started.send_signal(signal.SIGINT)
        self.assertEqual((started.communicate(timeout=10), started.returncode), (("", None), 5), self.log())
        self.assertIn("Cancelled.", self.log())
        self.assertEqual(self.files(), ["c1.png", "p.png"])

    @unittest.skipUnless(shutil.which("mcs") and shutil.which("mono"), "LEFT OUT: mono-mcs isn't installed")
    def test_the_client_in_csharp(self):
        program = self.folder / "client.exe"
        subprocess.run(["mcs", "-warnaserror", "-r:System.Runtime.Serialization", "-r:System.Xml.Linq", f"-out:{program}",
                        str(SOURCES / "clients/csharp/ScanWorker.cs")], check=True)
        def run(*words, **settings):
            done = subprocess.run(["mono", str(program), *words], cwd=self.folder, stdout=subprocess.PIPE, stderr=self.errors,
                                  env={**environment(settings), "SMWORKER": " ".join(WORKER)}, timeout=60)
            return done.returncode, done.stdout.decode()
        self.assertEqual(run("--resolution", "100", "--area", "0,0,2,1", "--pages", "all", "ü%d.png", Pages=2),
                         (0, "".join(f"ü{n}.png  200 x 100 pixels, 24 bit\n" for n in (1, 2))))
        self.assertEqual(run("--mode", "red", "x.png"), (2, ""))
        self.assertEqual(run("x.png", OpenFault="crash"), (1, ""))
        self.assertEqual(self.files(), ["client.exe", "ü1.png", "ü2.png"])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "-v"])
