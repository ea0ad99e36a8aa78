"""Drive the VexaSource Series Agile Synthesizer (or its simulator) from Python.

    import synthor
    with synthor.open(driver="sim") as sg:
        sg.set_cw(2.4e9, -10)

Units are SI: hertz, dBm, degrees, seconds. Values are checked before anything is sent; a
refusal raises (see the error classes). ``sg.com`` offers the automation methods under their own
names, arguments and result texts. The shared library is loaded at the first ``open()`` or
``list_devices()``, found next to this package, then through ``SYNTHOR_LIBRARY``, then on the
system's library path.
"""

from __future__ import annotations

import ctypes
import math
import threading
import weakref
from pathlib import Path
from typing import (Callable, Iterable, Literal, NamedTuple, Optional, Sequence, Union)

from . import _native
from ._native import MISSING_ARG, Argument, Missing, Result
from .errors import (Error, LibraryNotFoundError, NoResponseError, NotConnectedError,
                     OutOfRangeError, PlanError, RuntimeFault)

__version__ = "1.0.0"

__all__ = [
    "open", "list_devices", "library_version", "Synthesizer", "Com", "DeviceInfo", "MISSING",
    "Error", "NotConnectedError", "OutOfRangeError", "NoResponseError", "PlanError",
    "RuntimeFault", "LibraryNotFoundError", "__version__",
]

MISSING = MISSING_ARG
"""Pass to a ``sg.com`` method for an argument left out, as a COM host omits one."""

Trigger = Literal["free", "rising", "falling"]
PathLike = Union[str, "Path"]

MIN_HZ, MAX_HZ = 300e3, 8.192e9
MIN_DBM, MAX_DBM = -25.0, 17.0
PLAN_MAX_DBM = 15.0  # frequency and complex plans
MIN_DWELL_US, MAX_DWELL_US = 26, 65500
MAX_POINTS = 9001
MAX_DEVIATION_HZ = 200e3
MIN_DEPTH, MAX_DEPTH = 5.0, 90.0

_DRIVERS = ("auto", "sim", "d2xx", "libftdi")
_SIM_KEYS = ("usb_serial", "lock", "status", "version", "eeprom", "faults", "usb")
_TRIGGERS: dict[str, int] = {"free": 0, "rising": 1, "falling": 2}
_RATES: dict[str, Optional[str]] = {"400hz": "400HZ", "1khz": "1KHZ", "external": None}
_NOT_CONNECTED = ("Error. No instrument connected.", "Error. No instrument found.",
                  "Error. No instrument.")


class DeviceInfo(NamedTuple):
    """One device a driver sees."""

    description: str
    serial: str
    driver: str


def library_version() -> str:
    """The loaded library's version."""
    return str(_native.library().synthor_version().decode())


def _hz(value: float) -> str:
    for unit, scale in (("GHz", 1e9), ("MHz", 1e6), ("kHz", 1e3)):
        if abs(value) >= scale:
            return f"{value / scale:g} {unit}"
    return f"{value:g} Hz"


def _in_range(name: str, value: float, low: float, high: float, show: Callable[[float], str]
              ) -> float:
    value = float(value)
    if not (low <= value <= high):  # NaN fails too
        raise OutOfRangeError(f"{name} {show(value)} is outside {show(low)} to {show(high)}")
    return value


def _frequency(value: float, name: str = "frequency") -> float:
    return _in_range(name, value, MIN_HZ, MAX_HZ, _hz)


def _level(value: float, name: str = "power", high: float = MAX_DBM) -> float:
    return _in_range(name, value, MIN_DBM, high, lambda v: f"{v:g} dBm")


def _dwell(seconds: float, low_us: int = MIN_DWELL_US) -> int:
    _in_range("dwell", float(seconds) * 1e6, low_us, MAX_DWELL_US, lambda v: f"{v:g} us")
    return int(round(float(seconds) * 1e6))


def _count(points: int, what: str) -> None:
    if not 2 <= points <= MAX_POINTS:
        raise PlanError(f"a {what} holds 2 to {MAX_POINTS} points, not {points}")


