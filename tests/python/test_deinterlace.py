"""De-interlacing gives the library's own frames for every format and
method it takes, from views and stacks alike."""

import numpy as np
import pytest

import qvi
from conftest import random_image

METHODS = ["linedup", "lineave", "bilinear", "median"]
# Formats of every array layout, the six-byte neighbourhoods' steps included.
FIELD_FORMATS = ["Y8", "Y12", "BGR24", "RGB24", "BGRX32", "XRGB32", "YUV422", "Y12P", "BGR48", "RGB30"]


@pytest.mark.parametrize("format", FIELD_FORMATS)
@pytest.mark.parametrize("method", METHODS)
def test_frames_equal_the_library(format, method, library, rng):
    for parity in ("even", "odd"):
        field = random_image(rng, format, 5, 6)
        status, expected = library.deinterlace(field, format, method, parity)
        if status != 0:
            assert status == 10  # STATUS_BAD_PARAMETER: the method does not take the format
            with pytest.raises(ValueError, match="method"):
                qvi.deinterlace(field, format, method, parity)
            continue
        got = qvi.deinterlace(field, format, method, parity)
        assert got.dtype == field.dtype and got.shape == (10,) + field.shape[1:]
        np.testing.assert_array_equal(got, expected, err_msg=parity)


@pytest.mark.parametrize("format, method", [("Y8", "bilinear"), ("BGRX32", "median"), ("YUV422", "lineave")])
def test_views_stacks_and_out(format, method, rng):
    stack = random_image(rng, format, 4, 6, frames=3)
    expected = np.stack([qvi.deinterlace(np.ascontiguousarray(f), format, method) for f in stack])
    wide = np.zeros(stack.shape[:2] + (stack.shape[2] + 2,) + stack.shape[3:], stack.dtype)
    wide[:, :, : stack.shape[2]] = stack
    view = wide[:, :, : stack.shape[2]]
    np.testing.assert_array_equal(qvi.deinterlace(view, format, method, threads=2), expected)
    frames = np.zeros((4,) + expected.shape[1:], stack.dtype)
    frames[0] = 0x5A  # the median leaves part of a 32-bit frame alone: only this one is a canary
    assert qvi.deinterlace(view[::-1], format, method, out=frames[3:0:-1]) is not None
    np.testing.assert_array_equal(frames[1:], expected)
    assert (frames[0] == 0x5A).all()
