"""The operator's tour: every step of a session with the program, with a screenshot of each.

usage: tour.py BUILD_FOLDER|installed SCREENSHOTS
"""
import json
import re
import subprocess
import sys
import tempfile
import time
import traceback

from operated_program import OperatedProgram
from screen_program import RIGHT, WHEEL_UP

IDLE = {"on": ["Enable"], "off": ["Abort"]}
ARMED = {"on": ["Abort"], "off": ["Enable"]}
PREVIEW = "Preview: sensor armed; press Space to expose"
OPTIONS = ("8 bit read", "Test image mode", "No gain check", "Save raw files", "Auto enable",
           "Auto save images")
TAB_ORDER = ["Enable", "Tolva Settings", *OPTIONS, "Scale center:", "Scale width:", "Gamma:",
             "LUT wnd width:", "Negative", "Zoom -", "Zoom +", "Normal", "Open", "Info", "Inspect",
             "Exit", "Image area"]
IMAGE_TITLE = r"[\w ]+, [\d.]+ kV, [\d.]+ mA"
QUESTION = r"Image ready!\n\nRemove image\?"


def first_start(program):
    program.configure(seed=7, exposure_delay="never", arming_delay=0.5, readout_time=0.5)
    program.start()
    program.expect("TarnTest", off=["Enable", "Abort"], checked=dict.fromkeys(OPTIONS, False),
                 fields={"Scale center:": "3700", "Scale width:": "800", "Gamma:": "1",
                         "LUT wnd width:": "100"})
    program.expect(**IDLE)
    program.take_screenshot()
    program.expect_calls(r'TarnOpen .*"Tarn test"', r"TarnSetLibraryParam .*\b16\b",
                       r"TarnGetDeviceParam .*\b81\b", r"TarnGetLibraryParam .*\b17\b",
                       r"TarnGetDeviceParam .*\b80\b", r"TarnGetDeviceParam .*\b82\b",
                       "TarnSetNotifyWindow", "TarnGetImageCount", "TarnGetDeviceList")
    assert program.window_class() == f'"{program.name}", "{program.name}"', program.window_class()


def keyboard(program):
    reached = []
    for _ in TAB_ORDER:
        program.key("Tab")
        time.sleep(0.05)
        reached.append(program.focus())
    begin = reached.index("Enable")
    assert reached[begin:] + reached[:begin] == TAB_ORDER, f"Tab reaches {reached}"
    program.key(*["Tab"] * (begin + 1))


def armed(program):
    program.expect(focus="Enable")
    program.key("space")
    program.expect("Ready to take image", **ARMED, focus=PREVIEW)
    program.take_screenshot()
    program.expect_calls('TarnEnableCapture .*"My ID"')


def exit_refused(program):
    program.close_button()
    program.answer("Can not close during capturing!", "OK")
    program.find(PREVIEW)
    assert not [call for call in program.calls() if call.startswith("TarnClose")]


def abort(program):
    program.click("Abort")
    program.gone(PREVIEW)
    program.expect("TarnTest", **IDLE)
    program.expect_calls(r"TarnDisableCapture .*\b1\b")


def image_kept(program):
    arm(program)
    program.key("space")
    program.answer(QUESTION, "No")
    arm(program)
    program.click(PREVIEW)
    program.answer(QUESTION, "No")
    calls = program.calls()
    assert sum(call.startswith("TarnGetImage ") for call in calls) == 2, calls
    assert not [call for call in calls if call.startswith("TarnRemoveImage")], calls
    program.expect(**IDLE)
    program.key("Escape")
    program.expect_end()


def stored_images(program):
    program.start()
    program.answer(r"Found old images! Go to delete loop\?", "Yes")
    for _ in range(2):
        program.answer(r"Found old image:\n  UserID: My ID\n  Date: \S.*\n\nRemove image\?", "OK")
    program.expect(**IDLE)
    program.expect_calls("TarnGetImageCount", *["TarnGetImage ", "TarnRemoveImage"] * 2,
                       "TarnGetImageCount")


def image_removed(program):
    arm(program)
    program.click(PREVIEW)
    program.answer(QUESTION, "Yes")
    program.expect(**IDLE)
    program.expect_calls("TarnEnableCapture", "TarnGetImage ", "TarnRemoveImage")


def window_and_level(program):
    program.click("Normal")
    program.expect(IMAGE_TITLE)
    program.take_screenshot("_whole")
    before = program.shown()
    for field, value in (("Scale width:", "1500"), ("Scale center:", "3345")):
        program.type(field, value)
        before = program.expect_other_picture(before)
    program.click("Negative")
    program.expect(fields={"Scale center:": "750"}, checked={"Negative": True})
    program.expect_other_picture(before)
    program.take_screenshot()
    program.click("Negative")
    program.wait(lambda: program.shown() == before, "the picture as before the negative")
    program.type("LUT wnd width:", "90")
    program.wait(lambda: program.text("Scale center:") != "3345", "a new range")


