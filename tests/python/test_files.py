"""Files written by qvi.write read back with other readers and with
qvi.read_raw; a failed write leaves nothing behind."""

import os

import numpy as np
import pytest
import tifffile
from PIL import Image

import qvi
from conftest import random_image


def padded(image):
    """The same pixels as a view with padded rows."""
    canvas = np.zeros((image.shape[0], image.shape[1] + 3) + image.shape[2:], image.dtype)
    canvas[:, : image.shape[1]] = image
    return canvas[:, : image.shape[1]]


# format, what a reader sees of the pixels in memory
TIFF_CASES = {
    "Y8": lambda image: image,
    "BGR24": lambda image: image[..., ::-1],
    "RGB24": lambda image: image[..., ::-1],  # stored with red and blue exchanged
}


@pytest.mark.parametrize("format", TIFF_CASES)
@pytest.mark.parametrize("layout", [np.ascontiguousarray, padded])
def test_tiff_files_read_back(format, layout, tmp_path, rng):
    image = layout(random_image(rng, format, 7, 9))
    path = tmp_path / "image.tif"
    qvi.write(path, image, format)
    expected = TIFF_CASES[format](image)
    np.testing.assert_array_equal(tifffile.imread(path), expected)
    with Image.open(path) as picture:
        np.testing.assert_array_equal(np.asarray(picture), expected)
    assert os.listdir(tmp_path) == ["image.tif"]


@pytest.mark.parametrize("format, stride", [("BAY12", None), ("BGR24", 40), ("YUV422", 16), ("RGB30", 24)])
@pytest.mark.parametrize("frames", [1, 4])
def test_raw_files_read_back(format, stride, frames, tmp_path, rng):
    info = qvi.formats()[format]
    width, height = 5, 3
    stack = random_image(rng, format, height, width, frames=frames)
    if stride is None:
        qvi.write(tmp_path / "capture.raw", padded(stack.reshape((-1,) + stack.shape[2:])), format, kind="raw")
        assert os.path.getsize(tmp_path / "capture.raw") == stack.nbytes
    else:
        lines = np.zeros((frames * height, stride), np.uint8)
        lines[:, : info.line_bytes(width)] = stack.view(np.uint8).reshape(frames * height, -1)
        lines.tofile(tmp_path / "capture.raw")
    got = qvi.read_raw(tmp_path / "capture.raw", width, height, format, stride=stride)
    np.testing.assert_array_equal(got, stack if frames > 1 else stack[0])
    if frames > 1:
        assert isinstance(got.base, np.memmap) and not got.flags.writeable


def test_a_stack_mapped_to_the_end_of_a_page_converts(tmp_path, rng):
    # 64 frames of 3 x 64 BAY8 pixels are exactly three pages: the odd width
    # makes the averaging demosaic read past each line, and past the mapping
    # after the last one unless the frame is copied first.
    random_image(rng, "BAY8", 64, 3, frames=64).tofile(tmp_path / "capture.raw")
    stack = qvi.read_raw(tmp_path / "capture.raw", 3, 64, "BAY8")
    assert os.path.getsize(tmp_path / "capture.raw") % 4096 == 0
    np.testing.assert_array_equal(qvi.convert(stack, "BAY8", threads=2), qvi.convert(np.array(stack), "BAY8"))


def test_a_failed_write_keeps_the_old_file(tmp_path, rng):
    path = tmp_path / "image.tif"
    path.write_bytes(b"old")
    with pytest.raises(ValueError):
        qvi.write(path, np.zeros((2, 2), np.uint16), "Y16")
    assert path.read_bytes() == b"old" and os.listdir(tmp_path) == ["image.tif"]


@pytest.mark.skipif(not os.path.exists("/dev/full"), reason="no /dev/full")
@pytest.mark.parametrize("kind", ["raw", "tiff"])
def test_a_full_disk_is_a_library_error(kind):
    with pytest.raises(qvi.Error) as raised:
        qvi.write("/dev/full", np.zeros((300, 300), np.uint8), "Y8", kind=kind)
    assert raised.value.status_name in ("STATUS_WRITE_FAILED", "STATUS_CLOSE_FAILED")
    assert "/dev/full" in str(raised.value)
