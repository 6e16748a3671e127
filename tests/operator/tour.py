"""The operator's tour: every station that a person at the bench comes by, with a picture of each.
Called by scripts/tour with the build folder, inside a display, a session bus and accessibility."""
import re
import sys
import tempfile
import time
import traceback

from bench_driver import Bench, expect_order

IDLE = {"on": ["Enable"], "off": ["Abort"]}
ARMED = {"on": ["Abort"], "off": ["Enable"]}
PREVIEW = "Preview: sensor armed; press Space to expose"
OPTIONS = ("8 bit read", "Test image mode", "No gain check", "Save raw files", "Auto enable",
           "Auto save images")
TAB_ORDER = ["Enable", "Tolva Settings", *OPTIONS, "Scale center:", "Scale width:", "Gamma:",
             "LUT wnd width:", "Negative", "Zoom -", "Zoom +", "Normal", "Open", "Info", "Exit"]
IMAGE_TITLE = r"[\w ]+, [\d.]+ kV, [\d.]+ mA"
QUESTION = r"Image ready!\n\nRemove image\?"


def first_start(bench):
    bench.configure(seed=7, exposure_delay="never", arming_delay=0.5, readout_time=0.5)
    bench.start()
    bench.expect("TarnTest", off=["Enable", "Abort"], checked=dict.fromkeys(OPTIONS, False),
                 fields={"Scale center:": "3700", "Scale width:": "800", "Gamma:": "1",
                         "LUT wnd width:": "100"})
    bench.expect(**IDLE)
    bench.picture()
    bench.expect_calls(r'TarnOpen .*"Tarn test"', r"TarnSetLibraryParam .*\b16\b",
                       r"TarnGetDeviceParam .*\b81\b", r"TarnGetLibraryParam .*\b17\b",
                       r"TarnGetDeviceParam .*\b80\b", r"TarnGetDeviceParam .*\b82\b",
                       "TarnSetNotifyWindow", "TarnGetImageCount", "TarnGetDeviceList")


def keyboard(bench):
    reached = []
    for _ in TAB_ORDER:
        bench.key("Tab")
        time.sleep(0.05)
        reached.append(bench.focus())
    begin = reached.index("Enable")
    assert reached[begin:] + reached[:begin] == TAB_ORDER, f"Tab reaches {reached}"
    bench.key(*["Tab"] * (begin + 1))


def armed(bench):
    bench.wait(lambda: bench.focus() == "Enable", "the keyboard at Enable")
    bench.key("space")
    bench.find(PREVIEW, "push button")
    bench.expect("Ready to take image", **ARMED)
    assert bench.focus() == PREVIEW, f"the keyboard is at {bench.focus()}"
    bench.picture()
    bench.expect_calls('TarnEnableCapture .*"My ID"')


def exit_refused(bench):
    for ask in (lambda: bench.click("Exit"), lambda: bench.key("Escape"), bench.close_button):
        ask()
        bench.answer("Can not close during capturing!", "OK")
    bench.find(PREVIEW)
    assert not [call for call in bench.calls() if call.startswith("TarnClose")]


def abort(bench):
    bench.click("Abort")
    bench.gone(PREVIEW)
    bench.expect("TarnTest", **IDLE)
    bench.expect_calls(r"TarnDisableCapture .*\b1\b")


def image_kept(bench):
    arm(bench)
    bench.key("space")
    bench.answer(QUESTION, "No")
    arm(bench)
    bench.click(PREVIEW)
    bench.answer(QUESTION, "No")
    calls = bench.calls()
    assert sum(call.startswith("TarnGetImage ") for call in calls) == 2, calls
    assert not [call for call in calls if call.startswith("TarnRemoveImage")], calls
    bench.expect(**IDLE)
    bench.key("Escape")
    bench.expect_end()
    bench.expect_calls("TarnClearNotifyWindow", r"TarnClose")


def stored_images(bench):
    bench.start()
    bench.answer(r"Found old images! Go to delete loop\?", "Yes")
    for _ in range(2):
        bench.answer(r"Found old image:\n  UserID: My ID\n  Date: \S.*\n\nRemove image\?", "OK")
    bench.expect(**IDLE)
    bench.expect_calls("TarnGetImageCount", *["TarnGetImage ", "TarnRemoveImage"] * 2,
                       "TarnGetImageCount")


def image_removed(bench):
    arm(bench)
    bench.click(PREVIEW)
    bench.answer(QUESTION, "Yes")
    bench.expect(**IDLE)
    bench.expect_calls("TarnEnableCapture", "TarnGetImage ", "TarnRemoveImage")


def window_and_level(bench):
    bench.click("Normal")
    bench.expect(IMAGE_TITLE)
    bench.picture("_whole")
    before = bench.shown()
    for field, value in (("Scale width:", "1500"), ("Scale center:", "3345"), ("Gamma:", "2")):
        bench.type(field, value)
        before = bench.expect_other_picture(before)
    bench.click("Negative")
    bench.expect(fields={"Scale center:": "750"}, checked={"Negative": True})
    bench.expect_other_picture(before)
    bench.picture()
    bench.click("Negative")
    bench.expect(fields={"Scale center:": "3345"}, checked={"Negative": False})
    bench.wait(lambda: bench.shown() == before, "the picture as before the negative")
    bench.type("Gamma:", "1")
    bench.type("LUT wnd width:", "90")
    bench.wait(lambda: bench.text("Scale center:") != "3345", "a new range")


def rejected_field(bench):
    bench.type("Gamma:", "steep")
    bench.answer(".*Gamma.*", "OK", caption=None)
    assert bench.focus() == "Gamma:", f"the keyboard is at {bench.focus()}"
    bench.type("Gamma:", "1")
    assert not bench.look(None, "alert")


