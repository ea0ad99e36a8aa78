"""`synthor serve` on the simulated instrument, driven as lab clients drive it: PyVISA over a raw
socket, the PyMeasure class, and misbehaving clients. Frames are checked in the wire trace."""

import re
import signal
import socket
import threading
import time

import pytest

from conftest import Server, tool_trace

# Each SCPI line, in long, short and mixed forms, and the tool's calls that send the same frames.
STEPS = [
    ("OUTP ON", "SetSigGen CW 1000 0"),
    ("sour:freq:cw 2.4 GHz", "SetSigGen CW 2400 0"),
    (":SOURce:POWer:LEVel:IMMediate:AMPLitude -10DBM", "SetSigGen CW 2400 -10"),
    ("PHAS 90 DEG", "SetSigGen PHASE 2400 90"),
    ("phase:adjust -1.5707963267949 rad", "SetSigGen PHASE 2400 270"),
    ("FM:DEV 50 KHZ;STAT ON", "SetSigGen FM 2400 50 -10 1KHZ ON"),
    ("FM:INT:FREQ 400", "SetSigGen FM 2400 50 -10 400HZ ON"),
    ("fm:sour ext", "SetSigGen FMEXT 2400 50 -10 ON"),
    ("FM OFF", 'SetSigGen FM 2400 0 -10 "" OFF\nSetSigGen CW 2400 -10'),
    ("AM:DEPT 40;:AM:INT:FREQ 1kHz;:AM ON", "SetSigGen AM 2400 40 -10 1KHZ ON"),
    ("AM:SOUR EXT", "SetSigGen AMEXT 2400 40 -10 ON"),
    ("AM:STAT 0", 'SetSigGen FM 2400 0 -10 "" OFF\nSetSigGen CW 2400 -10'),
    ("TRIG:SOUR EXT;SLOP NEG", "SetSigGen SETTRIGGER 1\nSetSigGen SETTRIGGER 2"),
    ("TRIGger:SEQuence:SOURce IMMediate", "SetSigGen SETTRIGGER 0"),
    ("LIST:POW -10,-5,0;DWEL 1ms;:POW:MODE LIST;:INIT",
     "SetSigGen READPOWERPLAN {plan}\nSetSigGen LEVSWEEP ON"),
    ("ABOR", "SetSigGen LEVSWEEP OFF\nSetSigGen CW 2400 -10"),
]


def test_commands_send_what_the_tool_sends(server, visa, tmp_path):
    plan = tmp_path / "levels.dat"
    plan.write_text("[LEVELSWEEP]\n[FREQUENCY]\n2400\n[DWELL]\n1000\n[PLAN]\n1 -10\n2 -5\n3 0\n")
    start = server.mark()
    for line, _ in STEPS:
        visa.write(line)
        assert visa.query("SYST:ERR?") == '0,"No error"', line
    served = server.wire(start)
    script = "\n".join(calls.format(plan=plan) for _, calls in STEPS) + "\n"
    assert served == tool_trace(tmp_path, script)


def hexes(*values):
    return " ".join("%02X" % v for v in values)


def test_sweep_abort_off_and_reset_frames(server, visa):
    assert visa.query("OUTP ON;*OPC?") == "1"
    mark = server.mark()
    visa.write("FREQ:STAR 1 GHZ;STOP 1.01GHZ;:SWE:POIN 11;DWEL 500 us;:FREQ:MODE SWE;:INIT")
    assert visa.query("SYST:ERR?") == '0,"No error"'
    writes = [w for w in server.wire(mark) if w.startswith("FT_Write 57 0E 00")]
    assert len(writes) == 11  # one point record per sweep point
    dwell = 500 - 26
    assert server.wire(mark)[-1] == "FT_Write 59 42 00 04 00 %s %s = 0" % (
        hexes(0, 11), hexes(dwell >> 8, dwell & 255))
    for line, tail in [("ABOR", ["59 41 00", None, "59 49 01 FC 10"]),
                       ("OUTP OFF", [None, "59 49 01 FC 10"]),
                       ("*RST", ["59 41 00", "Purge 1", "Purge 2", "51", "Read 1", "59 54 00",
                                 None, "59 49 01 FC 10"])]:
        mark = server.mark()
        visa.write(line)
        assert visa.query("*OPC?") == "1"
        wire = server.wire(mark)
        assert len(wire) == len(tail), (line, wire)
        for got, want in zip(wire, tail):
            assert want is None or want in got, (line, wire)
    assert visa.query("OUTP?;:FREQ?;:FREQ:MODE?;:TRIG:SOUR?") == "0;1000000000;CW;IMM"


