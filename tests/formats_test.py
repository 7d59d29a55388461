"""The files that smscan writes, as decoders see them that are not ours: PIL and poppler.

Usage: formats_test.py LAUNCHER... SMSCAN, which is started with the options behind it. Each page is scanned as a BMP
file, too, which other tests compare with what the virtual scanner shows; here the formats are compared with that.
"""
import os
import resource
import subprocess
import sys
import tempfile
import unittest
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from PIL import Image, ImageChops, ImageSequence, ImageStat

SMSCAN = sys.argv[1:]
SMALL = ["--resolution", "97", "--area", "0,0,2.31in,1.17in"]  # 224 x 113 pixels


class Run:
    """smscan, once: its lines, its exit code, the bytes it wrote."""

    def __init__(self, folder, *options, **settings):
        environment = dict(os.environ, **{"VSCAN_" + key.upper(): str(value) for key, value in settings.items()})
        done = subprocess.run([*SMSCAN, *options], cwd=folder, env=environment, capture_output=True, timeout=60)
        self.code, self.bytes, self.errors = done.returncode, done.stdout, done.stderr.decode()


def pdf_pages(path):
    """Of each page its picture and its dots per inch, in both directions."""
    def tool(*words):
        return subprocess.run(words, check=True, capture_output=True, text=True).stdout
    with tempfile.TemporaryDirectory() as folder:
        tool("pdfimages", "-png", str(path), folder + "/page")
        pictures = [Image.open(picture) for picture in sorted(Path(folder).iterdir())]
        for picture in pictures:
            picture.load()
    rows = [line.split() for line in tool("pdfimages", "-list", str(path)).splitlines()[2:]]
    return [(picture, (int(row[12]), int(row[13]))) for picture, row in zip(pictures, rows)]


def pages(path):
    if path.suffix == ".pdf":
        return pdf_pages(path)
    with Image.open(path) as file:
        return [(page.copy(), tuple(round(float(dots)) for dots in page.info["dpi"]))
                for page in ImageSequence.Iterator(file)]


def difference(one, other):
    """Root of the mean square, of all channels; None for other sizes."""
    if one.size != other.size:
        return None
    return max(ImageStat.Stat(ImageChops.difference(one.convert("RGB"), other.convert("RGB"))).rms)


