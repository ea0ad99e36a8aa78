"""The shared library libsynthor through ctypes: finding and loading it (at first use, never at
import), its structs, and one call with its status turned into a result or an exception."""

from __future__ import annotations

import ctypes
import ctypes.util
import os
import sys
import tempfile
import threading
from pathlib import Path
from typing import Callable, Iterable, Optional, Union

from .errors import Error, LibraryNotFoundError, RuntimeFault

OK, RAISED, UNKNOWN_CALL, REFUSED, BAD_ARGUMENT = range(5)
MISSING, EMPTY, BOOL, INT16, INT32, SINGLE, DOUBLE, TEXT = range(8)
COALESCE = 1

Result = Union[str, int, None]


class Missing:
    """An optional argument left out, as a COM host passes it."""

    def __repr__(self) -> str:
        return "MISSING"


MISSING_ARG = Missing()
Argument = Union[str, int, float, bool, None, Missing]


class ErrorStruct(ctypes.Structure):
    _fields_ = [("number", ctypes.c_int), ("description", ctypes.c_char * 512)]


class ValueStruct(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int),
        ("integer", ctypes.c_int32),
        ("number", ctypes.c_double),
        ("text", ctypes.c_char_p),
    ]


class ResultStruct(ctypes.Structure):
    _fields_ = [
        ("type", ctypes.c_int),
        ("integer", ctypes.c_int32),
        ("text", ctypes.c_char_p),
        ("messages", ctypes.c_char_p),
    ]


PROGRESS = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_double)
MESSAGE = ctypes.CFUNCTYPE(None, ctypes.c_void_p, ctypes.c_char_p)


class SimSettings(ctypes.Structure):
    _fields_ = [
        ("usb_serial", ctypes.c_char_p),
        ("eeprom_path", ctypes.c_char_p),
        ("status", ctypes.c_char),
        ("version", ctypes.c_char_p),
        ("lock", ctypes.c_int),
        ("faults", ctypes.c_char_p),
        ("usb", ctypes.c_char_p),
    ]


class Options(ctypes.Structure):
    _fields_ = [
        ("driver", ctypes.c_char_p),
        ("sim", ctypes.POINTER(SimSettings)),
        ("trace_path", ctypes.c_char_p),
        ("flags", ctypes.c_uint),
        ("progress", PROGRESS),
        ("progress_user", ctypes.c_void_p),
        ("message", MESSAGE),
        ("message_user", ctypes.c_void_p),
    ]


class State(ctypes.Structure):
    _fields_ = [
        ("instrument_found", ctypes.c_int),
        ("no_response", ctypes.c_int),
        ("serial_number", ctypes.c_int),
        ("simulated", ctypes.c_int),
    ]


class Device(ctypes.Structure):
    _fields_ = [
        ("description", ctypes.c_char_p),
        ("serial", ctypes.c_char_p),
        ("driver", ctypes.c_char_p),
    ]


class DeviceList(ctypes.Structure):
    _fields_ = [("count", ctypes.c_size_t), ("devices", ctypes.POINTER(Device))]


_SESSION = ctypes.c_void_p
_P = ctypes.POINTER
_DOUBLES = _P(ctypes.c_double)
_PROTOTYPES: dict[str, tuple[object, list[object]]] = {
    "synthor_version": (ctypes.c_char_p, []),
    "synthor_open": (ctypes.c_int, [_P(Options), _P(_SESSION), _P(ErrorStruct)]),
    "synthor_close": (None, [_SESSION]),
    "synthor_call": (
        ctypes.c_int,
        [_SESSION, ctypes.c_char_p, _P(ValueStruct), ctypes.c_size_t, _P(ResultStruct),
         _P(ErrorStruct)],
    ),
    "synthor_result_free": (None, [_P(ResultStruct)]),
    "synthor_frequency_plan": (
        ctypes.c_int,
        [_SESSION, _DOUBLES, ctypes.c_size_t, ctypes.c_double, ctypes.c_int32,
         _P(ResultStruct), _P(ErrorStruct)],
    ),
    "synthor_level_plan": (
        ctypes.c_int,
        [_SESSION, ctypes.c_double, _DOUBLES, ctypes.c_size_t, ctypes.c_int32,
         _P(ResultStruct), _P(ErrorStruct)],
    ),
    "synthor_complex_plan": (
        ctypes.c_int,
        [_SESSION, ctypes.c_double, _DOUBLES, _DOUBLES, ctypes.c_size_t, ctypes.c_int32,
         _P(ResultStruct), _P(ErrorStruct)],
    ),
    "synthor_get_state": (ctypes.c_int, [_SESSION, _P(State), _P(ErrorStruct)]),
    "synthor_list_devices": (ctypes.c_int, [_P(Options), _P(DeviceList), _P(ErrorStruct)]),
    "synthor_device_list_free": (None, [_P(DeviceList)]),
}

