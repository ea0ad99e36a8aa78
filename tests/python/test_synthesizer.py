"""The package as a user drives it, checked against the command-line tool's wire trace and
the simulated instrument's decoded output."""

from __future__ import annotations

import os
import subprocess
import sys
import threading
from pathlib import Path
from typing import Callable

import pytest

import synthor
from conftest import BUILD, ROOT, tool_trace, writes

Action = Callable[[synthor.Synthesizer], object]

# Each public setter or mode against the tool's script that must put the same frames on the wire.
SAME_FRAMES: list[tuple[str, Action, str]] = [
    ("frequency keeps 0 dBm", lambda sg: setattr(sg, "frequency", 2.4e9), "SetFrequency 2400 0"),
    ("power keeps 1 GHz", lambda sg: setattr(sg, "power", -10), "SetFrequency 1000 -10"),
    ("set_cw", lambda sg: sg.set_cw(0.3e6, 17), "SetFrequency 0.3 17"),
    ("phase", lambda sg: (sg.set_cw(1.5e9, 0), setattr(sg, "phase", -90)),
     "SetFrequency 1500 0\nSetPhase -90"),
    ("output off then on", lambda sg: (setattr(sg, "power", 3),
                                       setattr(sg, "output_enabled", False),
                                       setattr(sg, "output_enabled", True)),
     "SetFrequency 1000 3\nGenOff\nSetFrequency 1000 3"),
    ("trigger", lambda sg: setattr(sg, "trigger", "falling"), "SetSigGen SETTRIGGER 2"),
    ("fm 400Hz", lambda sg: sg.fm(100e3, "400Hz"), "SetSigGen FM 1000 100 0 400HZ ON"),
    ("fm external", lambda sg: sg.fm(50e3, "external"), "SetSigGen FMEXT 1000 50 0 ON"),
    ("am and off", lambda sg: (sg.am(30, "1kHz"), sg.modulation_off()),
     "SetSigGen AM 1000 30 0 1KHZ ON\nSetSigGen FM 1000 0 0 \"\" OFF"),
    ("frequency hop and stop", lambda sg: (sg.frequency_hop(1e9, 2e9, -3, 100e-6), sg.stop()),
     "SetSigGen FREQHOP 1000 2000 -3 100 ON\nSetSigGen FREQHOP 0 0 0 0 OFF"),
    ("phase hop", lambda sg: (sg.set_cw(1e9, 0), sg.phase_hop(10, 200, 1e-3)),
     "SetFrequency 1000 0\nSetSigGen PHASEHOP 10 200 1000 ON"),
    ("level hop", lambda sg: sg.level_hop(2e9, -20, 5, 65.5e-3),
     "SetSigGen LEVELHOP 2000 -20 5 65500 ON"),
    ("com, ported from VBA", lambda sg: sg.com.SetSigGen("FM", 1000, 100, 0, "1 kHz", "ON"),
     'SetSigGen FM 1000 100 0 "1 kHz" ON'),
]


@pytest.mark.parametrize("name,action,script", SAME_FRAMES, ids=[c[0] for c in SAME_FRAMES])
def test_frames_match_the_tool(sg: synthor.Synthesizer, trace: Path, tmp_path: Path, name: str,
                               action: Action, script: str) -> None:
    action(sg)
    assert writes(trace) == tool_trace(script + "\n", tmp_path)


def test_sweeps_lists_plans_and_stop(sg: synthor.Synthesizer) -> None:
    sg.step_trigger = True
    sg.trigger = "rising"
    sg.frequency_sweep(1e9, 2e9, 250e6, 1e-3, -5)
    out = sg.sim_output()
    assert "frequency sweep, stepped" in out and "1000.000000 MHz" in out
    assert "2000.000000 MHz" in out
    sg.trigger = "free"
    sg.frequency_list([1e9, 3e9, 2e9], 26e-6, 0)
    assert "3000.000000 MHz" in sg.sim_output()
    sg.level_sweep(1e9, [-20, -10, 0, 10], 1e-3)
    assert "level sweep" in sg.sim_output()
    sg.complex_sweep(1e9, [(0, -5), (90, -4), (180, -3)], 100e-6)
    assert "complex sweep" in sg.sim_output()
    for plan, kind in (("freq_sweep.dat", "frequency"), ("level_sweep.dat", "level"),
                       ("complex_sweep.dat", "complex")):
        assert sg.load_plan(ROOT / "examples" / plan) == kind
        assert kind in sg.sim_output().splitlines()[0]
    sg.stop()
    assert sg.sim_output().startswith("mode: CW")


def test_state_and_com(sg: synthor.Synthesizer) -> None:
    assert sg.serial_number == 1234 and sg.locked and sg.lock_status == "Locked"
    assert synthor.__version__ == synthor.library_version() == "1.0.0"
    assert sg.com.DLLVer() == "V1.0 Jan 2019" and sg.com.ClearFPlan() == ""
    assert sg.com.SetFrequency(2400, -10) == "OK"
    assert sg.call("Panel.Value", "Option1") in (0, 1)
    # A refusal shown in a message box is answered and kept for the host.
    assert sg.com.SetSigGen("LEVELHOP", 9000, 0, -5, 100, "ON") == "Error. Invalid frequency value."
    assert sg.messages and sg.messages[0].startswith("msgbox ")
    assert sg.com.CloseSigGen() == "OK" and sg.com.CloseSigGen() == "Error. No instrument found."
    with pytest.raises(synthor.NotConnectedError):
        sg.frequency = 1e9
    sg.close()
    sg.close()
    with pytest.raises(synthor.NotConnectedError):
        sg.sim_output()