class Com:
    """The automation methods under their own names, with their own arguments (variants) and
    result texts, so a VBA or VBScript program ports line by line. Runtime errors raise
    RuntimeFault; nothing else is checked."""

    def __init__(self, native: _native.Native) -> None:
        self._native = native

    def _call(self, name: str, *args: Argument) -> Result:
        given = list(args)
        while given and isinstance(given[-1], Missing):
            given.pop()
        return self._native.call(name, *given)

    def _text(self, name: str, *args: Argument) -> str:
        return str(self._call(name, *args))

    def FND(self) -> int:
        return int(self._call("FND") or 0)

    def FNDSN(self, serial: Argument = MISSING) -> int:
        return int(self._call("FNDSN", serial) or 0)

    def CloseSigGen(self) -> str:
        return self._text("CloseSigGen")

    def GenOff(self) -> str:
        return self._text("GenOff")

    def ShowUI(self) -> str:
        return self._text("ShowUI")

    def SetFrequency(self, frequency: Argument = MISSING, level: Argument = MISSING) -> str:
        return self._text("SetFrequency", frequency, level)

    def SetPhase(self, phase: Argument = MISSING) -> str:
        return self._text("SetPhase", phase)

    def ReadFplan(self, file_name: Argument = MISSING) -> str:
        return self._text("ReadFplan", file_name)

    def SetFreqPlan(self, start: Argument = MISSING, step: Argument = MISSING,
                    points: Argument = MISSING, dwell: Argument = MISSING,
                    level: Argument = MISSING) -> str:
        return self._text("SetFreqPlan", start, step, points, dwell, level)

    def GoFreqSweep(self) -> str:
        return self._text("GoFreqSweep")

    def ClearFPlan(self) -> str:
        return self._text("ClearFPlan")

    def DLLVer(self) -> str:
        return self._text("DLLVer")

    def LockStatus(self) -> str:
        return self._text("LockStatus")

    def SetSigGen(self, command: Argument = MISSING, p1: Argument = MISSING,
                  p2: Argument = MISSING, p3: Argument = MISSING, p4: Argument = MISSING,
                  p5: Argument = MISSING) -> str:
        return self._text("SetSigGen", command, p1, p2, p3, p4, p5)