_loaded: Optional[ctypes.CDLL] = None
_loading = threading.Lock()


def _library_names() -> list[str]:
    if sys.platform == "win32":
        return ["synthor.dll"]
    if sys.platform == "darwin":
        return ["libsynthor.1.dylib", "libsynthor.dylib"]
    return ["libsynthor.so.1", "libsynthor.so"]


def _candidates() -> list[tuple[str, Optional[str]]]:
    """Where to look, in order: (what it is, path or name; None when there is nothing there)."""
    here = Path(__file__).resolve().parent
    found: list[tuple[str, Optional[str]]] = []
    beside = [here / name for name in _library_names() if (here / name).exists()]
    found.append(("next to the package", str(beside[0]) if beside else None))
    found.append(("SYNTHOR_LIBRARY", os.environ.get("SYNTHOR_LIBRARY") or None))
    found.append(("the system's library path", ctypes.util.find_library("synthor")
                  or _library_names()[0]))
    return found


def library() -> ctypes.CDLL:
    """The loaded library; loads it on first use. Raises LibraryNotFoundError naming each place
    it tried when none loads."""
    global _loaded
    with _loading:
        if _loaded is not None:
            return _loaded
        tried: list[str] = []
        for where, path in _candidates():
            if path is None:
                tried.append(f"{where}: not there")
                continue
            try:
                lib = ctypes.CDLL(path)
            except OSError as e:
                tried.append(f"{where} ({path}): {e}")
                continue
            for name, (restype, argtypes) in _PROTOTYPES.items():
                function = getattr(lib, name)
                function.restype = restype
                function.argtypes = argtypes
            _loaded = lib
            return lib
        raise LibraryNotFoundError("cannot load the synthor library; tried " + "; ".join(tried))


def _value(arg: Argument, keep: list[bytes]) -> ValueStruct:
    v = ValueStruct()
    if isinstance(arg, Missing):
        v.type = MISSING
    elif arg is None:
        v.type = EMPTY
    elif isinstance(arg, bool):
        v.type, v.integer = BOOL, int(arg)
    elif isinstance(arg, int):
        if -32768 <= arg <= 32767:
            v.type, v.integer = INT16, arg
        elif -(2**31) <= arg < 2**31:
            v.type, v.integer = INT32, arg
        else:
            v.type, v.number = DOUBLE, float(arg)
    elif isinstance(arg, float):
        v.type, v.number = DOUBLE, arg
    elif isinstance(arg, str):
        text = arg.encode()
        keep.append(text)
        v.type, v.text = TEXT, text
    else:
        raise TypeError(f"cannot pass {type(arg).__name__} to the library")
    return v


def check(status: int, error: ErrorStruct) -> None:
    """Raises the exception for a failed status."""
    if status == OK:
        return
    description = error.description.decode(errors="replace")
    if status == RAISED:
        raise RuntimeFault(error.number, description)
    raise Error(description)


