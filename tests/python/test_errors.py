"""Bad arguments raise exceptions that name them; no input crashes."""

import pickle

import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import qvi
from conftest import FORMATS

U8 = np.zeros((4, 6), np.uint8)
U16 = np.zeros((4, 6), np.uint16)


def unaligned():
    return np.frombuffer(bytes(49), np.uint16, count=24, offset=1).reshape(4, 6)


def rows_26_bytes_apart():
    return np.lib.stride_tricks.as_strided(np.zeros(120, np.uint8), (4, 6, 4), (26, 4, 1))


def overlapping(from_format, to_format):
    memory = np.zeros(48, np.uint8)
    return qvi.convert(memory[:24].reshape(4, 6), from_format, to_format, out=memory.view(np.uint16).reshape(4, 6))


BAD_CALLS = {
    # name: (call, exception, words the message must hold)
    "dtype": (lambda: qvi.convert(U8.astype(np.int16), "BAY8"), TypeError, "src must be an array of uint8"),
    "byte order": (lambda: qvi.convert(U16.astype(">u2"), "Y12", "Y8"), TypeError, "src must be an array of uint16"),
    "not an array": (lambda: qvi.convert(object(), "Y8"), TypeError, "src"),
    "format type": (lambda: qvi.convert(U8, 8), TypeError, "from_format must be a str"),
    "unknown format": (lambda: qvi.convert(U8, "BAY9"), ValueError, "from_format: 'BAY9' is not a pixel format"),
    "unknown destination": (lambda: qvi.convert(U8, "Y8", "BGR"), ValueError, "to_format"),
    "no such conversion": (lambda: qvi.convert(U8, "Y8", "YUV422"), ValueError, "no conversion from Y8 to YUV422"),
    "method": (lambda: qvi.convert(U8, "BAY8", method="bilinear"), ValueError, "method: 'bilinear'"),
    "phase": (lambda: qvi.convert(U8, "BAY8", phase="E"), ValueError, "phase: 'E'"),
    "phase against camera name": (lambda: qvi.convert(U8, "BayerGR8", phase="D"), ValueError, "contradicts BayerGR8"),
    "camera format not taken": (lambda: qvi.convert(U8, "Mono14p"), ValueError, "Mono14p (0x"),
    "packed camera width": (lambda: qvi.convert(U8, "BayerRG12p"), ValueError, "width is required for BayerRG12p"),
    "packed camera lines": (lambda: qvi.convert(U8, "Mono10p", "Y8", width=6), ValueError, "fewer than the 8 bytes"),
    "shape": (lambda: qvi.convert(U8[0], "BAY8"), ValueError, "src must have shape (H, W)"),
    "channels": (lambda: qvi.convert(np.zeros((4, 6, 4), np.uint8), "BGR24", "RGB24"), ValueError, "(H, W, 3)"),
    "too many axes": (lambda: qvi.convert(np.zeros((2, 2, 4, 6), np.uint8), "Y8"), ValueError, "shape (2, 2, 4, 6)"),
    "pixels apart": (lambda: qvi.convert(U8[:, ::2], "Y8"), ValueError, "next to each other"),
    "lines reversed": (lambda: qvi.convert(U8[::-1], "Y8"), ValueError, "reverse order"),
    "lines overlap": (lambda: qvi.convert(np.broadcast_to(U8[0], (4, 6)), "Y8"), ValueError, "overlap"),
    "unaligned": (lambda: qvi.convert(unaligned(), "Y12", "Y8"), ValueError, "not aligned"),
    "stride unit": (lambda: qvi.convert(rows_26_bytes_apart(), "BGRX32"), ValueError, "multiple of 4"),
    "tiny mosaic": (lambda: qvi.convert(np.zeros((1, 6), np.uint8), "BAY8"), ValueError, "at least 2 x 2"),
    "packed width": (lambda: qvi.convert(U8, "YUV422"), ValueError, "width is required"),
    "packed bytes": (lambda: qvi.convert(U8, "Y12P", width=5), ValueError, "fewer than the 9 bytes"),
    "width mismatch": (lambda: qvi.convert(U8, "Y8", width=5), ValueError, "width=5 does not match"),
    "width type": (lambda: qvi.convert(U8, "Y12P", width=4.0), TypeError, "width must be an int"),
    "width sign": (lambda: qvi.convert(U8, "Y12P", width=-4), ValueError, "width must be between"),
    "threads": (lambda: qvi.convert(U8, "Y8", threads=0), ValueError, "threads must be between 1"),
    "threads type": (lambda: qvi.convert(U8, "Y8", threads="2"), TypeError, "threads must be an int"),
    "out type": (lambda: qvi.convert(U8, "Y8", out=[[0]]), TypeError, "out must be a NumPy array"),
    "out dtype": (lambda: qvi.convert(U8, "Y8", out=np.zeros((4, 6, 3), np.uint16)), TypeError, "out must be"),
    "out shape": (lambda: qvi.convert(U8, "Y8", out=np.zeros((4, 5, 3), np.uint8)), ValueError, "(4, 6, 3)"),
    "out read-only": (lambda: qvi.convert(U8, "Y8", "Y8", out=np.broadcast_to(U8, (4, 6))), ValueError, "out"),
    "out overlaps": (lambda: overlapping("BAY8", "RGB16"), ValueError, "out overlaps src"),
    "out overlaps stack": (lambda: qvi.convert(np.zeros((2, 4, 6), np.uint8), "Y8", "Y8",
                                               out=np.lib.stride_tricks.as_strided(U8.copy(), (2, 4, 6), (6, 6, 1))),
                           ValueError, "frames of out overlap"),
    "library refuses": (lambda: qvi.convert(U8, "BAY8", "RGBX32"), qvi.Error, "STATUS_BAD_BAYER_MODE"),
    "field method": (lambda: qvi.deinterlace(U16, "Y16", "median"), ValueError, "does not take Y16 fields"),
    "parity": (lambda: qvi.deinterlace(U8, "Y8", parity="top"), ValueError, "parity: 'top'"),
    "frame lines": (lambda: qvi.deinterlace(U8, "Y8", out=np.zeros((8, 7), np.uint8)[:, :6]), ValueError, "back to back"),
    "write kind": (lambda: qvi.write("x.tif", U8, "Y8", kind="png"), ValueError, "kind: 'png'"),
    "write format": (lambda: qvi.write("x.tif", U16, "Y16"), ValueError, "format: TIFF files"),
    "write stack": (lambda: qvi.write("x.tif", np.zeros((2, 4, 6), np.uint8), "Y8"), ValueError, "one image"),
    "write path": (lambda: qvi.write(3.5, U8, "Y8"), TypeError, "path must be"),
    "write folder": (lambda: qvi.write("no/such/folder/x.tif", U8, "Y8"), qvi.Error, "STATUS_OPEN_FAILED"),
    "read width": (lambda: qvi.read_raw("x.raw", 0, 4, "Y8"), ValueError, "width must be at least 1"),
    "read stride": (lambda: qvi.read_raw("x.raw", 6, 4, "Y16", stride=10), ValueError, "stride must be at least 12"),
    "read format": (lambda: qvi.read_raw("x.raw", 6, 4, "Y9"), ValueError, "format: 'Y9'"),
}


