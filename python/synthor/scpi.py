"""The generator as a PyMeasure instrument, over the SCPI server ``synthor serve``.

Needs only PyMeasure and PyVISA (with its pure-Python backend); nothing of the C library::

    from synthor.scpi import Synthesizer
    sg = Synthesizer("TCPIP::127.0.0.1::5025::SOCKET")
    sg.frequency = 2.4e9       # Hz
    sg.power = -10             # dBm
    sg.output_enabled = True
    print(sg.id, sg.check_errors())
"""

from __future__ import annotations

from typing import Any, List, Tuple

from pymeasure.instruments import Instrument
from pymeasure.instruments.validators import (
    strict_discrete_set,
    strict_range,
)

DEFAULT_RESOURCE = "TCPIP::127.0.0.1::5025::SOCKET"


def _switch(node: str, doc: str) -> Any:
    """An ON/OFF setting read and written as 1 or 0."""
    return Instrument.control(
        f"{node}?", f"{node} %d", doc,
        validator=strict_discrete_set, values={True: 1, False: 0}, map_values=True,
        get_process=lambda v: int(v))


def _tone(node: str, what: str) -> Any:
    """The internal tone of FM or AM, 400 or 1000 Hz."""
    return Instrument.control(
        f"{node}:INT:FREQ?", f"{node}:INT:FREQ %d", f"Internal {what} tone in Hz, 400 or 1000.",
        validator=strict_discrete_set, values=(400, 1000), get_process=lambda v: int(v))


def _floats(text: str) -> List[float]:
    return [float(v) for v in text.split(",") if v.strip()]


