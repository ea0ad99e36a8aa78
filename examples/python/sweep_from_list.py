#!/usr/bin/python3
"""A frequency list read from a text file (one frequency in MHz per line), stepped at 1 ms per
point and 0 dBm, then a level sweep at its first frequency.

Usage: sweep_from_list.py [FILE]; without FILE, 1000 to 1100 MHz in 10 MHz steps."""

import sys

import synthor

if len(sys.argv) > 1:
    with open(sys.argv[1]) as f:
        frequencies = [float(line) * 1e6 for line in f if line.strip()]
else:
    frequencies = [1000e6 + i * 10e6 for i in range(11)]

with synthor.open(driver="sim") as sg:
    sg.frequency_list(frequencies, dwell=1e-3, power=0)
    print(sg.sim_output())
    sg.level_sweep(frequencies[0], [-20, -15, -10, -5, 0], dwell=1e-3)
    print(sg.sim_output())
    sg.stop()
