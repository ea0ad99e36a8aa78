#!/usr/bin/python3
"""A carrier, then FM and AM on it, on the simulated instrument (drop driver="sim" for the USB
device)."""

import synthor

with synthor.open(driver="sim") as sg:
    print("serial number", sg.serial_number, "-", sg.lock_status)
    sg.set_cw(2.4e9, -10)  # 2.4 GHz at -10 dBm
    print(sg.sim_output())
    sg.fm(100e3, "1kHz")  # 100 kHz deviation, 1 kHz tone
    print(sg.sim_output())
    sg.am(30, "external")  # 30 % depth from the modulation input
    print(sg.sim_output())
    sg.modulation_off()
    try:
        sg.power = 20
    except synthor.OutOfRangeError as e:
        print("refused:", e)
