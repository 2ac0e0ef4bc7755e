"""On a natural photograph, the 'ave' demosaic agrees with OpenCV's bilinear
one.  OpenCV names a Bayer pattern by the cell one row and one column in
from qvi's top-left one (qvi's phase 'A', R G / G B, is COLOR_BayerBG2BGR).
Inside the border the two differ by at most 1 (qvi's means truncate)."""

import numpy as np
import pytest

import qvi

cv2 = pytest.importorskip("cv2")
cbook = pytest.importorskip("matplotlib.cbook")

OPENCV_CODE = {
    "A": cv2.COLOR_BayerBG2BGR, "B": cv2.COLOR_BayerGB2BGR, "C": cv2.COLOR_BayerGR2BGR, "D": cv2.COLOR_BayerRG2BGR,
}
# The BGR channel of each sample of a phase's 2 x 2 cell.
CELL = {"A": [[2, 1], [1, 0]], "B": [[1, 2], [0, 1]], "C": [[1, 0], [2, 1]], "D": [[0, 1], [1, 2]]}


def psnr(a, b):
    error = np.mean((a.astype(float) - b.astype(float)) ** 2)
    return np.inf if error == 0 else 10 * np.log10(255**2 / error)


@pytest.fixture(scope="module")
def photo():
    try:
        path = cbook.get_sample_data("grace_hopper.jpg", asfileobj=False)
    except (OSError, ValueError):
        pytest.skip("matplotlib's sample photograph is not installed")
    return cv2.imread(str(path))  # 600 x 512, BGR


def mosaic(bgr, phase):
    out = np.empty(bgr.shape[:2], bgr.dtype)
    for dy in range(2):
        for dx in range(2):
            out[dy::2, dx::2] = bgr[dy::2, dx::2, CELL[phase][dy][dx]]
    return out


@pytest.mark.parametrize("phase", "ABCD")
def test_ave_agrees_with_opencv_bilinear(photo, phase):
    raw = mosaic(photo, phase)
    ours = qvi.convert(raw, "BAY8", "BGR24", method="ave", phase=phase)
    theirs = cv2.cvtColor(raw, OPENCV_CODE[phase])
    assert psnr(ours, theirs) >= 45.0
    inner = (slice(1, -1), slice(1, -1))
    assert np.abs(ours[inner].astype(int) - theirs[inner]).max() <= 1
    assert psnr(ours[inner], theirs[inner]) >= 50.0
    # The naming offset matters: OpenCV's code of the opposite phase is far off.
    assert psnr(ours, cv2.cvtColor(raw, OPENCV_CODE["DCBA"["ABCD".index(phase)]])) < 20.0


def test_12_bit_ave_agrees_with_opencv_on_16_bits(photo):
    raw = mosaic(photo, "A").astype(np.uint16) << 4
    ours = qvi.convert(raw, "BAY12", "BGR24", method="ave", phase="A")
    theirs = cv2.cvtColor(raw, OPENCV_CODE["A"]) >> 4
    assert psnr(ours, theirs) >= 45.0
