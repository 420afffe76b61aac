#!/usr/bin/env python3
"""Runs a program with a serial line at its side: serial_line.py [wine.sh] program [argument...]

The line is a pseudo terminal; its name is given in TESKA_TEST_LINE. A Windows program cannot make one, so this one does,
and it also plays the device at the other end:

    [...]   answers "ok N" and a line end when the N bytes are the letters a to z over and over, else "bad N"
    ?       answers with the settings of the line, see settings()
    H       holds the line (XOFF), and lets it go (XON) after 3.5 s
    !       hangs up; the line comes back under the same name
    others  are sent back
"""
import os
import pty
import select
import subprocess
import sys
import tempfile
import termios
import time

SPEEDS = {getattr(termios, f"B{baud}"): baud
          for baud in (50, 75, 110, 134, 150, 200, 300, 600, 1200, 1800, 2400, 4800, 9600, 19200, 38400, 57600, 115200)}


class Device:
    def __init__(self, link):
        self.link = link
        self.master = None
        self.answer = b""
        self.text = None  # between [ and ]
        self.release = None
        self.plug_in()

    def plug_in(self):
        """Another line under the name of the last one, which is hung up."""
        before = self.master
        self.master, slave = pty.openpty()
        os.set_blocking(self.master, False)
        if os.path.lexists(self.link):
            os.unlink(self.link)
        os.symlink(os.ttyname(slave), self.link)
        os.close(slave)
        if before is not None:
            os.close(before)

    def settings(self):
        """Baud rates in and out, stop bits, flow control out and in, XON and XOFF characters."""
        i, _, c, _, ispeed, ospeed, cc = termios.tcgetattr(self.master)
        return "%d %d %d %d %d %d %d\n" % (SPEEDS[ispeed], SPEEDS[ospeed], 2 if c & termios.CSTOPB else 1,
                                           bool(i & termios.IXON), bool(i & termios.IXOFF),
                                           ord(cc[termios.VSTART]), ord(cc[termios.VSTOP]))

    def take(self, byte):
        if self.text is not None and byte != b"]":
            self.text += byte
        elif byte == b"[":
            self.text = bytearray()
        elif byte == b"]":
            expected = bytes(97 + i % 26 for i in range(len(self.text)))
            self.answer += b"%s %d\n" % (b"ok" if self.text == expected else b"bad", len(self.text))
            self.text = None
        elif byte == b"?":
            self.answer += self.settings().encode()
        elif byte == b"H":
            os.write(self.master, b"\x13")
            self.release = time.monotonic() + 3.5
        elif byte == b"!":
            self.plug_in()
        else:
            self.answer += byte

    def step(self):
        if self.release is not None and time.monotonic() >= self.release:
            os.write(self.master, b"\x11")
            self.release = None
        readable, writable, _ = select.select([self.master], [self.master] if self.answer else [], [], 0.02)
        try:
            if readable:
                for byte in os.read(self.master, 4096):
                    self.take(bytes([byte]))
            if writable:
                self.answer = self.answer[os.write(self.master, self.answer):]
        except OSError:  # nobody has the line open
            self.answer = b""
            time.sleep(0.02)


def windows_link(launcher, program):
    """Where wine looks for the device COM7; wine.sh says where the prefix is."""
    prefix = os.environ.get("WINEPREFIX") or os.path.join(os.path.dirname(os.path.dirname(program)), "wine")
    subprocess.run([launcher, program, "--gtest_list_tests"], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                   check=True)  # makes the prefix
    return os.path.join(prefix, "dosdevices", "com7")


def main(command):
    with tempfile.TemporaryDirectory() as folder:
        windows = command[0].endswith("wine.sh")
        device = Device(windows_link(*command[:2]) if windows else os.path.join(folder, "line"))
        line = "COM7" if windows else device.link
        process = subprocess.Popen(command, env={**os.environ, "TESKA_TEST_LINE": line})
        while process.poll() is None:
            device.step()
        return process.returncode


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
