"""Views and threads change nothing; out= writes nothing outside the image."""

import numpy as np
import pytest

import qvi
from conftest import FORMATS, random_image

# (from, to, method, phase, height, width): one case for each way a frame
# can reach the library (as it is, from a compact copy, one pixel wider,
# line by line instead of one block).
CASES = [
    ("BAY8", "BGR24", "dup", "B", 6, 8),
    ("BAY8", "BGR24", "ave", "A", 5, 7),
    ("BAY12", "BGRX32", "med", "D", 6, 9),
    ("BAY14", "RGB16", "med", "C", 7, 9),
    ("BAY10", "RGB16", "med", "C", 6, 8),
    ("BAY16", "RGB16", "med", "C", 2, 6),
    ("RGB30", "RGB48", "ave", "A", 4, 5),
    ("Y8", "Y8", "ave", "A", 5, 6),
    ("Y16", "Y16", "ave", "A", 5, 6),
    ("BGR24", "XRGB32", "ave", "A", 4, 5),
    ("YUV422", "BGRX32", "ave", "A", 4, 5),
    ("Y12P", "RGB24", "ave", "A", 3, 7),
]
IDS = [f"{c[0]}-{c[1]}-{c[2]}-{c[4]}x{c[5]}" for c in CASES]


def convert(src, case, **kwargs):
    from_format, to_format, method, phase, _, width = case
    packed = FORMATS[from_format].packed
    return qvi.convert(src, from_format, to_format, method=method, phase=phase,
                       width=width if packed else None, **kwargs)


def views(rng, case):
    """Views of one image inside larger arrays: every line's pixels are
    contiguous, the lines are not."""
    from_format, _, _, _, height, width = case
    info = FORMATS[from_format]
    row = info.shape(height, width)[1]
    big = random_image(rng, from_format, 2 * height + 3, width + 5)
    return {
        "crop": big[1 : 1 + height, 2 : 2 + row],
        "every other line": big[::2][:height, :row],
        "crop at the end of memory": big[-height:, -row:],
        "stack of crops": np.stack([big] * 3)[:, -height:, :row],
    }


@pytest.mark.parametrize("case", CASES, ids=IDS)
def test_views_and_threads_give_what_contiguous_frames_give(case, rng):
    for name, view in views(rng, case).items():
        assert not view.flags.c_contiguous
        np.testing.assert_array_equal(convert(view, case), convert(view.copy(), case), err_msg=name)
    from_format, _, _, _, height, width = case
    stack = random_image(rng, from_format, height, width, frames=5)
    one_by_one = np.stack([convert(frame, case) for frame in stack])
    for threads in (1, 2, 3, 8):
        np.testing.assert_array_equal(convert(stack, case, threads=threads), one_by_one)
    np.testing.assert_array_equal(convert(stack[::-2], case, threads=2), one_by_one[::-2])


@pytest.mark.parametrize("case", CASES, ids=IDS)
def test_out_writes_the_image_and_nothing_else(case, rng):
    from_format, to_format, _, _, height, width = case
    src = random_image(rng, from_format, height, width)
    shape = FORMATS[to_format].shape(height, width)
    expected = np.full(shape, 0xA5, FORMATS[to_format].dtype)
    assert convert(src, case, out=expected) is expected
    canvas = np.full((height + 2, width + 3) + shape[2:], 0xA5, expected.dtype)
    out = canvas[1:-1, 2:-1]
    assert convert(src, case, out=out) is out
    np.testing.assert_array_equal(out, expected)
    out[...] = 0xA5
    assert (canvas == 0xA5).all(), "a byte outside the image was written"
    fresh = convert(src, case)
    differs = fresh != expected
    assert (fresh[differs] == 0).all(), "only X bytes that were left alone may differ from a new array"


@pytest.mark.parametrize("pair", [("BGR24", "RGB24"), ("Y12", "Y16"), ("RGB30", "BGR30"), ("BGR48", "RGB48")])
def test_in_place_equals_converting_a_copy(pair, rng):
    src = random_image(rng, pair[0], 4, 6)
    expected = qvi.convert(src, *pair)
    assert qvi.convert(src, *pair, out=src) is src
    np.testing.assert_array_equal(src, expected)


def test_empty_images_and_stacks(rng):
    assert qvi.convert(np.zeros((0, 5), np.uint8), "Y8", "BGR24").shape == (0, 5, 3)
    assert qvi.convert(np.zeros((0, 4, 4), np.uint8), "BAY8", threads=2).shape == (0, 4, 4, 3)
