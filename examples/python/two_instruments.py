#!/usr/bin/python3
"""Two instruments at once, told apart by USB serial number, each driven from its own thread.
On hardware: synthor.open("SERIAL") for each; here two simulated ones."""

import threading

import synthor

a = synthor.open("VXA", driver="sim", sim={"usb_serial": "VXA"})
b = synthor.open("VXB", driver="sim", sim={"usb_serial": "VXB"})


def step(sg: synthor.Synthesizer, start: float) -> None:
    for i in range(100):
        sg.frequency = start + i * 1e6


with a, b:
    threads = [threading.Thread(target=step, args=(a, 1e9)),
               threading.Thread(target=step, args=(b, 2e9))]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    print("A:", a.sim_output().splitlines()[1])
    print("B:", b.sim_output().splitlines()[1])
