"""The numbers of the command q32 against numpy and against planted truth."""
import math
import unittest

import numpy as np

from command import DEPTHS, CommandTest


class MeasuresTest(CommandTest):
    def test_stats_and_histogram(self):
        for bits in DEPTHS:
            whole = self.noise("a.q32", bits)
            self.expect_stats(whole, bits)
            self.expect_stats(whole[3:12, 4:15], bits, "--region", "4,3,11,9")
        # Sums of squares in doubles would lose the deviation.
        self.expect_stats(self.write("a.q32", 65534 + np.indices((1024, 1025))[1] % 2, 16), 16)

    def expect_stats(self, picture, bits, *region):
        left, top = (4, 3) if region else (0, 0)
        got, = self.json("stats", *region, "a.q32")
        expected = {"mean": picture.mean(), "sd": picture.std(ddof=1),
                    "snr": picture.mean() / picture.std(ddof=1), "median": np.median(picture),
                    "share at 0": np.mean(picture == 0),
                    "share at maximum": np.mean(picture == DEPTHS[bits])}
        np.testing.assert_allclose([got[name] for name in expected], [*expected.values()], 1e-12)
        for name, find in (("min", np.argmin), ("max", np.argmax)):
            y, x = np.unravel_index(find(picture), picture.shape)
            self.assertEqual((got[name], got[name + " x"], got[name + " y"]),
                             (picture[y, x], left + x, top + y))
        bars, = self.json("histogram", *region, "a.q32")
        values, counts = np.unique(picture, return_counts=True)
        self.assertEqual([(bar["value"], bar["count"]) for bar in bars["histogram"]],
                         list(zip(values, counts)))

    def test_one_pixel_has_no_noise(self):
        self.write("a.q32", np.full((1, 1), 9))
        self.assertEqual(self.run_q32("stats", "--csv", "a.q32").stdout.splitlines()[1],
                         b"a.q32,1,9,0,,9,9,0,0,9,0,0,0,0")

    def test_profile(self):
        picture = self.noise("a.q32", 12)
        _, _, mean, _ = self.profile("3,10,3,30", 3)
        np.testing.assert_allclose(mean, picture[10:31, 2:5].mean(axis=1), rtol=1e-15)
        # On a ramp it is the ramp's own formula, wherever the line runs.
        y, x = np.mgrid[0:50, 0:60]
        self.write("a.q32", 100 + 8 * x + 3 * y)
        for line, width, x, y, samples in (
                ("10,12,40,31", 1, np.linspace(10, 40, 37), np.linspace(12, 31, 37), 1),
                ("10,12,40,31", 2, np.linspace(10, 40, 37), np.linspace(12, 31, 37), 2),
                ("10,12,40,31", 5, np.linspace(10, 40, 37), np.linspace(12, 31, 37), 5),
                ("0,0,59,0", 3, np.arange(60), 0, 2),  # one of three rows is outside
                ("7,8,7,8", 1, [7], 8, 1)):
            got = self.profile(line, width)
            mean = 100 + 8 * np.asarray(x) + 3 * (y + 0.5 if samples < width else y)
            np.testing.assert_allclose(got, np.broadcast_arrays(x, y, mean, samples), rtol=1e-12)

    def profile(self, line, width):
        """The columns x, y, mean and samples."""
        lines = self.run_q32("profile", "--line", line, "--width", width, "--csv",
                             "a.q32").stdout.decode().splitlines()
        self.assertEqual(lines[0], "file,x,y,mean,samples")
        return np.loadtxt(lines, delimiter=",", skiprows=1, usecols=(1, 2, 3, 4), ndmin=2).T

    def test_diff(self):
        first, second = self.noise("a.q32", 12), self.noise("b.q32", 16)
        got, = self.json("diff", "a.q32", "b.q32")
        d = second - first
        self.assertEqual((got["unequal"], got["min"], got["max"]),
                         (np.count_nonzero(d), d.min(), d.max()))
        np.testing.assert_allclose((got["mean"], got["sd"], got["noise"]),
                                   (d.mean(), d.std(ddof=1), d.std(ddof=1) / np.sqrt(2)))
        got, = self.json("diff", "b.q32", "a.q32")
        self.assertEqual((got["min"], got["max"]), (-d.max(), -d.min()))

    def test_uniformity(self):
        picture = self.noise("a.q32", 16, (95, 123))
        got, = self.json("uniformity", "--pitch", "0.69", "a.q32")  # squares of 14 pixels
        squares = picture[14:14 + 14 * 4, 14:14 + 14 * 6].reshape(4, 14, 6, 14).swapaxes(1, 2)
        signal, noise = squares.mean((2, 3)), squares.reshape(4, 6, -1).std(2, ddof=1)
        for name, grid in (("signal", signal), ("noise", noise), ("snr", signal / noise)):
            np.testing.assert_allclose([s[name] for s in got["squares"]], grid.ravel())
            holed = np.pad(grid, 1, constant_values=np.nan)
            near = np.stack([holed[1 + i:5 + i, 1 + j:7 + j] for i in (-1, 0, 1)
                             for j in (-1, 0, 1) if i or j])
            around = np.nanmean(near, axis=0)
            local = np.abs(grid - around) / around
            self.assertAlmostEqual(got[name + " local"], local.max())
            self.assertAlmostEqual(got[name + " global"], np.ptp(grid) / grid.mean())
            if name == "signal":
                np.testing.assert_allclose([s["local"] for s in got["squares"]], local.ravel())
        self.assertEqual([(s["x"], s["y"]) for s in got["squares"]],
                         [(14 + 14 * x, 14 + 14 * y) for y in range(4) for x in range(6)])

    def test_uniformity_of_the_smallest_picture(self):
        self.write("a.q32", np.full((399, 300), 100))
        got, = self.json("uniformity", "a.q32")
        self.assertEqual(got["squares"], [{"x": 100, "y": 100, "signal": 100, "noise": 0, "snr": 0,
                                           "local": 0}])
        self.assertEqual((got["signal local"], got["signal global"]), (0, 0))
        for shape in ((400, 299), (299, 400), (400, 100)):
            self.write("a.q32", np.full(shape, 100))
            self.assertIn("too small", self.fails("uniformity", "a.q32"))

    def test_defects(self):
        flat = self.random.normal(2000, 3, (60, 70)).round().astype(int)
        hit = self.random.choice(flat.size, 150, replace=False)
        flat.flat[hit] = self.random.integers(0, 4096, 150)
        darks = self.random.normal(100, 2, (30, 60, 70)).round().astype(int)
        darks[:, 11, 12] = self.random.normal(100, 30, 30).round()
        self.write("flat.q32", flat)
        words = []
        for i, dark in enumerate(darks):
            self.write(f"dark{i}.q32", dark)
            words += ["--dark", f"dark{i}.q32"]
        got, = self.json("defects", "flat.q32", *words)

        response = (flat - darks.mean(axis=0)).astype(np.float32)

        def around(radius):
            holed = np.pad(response.astype(float), radius, constant_values=np.nan)
            windows = np.lib.stride_tricks.sliding_window_view(holed, (2 * radius + 1,) * 2)
            return np.nanmedian(windows, axis=(2, 3))
        wide, narrow = around(10), around(4)
        deviation = darks.std(axis=0, ddof=1)
        dead = (response < 0.05 * wide) | (response <= 0)
        rules = {"dead": dead, "under-responding": (response < 0.6 * wide) & ~dead,
                 "over-responding": response > 1.3 * wide,
                 "noisy": deviation > 6 * np.median(deviation),
                 "non-uniform": np.abs(response - narrow) > 0.01 * narrow}
        self.assertLess(got["response noise"], 0.002)
        expected = [(" ".join(name for name, mask in rules.items() if mask[y, x]), x, y)
                    for y, x in np.argwhere(np.any(list(rules.values()), axis=0))]
        self.assertEqual([(row["kind"], row["x"], row["y"]) for row in got["defects"]
                          if row["kind"] not in ("line", "cluster")], expected)
        self.assertTrue(rules["noisy"][11, 12])
        self.assertEqual(got["dead"], np.count_nonzero(dead))
        # A dark less leaves the noise open.
        self.assertIsNone(self.json("defects", "flat.q32", *words[2:])[0]["noisy"])

    def test_groups_of_defects(self):
        y, x = np.mgrid[0:200, 0:250]
        flat = 2500 - (0.8 * x + 1.1 * y).astype(int)  # a quarter less from corner to corner
        flat[20:60, 150] = 0  # a line
        flat[120, :] = flat[:, 230] = 0  # crossing lines are two
        flat[130:170, 60:62] = 0  # a band is no line
        flat[190, 5:15] = 1000  # ten are too few for a line
        flat[60, 100], flat[61, 101] = 4000, 1000  # they touch at a corner
        flat[0, 0] = flat[199, 249] = 0
        self.write("flat.q32", flat)
        got, = self.json("defects", "flat.q32")
        self.assertEqual([tuple(row.values()) for row in got["defects"]
                          if row["kind"] in ("line", "cluster")],
                         [("line", 0, 120, 250, 1, 250), ("line", 150, 20, 1, 40, 40),
                          ("line", 230, 0, 1, 200, 200), ("cluster", 100, 60, 2, 2, 2),
                          ("cluster", 60, 130, 2, 40, 80), ("cluster", 5, 190, 10, 1, 10)])
        self.assertEqual((got["lines"], got["clusters"], got["defective pixels"]),
                         (3, 3, 40 + 250 + 199 + 80 + 10 + 2 + 2))

    def test_flats_too_noisy_for_the_narrowest_rule(self):
        # With 1 % of noise a third of sound pixels would break the rule on 1 %. The noise is the
        # median of 50,000 differences, within 5 * 1.17 / sqrt(50,000).
        self.write("flat.q32", self.random.normal(2000, 20, (200, 250)).round().astype(int))
        got, = self.json("defects", "flat.q32")
        self.assertEqual((got["defects"], got["non-uniform"]), ([], None))
        self.assertAlmostEqual(got["response noise"], 0.01, delta=0.01 * 0.03)

    def test_flats_whose_noise_hides_behind_rounding(self):
        size = (200, 250)
        part, rare = self.random.random(size) < 0.15, self.random.random(size) < 0.02
        low = self.random.normal(90, 0.35, size).round().astype(int)
        many = self.random.normal(90, 1, (60, *size)).round().astype(int)
        for flats, bits, count, noise in (
                ([50 + part], 8, None, 0.5 / 50), ([50 + rare] * 9, 8, None, 0.5 / 50),
                ([low], 12, None, 0.5 / 90), ([low * 16], 16, None, 0.36 / 90),
                ([low + 1910], 12, 0, 0.5 / 2000), (many, 12, 0, np.sqrt(13 / 12 / 60) / 90),
                ([np.full((40, 1), 2000)], 12, None, None)):
            for i, flat in enumerate(flats):
                self.write(f"flat{i}.q32", flat, bits)
            got, = self.json("defects", *(f"flat{i}.q32" for i in range(len(flats))))
            self.assertEqual((got["defects"], got["non-uniform"]), ([], count))
            if noise is None:
                self.assertIsNone(got["response noise"])
            else:
                np.testing.assert_allclose(got["response noise"], noise, 0.05)

    # A Gauss blur of sigma has the MTF exp(-2 (pi sigma f)^2). An edge response of m bins, each the
    # mean of rows / 10 pixels with deviation SD, has in its differences at frequency f a noise of
    # 2 sin(pi f / 10) sqrt(m) SD / sqrt(rows / 10) over the step, and the step itself, the
    # difference of the first and the last bin, has one of sqrt 2: four of these deviations. Without
    # noise there is what interpolation over h = 1/10 leaves, h^2 / 8 of the curvature of the
    # response, 0.242 / sigma^2 at most, at the two ends of the differences in the 60 sigma bins of
    # the blur.
    def test_mtf_of_a_blurred_edge(self):
        for degrees, sigma, noise, edge, sign in (
                (2, 0.7, 0, "vertical", 1), (3, 1.0, 0, "horizontal", 1),
                (-2.5, 1.5, 0, "vertical", -1), (2, 0.7, 40, "vertical", 1),
                (-4, 1.2, 80, "horizontal", -1)):
            self.paint_edge(degrees, sigma, noise, edge, sign)
            got, = self.json("mtf", "--pitch", "0.05", "edge.q32")
            f, mtf = np.array([(row["cycles/pixel"], row["mtf"]) for row in got["mtf"]]).T
            rows = 150 if edge == "vertical" else 120
            bins = len(self.json("mtf", "--edge", "edge.q32")[0]["response"])
            deviation = np.sqrt(noise ** 2 + 1 / 12)
            truth = np.exp(-2 * (np.pi * sigma * f) ** 2)
            bound = 4 * (2 * np.sin(np.pi * f / 10) * np.sqrt(bins) + truth * np.sqrt(2)) * \
                deviation / np.sqrt(rows / 10) / 8000 + \
                2 * np.sqrt(60 * sigma) * 0.01 / 8 * 0.242 / sigma ** 2
            self.assertTrue((np.abs(mtf - truth) <= bound).all(), (degrees, sigma, noise))
            self.assertEqual(got["edge"], edge)
            self.assertAlmostEqual(abs(got["angle"]), abs(degrees), delta=0.05)
            self.assertAlmostEqual(got["step"], 8000, delta=5 * deviation + 1)
            if noise > 0:  # else rounding is no noise
                self.assertAlmostEqual(got["noise"], deviation,
                                       delta=5 * deviation / np.sqrt(rows * 20))
            for percent in (50, 10):
                at = got[f"mtf {percent} cycles/pixel"]
                self.assertAlmostEqual(np.interp(at, f, mtf), percent / 100)
                self.assertTrue((mtf[f < at] > percent / 100).all())
                self.assertAlmostEqual(got[f"mtf {percent} lp/mm"], at / 0.05)
        # A wide blur is right to 1 % of MTF50, or refused.
        for width, sigma, fits in ((60, 5, True), (60, 6, True), (60, 15, False), (60, 20, False),
                                   (300, 10, True), (300, 30, False)):
            for noise in (0, 40):
                self.paint_edge(2, sigma, noise, width=width)
                if fits:
                    got, = self.json("mtf", "edge.q32")
                    np.testing.assert_allclose(got["mtf 50 cycles/pixel"],
                                               np.sqrt(np.log(2) / 2) / np.pi / sigma, 0.01)
                else:
                    self.assertIn("not flat at both ends", self.fails("mtf", "edge.q32"))
        self.paint_edge(2, 0.3)
        self.assertIsNone(self.json("mtf", "edge.q32")[0]["mtf 10 cycles/pixel"])

    def test_pictures_without_an_edge(self):
        flat = np.full((100, 100), 100)
        for picture, reason in (
                (flat, "there is no edge"),
                (flat + self.random.normal(0, 9, flat.shape).round().astype(int),
                 "the edge does not rise above the noise"),
                (flat[:, :7], "the region is too small for an edge"),
                (self.paint_edge(0, 1), "the edge is not slanted enough, or too short"),
                (self.paint_edge(2, 1)[:, 54:], "the edge is too near to the border of the region"),
                (self.paint_edge(30, 1), "the edge is slanted too much")):
            self.write("a.q32", picture, 14)
            self.assertEqual(self.fails("mtf", "a.q32"), f"q32: a.q32: {reason}\n")

    def paint_edge(self, degrees, sigma, noise=0, edge="vertical", sign=1, width=120):
        """Writes edge.q32, 150 pixels high, from 1,000 to 9,000 over an edge of that blur."""
        y, x = np.mgrid[-75:75, -width // 2:width // 2]
        across, along = (x, y) if edge == "vertical" else (y, x)
        angle = np.radians(degrees)
        distance = (across * np.cos(angle) - along * np.sin(angle)) * sign
        step = 5000 + 4000 * np.vectorize(math.erf)(distance / sigma / np.sqrt(2))
        picture = (step + self.random.normal(0, noise, step.shape)).round().astype(int)
        return self.write("edge.q32", picture, 14)


if __name__ == "__main__":
    unittest.main(verbosity=1)