class Synthesizer:
    """One instrument, opened by :func:`open`. A context manager; ``close()`` may be called
    twice. Calls from several threads are serialised; two Synthesizers run in parallel."""

    def __init__(self, native: _native.Native) -> None:
        self._native = native
        self._lock = threading.RLock()
        self._closer = weakref.finalize(self, native.close)
        self._frequency = 1e9
        self._power = 0.0
        self._phase = 0.0
        self._output = True
        self._trigger: Trigger = "free"
        self._step_trigger = False
        self._running: Optional[str] = None  # what stop() stops
        self.com = Com(native)

    # Life cycle.
    def close(self) -> None:
        """Lets go of the instrument. Calling it again does nothing."""
        with self._lock:
            self._closer()

    @property
    def closed(self) -> bool:
        return not self._closer.alive

    def __enter__(self) -> "Synthesizer":
        return self

    def __exit__(self, *exc: object) -> None:
        self.close()

    @property
    def messages(self) -> list[str]:
        """The message boxes and dialogs of the last call, as the tool prints them (a box is
        answered Cancel if it is a retry/cancel box, OK otherwise; a dialog is cancelled)."""
        return list(self._native.messages)

    def call(self, name: str, *args: Argument) -> Result:
        """Any call by name as the command-line tool runs it (an automation method,
        ``Panel.*``, ``Sim.Output``); the raw result, no checks."""
        with self._lock:
            self._require_open()
            return self._native.call(name, *args)

    def _require_open(self) -> None:
        if self.closed:
            raise NotConnectedError("the synthesizer is closed")

    def _run(self, refusal: type[Error], name: str, *args: Argument,
             accept: Sequence[str] = ("OK",)) -> str:
        self._require_open()
        result = str(self._native.call(name, *args))
        self._expect(result, refusal, accept)
        return result

    def _expect(self, result: str, refusal: type[Error], accept: Sequence[str] = ("OK",)
                ) -> None:
        if result in accept:
            return
        if result in _NOT_CONNECTED:
            raise NotConnectedError(result)
        detail = "; ".join(self._native.messages)
        raise refusal(f"{result} ({detail})" if detail else result)

    def _find(self, serial: Optional[str]) -> None:
        # The serial number FND answers may be 0 for a found instrument (a blank identity); the
        # library's found flag tells.
        self.com.FND() if serial is None else self.com.FNDSN(serial)
        state = self._native.state()
        if state.no_response:
            raise NoResponseError("the instrument did not answer")
        if not state.instrument_found:
            where = "" if serial is None else f" with USB serial {serial!r}"
            raise NotConnectedError(f"no instrument found{where}")

    # The carrier.
    def _carrier(self, frequency: float, power: float) -> None:
        self._run(OutOfRangeError, "SetFrequency", frequency / 1e6, power)
        self._frequency, self._power, self._output = frequency, power, True

    @property
    def frequency(self) -> float:
        """Carrier frequency in Hz (300 kHz to 8.192 GHz); setting it writes the carrier at the
        last power."""
        return self._frequency

    @frequency.setter
    def frequency(self, value: float) -> None:
        with self._lock:
            self._carrier(_frequency(value), self._power)

    @property
    def power(self) -> float:
        """Carrier level in dBm (-25 to 17); setting it writes the carrier at the last
        frequency."""
        return self._power

    @power.setter
    def power(self, value: float) -> None:
        with self._lock:
            self._carrier(self._frequency, _level(value))

    def set_cw(self, frequency: float, power: float) -> None:
        """Writes the carrier at both values at once."""
        with self._lock:
            self._carrier(_frequency(frequency), _level(power))

    @property
    def phase(self) -> float:
        """Phase of the carrier in degrees (-360 to 360; the sign is ignored)."""
        return self._phase

    @phase.setter
    def phase(self, value: float) -> None:
        degrees = _in_range("phase", value, -360.0, 360.0, lambda v: f"{v:g} degrees")
        with self._lock:
            self._run(Error, "SetPhase", degrees)
            self._phase = degrees

    @property
    def output_enabled(self) -> bool:
        """False runs the switch-off sequence; True writes the carrier again."""
        return self._output

    @output_enabled.setter
    def output_enabled(self, on: bool) -> None:
        with self._lock:
            if on:
                self._carrier(self._frequency, self._power)
            else:
                self._run(Error, "GenOff")
                self._output = False

    @property
    def lock_status(self) -> str:
        """The library's lock text: "Locked", "Unlocked!", "AGC unlocked!" or
        "PLL and AGC Unlocked!"."""
        with self._lock:
            self._require_open()
            try:
                result = str(self._native.call("LockStatus"))
            except RuntimeFault as e:
                if e.number == 5:
                    raise NoResponseError("the instrument did not answer the lock query") from e
                raise
            self._expect(result, Error, ("Locked", "Unlocked!", "AGC unlocked!",
                                         "PLL and AGC Unlocked!"))
            return result

    @property
    def locked(self) -> bool:
        return self.lock_status == "Locked"

    @property
    def serial_number(self) -> int:
        """The serial number the instrument reported when it was found."""
        with self._lock:
            self._require_open()
            return int(self._native.state().serial_number)

    @property
    def trigger(self) -> Trigger:
        """Trigger mode: "free", "rising" or "falling" (external edge)."""
        return self._trigger

    @trigger.setter
    def trigger(self, mode: Trigger) -> None:
        if mode not in _TRIGGERS:
            raise OutOfRangeError(f"trigger {mode!r} is not one of 'free', 'rising', 'falling'")
        with self._lock:
            self._run(Error, "SetSigGen", "SETTRIGGER", _TRIGGERS[mode])
            self._trigger = mode

    @property
    def step_trigger(self) -> bool:
        """Sweeps started afterwards advance one point per external trigger."""
        return self._step_trigger

    @step_trigger.setter
    def step_trigger(self, on: bool) -> None:
        with self._lock:
            self._run(Error, "SetSigGen", "STEPTRIGGER", 1 if on else 0)
            self._step_trigger = bool(on)

    # Modulation.
    def _rate(self, rate: str) -> Optional[str]:
        key = rate.lower().replace(" ", "")
        if key not in _RATES:
            raise OutOfRangeError(f"rate {rate!r} is not one of '400Hz', '1kHz', 'external'")
        return _RATES[key]

    def fm(self, deviation: float, rate: str = "1kHz") -> None:
        """FM of the carrier by `deviation` Hz (0 to 200 kHz, carrier +- deviation within 300
        kHz to 8.192 GHz) at "400Hz", "1kHz" or from the "external" input."""
        code = self._rate(rate)
        dev = _in_range("deviation", deviation, 0.0, MAX_DEVIATION_HZ, _hz)
        with self._lock:
            f = self._frequency
            if f - dev < MIN_HZ or f + dev > MAX_HZ:
                raise OutOfRangeError(
                    f"carrier {_hz(f)} +- deviation {_hz(dev)} leaves {_hz(MIN_HZ)} to "
                    f"{_hz(MAX_HZ)}")
            if code is None:
                self._run(OutOfRangeError, "SetSigGen", "FMEXT", f / 1e6, dev / 1e3,
                          self._power, "ON")
            else:
                self._run(OutOfRangeError, "SetSigGen", "FM", f / 1e6, dev / 1e3, self._power,
                          code, "ON")
            self._running = "modulation"

    def am(self, depth: float, rate: str = "1kHz") -> None:
        """AM of the carrier by `depth` percent (5 to 90) at "400Hz", "1kHz" or from the
        "external" input."""
        code = self._rate(rate)
        pct = _in_range("depth", depth, MIN_DEPTH, MAX_DEPTH, lambda v: f"{v:g} %")
        with self._lock:
            f = self._frequency
            if code is None:
                self._run(OutOfRangeError, "SetSigGen", "AMEXT", f / 1e6, pct, self._power,
                          "ON")
            else:
                self._run(OutOfRangeError, "SetSigGen", "AM", f / 1e6, pct, self._power, code,
                          "ON")
            self._running = "modulation"

    def modulation_off(self) -> None:
        """Back to the plain carrier."""
        with self._lock:
            self._run(Error, "SetSigGen", "FM", self._frequency / 1e6, 0, self._power, "",
                      "OFF")
            self._running = None

    # Sweeps, lists and hops.
    def _frequency_plan(self, points: list[float], dwell: float, power: float) -> None:
        _count(len(points), "frequency plan")
        checked = [_frequency(f, "plan frequency") for f in points]
        if checked[-1] <= checked[0]:
            raise PlanError("a frequency plan must end above the frequency it starts at")
        level = _level(power, high=PLAN_MAX_DBM)
        dwell_us = _dwell(dwell)
        with self._lock:
            self._require_open()
            result = str(self._native.plan("synthor_frequency_plan", _native.doubles(checked),
                                           len(checked), level, dwell_us))
            self._expect(result, PlanError)
            self._running = "FREQSWEEP"

    def frequency_sweep(self, start: float, stop: float, step: float, dwell: float,
                        power: float) -> None:
        """Sweeps from `start` to `stop` (Hz, rising) in steps of `step`, `dwell` seconds per
        point (26 us to 65.5 ms), at `power` dBm (-25 to 15)."""
        _frequency(start, "start")
        _frequency(stop, "stop")
        if not step > 0 or not math.isfinite(step):
            raise OutOfRangeError(f"step {step!r} must be above 0 Hz")
        count = int(math.floor((stop - start) / step + 1e-9)) + 1
        _count(count, "frequency sweep")
        self._frequency_plan([start + i * step for i in range(count)], dwell, power)

    def frequency_list(self, frequencies: Iterable[float], dwell: float, power: float) -> None:
        """Steps through `frequencies` (Hz; the last above the first), `dwell` seconds each, at
        `power` dBm (-25 to 15)."""
        self._frequency_plan([float(f) for f in frequencies], dwell, power)

    def level_sweep(self, frequency: float, levels: Iterable[float], dwell: float) -> None:
        """Steps through `levels` (dBm, -25 to 17) at `frequency` Hz, `dwell` seconds each."""
        f = _frequency(frequency)
        checked = [_level(v, "level") for v in levels]
        _count(len(checked), "level sweep")
        dwell_us = _dwell(dwell)
        with self._lock:
            self._require_open()
            result = str(self._native.plan("synthor_level_plan", f, _native.doubles(checked),
                                           len(checked), dwell_us))
            self._expect(result, PlanError)
            self._running = "LEVSWEEP"

    def complex_sweep(self, frequency: float, points: Iterable[tuple[float, float]],
                      dwell: float) -> None:
        """Steps through `(phase, level)` pairs (degrees 0 to 360, dBm -25 to 15) at
        `frequency` Hz, `dwell` seconds each (20 us to 65.5 ms)."""
        f = _frequency(frequency)
        pairs = [(float(p), float(v)) for p, v in points]
        _count(len(pairs), "complex sweep")
        phases = [_in_range("phase", p, 0.0, 360.0, lambda x: f"{x:g} degrees") for p, _ in pairs]
        levels = [_level(v, "level", PLAN_MAX_DBM) for _, v in pairs]
        dwell_us = _dwell(dwell, 20)
        with self._lock:
            self._require_open()
            result = str(self._native.plan("synthor_complex_plan", f, _native.doubles(phases),
                                           _native.doubles(levels), len(pairs), dwell_us))
            self._expect(result, PlanError)
            self._running = "COMPLEXSWEEP"

    def frequency_hop(self, f1: float, f2: float, power: float, dwell: float) -> None:
        """Hops between `f1` and `f2` Hz (f2 above f1) at `power` dBm, `dwell` seconds each."""
        a, b = _frequency(f1, "f1"), _frequency(f2, "f2")
        if b <= a:
            raise OutOfRangeError(f"f2 {_hz(b)} must be above f1 {_hz(a)}")
        level = _level(power)
        dwell_us = _dwell(dwell)
        with self._lock:
            self._run(OutOfRangeError, "SetSigGen", "FREQHOP", a / 1e6, b / 1e6, level,
                      dwell_us, "ON")
            self._running = "FREQHOP"

    def phase_hop(self, p1: float, p2: float, dwell: float) -> None:
        """Hops the carrier's phase between `p1` (0 to 360) and `p2` (0 to 350) degrees,
        `dwell` seconds each (25 us to 65.5 ms)."""
        a = _in_range("p1", p1, 0.0, 360.0, lambda v: f"{v:g} degrees")
        b = _in_range("p2", p2, 0.0, 350.0, lambda v: f"{v:g} degrees")
        dwell_us = _dwell(dwell, 25)
        with self._lock:
            self._run(OutOfRangeError, "SetSigGen", "PHASEHOP", a, b, dwell_us, "ON")
            self._running = "PHASEHOP"

    def level_hop(self, frequency: float, l1: float, l2: float, dwell: float) -> None:
        """Hops between levels `l1` and `l2` dBm at `frequency` Hz, `dwell` seconds each."""
        f = _frequency(frequency)
        a, b = _level(l1, "l1"), _level(l2, "l2")
        dwell_us = _dwell(dwell)
        with self._lock:
            self._run(OutOfRangeError, "SetSigGen", "LEVELHOP", f / 1e6, a, b, dwell_us, "ON")
            self._running = "LEVELHOP"

    def load_plan(self, path: PathLike, start: bool = True) -> str:
        """Reads a plan file (frequency, level or complex sweep, told by its type marker) and,
        unless `start` is False, starts it. Returns "frequency", "level" or "complex"."""
        name = str(path)
        try:
            with Path(name).open("rb") as f:
                head = f.read(1 << 16).upper()
        except OSError as e:
            raise PlanError(f"cannot read the plan file {name}: {e.strerror}") from e
        found = [(head.find(marker), kind) for marker, kind in
                 ((b"[FREQUENCYSWEEP]", "frequency"), (b"[LEVELSWEEP]", "level"),
                  (b"[COMPLEXSWEEP]", "complex")) if marker in head]
        if not found:
            raise PlanError(f"{name} is no plan file: no [FREQUENCYSWEEP], [LEVELSWEEP] or "
                            "[COMPLEXSWEEP]")
        kind = min(found)[1]
        read, run = {"frequency": ("READFREQPLAN", "FREQSWEEP"),
                     "level": ("READPOWERPLAN", "LEVSWEEP"),
                     "complex": ("READCOMPLEXPLAN", "COMPLEXSWEEP")}[kind]
        with self._lock:
            self._run(PlanError, "SetSigGen", read, name)
            if start:
                self._run(PlanError, "SetSigGen", run, "ON")
                self._running = run
        return kind

    def stop(self) -> None:
        """Stops the running sweep, hop or modulation; the carrier point plays again."""
        with self._lock:
            self._require_open()
            running, self._running = self._running, None
            if running == "modulation":
                self._run(Error, "SetSigGen", "FM", self._frequency / 1e6, 0, self._power, "",
                          "OFF")
            elif running in ("FREQHOP", "LEVELHOP"):
                self._run(Error, "SetSigGen", running, 0, 0, 0, 0, "OFF")
            elif running == "PHASEHOP":
                self._run(Error, "SetSigGen", running, 0, 0, 0, "OFF")
            else:
                sweep = running or "FREQSWEEP"
                self._run(Error, "SetSigGen", sweep, "OFF", accept=("OK", "Error", "True"))

    def sim_output(self) -> str:
        """What the simulated instrument is doing, decoded from what it was sent."""
        with self._lock:
            self._require_open()
            return str(self._native.call("Sim.Output"))