def zoom_and_pan(program):
    whole = program.shown()
    program.click("Zoom +", count=2)
    before = program.expect_other_picture(whole)
    for bar, page in (("Pan horizontally", (0.9, 0.5)), ("Pan vertically", (0.5, 0.1))):
        program.click(bar, "scroll bar", at=page)
        before = program.expect_other_picture(before)
    program.take_screenshot()
    program.click("Normal")
    program.gone("Pan horizontally", "scroll bar")
    program.wait(lambda: program.shown() == whole, "the whole picture")


def mouse_on_picture(program):
    """Wheel, drags, double click and keys do what buttons, bars and fields do."""
    before = program.shown()
    program.click("Image area", at=(0.3, 0.4), button=WHEEL_UP, count=3)
    before = program.expect_other_picture(before)
    program.drag("Image area", (0.3, 0.4), (0.5, 0.6))
    before = program.expect_other_picture(before)
    program.take_screenshot("_moved")
    program.drag("Image area", (0.5, 0.5), (0.4, 0.6), button=RIGHT)
    before = program.expect_other_picture(before)
    program.take_screenshot("_range")
    program.expect(focus="Image area")
    for key in ("Home", "Next", "Up", "plus"):
        program.key(key)
        before = program.expect_other_picture(before)
    program.click("Image area")
    time.sleep(1)
    program.click("Image area", count=2)
    program.gone("Pan horizontally", "scroll bar")
    assert re.fullmatch(r"\d+ x \d+ pixels, " + IMAGE_TITLE, program.find("Image area").description)


def enlarged(program):
    opened = program.place("Image area")
    right = program.right_margin("Exit")
    program.maximize()
    program.wait(lambda: program.place("Image area")[2] > opened[2] + 200, "a larger picture")
    program.wait(lambda: program.right_margin("Exit") == right, "the controls at the right edge")
    program.click("Image area", button=WHEEL_UP, count=2)
    program.find("Pan vertically", "scroll bar")
    program.take_screenshot()
    arm(program)
    assert program.place(PREVIEW) == program.place("Image area"), "the preview lies beside the picture"
    program.click("Abort")
    program.gone(PREVIEW)
    program.maximize()
    program.wait(lambda: program.place("Image area") == opened, "the size it opened with")
    program.click("Normal")
    program.expect(**IDLE)


def help_on_keys(program):
    program.key("F1")
    program.answer(r"(?s)Tarn test .+On the picture:\n  wheel: .+", "OK")


def auto_enable_and_save(program):
    """Ten exposures or more without a hand, until one sensor stays armed, as nobody exposes, and is
    disarmed."""
    program.configure(time_factor=20, exposure_delay=1)
    for name in ("Auto save images", "Auto enable", "Enable"):
        program.click(name)
    calls = program.calls_until("TarnRemoveImage", 10)
    program.configure(exposure_delay="never")
    # An exposure that was on its way would arm the sensor again after Abort.
    latest = calls
    while any(call.startswith("TarnRemoveImage") for call in latest):
        time.sleep(1)
        latest = program.calls()
        calls = calls + latest
    program.expect(**ARMED)
    program.take_screenshot()
    program.click("Abort")
    program.gone(PREVIEW)
    program.click("Auto enable")
    program.expect(**IDLE, checked={"Auto enable": False})
    program.configure(time_factor=1)
    calls += program.calls()
    removed = [call for call in calls if call.startswith("TarnRemoveImage")]
    saved = list(program.images.glob("*.Q32"))
    assert len(saved) == len(removed) >= 10, f"{len(removed)} images removed, {saved} saved"


def open_file(program):
    saved = min(program.images.glob("*.Q32"))
    program.open_file(saved, program.take_screenshot)
    program.expect(IMAGE_TITLE)
    program.take_screenshot()


def inspector(program):
    """What it says of regions is what the command says of the saved file."""
    saved = min(program.images.glob("*.Q32"))
    program.open_file(saved)
    program.click("Inspect")
    program.find("Inspector", "dialog", "frame")
    program.wait(lambda: program.value("Image mean"), "the numbers of the image")
    before = program.shown()
    for begin, end in (((0.02, 0.2), (0.1, 0.4)), ((0.3, 0.75), (0.2, 0.6))):
        program.drag("Image area", begin, end, key="shift")
        before = program.expect_other_picture(before)
    program.drag("Image area", (0.02, 0.5), (0.35, 0.55), key="ctrl")
    program.wait(lambda: program.value("Profile values"), "a profile")
    program.click("Hold as reference", "push button")
    program.wait(lambda: program.value("Noise of one") == "0", "the reference")
    program.take_screenshot("_window", window=program.find("Inspector", "dialog", "frame"))
    for region in ("Image", "Region 1", "Region 2"):
        place = [program.value(f"{region} {side}") for side in ("left", "top", "width", "height")]
        told = json.loads(subprocess.run(
            [program.command, "stats", "--json", "--region", ",".join(place), saved],
            check=True, capture_output=True).stdout)
        for name, key in (("mean", "mean"), ("SD", "sd"), ("SNR", "snr"), ("median", "median"),
                          ("minimum", "min"), ("maximum", "max")):
            shown = float(program.value(f"{region} {name}"))
            assert abs(shown - told[key]) <= 0.0005, f"{region} {name} is {shown}, not {told[key]}"
    program.click("Save log", "push button")
    program.answer(r"The log was saved as\n\S+\.txt", "OK", caption="Inspector")
    log = next(program.images.parent.glob("TmpLogs/*.txt")).read_text()
    assert "\tTarnOpen\t" in log and "\tTarnGetDeviceList\t" in log, log
    program.click("Close", "push button")
    program.gone("Inspector", "dialog", "frame")