QUERIES = [
    ("*IDN?", "VexaSource,Series Agile Synthesizer,1234,1.0/V1.0 Jan 2019"),
    ("freq 1.5ghz;FREQ?;:sour:freq:fix?", "1500000000;1500000000"),
    ("FREQ? MAX;:POW? MIN;:PHAS? DEF", "8192000000;-25;0"),
    ("FREQ 300 KHZ;:FREQ?;:FREQ 8.192E+9HZ;:FREQ?", "300000;8192000000"),
    ("POW 17;POW?", "17"),
    ("SWE:POIN 11;:FREQ:STAR 1GHZ;STOP 2GHZ;:SWE:STEP?", "100000000"),
    ("SWE:STEP 250 MHZ;POIN?", "5"),
    ("LIST:DWEL 500us;DWEL?;:SWE:DWEL MIN;DWEL?", "0.0005;2.6E-05"),
    ("FM:SOUR?;:AM:INT:FREQ?;:TRIG:SOUR?;SLOP?;TYPE?;:FREQ:MODE?;:POW:MODE?",
     "INT;1000;IMM;POS;SWE;CW;FIX"),
    ("*ESE 36;*ESE?;*SRE 255;*SRE?;*OPT?;:SYST:VERS?", "36;191;0;1999.0"),
    ("*TST?;STAT:QUES:COND?", "0;0"),
    ("FOO;*OPC;*ESR?;*STB?;*ESR?", "33;4;0"),
]


@pytest.mark.parametrize("line,answer", QUERIES)
def test_queries(visa, line, answer):
    assert visa.query(line) == answer


# Refused lines: the error, and nothing goes to the instrument (the output is on, so an accepted
# value would be sent at once).
ERRORS = [
    ("FREQ 8.193 GHZ", -222), ("FREQ 299999", -222), ("POW 17.1", -222), ("POW -25.1 dBm", -222),
    ("FM:DEV 201 kHz", -222), ("AM:DEPT 4", -222), ("*ESE 256", -222),
    ("FREQ 1 DBM", -131), ("SWE:POIN 10 HZ", -138), ("OUTP MAYBE", -141), ("FREQ 'x'", -104),
    ("FREQ", -109), ("POW 1,2", -108), ("FREQ:BOGUS 1", -113), ("*IDN", -113),
    ("SOUR2:FREQ 1GHZ", -114), ("FREQ 1e9 $", -102), ("FREQ,1e9", -102), ("FREQ:CW1e9", -113),
    ("FM:INT:FREQ 500", -224), ("INIT", -221), ("SWE:STEP 1 HZ", -221),
    ("LIST:FREQ 1e9;:FREQ:MODE LIST;:INIT", -221),
]


@pytest.mark.parametrize("line,code", ERRORS)
def test_refused(server, visa, line, code):
    assert visa.query("OUTP ON;*OPC?") == "1"
    mark = server.mark()
    visa.write(line)
    assert visa.query("SYST:ERR?").split(",")[0] == str(code)
    assert visa.query("SYST:ERR:COUN?") == "0"
    assert not [w for w in server.wire(mark) if "FT_Write" in w]


def test_error_queue_overflow(visa):
    for _ in range(40):
        visa.write("NOPE")
    assert visa.query("SYST:ERR:COUN?") == "32"
    errors = [visa.query("SYST:ERR?") for _ in range(33)]
    assert errors[:31] == ['-113,"Undefined header;:NOPE"'] * 31
    assert errors[31:] == ['-350,"Queue overflow"', '0,"No error"']


def test_pymeasure_class(server):
    from synthor.scpi import Synthesizer
    sg = Synthesizer(server.resource)
    sg.frequency = 2.4e9
    sg.power = -5.5
    sg.output_enabled = True
    sg.list_frequencies = [1e9, 1.5e9, 2e9]
    sg.frequency_mode = "LIST"
    sg.start()
    assert (sg.frequency, sg.power, sg.output_enabled) == (2.4e9, -5.5, True)
    assert sg.list_frequencies == [1e9, 1.5e9, 2e9]
    assert sg.locked == (True, True)
    assert sg.check_errors() == []
    sg.write("FREQ 9 GHZ")
    assert [code for code, _ in sg.check_errors()] == [-222]
    assert sg.id.startswith("VexaSource,")
    sg.adapter.connection.close()


