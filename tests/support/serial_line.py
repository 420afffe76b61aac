#!/usr/bin/env python3
"""Runs a program with a serial line at its side: serial_line.py [wine.sh] program [argument...]

The line is a pseudo terminal, which a Windows program could not make; TESKA_TEST_LINE names it. The device at its other
end sends back what it gets, but for three commands:

    ?  answers with the line's speeds in and out, stop bits, flow control out and in, XON, XOFF and interrupt characters
    H  holds the line for 3.5 s
    !  hangs up; the line comes back under the same name
"""
import os
import pty
import select
import subprocess
import sys
import tempfile
import termios
import time

SPEEDS = {getattr(termios, name): name[1:] for name in dir(termios) if name[0] == "B" and name[1:].isdigit()}


class Device:
    def __init__(self, link):
        self.link = link
        self.master = None
        self.answer = b""
        self.release = None  # when the line is let go

    def plug_in(self):
        """A new line under the name of the last one, which is hung up."""
        before = self.master
        self.master, slave = pty.openpty()
        os.set_blocking(self.master, False)
        mode = termios.tcgetattr(slave)
        mode[6][termios.VSTART] = mode[6][termios.VSTOP] = mode[6][termios.VINTR] = b"x"  # to be set, set, and kept
        termios.tcsetattr(slave, termios.TCSANOW, mode)
        if os.path.lexists(self.link):
            os.unlink(self.link)
        os.symlink(os.ttyname(slave), self.link)
        for descriptor in (slave, before):
            if descriptor is not None:
                os.close(descriptor)

    def settings(self):
        i, _, c, _, ispeed, ospeed, cc = termios.tcgetattr(self.master)
        return "%s %s %d %d %d %d %d %d\n" % (SPEEDS[ispeed], SPEEDS[ospeed], 2 if c & termios.CSTOPB else 1,
                                           bool(i & termios.IXON), bool(i & termios.IXOFF),
                                           *(ord(cc[k]) for k in (termios.VSTART, termios.VSTOP, termios.VINTR)))

    def take(self, byte):
        if byte == b"?":
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
            for byte in os.read(self.master, 4096) if readable else b"":
                self.take(bytes([byte]))
            if writable:
                self.answer = self.answer[os.write(self.master, self.answer[:256]):]
        except OSError:  # nobody has the line open
            self.answer = b""
            time.sleep(0.02)


def main(command):
    with tempfile.TemporaryDirectory() as folder:
        link = line = os.path.join(folder, "line")
        if command[0].endswith("wine.sh"):
            subprocess.run(command + ["--gtest_list_tests"], stdout=subprocess.DEVNULL, check=True)  # makes the prefix
            prefix = os.environ.get("WINEPREFIX") or os.path.join(os.path.dirname(command[1]), "..", "wine")
            link, line = os.path.join(prefix, "dosdevices", "com7"), "COM7"
        device = Device(link)
        device.plug_in()
        process = subprocess.Popen(command, env={**os.environ, "TESKA_TEST_LINE": line})
        while process.poll() is None:
            device.step()
        return process.returncode


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
