"""Shared fixtures: the C library called directly through ctypes, as the
reference every result of the package is compared with, and test images."""

import ctypes
import os

import numpy as np
import pytest

import qvi

DEMOSAIC = {"dup": 0x109, "ave": 0x209, "med": 0x309}
PHASE = {"A": 0x10A, "B": 0x20A, "C": 0x30A, "D": 0x40A}
FIELD_METHOD = {"linedup": 0, "lineave": 1, "bilinear": 2, "median": 3}
PARITY = {"odd": 0, "even": 1}
FORMATS = qvi.formats()


def is_bayer(name):
    return name.startswith("BAY")


class Library:
    """The library's own answers: buffers of the bundled buffer library over
    memory laid out as a raw capture is, lines back to back followed by zero
    bytes, and destinations starting zeroed."""

    def __init__(self):
        self.qvb = ctypes.CDLL(os.environ["QVB_LIBRARY"], mode=ctypes.RTLD_GLOBAL)
        self.qvi = ctypes.CDLL(os.environ["QVI_LIBRARY"])
        self.qvb.QVB_BufferCreate.argtypes = [ctypes.c_void_p] + [ctypes.c_uint32] * 4 + [
            ctypes.POINTER(ctypes.c_uint64)
        ]
        self.qvb.QVB_BufferParameterSet.argtypes = [ctypes.c_uint64, ctypes.c_uint32, ctypes.c_uint64]
        self.qvb.QVB_BufferDestroy.argtypes = [ctypes.c_uint64]
        self.qvi.QVI_Convert.argtypes = [ctypes.c_uint64, ctypes.c_uint64]
        self.qvi.QVI_FieldToFrame.argtypes = [ctypes.c_uint64, ctypes.c_uint64, ctypes.c_uint32, ctypes.c_uint32]
        self.qvi.QVI_Convert.restype = self.qvi.QVI_FieldToFrame.restype = ctypes.c_uint32

    def _buffer(self, memory, width, height, stride, name):
        handle = ctypes.c_uint64()
        status = self.qvb.QVB_BufferCreate(memory.ctypes.data, width, height, stride, FORMATS[name].code, handle)
        assert status == 0
        return handle.value

    def convert(self, src, from_format, to_format, method="ave", phase="A", width=None):
        """(status, result) of QVI_Convert on one frame of `src`.  Pixel-pair
        formats of an odd width are converted one pixel wider and cropped."""
        f, t = FORMATS[from_format], FORMATS[to_format]
        height = src.shape[0]
        width = src.shape[1] if width is None else width
        call_width = width + (width % 2 if f.packed else 0)
        memory = np.zeros(src.nbytes + 16, np.uint8)
        memory[: src.nbytes] = np.ascontiguousarray(src).view(np.uint8).reshape(-1)
        result = np.zeros(t.shape(height, call_width), t.dtype)
        s = self._buffer(memory, call_width, height, src.nbytes // max(height, 1), from_format)
        d = self._buffer(result, call_width, height, t.line_bytes(call_width), to_format)
        if is_bayer(from_format):
            self.qvb.QVB_BufferParameterSet(s, 9, DEMOSAIC[method])
            self.qvb.QVB_BufferParameterSet(s, 10, PHASE[phase])
        status = self.qvi.QVI_Convert(s, d)
        self.qvb.QVB_BufferDestroy(s)
        self.qvb.QVB_BufferDestroy(d)
        return status, result[:, :width]

    def deinterlace(self, field, format, method, parity):
        """(status, frame) of QVI_FieldToFrame on one compact field."""
        field = np.ascontiguousarray(field)
        height, line = field.shape[0], field.nbytes // field.shape[0]
        frame = np.zeros((2 * height,) + field.shape[1:], field.dtype)
        width = field.shape[1] if not FORMATS[format].packed else line // FORMATS[format].group_bytes * 2
        f = self._buffer(field, width, height, line, format)
        d = self._buffer(frame, width, 2 * height, line, format)
        status = self.qvi.QVI_FieldToFrame(f, d, FIELD_METHOD[method], PARITY[parity])
        self.qvb.QVB_BufferDestroy(f)
        self.qvb.QVB_BufferDestroy(d)
        return status, frame


@pytest.fixture(scope="session")
def library():
    return Library()


@pytest.fixture
def rng():
    return np.random.default_rng(20261123)


def random_image(rng, name, height, width, frames=None):
    """Random pixels of every value the dtype holds, over-wide samples included."""
    info = FORMATS[name]
    shape = info.shape(height, width) if frames is None else (frames,) + info.shape(height, width)
    return rng.integers(0, np.iinfo(info.dtype).max, shape, dtype=info.dtype, endpoint=True)
