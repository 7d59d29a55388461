"""What the worker takes, beside smscan doing the same. Ends with 1 when a value is above its limit.

Usage: worker.py ROOT LAUNCHER... (wine.sh --prefix scan-tests --exec), which is started with programs of build/mingw32/bin.
Both sides take turns, and the shortest run of each counts: a busy machine only ever adds to them.
"""
import os
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT, LAUNCHER = Path(sys.argv[1]), sys.argv[2:]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "clients/python"))
from scanworker import ScanError, Worker  # noqa: E402

SMSCAN = [*LAUNCHER, str(ROOT / "build/mingw32/bin/smscan.exe")]
COMMAND = [*LAUNCHER, str(ROOT / "build/mingw32/bin/smworker.exe")]
PAGE = dict(mode="color", resolution=300, output="page.bmp", force=True)
failed = False


def row(name, value, limit):
    global failed
    failed = failed or value > limit
    print(f"{name:<50} {value:8.2f} {limit:8.2f}  {'good' if value <= limit else 'TOO MUCH'}", flush=True)


def took(step):
    start = time.perf_counter()
    step()
    return time.perf_counter() - start


def ratio(rounds, ours, theirs):
    runs = [(took(ours), took(theirs)) for _ in range(rounds)]
    return min(our for our, _ in runs) / min(their for _, their in runs)


def smscan(*options):
    subprocess.run([*SMSCAN, *options], check=True, stdout=subprocess.DEVNULL)


def scan(worker, **order):
    return list(worker.scan(**{**PAGE, **order}))


def scan_afresh():
    with Worker(COMMAND) as worker:
        worker.open()
        scan(worker)


def strips_until_cancelled(worker, strip):
    """From the cancel to its own answer, and to that of the scan, in strips."""
    request = worker.send("scan", **PAGE)
    while worker.receive().get("method") != "progress":
        pass
    start = time.perf_counter()
    worker.call("cancel", id=request)
    answered = time.perf_counter() - start
    try:
        worker.answer(request)
    except ScanError:
        pass
    return answered, (time.perf_counter() - start) / strip


def private_kib(process):
    """Memory that the process has for itself."""
    text = Path(f"/proc/{process.pid}/smaps_rollup").read_text()
    return sum(int(line.split()[1]) for line in text.splitlines() if line.startswith("Private_Dirty"))


def main():
    print(f"{'':<50} {'value':>8} {'at most':>8}")
    idle = []
    row("start to the first answer, to smscan --version",
        ratio(25, lambda: idle.append(Worker(COMMAND)), lambda: smscan("--version")), 1.5)
    for worker in idle:
        worker.close()
    smscan_page = lambda: smscan("-m", "color", "-r", "300", "-o", "page.bmp", "--force", "-q")  # noqa: E731
    smscan_page()
    row("a colour page at 300 dpi, cold, to smscan", ratio(15, scan_afresh, smscan_page), 1.1)
    with Worker(COMMAND) as worker:
        worker.open()
        scan(worker)
        row("the same, warm", ratio(9, lambda: scan(worker), smscan_page), 0.7)
    delay = 200  # much longer than what else has to be done
    with Worker(COMMAND, env=dict(os.environ, VSCAN_DELAY=str(delay), VSCAN_STRIPROWS="50")) as worker:
        worker.open()
        cancels = [strips_until_cancelled(worker, delay / 1000) for _ in range(3)]
        row("cancel to its answer, ms, at worst", 1000 * max(answered for answered, _ in cancels), 20)
        row("cancel to the scan's end, strips, at worst", max(strips for _, strips in cancels), 1.3)
    with Worker(COMMAND) as worker:
        worker.open()
        for _ in range(10):
            scan(worker, resolution=75)
        before = private_kib(worker.process)
        for _ in range(100):
            scan(worker, resolution=75)
        row("what 100 pages leave behind, KiB", private_kib(worker.process) - before, 128)
    return failed


MEMORY = "/dev/shm"  # it isn't the disk that is compared
with tempfile.TemporaryDirectory(dir=MEMORY if os.path.isdir(MEMORY) else None) as folder:
    os.chdir(folder)
    code = main()
    os.chdir("/")
sys.exit(code)
