"""Starts `synthor serve --sim` on a free loopback port with a wire trace, for the tests here.

SYNTHOR_BUILD names the build folder (default: build/ at the project root)."""

import os
import pathlib
import signal
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("SYNTHOR_BUILD", ROOT / "build"))
TOOL = BUILD / "synthor"
sys.path.insert(0, str(ROOT / "python"))


class Server:
    def __init__(self, tmp: pathlib.Path, *options: str) -> None:
        self.trace = tmp / "trace.txt"
        self.proc = subprocess.Popen(
            [str(TOOL), "serve", "--sim", "--port", "0", "--trace", str(self.trace), *options],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = self.proc.stdout.readline()
        assert line.startswith("listening on 127.0.0.1:"), line + self.proc.stderr.read()
        self.port = int(line.rsplit(":", 1)[1])
        self.resource = f"TCPIP::127.0.0.1::{self.port}::SOCKET"

    def mark(self) -> int:
        return len(self.trace.read_text().splitlines())

    def wire(self, since: int) -> list:
        """The trace lines written since `since`."""
        return self.trace.read_text().splitlines()[since:]

    def signal(self, sig: int) -> None:
        self.proc.send_signal(sig)

    def stop(self) -> None:
        self.proc.send_signal(signal.SIGTERM)
        try:
            assert self.proc.wait(timeout=10) == 0
        finally:
            self.proc.kill()


@pytest.fixture
def server(tmp_path):
    s = Server(tmp_path)
    yield s
    s.stop()


@pytest.fixture
def visa(server):
    import pyvisa
    rm = pyvisa.ResourceManager("@py")
    inst = rm.open_resource(server.resource, read_termination="\n", write_termination="\n",
                            timeout=5000)
    yield inst
    inst.close()
    rm.close()


def tool_trace(tmp: pathlib.Path, script: str) -> list:
    """The wire trace of a script through the command-line tool, after its --find."""
    def run(text: str, name: str) -> list:
        trace = tmp / name
        (tmp / (name + ".in")).write_text(text)
        subprocess.run([str(TOOL), "--sim", "--find", "--trace", str(trace), "--script",
                        str(tmp / (name + ".in"))], check=True, capture_output=True, timeout=60)
        return trace.read_text().splitlines()
    found = run("", "find.txt")
    return run(script, "tool.txt")[len(found):]