def zoom_and_pan(bench):
    whole = bench.shown()
    bench.click("Zoom +")
    before = bench.expect_other_picture(whole)
    bench.click("Zoom +")
    before = bench.expect_other_picture(before)
    for bar, page in (("Pan horizontally", (0.9, 0.5)), ("Pan vertically", (0.5, 0.1))):
        bench.click(bar, "scroll bar", at=page)
        before = bench.expect_other_picture(before)
    bench.picture()
    bench.click("Normal")
    bench.gone("Pan horizontally", "scroll bar")
    bench.wait(lambda: bench.shown() == whole, "the whole picture")


def error_box(bench):
    bench.configure(TarnEnableCapture="next 1 error 5")
    bench.click("Enable")
    bench.answer(r"Error number: 5\n.+", "OK")
    bench.configure(TarnEnableCapture="off")
    bench.expect(**IDLE)
    bench.expect_calls("TarnEnableCapture", r"TarnDisableCapture .*\b0\b", "TarnDescribeResult")


def auto_enable(bench):
    calls = series(bench, "Auto enable", "Enable")
    expect_order(calls, *["TarnGetImage ", "TarnRemoveImage", "TarnEnableCapture"] * 10)


def auto_save(bench):
    calls = series(bench, "Auto save images", "Auto enable", "Enable")
    removed = [call for call in calls if call.startswith("TarnRemoveImage")]
    saved = list((bench.folder / "TmpImages").glob("*.Q32"))
    assert len(saved) == len(removed) >= 10, f"{len(removed)} images removed, {saved} saved"


def open_file(bench):
    saved = min((bench.folder / "TmpImages").glob("*.Q32"))
    bench.open_file(saved, bench.picture)
    bench.expect(IMAGE_TITLE)
    bench.picture()
    before = bench.shown()
    broken = bench.folder / "broken.q32"
    broken.write_bytes(b"no image at all" * 10)
    bench.open_file(broken)
    bench.answer(re.escape(f"File {broken} is not q32 format"), "OK")
    assert bench.shown() == before, "a broken file took the picture away"


def full_disk(bench):
    """The image that could not be saved is asked about and stays in the store."""
    if not bench.limit_disk():
        print("tour: full_disk left out: mounting a small disk takes root", flush=True)
        return
    arm(bench)
    bench.click(PREVIEW)
    bench.answer(r"Failed to write image data\. File \S+\.Q32 write failed", "OK")
    bench.answer(QUESTION, "No")
    assert not [call for call in bench.calls() if call.startswith("TarnRemoveImage")]
    bench.free_disk()
    bench.click("Auto save images")
    bench.expect(**IDLE)


def device_report(bench):
    bench.click("Info")
    bench.answer(r"(?s)\*{5} Tarn \*{5}\nVersion:\n.+\*{5} Tarn devices \*{5}\n.+Status: .+", "OK")


def sensor_settings(bench):
    bench.click("Tolva Settings")
    bench.find("high (1x1)", "radio button")
    bench.configure(battery=64)
    bench.wait(lambda: any((node.name, node.description) == ("Battery (%)", "64")
                           for node in bench.everything()), "a battery of 64 percent")
    bench.click("low (2x2)", "radio button")
    bench.click("Integration time", "slider")
    bench.key("Home", *["Right"] * 5)
    bench.picture()
    bench.click("OK", "push button")
    bench.gone("low (2x2)", "radio button")
    bench.expect_calls(r"TarnSetDeviceParam 1 11 .*\b5\b", *[r"TarnSetDeviceParam 1 10 "] * 2,
                       r"TarnSetDeviceParam 1 12 ")


def leave(bench):
    bench.click("Exit")
    bench.expect_end()
    bench.expect_calls("TarnClearNotifyWindow", "TarnClose")


def arm(bench):
    bench.expect(**IDLE)
    bench.click("Enable")
    bench.find(PREVIEW)
    bench.expect("Ready to take image", **ARMED)


def series(bench, *controls):
    """Ten exposures or more without a hand, until one sensor stays armed, as nobody exposes, and is
    disarmed. Returns what the library saw."""
    bench.configure(time_factor=20, exposure_delay=1)
    for name in controls:
        bench.click(name)
    calls = bench.calls_until("TarnRemoveImage", 10)
    bench.configure(time_factor=1, exposure_delay="never")
    time.sleep(1)
    bench.expect(**ARMED)
    bench.picture()
    bench.click("Abort")
    bench.gone(PREVIEW)
    bench.click("Auto enable")
    bench.expect(**IDLE, checked={"Auto enable": False})
    return calls + bench.calls()


STATIONS = (first_start, keyboard, armed, exit_refused, abort, image_kept, stored_images, image_removed,
            window_and_level, rejected_field, zoom_and_pan, error_box, auto_enable, auto_save,
            open_file, full_disk, device_report, sensor_settings, leave)


def main(build):
    with tempfile.TemporaryDirectory() as scratch:
        bench = Bench(build, scratch)
        for visit in STATIONS:
            bench.station, begin = visit.__name__, time.monotonic()
            try:
                visit(bench)
            except Exception:
                traceback.print_exc()
                print(f"tour: {visit.__name__} failed\n{bench.evidence()}", flush=True)
                bench.kill()
                return 1
            print(f"tour: {visit.__name__} {time.monotonic() - begin:.1f} s", flush=True)
    print(f"tour: {len(STATIONS)} stations passed; pictures in {bench.pictures}")
    return 0


sys.exit(main(sys.argv[1]))