def full_disk(program):
    """The image that could not be saved is asked about and stays in the store."""
    if not program.limit_disk():
        print("tour: full_disk left out: mounting a small disk takes root", flush=True)
        return
    arm(program)
    program.click(PREVIEW)
    program.answer(r"Failed to write image data\. File \S+\.Q32 write failed", "OK")
    program.answer(QUESTION, "No")
    assert not [call for call in program.calls() if call.startswith("TarnRemoveImage")]
    program.free_disk()
    program.click("Auto save images")
    program.expect(**IDLE)


def device_report(program):
    program.click("Info")
    program.answer(r"(?s)\*{5} Tarn \*{5}\nVersion:\n.+\*{5} Tarn devices \*{5}\n.+Status: .+", "OK")


def sensor_settings(program):
    program.click("Tolva Settings")
    program.configure(battery=64)
    program.wait(lambda: program.value("Battery (%)") == "64", "a battery of 64 percent")
    program.click("low (2x2)", "radio button")
    program.click("Integration time", "slider")
    program.key("Home", *["Right"] * 5)
    program.take_screenshot()
    program.click("OK", "push button")
    program.gone("low (2x2)", "radio button")
    program.expect_calls(r"TarnSetDeviceParam 1 11 .*\b5\b")


def leave(program):
    """The inspector goes with the main window."""
    program.click("Inspect")
    program.find("Inspector", "dialog", "frame")
    program.click("Image area", at=(0.1, 0.1))
    program.key("Escape")
    program.expect_end()


def looks(program):
    """On other desktops: twice as large, dark, and dark after it was light."""
    for name, scale, scheme in (("scale_2", 2, "light"), ("dark", 1, "dark"),
                                ("dark_scale_2", 2, "dark")):
        program.environment["QT_SCALE_FACTOR"] = str(scale)
        program.set_color_scheme(scheme)
        for image in program.store.glob("*.tarn"):
            image.unlink()
        program.start()
        arm(program)
        program.take_screenshot(f"_{name}_preview")
        assert program.place(PREVIEW) == program.place("Image area"), f"{name}: the preview's place"
        program.click(PREVIEW)
        program.answer(QUESTION, "No")
        program.click("Image area", button=WHEEL_UP, count=2)
        program.click("Scale center:", "text")
        program.take_screenshot(f"_{name}")
        program.click("Tolva Settings")
        program.find("high (1x1)", "radio button")
        program.take_screenshot(f"_{name}_settings")
        program.key("Escape")
        program.gone("high (1x1)", "radio button")
        dark = program.is_dark()
        assert dark == (scheme == "dark"), f"{name}: the window is {'dark' if dark else 'light'}"
        program.set_color_scheme("light" if dark else "dark")
        program.wait(lambda: program.is_dark() != dark, f"{name}: the other colors, live")
        program.click("Exit")
        program.expect_end()


def arm(program):
    program.expect(**IDLE)
    program.click("Enable")
    program.find(PREVIEW)
    program.expect("Ready to take image", **ARMED)


STEPS = (first_start, keyboard, armed, exit_refused, abort, image_kept, stored_images,
         image_removed, window_and_level, zoom_and_pan, mouse_on_picture, enlarged, help_on_keys,
         auto_enable_and_save, open_file, inspector, full_disk, device_report, sensor_settings,
         leave, looks)


def main(build, screenshots):
    with tempfile.TemporaryDirectory() as scratch:
        program = OperatedProgram(None if build == "installed" else build, scratch, screenshots)
        for step in STEPS:
            program.step, begin = step.__name__, time.monotonic()
            try:
                step(program)
            except Exception:
                traceback.print_exc()
                print(f"tour: {step.__name__} failed\n{program.evidence()}", flush=True)
                program.kill()
                return 1
            print(f"tour: {step.__name__} {time.monotonic() - begin:.1f} s", flush=True)
        program.kill()
    print(f"tour: {len(STEPS)} steps passed; screenshots in {program.screenshots}")
    return 0


sys.exit(main(*sys.argv[1:]))