def _session_options(driver: str, sim: Optional[dict[str, object]]) -> None:
    if driver not in _DRIVERS:
        raise OutOfRangeError(f"driver {driver!r} is not one of {', '.join(_DRIVERS)}")
    if sim is not None:
        unknown = sorted(set(sim) - set(_SIM_KEYS))
        if unknown:
            raise TypeError(f"unknown simulator settings {unknown}; known: {list(_SIM_KEYS)}")
        lock = sim.get("lock", 0)
        if not isinstance(lock, int) or not 0 <= lock <= 255:
            raise OutOfRangeError(f"sim lock {lock!r} is outside 0 to 255")


def open(serial: Optional[str] = None, *, driver: str = "auto",
         sim: Optional[dict[str, object]] = None, trace: Optional[PathLike] = None,
         progress: Optional[Callable[[float], None]] = None,
         coalesce: bool = False) -> Synthesizer:
    """Opens a session and finds the instrument (FND, or FNDSN when `serial` is given).

    driver: "auto", "sim", "d2xx" or "libftdi"; with "auto", `sim` chooses the simulator.
    sim: the simulator's settings: usb_serial, lock (0..255), status (a character), version,
    eeprom (a 65536-byte file, or its bytes), faults (a list of fault settings, as the tool's
    --sim-fault), usb ("full" or "high": the bus the wire-time count in sim_output() models).
    trace: a file for the wire trace. progress: called with 0..100 while calibration loads.
    coalesce: join the frames of one plan upload into few driver writes.
    """
    _session_options(driver, sim)
    keep: list[object] = []
    failures: list[BaseException] = []
    options = _native.options(driver, sim, None if trace is None else str(trace), coalesce,
                              progress, keep, failures)
    lib = _native.library()
    handle = ctypes.c_void_p()
    error = _native.ErrorStruct()
    _native.check(lib.synthor_open(ctypes.byref(options), ctypes.byref(handle),
                                   ctypes.byref(error)), error)
    sg = Synthesizer(_native.Native(lib, handle.value or 0, keep))
    try:
        sg._find(serial)
        if failures:
            raise failures[0]
    except BaseException:
        sg.close()
        raise
    return sg


def list_devices(*, driver: str = "auto",
                 sim: Optional[dict[str, object]] = None) -> list[DeviceInfo]:
    """The devices the driver sees, open or not (the simulator lists itself)."""
    _session_options(driver, sim)
    keep: list[object] = []
    options = _native.options(driver, sim, None, False, None, keep)
    lib = _native.library()
    devices = _native.DeviceList()
    error = _native.ErrorStruct()
    _native.check(lib.synthor_list_devices(ctypes.byref(options), ctypes.byref(devices),
                                           ctypes.byref(error)), error)
    try:
        return [DeviceInfo(*((getattr(devices.devices[i], field) or b"").decode(errors="replace")
                             for field in ("description", "serial", "driver")))
                for i in range(devices.count)]
    finally:
        lib.synthor_device_list_free(ctypes.byref(devices))
