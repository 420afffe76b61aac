"""What runs in workers: tables that do something to the one that uses them. A module that workers find."""

import os
import signal
import time

from teska import ByteTable

MARK = 255  # a value that no other pixel of the tests has


def set_variable(name, value):
    """Sets a variable of the environment."""
    os.environ[name] = value


class SlowTable(ByteTable):
    """Takes its time."""

    def __call__(self, pixels, **options):
        if pixels.size:
            time.sleep(0.05)
        return super().__call__(pixels, **options)


class DeadlyTable(ByteTable):
    """Ends the process that converts the marked tile; where `once` names a file, only until there is one."""

    once = None

    def __call__(self, pixels, **options):
        if pixels.size and pixels.max() == MARK and not (self.once and os.path.exists(self.once)):
            if self.once:
                open(self.once, 'x').close()
            os.kill(os.getpid(), signal.SIGKILL)
        return super().__call__(pixels, **options)


class FailingTable(ByteTable):
    """Cannot convert the marked tile."""

    def __call__(self, pixels, **options):
        if pixels.size and pixels.max() == MARK:
            raise ZeroDivisionError('the marked tile')
        return super().__call__(pixels, **options)
