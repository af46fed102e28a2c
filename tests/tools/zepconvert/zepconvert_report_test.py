#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The report of zepconvert: its numbers, its pictures, the files that it keeps, and its script.

    zepconvert_report_test.py PATH_OF_ZEPCONVERT
"""
import html.parser
import json
import os
import re
import shutil
import struct
import subprocess
import unittest
import urllib.parse

from tool_case import TOOL, ToolCase, picture, png, pnm, read_pnm

COMPARE = shutil.which("compare")
CONVERT = shutil.which("convert")
CHROMIUM = shutil.which("chromium")
COLUMNS = ("file", "from", "to", "pixels", "original", "result", "ratio", "bits per pixel", "loss",
           "PSNR", "SSIM", "time, ms", "Mpixel/s")


class Table(html.parser.HTMLParser):
    """The cells of the first table: their text, and the values by which they are sorted."""

    def __init__(self, page):
        super().__init__()
        self.rows, self.values, self.cell, self.is_over = [], [], None, False
        self.feed(page)

    def handle_starttag(self, tag, attrs):
        if self.is_over:
            return
        if tag == "tr":
            self.rows.append([])
            self.values.append([])
        elif tag in ("td", "th"):
            self.cell = ""
            self.values[-1].append(dict(attrs).get("data-value"))

    def handle_data(self, data):
        if self.cell is not None:
            self.cell += data

    def handle_endtag(self, tag):
        if tag in ("td", "th") and self.cell is not None:
            self.rows[-1].append(self.cell)
            self.cell = None
        self.is_over = self.is_over or tag == "table"


def luma(samples, channels):
    if channels == 1:
        return list(samples)
    return [(19595 * r + 38470 * g + 7471 * b + 32768) >> 16
            for r, g, b in zip(samples[0::3], samples[1::3], samples[2::3])]


def ssim(a, b, width, height):
    """Window by window, as the formula says."""
    def mean(values):
        return sum(values) / len(values)
    total = []
    for top in range(0, height - 7, 4):
        for left in range(0, width - 7, 4):
            places = [(top + y) * width + left + x for y in range(8) for x in range(8)]
            p, q = [a[i] for i in places], [b[i] for i in places]
            mp, mq = mean(p), mean(q)
            vp, vq = mean([(v - mp) ** 2 for v in p]), mean([(v - mq) ** 2 for v in q])
            cov = mean([(v - mp) * (w - mq) for v, w in zip(p, q)])
            c1, c2 = 2.55 ** 2, 7.65 ** 2
            total.append((2 * mp * mq + c1) * (2 * cov + c2) /
                         ((mp * mp + mq * mq + c1) * (vp + vq + c2)))
    return mean(total)


def compared_psnr(a, b):
    done = subprocess.run([COMPARE, "-metric", "PSNR", a, b, "null:"], capture_output=True, text=True,
                          check=False)
    return float(done.stderr.split()[0])


class ReportCase(ToolCase):
    def page(self, directory="r"):
        return self.read(directory + "/index.html").decode()

    def row(self, number=0, directory="r"):
        return dict(zip(COLUMNS, Table(self.page(directory)).rows[1 + number]))

    def values(self, number=0):
        return dict(zip(COLUMNS, Table(self.page()).values[1 + number]))

    def pictures(self, directory="r"):
        return sorted(os.listdir(self.path(directory + "/zepconvert-report")))

    def report(self, *arguments, code=0):
        self.run_tool(*arguments, "--report", "r", code=code)
        return self.row()


class NumbersTest(ReportCase):
    def test_columns_and_totals(self):
        self.run_tool("in.ppm", "b.png")
        self.run_tool("in.ppm", "b.png", "none.ppm", "--to", "jpg", "--out-dir", "o", "--report", "r",
                      code=1)
        rows = Table(self.page()).rows
        self.assertEqual(tuple(rows[0]), COLUMNS)
        self.assertEqual(len(rows), 5)
        self.assertEqual(rows[1][:4], ["in.ppm", "PNM", "JPEG", "50 x 33"])
        self.assertEqual(rows[2][1], "PNG")
        self.assertIn("No such file", rows[3][1])
        sizes = [os.path.getsize(self.path(name)) for name in ("in.ppm", "b.png", "o/in.jpg")]
        first = self.values(0)
        self.assertEqual((float(first["original"]), float(first["result"])), (sizes[0], sizes[2]))
        self.assertAlmostEqual(float(first["bits per pixel"]), sizes[2] * 8 / 50 / 33, places=6)
        self.assertAlmostEqual(float(first["ratio"]), sizes[0] / sizes[2], places=6)
        totals = dict(zip(COLUMNS, Table(self.page()).values[4]))
        self.assertEqual(rows[4][0], "2 files")
        self.assertEqual(float(totals["original"]), sizes[0] + sizes[1])
        self.assertEqual(float(totals["pixels"]), 2 * 50 * 33)

    def test_other_libraries_have_their_colours(self):
        self.report("in.ppm", "a.png")
        self.assertIn('title="encode PNG (libpng): ', self.page())
        self.report("a.png", "a.jpg")
        self.assertIn('title="decode PNG (libpng): ', self.page())
        self.assertIn('title="encode: ', self.page())
        self.report("a.jpg", "b.ppm")
        self.assertNotIn("libpng", self.page())

    @unittest.skipUnless(CONVERT, "ImageMagick is not there")
    def test_files_that_libtiff_reads(self):
        subprocess.run([CONVERT, self.path("in.ppm"), "-compress", "lzw", self.path("in.tif")], check=True)
        if not self.reads("in.tif"):
            self.skipTest("zepconvert was built without libtiff")
        row = self.report("in.tif", "a.png")
        self.assertEqual((row["from"], row["to"], row["loss"]), ("TIFF", "PNG", "lossless"))
        self.assertIn('title="decode TIFF (libtiff): ', self.page())

    def reads(self, name):
        return subprocess.run([TOOL, name, "read.ppm"], cwd=self.directory, capture_output=True,
                              check=False).returncode == 0

    def test_facts_of_the_run(self):
        self.report("in.ppm", "it's.png", "--jobs", "1", "--threads", "3")
        page = self.page()
        self.assertIn(r"in.ppm 'it'\''s.png' --jobs 1", page)
        self.assertRegex(page, r"<dd>zepconvert \d+\.\d+\.\d+</dd>")
        self.assertIn("<dd>jobs: 1, threads for each: 3</dd>", page)
        self.assertRegex(page, r"<dt>date</dt><dd>20\d\d-\d\d-\d\d \d\d:\d\d:\d\d [+-]\d{4}</dd>")
        self.assertRegex(page, r"<dt>processor</dt><dd>.+</dd>")
        self.assertNotIn("http", page)

    def test_ssim(self):
        for name, channels in (("c.ppm", 3), ("g.pgm", 1)):
            width, height = 61, 43
            samples = picture(width, height, channels)
            self.write(name, pnm(width, height, channels, samples))
            for quality in ("10", "75"):
                told = float(self.report(name, "a.jpg", "--quality", quality)["SSIM"])
                self.run_tool("a.jpg", "back." + name[-3:])
                back = read_pnm(self.path("back." + name[-3:]))[3]
                expected = ssim(luma(samples, channels), luma(back, channels), width, height)
                self.assertLess(expected, 0.999)
                self.assertTrue(0 <= expected - told <= 0.0001, (expected, told))
        self.write("small.ppm", pnm(20, 7, 3, bytes(420)))
        self.assertEqual(self.report("small.ppm", "small.dds")["SSIM"], "\u2013")

    @unittest.skipUnless(COMPARE, "ImageMagick is not there")
    def test_psnr(self):
        self.write("g.pgm", pnm(40, 31, 1, picture(40, 31, 1)))
        deep = b"".join(struct.pack(">H", v * 250 + i % 250) for i, v in enumerate(picture(40, 30, 3)))
        self.write("deep.ppm", b"P6\n40 30\n65535\n" + deep)
        for name, result, *options in (
                ("in.ppm", "a.jpg"), ("in.ppm", "a.jp2", "--ratio", "12"), ("in.ppm", "a.dds"),
                ("g.pgm", "a.jpg", "--quality", "20"), ("in.ppm", "a.jxr", "--quality", "50"),
                ("deep.ppm", "a.ljpg", "--point-transform", "2")):
            with self.subTest(result, options=options):
                self.report(name, result, *options)
                self.run_tool(result, "back.ppm")
                self.assertAlmostEqual(float(self.values()["PSNR"]),
                                       compared_psnr(self.path(name), self.path("back.ppm")), delta=0.01)
        self.assertIn("of 16 bits", self.page())


class LossesTest(ReportCase):
    def test_lossless_means_equal_pixels(self):
        for result in ("a.png", "a.jp2", "a.jxr", "a.ljpg", "a.tif", "a.ppm"):
            row = self.report("in.ppm", result)
            self.assertEqual((row["loss"], row["PSNR"], row["SSIM"]), ("lossless", "identical", "1.0000"))
            self.assertEqual(self.pictures(), ["1-original.png"])

    def test_low_bits(self):
        self.write("deep.png", png(20, 10, 3, bytes(i * 7 % 256 for i in range(1200)), bits=16))
        row = self.report("deep.png", "a.jp2")
        self.assertEqual(row["loss"], "lossless")
        row = self.report("deep.png", "a.dds")
        self.assertEqual(row["loss"], "8 of 16 bits, lossy coding")
        # Nothing is lost of samples that have 8 bits in fact.
        self.write("flat.png", png(20, 10, 3, bytes([120] * 1200), bits=16))
        self.assertNotIn("bits", self.report("flat.png", "a.jpg")["loss"])

    def test_grey(self):
        row = self.report("in.ppm", "a.pgm")
        self.assertEqual((row["loss"], row["PSNR"]), ("grey", "identical"))
        self.write("same.ppm", pnm(20, 10, 3, bytes(v for v in range(200) for _ in range(3))))
        self.assertEqual(self.report("same.ppm", "a.pgm")["loss"], "lossless")

    def test_opacity(self):
        self.write("t.png", png(20, 10, 4, bytes(i * 7 % 256 for i in range(800))))
        self.assertEqual(self.report("t.png", "a.png")["loss"], "lossless")
        self.assertEqual(self.report("t.png", "a.tif")["loss"], "opacity left out")
        self.write("o.png", png(20, 10, 4, bytes(255 if i % 4 == 3 else i % 256 for i in range(800))))
        self.assertEqual(self.report("o.png", "a.ppm")["loss"], "lossless")

    def test_geometry(self):
        self.run_tool("in.ppm", "a.jpg")
        for options, loss in ((["--scale", "2"], "reduced"), (["--fit", "20x20"], "reduced"),
                              (["--fit", "99x99"], "lossless"), (["--region", "9x9+1+1"], "a part"),
                              (["--auto-orient"], "lossless")):
            self.assertEqual(self.report("a.jpg", "b.png", *options)["loss"], loss, options)
        exif = b"Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0"
        data = self.read("a.jpg")
        self.write("turn.jpg", data[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + data[2:])
        row = self.report("turn.jpg", "b.png", "--auto-orient")
        self.assertEqual((row["pixels"], row["loss"], row["PSNR"]), ("33 x 50", "turned", "identical"))

    def test_damage(self):
        self.run_tool("in.ppm", "a.jpg")
        self.write("cut.jpg", self.read("a.jpg")[:-200])
        self.assertEqual(self.report("cut.jpg", "b.png", code=4)["loss"], "damaged")

    def test_copied_coefficients(self):
        self.write("in.ppm", pnm(200, 150, 3, picture(200, 150, 3)))
        self.run_tool("in.ppm", "a.jpg", "--sampling", "444")
        self.assertEqual(self.report("a.jpg", "b.jpg", "--transcode", "--progressive")["loss"], "lossless")
        for crop in ("40x30+16+24", "40x30+21+29", "900x900+101+77"):
            row = self.report("a.jpg", "b.jpg", "--transcode", "--crop", crop)
            self.assertEqual((row["loss"], row["PSNR"]), ("a part", "identical"), crop)

    def test_results_that_are_not_read(self):
        # BC6H: the header of a picture of 4 x 4 pixels, and one block of zeros.
        head = bytearray(148)
        head[:4] = b"DDS "
        struct.pack_into("<IIIII", head, 4, 124, 0x1007, 4, 4, 16)
        struct.pack_into("<II4s", head, 76, 32, 4, b"DX10")
        struct.pack_into("<I", head, 108, 0x1000)
        struct.pack_into("<IIIII", head, 128, 95, 3, 0, 1, 0)
        self.write("h.dds", bytes(head) + bytes(16))
        row = self.report("h.dds", "h.hdr")
        self.assertEqual((row["loss"], row["PSNR"]), ("not compared", "\u2013"))
        self.assertIn("does not read files of this kind", self.page())
        self.assertEqual(self.pictures(), ["1-original.png"])


class FilesTest(ReportCase):
    def test_size_of_the_pictures(self):
        self.write("large.pgm", pnm(2000, 1500, 1, bytes(range(250)) * 12000))
        self.report("large.pgm", "large.jpg", "--quality", "30")
        size = sum(os.path.getsize(self.path("r/zepconvert-report/" + name)) for name in self.pictures())
        self.assertLess(size, 600000)
        self.assertEqual(self.pictures(), ["1-errors-part.png", "1-errors.png", "1-original-part.png",
                                           "1-original.jpg", "1-result-part.png", "1-result.jpg"])
        self.assertRegex(self.page(), r'1-original\.jpg" width="1024" height="768"')
        self.assertRegex(self.page(), r'1-result-part\.png" width="256" height="256"')

    def test_place_of_the_largest_errors(self):
        samples = bytearray(bytes([90]) * (900 * 700))
        for y in range(470, 500):
            for x in range(700, 740):
                samples[y * 900 + x] = (x * 97 + y * 61) % 256
        self.write("spot.pgm", pnm(900, 700, 1, bytes(samples)))
        self.report("spot.pgm", "spot.jpg", "--quality", "30")
        x, y = map(int, re.search(r"from x = (\d+), y = (\d+)", self.page()).groups())
        self.assertTrue(x <= 700 and x + 256 >= 740 and y <= 470 and y + 256 >= 500, (x, y))
        self.run_tool("r/zepconvert-report/1-original-part.png", "part.pgm")
        part = read_pnm(self.path("part.pgm"))
        self.assertEqual(part[:2], (256, 256))
        self.assertEqual(part[3][:256], bytes(samples[y * 900 + x:y * 900 + x + 256]))

    def test_links_lead_to_the_files(self):
        os.mkdir(self.path("a b#"))
        self.write("a b#/100%.ppm", self.read("in.ppm"))
        self.run_tool("a b#/100%.ppm", "x:y.png", "--report", "deep/r")
        links = re.findall(r'href="([^#"]+)"', self.page("deep/r"))
        self.assertEqual(len(links), 2)
        for link, name in zip(links, ("a b#/100%.ppm", "x:y.png")):
            target = os.path.join(self.path("deep/r"), urllib.parse.unquote(link))
            self.assertTrue(os.path.samefile(target, self.path(name)), link)

    def test_another_page_stays(self):
        os.mkdir(self.path("r"))
        self.write("r/index.html", b"my page")
        text = self.run_plainly("in.ppm", "a.jpg", "--report", "r", code=2)
        self.assertIn("r/index.html exists and is no report of zepconvert (--force replaces it)", text)
        self.assertEqual(self.read("r/index.html"), b"my page")
        self.assertEqual(self.files(), ["in.ppm", "r"])
        self.assertEqual(os.listdir(self.path("r")), ["index.html"])
        self.report("in.ppm", "a.jpg")
        self.assertIn("zepconvert report", self.page())

    def test_earlier_reports_are_replaced(self):
        self.run_plainly("in.ppm", "a.jpg", "--report", "r")
        self.assertEqual(len(self.pictures()), 3)
        own = ("r/notes.txt", "r/1-original.png", "r/zepconvert-report/mine.png",
               "r/zepconvert-report/7-original.png")
        for name in own:
            self.write(name, b"mine")
        self.run_plainly("in.ppm", "a.png", "--report", "r")
        self.assertEqual(self.pictures(), ["1-original.png", "7-original.png", "mine.png"])
        for name in own:
            self.assertEqual(self.read(name), b"mine")
        self.assertEqual(sorted(os.listdir(self.path("r"))),
                         ["1-original.png", "index.html", "notes.txt", "zepconvert-report"])

    def test_existing_results_are_told(self):
        self.write("a.jpg", b"old")
        self.run_plainly("in.ppm", "a.jpg", "--no-clobber", "--report", "r")
        self.assertIn("left out", Table(self.page()).rows[1][1])
        self.assertEqual(self.pictures(), [])


PROBE = """<script>addEventListener('load', () => {
  const told = {};
  const send = (target, type, more) => target.dispatchEvent(
      Object.assign(new Event(type, {bubbles: true, cancelable: true}), more));
  const click = element => element.click();
  const table = document.querySelector('table.sortable');
  const heads = [...table.tHead.rows[0].cells];
  const names = () => [...table.tBodies[0].rows].map(row => row.cells[0].textContent);
  told.unsorted = names();
  told.sorted = heads.map(head => {
    const orders = [];
    for (let i = 0; i < 2; ++i) {
      click(head.querySelector('button'));
      orders.push(head.getAttribute('aria-sort'), names());
    }
    return orders;
  });
  told.sortedColumns = table.querySelectorAll('th[aria-sort=descending]').length;
  const view = document.querySelector('.view');
  const style = name => view.style.getPropertyValue(name);
  const frame = view.querySelector('.original .frame');
  const box = frame.getBoundingClientRect();
  const over = view.querySelector('.over');
  told.pictures = frame.querySelectorAll('img').length;
  told.clip = [];
  for (const value of [0, 30, 100]) {
    const slider = view.querySelector('.slider');
    slider.value = value;
    send(slider, 'input');
    told.clip.push(getComputedStyle(over).clipPath);
  }
  const [out, into, all] = view.querySelectorAll('.zoom button');
  const zoom = () => Number(style('--zoom'));
  told.zoom = [];
  const step = act => { act(); told.zoom.push(zoom()); };
  step(() => click(into));
  step(() => click(out));
  step(() => { frame.focus(); send(frame, 'keydown', {key: '+'}); });
  step(() => frame.dispatchEvent(new WheelEvent('wheel', {deltaY: -1, cancelable: true})));
  const before = style('--x');
  send(frame, 'keydown', {key: 'ArrowRight'});
  told.moved = parseFloat(style('--x')) - parseFloat(before);
  told.transform = getComputedStyle(over.querySelector('img')).transform;
  step(() => click(all));
  const gain = view.querySelector('.gain');
  told.gains = [gain.min, gain.max].map(value => {
    gain.value = value;
    send(gain, 'input');
    return getComputedStyle(view.querySelector('.errors img')).filter;
  });
  told.gainCaption = view.querySelector('.errors figcaption').textContent;
  told.background = getComputedStyle(document.body).backgroundColor;
  const root = document.documentElement;
  root.style.width = '320px';
  told.tooWide = [...document.querySelectorAll('body *')].filter(
      element => element.getClientRects().length > 0 && !element.closest('.scroll') &&
          !element.closest('.frame') &&
          element.getBoundingClientRect().right > 320.5).map(element => element.outerHTML);
  told.loaded = [...document.images].every(image => image.loading === 'lazy');
  document.body.textContent = '';
  document.body.dataset.told = JSON.stringify(told);
});</script>"""


@unittest.skipUnless(CHROMIUM, "Chromium is not there")
class PageTest(ReportCase):
    def ask(self, *options):
        """What the script above finds out about the page."""
        self.write("r/probe.html", (self.page() + PROBE).encode())
        done = subprocess.run(
            [CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--virtual-time-budget=5000",
             "--user-data-dir=" + self.path("profile"), *options, "--dump-dom",
             "file://" + self.path("r/probe.html")], capture_output=True, text=True, timeout=100,
            check=True)
        told = re.search(r'data-told="([^"]*)"', done.stdout).group(1)
        return json.loads(told.replace("&quot;", '"').replace("&lt;", "<").replace("&gt;", ">")
                          .replace("&amp;", "&"))

    def make_report(self):
        self.write("b.ppm", pnm(120, 90, 3, picture(120, 90, 3)))
        self.write("a long name without an end, in several words, of a picture.ppm",
                   pnm(30, 20, 3, picture(30, 20, 3)))
        self.run_tool("in.ppm", "none.ppm", "b.ppm",
                      "a long name without an end, in several words, of a picture.ppm",
                      "--to", "jpg", "--out-dir", "o", "--report", "r", code=1)

    def test_sorting_slider_zoom_and_gain(self):
        self.make_report()
        told = self.ask()
        names, values = told["unsorted"], Table(self.page()).values[1:5]
        self.assertEqual(names[:3], ["in.ppm", "none.ppm", "b.ppm"])
        for column, (name, (up, rising, down, falling)) in enumerate(zip(COLUMNS, told["sorted"])):
            self.assertEqual((up, down), ("ascending", "descending"))
            self.assertEqual((rising[3], falling[3]), ("none.ppm", "none.ppm"))
            keys = {row: values[i][column] for i, row in enumerate(names) if row != "none.ppm"}
            if name in ("file", "from", "to", "loss"):
                self.assertEqual([keys[row] for row in rising[:3]], sorted(keys.values()), name)
            else:
                self.assertEqual([float(keys[row]) for row in rising[:3]],
                                 sorted(map(float, keys.values())), name)
                self.assertEqual([float(keys[row]) for row in falling[:3]],
                                 sorted(map(float, keys.values()), reverse=True), name)
        self.assertEqual(told["sortedColumns"], 1)
        self.assertEqual(told["pictures"], 2)
        self.assertEqual(told["clip"], ["inset(0px 0px 0px %s)" % at for at in ("0%", "30%", "100%")])
        self.assertEqual(told["zoom"], [1.5, 1, 1.5, 1.875, 1])
        self.assertLess(told["moved"], 0)
        self.assertIn("matrix(1.875, 0, 0, 1.875,", told["transform"])
        self.assertEqual(told["gains"], ["brightness(1)", "brightness(64)"])
        self.assertEqual(told["gainCaption"], "errors, times 64")
        self.assertEqual(told["tooWide"], [])

    def test_dark_pages(self):
        self.make_report()
        self.assertEqual(self.ask("--blink-settings=preferredColorScheme=1")["background"],
                         "rgb(255, 255, 255)")
        self.assertEqual(self.ask("--blink-settings=preferredColorScheme=0")["background"],
                         "rgb(22, 22, 22)")


if __name__ == "__main__":
    unittest.main(verbosity=2)