def _carrier_at(f: float) -> Action:
    return lambda sg: setattr(sg, "frequency", f)


@pytest.mark.parametrize("setup,action,error", [
    (None, _carrier_at(299999.0), synthor.OutOfRangeError),
    (None, _carrier_at(8.192001e9), synthor.OutOfRangeError),
    (None, lambda sg: setattr(sg, "power", 17.1), synthor.OutOfRangeError),
    (None, lambda sg: setattr(sg, "power", float("nan")), synthor.OutOfRangeError),
    (None, lambda sg: sg.fm(200.1e3), synthor.OutOfRangeError),
    (_carrier_at(0.4e6), lambda sg: sg.fm(150e3), synthor.OutOfRangeError),
    (None, lambda sg: sg.am(4.9), synthor.OutOfRangeError),
    (None, lambda sg: sg.frequency_hop(2e9, 1e9, 0, 1e-3), synthor.OutOfRangeError),
    (None, lambda sg: sg.level_sweep(1e9, [0, 1], 25e-6), synthor.OutOfRangeError),
    (None, lambda sg: sg.frequency_sweep(1e9, 2e9, 1e6, 1e-3, 16), synthor.OutOfRangeError),
    (None, lambda sg: sg.frequency_list([2e9, 1e9], 1e-3, 0), synthor.PlanError),
    (None, lambda sg: sg.level_sweep(1e9, [0], 1e-3), synthor.PlanError),
    (None, lambda sg: sg.load_plan("/nonexistent.dat"), synthor.PlanError),
    (None, lambda sg: sg.com.SetFrequency("abc", 0), synthor.RuntimeFault),
], ids=["f low", "f high", "power", "nan", "deviation", "fm edge", "depth", "hop order",
        "dwell", "plan level", "list falls", "one level", "no file", "type mismatch"])
def test_refused_before_anything_is_sent(sg: synthor.Synthesizer, trace: Path,
                                         setup: Action | None, action: Action,
                                         error: type[Exception]) -> None:
    if setup:
        setup(sg)
    before = len(writes(trace))
    with pytest.raises(error) as raised:
        action(sg)
    assert not [line for line in writes(trace, before) if line.startswith("FT_Write")]
    if isinstance(raised.value, synthor.RuntimeFault):
        assert raised.value.number == 13
    if error is synthor.OutOfRangeError:
        assert isinstance(raised.value, ValueError)
        assert " to " in str(raised.value) or "above" in str(raised.value)


def test_open_failures_and_listing(tmp_path: Path) -> None:
    with pytest.raises(synthor.NotConnectedError):
        synthor.open("NOPE", driver="sim")
    with pytest.raises(synthor.NoResponseError) as silent:
        synthor.open(driver="sim", sim={"faults": ["silent"]})
    assert isinstance(silent.value, TimeoutError)
    with pytest.raises(synthor.Error):
        synthor.open(driver="sim", sim={"faults": ["bogus"]})
    with pytest.raises(synthor.OutOfRangeError):
        synthor.open(driver="usb")
    assert synthor.list_devices(sim={"usb_serial": "L1"}) == [
        synthor.DeviceInfo("VexaSource Series Agile Synthesizer", "L1", "sim")]


def test_progress_callback() -> None:
    seen: list[float] = []
    with synthor.open(driver="sim", progress=seen.append):
        pass
    assert seen and seen == sorted(seen) and seen[-1] == 100.0


def test_library_not_found_names_what_it_tried(tmp_path: Path) -> None:
    env = dict(os.environ, SYNTHOR_LIBRARY=str(tmp_path / "missing.so"),
               PYTHONPATH=str(ROOT / "python"), LD_LIBRARY_PATH="")
    code = ("import synthor\n"  # the import itself needs no library
            "try:\n    synthor.open(driver='sim')\n"
            "except synthor.LibraryNotFoundError as e:\n    print(e)\n")
    probe = "import ctypes\ntry:\n    ctypes.CDLL('libsynthor.so.1')\nexcept OSError:\n    pass\n" \
        "else:\n    print('installed')\n"
    if subprocess.run([sys.executable, "-c", probe], env=env, capture_output=True,
                      text=True).stdout:
        pytest.skip("libsynthor is installed on the system's library path")
    out = subprocess.run([sys.executable, "-c", code], env=env, capture_output=True, text=True,
                         check=True).stdout
    assert "next to the package: not there" in out and "missing.so" in out


def test_two_instruments_from_threads_never_interleave(tmp_path: Path) -> None:
    """Two simulated instruments, each driven from two threads at once: every call's frames
    arrive whole, on the wire of its own instrument."""
    sessions = []
    for serial in ("TWO-A", "TWO-B"):
        path = tmp_path / f"{serial}.txt"
        sg = synthor.open(serial, driver="sim", sim={"usb_serial": serial}, trace=path)
        sg.set_cw(1e9, 0)
        start = len(writes(path))
        calls = set()  # one call's lines at each frequency, after either frequency
        for f in (1e9, 2e9, 2e9, 1e9):
            sg.set_cw(f, 0)
            calls.add(tuple(writes(path, start)))
            start = len(writes(path))
        sessions.append((sg, path, start, calls))

    def hammer(sg: synthor.Synthesizer, f: float) -> None:
        for _ in range(150):
            sg.set_cw(f, 0)

    threads = [threading.Thread(target=hammer, args=(sg, f))
               for sg, _, _, _ in sessions for f in (1e9, 2e9)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    for sg, path, start, calls in sessions:
        lines = writes(path, start)
        size = len(next(iter(calls)))
        chunks = [tuple(lines[i:i + size]) for i in range(0, len(lines), size)]
        assert len(chunks) == 300 and set(chunks) <= calls
        sg.close()