@pytest.mark.parametrize("name", BAD_CALLS)
def test_bad_arguments_raise_naming_them(name, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    call, exception, words = BAD_CALLS[name]
    with pytest.raises(exception) as raised:
        call()
    assert words in str(raised.value)
    assert list(tmp_path.iterdir()) == [], "a failed call left a file behind"


def test_library_errors_carry_the_status():
    with pytest.raises(qvi.Error) as raised:
        qvi.convert(U8, "BAY8", "BGR16", method="dup", phase="B")
    error = raised.value
    assert (error.status, error.status_name) == (3, "STATUS_BAD_BAYER_MODE")
    assert "not accepted for this conversion" in str(error)
    copy = pickle.loads(pickle.dumps(error))
    assert (str(copy), copy.status, copy.status_name) == (str(error), 3, "STATUS_BAD_BAYER_MODE")


NAMES = list(FORMATS) + ["FMT_BAY8", "bay12", "nope"]
DTYPES = [np.uint8, np.uint16, np.uint32, np.int16, np.float32, ">u2"]


@st.composite
def arrays(draw):
    """Arrays of any small shape and dtype, seen through any slicing."""
    shape = draw(st.lists(st.integers(0, 7), min_size=1, max_size=5))
    base = np.arange(int(np.prod(shape)), dtype=np.uint64).astype(draw(st.sampled_from(DTYPES))).reshape(shape)
    steps = [draw(st.sampled_from([1, 1, 2, -1])) for _ in shape]
    starts = [draw(st.integers(0, max(n - 1, 0))) for n in shape]
    view = base[tuple(slice(s, None, k) if k > 0 else slice(None, None, k) for s, k in zip(starts, steps))]
    return view.T if draw(st.booleans()) else view


@settings(max_examples=400, deadline=None, database=None, suppress_health_check=[HealthCheck.too_slow])
@given(src=arrays(), names=st.tuples(st.sampled_from(NAMES), st.sampled_from(NAMES)),
       method=st.sampled_from(["dup", "ave", "med", "x"]), phase=st.sampled_from(["A", "b", "GBRG", "E"]),
       width=st.one_of(st.none(), st.integers(-1, 12)), threads=st.integers(1, 3))
def test_any_input_converts_or_raises(src, names, method, phase, width, threads):
    try:
        result = qvi.convert(src, names[0], names[1], method=method, phase=phase, width=width, threads=threads)
    except (TypeError, ValueError, qvi.Error):
        return
    again = qvi.convert(np.ascontiguousarray(src), names[0], names[1], method=method, phase=phase, width=width)
    np.testing.assert_array_equal(result, again)


@settings(max_examples=150, deadline=None, database=None)
@given(field=arrays(), name=st.sampled_from(NAMES), method=st.sampled_from(["linedup", "lineave", "bilinear", "median"]),
       parity=st.sampled_from(["even", "odd"]))
def test_any_field_deinterlaces_or_raises(field, name, method, parity):
    try:
        qvi.deinterlace(field, name, method, parity)
    except (TypeError, ValueError, qvi.Error):
        pass
