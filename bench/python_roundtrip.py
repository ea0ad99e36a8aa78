#!/usr/bin/python3
"""One Python call's round trip on the simulated instrument: `sg.frequency = ...` (checks, the
C call, the point record and start frame through the simulator), beside `sg.com.DLLVer()` (the
C call alone). Usage: bench/python_roundtrip.py [BUILD_DIR] (default build)."""

from __future__ import annotations

import os
import sys
import timeit
from pathlib import Path

root = Path(__file__).resolve().parents[1]
build = Path(sys.argv[1] if len(sys.argv) > 1 else root / "build").resolve()
os.environ.setdefault("SYNTHOR_LIBRARY", str(build / "libsynthor.so.1"))
sys.path.insert(0, str(root / "python"))

import synthor  # noqa: E402

with synthor.open(driver="sim") as sg:
    frequencies = iter([1e9, 2.4e9] * 1_000_000)

    def set_frequency() -> None:
        sg.frequency = next(frequencies)

    for name, call in (("sg.frequency = ...", set_frequency), ("sg.com.DLLVer()", sg.com.DLLVer)):
        runs = timeit.repeat(call, number=2000, repeat=5)
        best = min(runs) / 2000
        print(f"{name:20} {best * 1e6:8.1f} us per call (best of 5 x 2000)")
