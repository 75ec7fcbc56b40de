#!/usr/bin/env python3
"""Runs a command in a terminal and draws what that shows, as an SVG on standard output.

draw-terminal.py COLUMNS COMMAND [ARGUMENT...]
"""
import fcntl
import html
import os
import pty
import re
import shlex
import struct
import sys
import termios

COLOURS = {"31": "#f47067", "32": "#57ab5a", "33": "#c69026", "34": "#539bf5", "35": "#b083f0", "36": "#39c5cf"}
WIDTH, HEIGHT = 8.4, 19


def shown_by(columns: int, command: list[str]) -> str:
    process, terminal = pty.fork()
    if process == 0:
        fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("HHHH", 40, columns, 0, 0))
        os.dup2(os.open(os.devnull, os.O_RDONLY), 0)  # nobody answers
        os.execvp(command[0], command)
    output = b""
    while True:
        try:
            output += os.read(terminal, 4096)
        except OSError:  # the other end is closed
            break
    if os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]) != 0:
        sys.exit(output.decode())
    text = re.sub(r"\x1b\]8;[^\x1b\a]*(?:\x1b\\|\a)", "", output.decode())  # links
    text = re.sub(r"[^\n]*\r(?!\n)|\x1b\[[\d?]*[A-Za-ln-z]", "", text.replace("\r\n", "\n"))  # what was overwritten
    return text.rstrip("\n")


def drawn(line: str, y: int) -> str:
    style, spans = "", ""
    for codes, text in re.findall(r"(?:\x1b\[([\d;]*)m)?([^\x1b]*)", line):
        for code in codes.split(";") if codes else []:
            bold = "font-weight:bold;" if code == "1" else "opacity:.7;" if code == "2" else ""
            colour = f"fill:{COLOURS[code]};" if code in COLOURS else ""
            style = "" if code == "0" else style + bold + colour
        spans += f'<tspan style="{style}">{html.escape(text)}</tspan>' if text else ""
    return f'<text x="12" y="{y}" xml:space="preserve">{spans}</text>'


columns, command = int(sys.argv[1]), sys.argv[2:]
lines = ["$ " + shlex.join([os.path.basename(command[0]), *command[1:]]), *shown_by(columns, command).split("\n")]
width, height = columns * WIDTH + 24, len(lines) * HEIGHT + 24
print(f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height}" '
      f'viewBox="0 0 {width:.0f} {height}" font-family="monospace" font-size="14" fill="#d8dee4">'
      '<rect width="100%" height="100%" rx="6" fill="#22272e"/>')
for number, line in enumerate(lines):
    print(drawn(line, 24 + number * HEIGHT))
print("</svg>")
