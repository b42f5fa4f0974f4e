#!/usr/bin/env python3
"""Writes full.json: an OLT with 16 GPON ports of 128 ONUs each."""

import json
import pathlib

PORTS = 16
ONUS = 128

ports = [{"interface": port, "slot": 0, "port": port, "technology": "gpon"} for port in range(1, PORTS + 1)]
onus = [
    {"interface": 1000 * port + onu, "parent": port, "slot": 0, "port": onu}
    for port in range(1, PORTS + 1)
    for onu in range(1, ONUS + 1)
]


def lines(entries):
    return ",\n".join("    " + json.dumps(entry) for entry in entries)


(pathlib.Path(__file__).parent / "full.json").write_text(
    '{\n  "features": {"5": true},\n'
    f'  "ports": [\n{lines(ports)}\n  ],\n'
    f'  "onus": [\n{lines(onus)}\n  ]\n}}\n',
    encoding="utf-8",
)
