"""Takes the display away from a program whose sensor is armed: the sensor is disarmed and the library
closed before the process ends.

usage: display_loss.py BUILD_FOLDER"""
import os
import subprocess
import sys
import tempfile

import program


def main():
    with tempfile.TemporaryDirectory() as folder:
        read_end, write_end = os.pipe()
        server = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-nolisten", "tcp"],
                                  pass_fds=[write_end], stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as number:
            display = ":" + number.readline().strip()
        operated = program.UnattendedProgram(sys.argv[1], folder)
        operated.environment |= {"DISPLAY": display, "QT_QPA_PLATFORM": "xcb"}
        try:
            operated.start(exposure_delay="never")
            operated.wait(lambda: operated.visible_windows("TarnTest"), "the window")
            operated.arm()
            server.kill()
            operated.process.wait(program.Program.patience)
            calls = [call.split()[0] for call in operated.calls()]
            expected = ["TarnDisableCapture", "TarnClearNotifyWindow", "TarnClose"]
            if [call for call in calls if call in expected][-3:] != expected:
                sys.exit(f"display_loss: {calls[-10:]}\n{operated.messages.read_text()}")
        except program.Failure as failure:
            sys.exit(f"display_loss: {failure}")
        finally:
            operated.kill()
            server.kill()
            server.wait()


main()