class Synthesizer(Instrument):  # type: ignore[misc]
    """A VexaSource synthesizer served by ``synthor serve`` (raw socket, newline-terminated)."""

    frequency = Instrument.control(
        "FREQ?", "FREQ %.6f", "Continuous-wave frequency in Hz (0.3 MHz to 8.192 GHz).",
        validator=strict_range, values=(300e3, 8.192e9))
    power = Instrument.control(
        "POW?", "POW %.2f", "Output level in dBm (-25 to 17).",
        validator=strict_range, values=(-25.0, 17.0))
    phase = Instrument.control(
        "PHAS?", "PHAS %.3f", "Phase in degrees (-360 to 360).",
        validator=strict_range, values=(-360.0, 360.0))
    output_enabled = _switch("OUTP", "True when the RF output is on.")

    fm_enabled = _switch("FM:STAT", "True when FM is on.")
    fm_deviation = Instrument.control(
        "FM:DEV?", "FM:DEV %.3f", "FM deviation in Hz (0 to 200 kHz).",
        validator=strict_range, values=(0.0, 200e3))
    fm_source = Instrument.control(
        "FM:SOUR?", "FM:SOUR %s", "FM source, 'INT' or 'EXT'.",
        validator=strict_discrete_set, values=("INT", "EXT"))
    fm_rate = _tone("FM", "FM")
    am_enabled = _switch("AM:STAT", "True when AM is on.")
    am_depth = Instrument.control(
        "AM:DEPT?", "AM:DEPT %.1f", "AM depth in percent (5 to 90).",
        validator=strict_range, values=(5.0, 90.0))
    am_source = Instrument.control(
        "AM:SOUR?", "AM:SOUR %s", "AM source, 'INT' or 'EXT'.",
        validator=strict_discrete_set, values=("INT", "EXT"))
    am_rate = _tone("AM", "AM")

    frequency_mode = Instrument.control(
        "FREQ:MODE?", "FREQ:MODE %s", "'CW', 'SWE' (start/stop/points) or 'LIST'.",
        validator=strict_discrete_set, values=("CW", "SWE", "LIST"))
    power_mode = Instrument.control(
        "POW:MODE?", "POW:MODE %s", "'FIX' or 'LIST' (a level sweep from list_powers).",
        validator=strict_discrete_set, values=("FIX", "LIST"))
    start_frequency = Instrument.control(
        "FREQ:STAR?", "FREQ:STAR %.6f", "Sweep start in Hz.",
        validator=strict_range, values=(300e3, 8.192e9))
    stop_frequency = Instrument.control(
        "FREQ:STOP?", "FREQ:STOP %.6f", "Sweep stop in Hz.",
        validator=strict_range, values=(300e3, 8.192e9))
    sweep_points = Instrument.control(
        "SWE:POIN?", "SWE:POIN %d", "Sweep points (2 to 9001).",
        validator=strict_range, values=(2, 9001), get_process=lambda v: int(v))
    sweep_dwell = Instrument.control(
        "SWE:DWEL?", "SWE:DWEL %g", "Dwell per sweep point in seconds (26 us to 65.5 ms).",
        validator=strict_range, values=(26e-6, 65.5e-3))
    list_dwell = Instrument.control(
        "LIST:DWEL?", "LIST:DWEL %g", "Dwell per list point in seconds (26 us to 65.5 ms).",
        validator=strict_range, values=(26e-6, 65.5e-3))
    trigger_source = Instrument.control(
        "TRIG:SOUR?", "TRIG:SOUR %s", "'IMM' (free run) or 'EXT'.",
        validator=strict_discrete_set, values=("IMM", "EXT"))
    trigger_slope = Instrument.control(
        "TRIG:SLOP?", "TRIG:SLOP %s", "External trigger edge, 'POS' or 'NEG'.",
        validator=strict_discrete_set, values=("POS", "NEG"))
    trigger_type = Instrument.control(
        "TRIG:TYPE?", "TRIG:TYPE %s", "'SWE', or 'POIN': each external edge steps one point.",
        validator=strict_discrete_set, values=("SWE", "POIN"))

    def __init__(self, resource: Any = DEFAULT_RESOURCE, name: str = "VexaSource synthesizer",
                 **kwargs: Any) -> None:
        kwargs.setdefault("read_termination", "\n")
        kwargs.setdefault("write_termination", "\n")
        kwargs.setdefault("visa_library", "@py")
        kwargs.setdefault("timeout", 5000)
        super().__init__(resource, name, includeSCPI=True, **kwargs)

    @property
    def list_frequencies(self) -> List[float]:
        """Frequencies of the frequency list in Hz (2 to 9001, rising)."""
        return _floats(self.ask("LIST:FREQ?"))

    @list_frequencies.setter
    def list_frequencies(self, values: List[float]) -> None:
        self.write("LIST:FREQ " + ",".join("%.6f" % v for v in values))

    @property
    def list_powers(self) -> List[float]:
        """Levels of the level list in dBm."""
        return _floats(self.ask("LIST:POW?"))

    @list_powers.setter
    def list_powers(self, values: List[float]) -> None:
        self.write("LIST:POW " + ",".join("%.2f" % v for v in values))

    @property
    def locked(self) -> Tuple[bool, bool]:
        """(PLL locked, AGC locked) from the questionable condition register."""
        cond = int(self.ask("STAT:QUES:COND?"))
        return (cond & 32) == 0, (cond & 8) == 0

    def start(self) -> None:
        """Starts the selected sweep or list (INIT)."""
        self.write("INIT")

    def abort(self) -> None:
        """Stops a sweep or list; the output goes back to the continuous wave."""
        self.write("ABOR")

    def next_error(self) -> Tuple[int, str]:
        """The oldest queued error as (code, text); (0, 'No error') when none is left."""
        code, _, text = self.ask("SYST:ERR?").partition(",")
        return int(code), text.strip().strip('"')

    def check_errors(self) -> List[Tuple[int, str]]:
        """Reads and returns every queued error (bounded by the queue's depth)."""
        errors = []
        for _ in range(64):
            code, text = self.next_error()
            if code == 0:
                break
            errors.append((code, text))
        return errors