class Formats(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)

    def scan(self, *options, code=0, **settings):
        run = Run(self.folder, *options, **settings)
        self.assertEqual(run.code, code, run.errors)
        return run

    def files(self):
        return sorted(path.name for path in self.folder.iterdir())

    def test_every_kind_of_pixel_in_every_format(self):
        kinds = {
            "bw": dict(PixelType="BW"),
            "gray4": dict(PixelType="Gray", BitDepth=4),
            "gray": dict(PixelType="Gray", StripColumns=100, StripRows=50, UnknownLength=1),
            "palette4": dict(PixelType="Palette", BitDepth=4),
            "palette": dict(PixelType="Palette"),
            "color": dict(Planar=1),
        }
        # The largest difference to the BMP file. Without whole colour there is more of it at the edges of colours.
        formats = {"png": 0, "tif": 0, "jpg": 12, "lossless.pdf": 0, "pdf": 12}

        def scan(kind, extension):
            options = ["--lossless"] if extension.startswith("lossless") else []
            self.scan(*SMALL, *options, "--output", f"{kind}.{extension}", **kinds[kind])

        with ThreadPoolExecutor(3) as pool:
            list(pool.map(lambda row: scan(*row), [(kind, e) for kind in kinds for e in ["bmp", *formats]]))
        for kind in kinds:
            (bmp, dots), = pages(self.folder / f"{kind}.bmp")
            self.assertEqual((bmp.size, dots), ((224, 113), (97, 97)))
            for extension, tolerance in formats.items():
                with self.subTest(kind=kind, extension=extension):
                    (page, dots), = pages(self.folder / f"{kind}.{extension}")
                    self.assertEqual(dots, (97, 97))
                    limit = 0 if extension == "pdf" and kind not in ("gray", "color") else tolerance
                    self.assertLessEqual(difference(page, bmp), limit)
        self.assertEqual(len(self.files()), len(kinds) * (len(formats) + 1))

    def test_quality(self):
        sizes = []
        self.scan(*SMALL, "--output", "p.bmp")
        for quality, tolerance in (("1", 60), ("50", 20), ("89", 12), ("100", 1)):
            self.scan(*SMALL, "--force", "--output", "p.jpg", "--quality", quality)
            (page, _), = pages(self.folder / "p.jpg")
            self.assertLessEqual(difference(page, Image.open(self.folder / "p.bmp")), tolerance)
            sizes.append((self.folder / "p.jpg").stat().st_size)
        self.assertEqual(sizes, sorted(sizes))

    def test_runs_of_black_and_white_of_every_code(self):
        lengths = [*range(64), *range(64, 2700, 64)]
        runs = Image.new("1", (5400, 2 * len(lengths)), 1)  # below an empty row runs are coded, not differences
        for row, length in enumerate(lengths):
            runs.paste(0, (length, 2 * row, 2 * length, 2 * row + 1))
        runs.save(self.folder / "runs.bmp", dpi=(600, 600))
        for name in ("p.bmp", "p.tif"):
            self.scan("--resolution", "600", "--mode", "bw", "--area", f"0,0,9,{runs.height / 600}in", "--output", name,
                      Page=f"Z:{self.folder}/runs.bmp")
        self.assertEqual(difference(Image.open(self.folder / "p.bmp"), runs), 0)
        self.assertEqual(difference(Image.open(self.folder / "p.tif"), runs), 0)

    def test_pages_before_a_failure_are_whole_in_their_file(self):
        jam = dict(Pages=4, JamAtPage=3, FaultAfterStrip=1, StripRows=20)
        self.scan(*SMALL, "--pages", "2", "--output", "p%d.bmp", Pages=4)
        for name, options in (("m.pdf", ["--lossless"]), ("m.tif", ["--multipage"])):
            run = self.scan(*SMALL, *options, "--pages", "all", "--output", name, code=1, **jam)
            self.assertIn("2 pages kept", run.errors)
            self.assertEqual(run.bytes.decode().splitlines(),
                             [f"{name}  224 x 113 pixels, 24 bit, 97 dpi, page {page}" for page in (1, 2)])
            whole = pages(self.folder / name)
            self.assertEqual(len(whole), 2)
            for number, (page, dots) in enumerate(whole, 1):
                self.assertEqual(dots, (97, 97))
                self.assertEqual(difference(page, Image.open(self.folder / f"p{number}.bmp")), 0)
        self.scan("--output", "none.pdf", code=1, JamAtPage=1)
        self.assertEqual(self.files(), ["m.pdf", "m.tif", "p1.bmp", "p2.bmp"])

    def test_numbers_go_on_and_nothing_is_replaced(self):
        self.folder /= "100%d"  # no directive in a pattern that stands elsewhere
        self.folder.mkdir()
        def names(*options, code=0):
            run = self.scan(*SMALL, "--output", "日本%02d.png", *options, code=code)
            return [line.split("  ")[0] for line in run.bytes.decode().split("\n")[:-1]]
        self.assertEqual(names(), ["日本01.png"])
        self.assertEqual(names("--start", "7"), ["日本07.png"])
        self.assertEqual(names(), ["日本08.png"])
        first = (self.folder / "日本07.png").stat().st_mtime_ns
        self.assertEqual(names("--start", "6", "--pages", "2", code=6), [])
        self.assertEqual((self.folder / "日本07.png").stat().st_mtime_ns, first)
        self.assertEqual(names("--force"), ["日本01.png"])
        # With its own leftovers and those of others in the way.
        (self.folder / "日本09.part.png").write_text("another one's")
        self.assertEqual(names(), ["日本09.png"])
        self.assertEqual((self.folder / "日本09.part.png").read_text(), "another one's")

    def test_names_that_the_module_can_not_be_told(self):
        self.scan(*SMALL, "--output", "p.bmp")
        for options in (["--presto", "--mode", "color", "--resolution", "97"], [*SMALL, "--mech", "file"]):
            self.scan(*options, "--force", "--output", "日本.bmp")
            self.scan(*options, "--force", "--output", "日本.png")
            (bmp, dots), (png, _) = pages(self.folder / "日本.bmp") + pages(self.folder / "日本.png")
            self.assertEqual((dots, difference(bmp, png)), ((97, 97), 0))
        self.assertEqual(difference(bmp, Image.open(self.folder / "p.bmp")), 0)
        self.assertEqual(self.files(), ["p.bmp", "日本.bmp", "日本.png"])

    def test_standard_output(self):
        self.scan(*SMALL, "--output", "p.png")
        run = self.scan(*SMALL, "--output", "-", "--format", "png")
        self.assertEqual(run.bytes, (self.folder / "p.png").read_bytes())
        self.assertEqual(run.errors, "-  224 x 113 pixels, 24 bit, 97 dpi\n")
        (self.folder / "m.pdf").write_bytes(
            self.scan(*SMALL, "--output", "-", "--format", "pdf", "--multipage", "--pages", "all", Pages=2).bytes)
        self.assertEqual(len(pages(self.folder / "m.pdf")), 2)
        self.assertEqual(self.files(), ["m.pdf", "p.png"])
        self.assertEqual(self.scan("--list", ProductName="Scänner").bytes.decode(), " 1  Scänner (default)\n")

    def test_a_large_page_is_never_in_memory(self):
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
        self.scan("--resolution", "600", "--area", "0,0,11.69in,16.54in", "--output", "a3.pdf")  # 209 MB
        self.assertLess(max(before, resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss), 64 * 1024)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
