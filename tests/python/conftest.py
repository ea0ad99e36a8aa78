"""The package from python/ over the library of a build folder (SYNTHOR_BUILD, default build/),
and a session on the simulated instrument with its wire trace."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path
from typing import Iterator

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("SYNTHOR_BUILD", ROOT / "build")).resolve()
os.environ["SYNTHOR_LIBRARY"] = str(BUILD / "libsynthor.so.1")
sys.path.insert(0, str(ROOT / "python"))

import synthor  # noqa: E402


def writes(trace: Path, start: int = 0) -> list[str]:
    """The trace's lines from line `start` on."""
    return trace.read_text().splitlines()[start:]


def tool_trace(script: str, tmp_path: Path, *options: str) -> list[str]:
    """The wire trace of the command-line tool running FND then `script` on the simulator."""
    trace = tmp_path / "tool-trace.txt"
    subprocess.run([str(BUILD / "synthor"), "--sim", *options, "--trace", str(trace),
                    "--script", "-"], input="FND\n" + script, text=True, check=True,
                   capture_output=True)
    return writes(trace)


@pytest.fixture
def trace(tmp_path: Path) -> Path:
    return tmp_path / "trace.txt"


@pytest.fixture
def sg(trace: Path) -> Iterator[synthor.Synthesizer]:
    with synthor.open(driver="sim", trace=trace) as s:
        yield s