class Native:
    """One open C session. Calls may come from any thread: the library serialises them."""

    def __init__(self, lib: ctypes.CDLL, handle: int,
                 keep: list[object]) -> None:
        self.lib = lib
        self.handle = ctypes.c_void_p(handle)
        self.keep = keep  # callbacks and settings the session refers to
        self.messages: list[str] = []

    def close(self) -> None:
        if self.handle:
            self.lib.synthor_close(self.handle)
            self.handle = ctypes.c_void_p()

    def _finish(self, status: int, result: ResultStruct, error: ErrorStruct) -> Result:
        try:
            messages = (result.messages or b"").decode(errors="replace")
            self.messages = messages.splitlines()
            check(status, error)
            if result.type == INT16:
                return int(result.integer)
            if result.type == EMPTY:
                return None
            return (result.text or b"").decode(errors="replace")
        finally:
            self.lib.synthor_result_free(ctypes.byref(result))

    def call(self, name: str, *args: Argument) -> Result:
        keep: list[bytes] = []
        values = (ValueStruct * max(len(args), 1))(*[_value(a, keep) for a in args])
        result, error = ResultStruct(), ErrorStruct()
        status = self.lib.synthor_call(self.handle, name.encode(), values, len(args),
                                       ctypes.byref(result), ctypes.byref(error))
        return self._finish(status, result, error)

    def plan(self, function: str, *args: object) -> Result:
        result, error = ResultStruct(), ErrorStruct()
        status = getattr(self.lib, function)(self.handle, *args, ctypes.byref(result),
                                             ctypes.byref(error))
        return self._finish(status, result, error)

    def state(self) -> State:
        state, error = State(), ErrorStruct()
        check(self.lib.synthor_get_state(self.handle, ctypes.byref(state), ctypes.byref(error)),
              error)
        return state


def doubles(values: list[float]) -> "ctypes.Array[ctypes.c_double]":
    return (ctypes.c_double * len(values))(*values)


class _TemporaryFile:
    """A file that is removed when the last reference to it goes."""

    def __init__(self, data: bytes) -> None:
        handle, self.path = tempfile.mkstemp(prefix="synthor-eeprom-")
        with os.fdopen(handle, "wb") as f:
            f.write(data)

    def __del__(self) -> None:
        try:
            os.unlink(self.path)
        except OSError:
            pass


def _eeprom_file(data: bytes, keep: list[object]) -> str:
    """An EEPROM image given as bytes, as the file the library reads it from."""
    file = _TemporaryFile(data)
    keep.append(file)
    return file.path


def options(driver: str, sim: Optional[dict[str, object]], trace: Optional[str],
            coalesce: bool, progress: Optional[Callable[[float], None]],
            keep: list[object], failures: Optional[list[BaseException]] = None) -> Options:
    """The C options for open() and list_devices(); `keep` receives what must outlive them,
    `failures` what the progress callback raised (an exception cannot cross the library)."""
    o = Options()
    o.driver = driver.encode()
    if sim is not None:
        s = SimSettings()
        text = {"usb_serial": "usb_serial", "eeprom": "eeprom_path", "version": "version",
                "usb": "usb"}
        for key, field in text.items():
            given = sim.get(key)
            if isinstance(given, (bytes, bytearray)) and key == "eeprom":
                given = _eeprom_file(bytes(given), keep)
            if given is not None:
                value = os.fsencode(str(given))
                keep.append(value)
                setattr(s, field, value)
        if sim.get("status") is not None:
            s.status = str(sim["status"]).encode()[:1] or b"\0"
        lock = sim.get("lock", 0)
        s.lock = int(lock) if isinstance(lock, (int, str, float)) else 0
        faults = sim.get("faults")
        if faults is not None:
            if isinstance(faults, str):
                joined = faults
            elif isinstance(faults, Iterable):
                joined = ",".join(str(f) for f in faults)
            else:
                raise TypeError("sim faults are a text or a list of texts")
            encoded = joined.encode()
            keep.append(encoded)
            s.faults = encoded
        keep.append(s)
        o.sim = ctypes.pointer(s)
    if trace is not None:
        path = os.fsencode(trace)
        keep.append(path)
        o.trace_path = path
    o.flags = COALESCE if coalesce else 0
    if progress is not None:
        report = progress

        def on_progress(_user: Optional[int], percent: float) -> None:
            try:
                report(percent)
            except Exception as e:  # kept for the caller; the load goes on
                if failures is not None:
                    failures.append(e)

        callback = PROGRESS(on_progress)
        keep.append(callback)
        o.progress = callback
    return o
