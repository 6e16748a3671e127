"""Takes the display away from a program whose sensor is armed: the sensor is disarmed and the library
closed before the process ends.

usage: display_loss.py BUILD_FOLDER"""
import os
import subprocess
import sys

from program import Failure, run_unattended

FAREWELL = ["TarnDisableCapture", "TarnClearNotifyWindow", "TarnClose"]


def check(program):
    read_end, write_end = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(write_end), "-nolisten", "tcp"],
                              pass_fds=[write_end], stderr=subprocess.DEVNULL)
    os.close(write_end)
    with os.fdopen(read_end) as number:
        display = ":" + number.readline().strip()
    program.environment |= {"DISPLAY": display, "QT_QPA_PLATFORM": "xcb"}
    try:
        program.start(exposure_delay="never")
        program.window("TarnTest")
        program.arm()
        server.kill()
        program.wait_for_end()
    finally:
        server.kill()
        server.wait()
    calls = [call.split()[0] for call in program.calls()]
    if [call for call in calls if call in FAREWELL][-3:] != FAREWELL:
        raise Failure(f"the last calls are {calls[-10:]}")


run_unattended(sys.argv[1], check)