def connect(port):
    s = socket.create_connection(("127.0.0.1", port), timeout=5)
    return s


def ask(sock, line):
    sock.sendall(line.encode() + b"\n")
    data = b""
    while not data.endswith(b"\n"):
        chunk = sock.recv(65536)
        assert chunk, "connection closed"
        data += chunk
    return data.decode().strip()


def test_seventeenth_client_refused(server):
    clients = [connect(server.port) for _ in range(16)]
    for c in clients:
        assert ask(c, "*OPC?") == "1"
    extra = connect(server.port)
    try:
        extra.sendall(b"*OPC?\n")
        assert extra.recv(100) == b""
    except (ConnectionResetError, BrokenPipeError):
        pass
    clients.pop().close()
    time.sleep(0.2)
    late = connect(server.port)
    assert ask(late, "*OPC?") == "1"
    for c in clients + [late, extra]:
        c.close()


def test_misbehaving_clients_hold_up_nobody(server, visa):
    stop = threading.Event()

    def slow():  # a byte every 0.2 s
        with connect(server.port) as s:
            for b in b"FREQ 2 GHZ;*OPC?\n":
                if stop.wait(0.2):
                    return
                s.send(bytes([b]))

    half_open = connect(server.port)
    half_open.sendall(b"*IDN?;FRE")
    vanished = connect(server.port)
    vanished.sendall(b"FREQ 3 G")
    vanished.close()
    flood = connect(server.port)  # asks for 90 kB answers and never reads them
    flood.sendall(b"LIST:FREQ " + b",".join(b"%d" % (10**9 + i) for i in range(9001)) + b"\n")
    flood.sendall(b"LIST:FREQ?\n" * 300)
    threading.Thread(target=slow, daemon=True).start()
    deadline = time.monotonic() + 3
    while time.monotonic() < deadline:
        t = time.monotonic()
        assert visa.query("*OPC?") == "1"
        assert time.monotonic() - t < 0.5
    stop.set()
    # The flooder's answers were bounded: the rest were dropped with -410.
    flood.settimeout(1)
    try:
        while flood.recv(1 << 20):
            pass
    except socket.timeout:
        pass
    flood.settimeout(5)
    assert ask(flood, "SYST:ERR?").startswith("-410,")
    assert visa.query("FREQ?") == "1000000000"
    half_open.close()
    flood.close()


def test_long_lines(server):
    with connect(server.port) as s:
        s.sendall(b"*OPC?" + b" " * ((1 << 20) - 5) + b"\n")  # exactly the limit
        assert ask(s, "") == "1"
        s.sendall(b"X" * ((1 << 20) + 1) + b"\n")
        assert ask(s, "*IDN?").startswith("VexaSource,")
        assert ask(s, "SYST:ERR?").startswith("-363,")


def test_instrument_vanishes_and_returns(server, visa):
    assert visa.query("OUTP ON;*OPC?") == "1"
    server.signal(signal.SIGUSR1)  # the simulated instrument is unplugged
    time.sleep(0.5)  # the signal is taken between two lines
    visa.write("FREQ 2 GHZ")
    assert visa.query("SYST:ERR?").startswith("-240,")
    visa.write("FREQ 3 GHZ")  # looked for again at most once a second
    assert visa.query("SYST:ERR?").startswith("-241,")
    assert visa.query("FREQ?") == "1000000000"
    server.signal(signal.SIGUSR2)
    time.sleep(1.1)
    mark = server.mark()
    visa.write("FREQ 2.5 GHZ")
    assert visa.query("SYST:ERR?;FREQ?") == '0,"No error";2500000000'
    wire = server.wire(mark)
    assert wire[0].startswith("FT_Close") and wire[1].startswith("FT_OpenEx")
    assert wire[-1] == "FT_Write 59 49 01 FC 10 = 0"


def test_lock_state_bits(tmp_path):
    s = Server(tmp_path, "--sim-lock", "5")
    try:
        with connect(s.port) as c:
            assert ask(c, "STAT:QUES:COND?") == "40"
    finally:
        s.stop()
