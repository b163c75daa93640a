# SPDX-License-Identifier: MIT
"""Runs a command on a terminal of its own: terminal.py STEP... -- COMMAND...

Steps, one after the other: see:REGEX waits for output, type:TEXT types it (\\t and the like are understood), size:80x24
changes the size, signal:NAME sends a signal to the command, show:REGEX shows what the regular expression's group
holds, and hang:up takes the terminal away. At the end the command has some seconds to end; then shows how it ended, and
whether the terminal is as it was.
"""
import fcntl
import os
import pty
import re
import select
import signal
import struct
import sys
import termios
import time

SECONDS = 20.0


def resize(columns, rows):
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", int(rows), int(columns), 0, 0))


def read(seconds):
    """Adds what the command writes; false at the end of its output, or when nothing came."""
    global output
    if not select.select([terminal], [], [], seconds)[0]:
        return False
    try:
        piece = os.read(terminal, 65536)
    except OSError:  # the last one has closed the terminal
        return False
    output += piece.decode("utf-8", "replace")
    return bool(piece)


def wait_for(expression):
    global seen
    end = time.monotonic() + SECONDS
    while True:
        text = re.sub(r"\x1b(\[[0-9;?]*[A-Za-z]|\(.|[=>])|\x07", "", output)  # without what is not text
        found = re.compile(expression, re.DOTALL).search(text, seen)
        if found:
            seen = found.end()
            return found
        if not read(0.1) and time.monotonic() > end:
            print("not seen:", expression, "in:", repr(text[seen:][-600:]))
            return None


split = sys.argv.index("--")
steps, command = sys.argv[1:split], sys.argv[split + 1:]
looked, look = os.pipe()  # both close when the command begins
child, terminal = pty.fork()
if child == 0:
    os.read(looked, 1)
    os.environ["TERM"] = "xterm"
    os.execvp(command[0], command)
before = termios.tcgetattr(terminal)
resize(80, 24)
os.write(look, b"!")
output = ""
seen = 0
for step in steps:
    name, text = step.split(":", 1)
    if name == "see":
        if not wait_for(text):
            break
    elif name == "show":
        if not (found := wait_for(text)):
            break
        print(found.group(1))
    elif name == "type":
        os.write(terminal, text.encode().decode("unicode_escape").encode("latin-1"))
    elif name == "size":
        resize(*text.split("x"))
    elif name == "signal":
        os.kill(child, getattr(signal, "SIG" + text))
    elif name == "hang":
        os.close(terminal)
        terminal = os.pipe()[0]  # says nothing
start = time.monotonic()
status = None
while status is None and time.monotonic() < start + SECONDS:
    read(0.05)
    pid, state = os.waitpid(child, os.WNOHANG)
    status = os.waitstatus_to_exitcode(state) if pid else None
if status is None:
    print("still running")
    os.kill(child, signal.SIGKILL)
    os.waitpid(child, 0)
else:
    while read(0.05):
        pass
    print("ended with", status if status >= 0 else signal.Signals(-status).name)
try:
    print("terminal", "restored" if termios.tcgetattr(terminal) == before and "\x1b[?1049l" in output else "changed")
except termios.error:
    print("terminal gone")
