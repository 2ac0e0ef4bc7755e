"""The three demosaic methods beside OpenCV's bilinear demosaic, on crops of
the demo capture, drawn with matplotlib into a PNG file.

    scripts/demo.sh            # writes out/demo/capture-bay12.raw (qvi demo --out out/demo)
    PYTHONPATH=build/release/python /usr/bin/python3 examples/python/compare_methods.py \\
        out/demo/capture-bay12.raw -o compare-methods.png

The capture is 1024 x 768 12-bit Bayer samples of phase A (R G / G B).
OpenCV names that pattern BG (its name starts one row and one column in), and
its 16-bit result is shifted to 8 bits as qvi's 'ave' reduces the depth.
"""

import argparse
import sys

import cv2
import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402

import qvi  # noqa: E402

WIDTH, HEIGHT = 1024, 768
# Details of the demo scene: (x, y) of a 48 x 48 crop.
CROPS = {
    "zone plate": (316, 316),
    "colour patches": (616, 147),
    "slanted edge": (104, 616),
    "red/blue edge": (360, 616),
    "star": (904, 600),
}
SIZE = 48


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("capture", nargs="?", default="out/demo/capture-bay12.raw",
                        help="the demo's 12-bit Bayer capture (default: out/demo/capture-bay12.raw)")
    parser.add_argument("-o", "--output", default="compare-methods.png", help="the PNG file to write")
    args = parser.parse_args()
    try:
        raw = qvi.read_raw(args.capture, WIDTH, HEIGHT, "BAY12")
    except FileNotFoundError:
        sys.exit(f"{args.capture} not found: run scripts/demo.sh (or qvi demo --out out/demo) first")

    columns = {method: qvi.convert(raw, "BAY12", "BGR24", method=method, phase="A") for method in ("dup", "ave", "med")}
    columns["OpenCV bilinear"] = (cv2.cvtColor(raw, cv2.COLOR_BayerBG2BGR) >> 4).astype("uint8")

    figure, axes = plt.subplots(len(CROPS), len(columns), figsize=(2.2 * len(columns), 2.2 * len(CROPS)))
    for row, (detail, (x, y)) in enumerate(CROPS.items()):
        for column, (name, bgr) in enumerate(columns.items()):
            axis = axes[row][column]
            axis.imshow(bgr[y : y + SIZE, x : x + SIZE, ::-1], interpolation="nearest")
            axis.set_xticks([])
            axis.set_yticks([])
            if row == 0:
                axis.set_title(name)
            if column == 0:
                axis.set_ylabel(detail)
    figure.tight_layout()
    figure.savefig(args.output, dpi=100)
    print(f"wrote {args.output}")


if __name__ == "__main__":
    main()
