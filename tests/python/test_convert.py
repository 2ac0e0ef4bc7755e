"""Every conversion the library lists gives the library's own bytes, in the
natural shape and dtype of its destination."""

import os
import subprocess

import numpy as np
import pytest

import qvi
from conftest import FORMATS, is_bayer, random_image

PAIRS = [(f, t) for f, targets in qvi.conversions().items() for t in targets]
BAYER_MODES = [(m, p) for m in ("dup", "ave", "med") for p in "ABCD"]


@pytest.mark.parametrize("height, width", [(5, 7), (6, 8)], ids=["odd", "even"])
@pytest.mark.parametrize("pair", PAIRS, ids=["-".join(p) for p in PAIRS])
def test_conversion_equals_the_library(pair, height, width, library, rng):
    from_format, to_format = pair
    info = FORMATS[from_format]
    for method, phase in BAYER_MODES if is_bayer(from_format) else [("ave", "A")]:
        src = random_image(rng, from_format, height, width)
        kwargs = dict(method=method, phase=phase, width=width if info.packed else None)
        status, expected = library.convert(src, from_format, to_format, method, phase, width)
        if status != 0:
            with pytest.raises(qvi.Error) as raised:
                qvi.convert(src, from_format, to_format, **kwargs)
            assert raised.value.status == status
            continue
        got = qvi.convert(src, from_format, to_format, **kwargs)
        assert got.dtype == FORMATS[to_format].dtype
        assert got.shape == FORMATS[to_format].shape(height, width)
        np.testing.assert_array_equal(got, expected, err_msg=f"{method} {phase}")


TOOL_CASES = [  # from, to, method, phase, width, height
    ("BAY12", "BGR24", "med", "A", 9, 6),
    ("BAY8", "BGRX32", "ave", "C", 7, 5),
    ("BAY10", "RGBX32", "dup", "D", 8, 3),
    ("Y12P", "RGB24", None, None, 10, 3),
    ("YUV422", "XRGB32", None, None, 6, 4),
    ("RGB30", "RGB48", None, None, 5, 4),
]


@pytest.mark.skipif("QVI_TOOL" not in os.environ, reason="the qvi tool is not built")
@pytest.mark.parametrize("case", TOOL_CASES, ids=[f"{c[0]}-{c[1]}" for c in TOOL_CASES])
def test_conversion_equals_the_tool(case, tmp_path, rng):
    from_format, to_format, method, phase, width, height = case
    src = random_image(rng, from_format, height, width)
    src.tofile(tmp_path / "in.raw")
    command = [os.environ["QVI_TOOL"], "convert", str(tmp_path / "in.raw"), "--width", str(width),
               "--height", str(height), "--format", from_format, "--to", to_format, "-o", str(tmp_path / "out.raw")]
    subprocess.run(command + (["--method", method, "--phase", phase] if method else []), check=True, capture_output=True)
    info = FORMATS[to_format]
    expected = np.fromfile(tmp_path / "out.raw", info.dtype).reshape(info.shape(height, width))
    got = qvi.convert(src, from_format, to_format, method=method or "ave", phase=phase or "A",
                      width=width if FORMATS[from_format].packed else None)
    np.testing.assert_array_equal(got, expected)
