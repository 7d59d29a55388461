#!/usr/bin/env python3
"""Scans with the virtual scanner like scan.sh, but from this program, whatever its bits, through smworker.

    scripts/scan.py --mode color --pages all out.pdf

Builds what is missing, then hands its options to clients/python/scanworker.py.
"""
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "clients/python"))
sys.dont_write_bytecode = True
import scanworker  # noqa: E402

WORKER = [str(ROOT / "scripts/wine.sh"), "--prefix", "scan", "--exec", str(ROOT / "build/mingw32/bin/smworker.exe")]

if __name__ == "__main__":
    if sys.argv[-1] not in ("-h", "--help"):
        for step in (["setup.sh", "scan"], ["build.sh", "ScanModule", "smworker", "virtual_scanner"]):
            code = subprocess.run([str(ROOT / "scripts" / step[0]), *step[1:]]).returncode
            if code != 0:
                sys.exit(code)
    sys.exit(scanworker.main(command=WORKER))
