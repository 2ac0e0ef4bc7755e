"""Camera (PFNC) format names as from_format: packed lines are unpacked and
converted as the library format and phase the name stands for."""

import numpy as np
import pytest

import qvi


def bit_stream(samples, bits):
    """PFNC "p": each line one little-endian bit stream."""
    h, w = samples.shape
    planes = (samples[..., None].astype(np.uint32) >> np.arange(bits)) & 1
    stream = planes.reshape(h, w * bits).astype(np.uint8)
    return np.packbits(stream, axis=1, bitorder="little")


def grouped(samples, bits):
    """GigE Vision "Packed": two pixels in three bytes, high bits outside."""
    h, w = samples.shape
    pairs = np.zeros((h, w + w % 2), np.uint32)
    pairs[:, :w] = samples
    p0, p1 = pairs[:, 0::2], pairs[:, 1::2]
    low = bits - 8
    middle = (p0 & ((1 << low) - 1)) | ((p1 & ((1 << low) - 1)) << 4)
    out = np.stack([p0 >> low, middle, p1 >> low], axis=2).reshape(h, -1).astype(np.uint8)
    return out[:, : (w * 12 + 7) // 8]


PACKERS = {"p": bit_stream, "Packed": grouped}
PACKED = [c for c in qvi.camera_formats().values() if c.packing]


@pytest.mark.parametrize("width", [6, 7, 9])
@pytest.mark.parametrize("camera", PACKED, ids=[c.name for c in PACKED])
def test_packed_lines_convert_as_their_unpacked_format(camera, width, rng):
    samples = rng.integers(0, 1 << camera.bits, (5, width), dtype=np.uint16)
    packed = PACKERS[camera.packing](samples, camera.bits)
    to = "BGR24" if camera.phase else "Y8"
    for method in ("dup", "ave", "med") if camera.phase else ("ave",):
        expected = qvi.convert(samples, camera.format, to, method=method, phase=camera.phase or "A")
        got = qvi.convert(packed, camera.name, to, method=method, width=width)
        np.testing.assert_array_equal(got, expected, err_msg=f"{camera.name} {method}")
    # Padded lines and a stack of frames read the same bytes.
    padded = np.zeros((2, 5, packed.shape[1] + 3), np.uint8)
    padded[:, :, : packed.shape[1]] = packed
    stack = qvi.convert(padded[:, :, : packed.shape[1]], camera.name, to, width=width, threads=2)
    np.testing.assert_array_equal(stack[1], qvi.convert(samples, camera.format, to, phase=camera.phase or "A"))


UNPACKED = [
    ("Mono8", np.uint8, "Y8", None),
    ("Mono12", np.uint16, "Y12", None),
    ("BayerRG8", np.uint8, "BAY8", "A"),
    ("BayerGR8", np.uint8, "BAY8", "B"),
    ("BayerGB10", np.uint16, "BAY10", "C"),
    ("BayerBG16", np.uint16, "BAY16", "D"),
]


@pytest.mark.parametrize("name, dtype, fmt, phase", UNPACKED, ids=[u[0] for u in UNPACKED])
def test_unpacked_camera_names_are_the_library_format_and_phase(name, dtype, fmt, phase, rng):
    samples = rng.integers(0, 256, (4, 6), dtype=dtype)
    assert (qvi.camera_formats()[name].format, qvi.camera_formats()[name].phase) == (fmt, phase)
    expected = qvi.convert(samples, fmt, "BGR24", phase=phase or "A")
    np.testing.assert_array_equal(qvi.convert(samples, name, "BGR24"), expected)
    if phase:  # the phase the name gives, spelt out, is no contradiction
        np.testing.assert_array_equal(qvi.convert(samples, name, "BGR24", phase=phase), expected)
