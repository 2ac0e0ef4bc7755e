"""qvi for Python: pixel-format conversion, demosaicing, de-interlacing and
file output of the qvi library on NumPy arrays.

    import qvi
    raw = qvi.read_raw("capture.raw", 1024, 768, "BAY12")
    bgr = qvi.convert(raw, "BAY12", "BGR24", method="med", phase="A")
    qvi.write("capture.tif", bgr, "BGR24")

Arrays go to the library as they are (no copy when each line's pixels are
contiguous), the GIL is released during every library call, and a stack of
frames (a leading axis) converts on several threads with ``threads=N``.
"""

from __future__ import annotations

import os
import uuid
from typing import NamedTuple, Optional

import numpy as np

from ._error import Error
from . import _qvi
from ._qvi import convert, deinterlace

__version__: str = _qvi.__version__
__all__ = [
    "CameraFormat",
    "Error",
    "FormatInfo",
    "camera_formats",
    "conversions",
    "convert",
    "deinterlace",
    "formats",
    "read_raw",
    "write",
]


class FormatInfo(NamedTuple):
    """A pixel format of the library and the NumPy array that holds it."""

    name: str
    """The name functions take, as ``qvi formats`` prints it: ``"BAY12"``."""
    code: int
    """The format's code in ``qvi.h`` (``FMT_BAY12``)."""
    group_bytes: int
    """Bytes of one pixel, or of a group of ``pixels_per_group`` pixels."""
    pixels_per_group: int
    """2 for the pixel-pair formats Y12P and YUV422, else 1."""
    dtype: np.dtype
    """The array's element type."""
    channels: int
    """Length of the array's last axis (3 or 4), or 0 when there is none."""
    packed: bool
    """True when the array holds each line's bytes, (H, bytes), and the
    width in pixels must be given apart."""
    layout: str
    """What the bytes of a pixel hold."""

    def line_bytes(self, width: int) -> int:
        """Bytes of one line of `width` pixels (pixel pairs round up)."""
        return -(-width // self.pixels_per_group) * self.group_bytes

    def shape(self, height: int, width: int) -> tuple[int, ...]:
        """The shape of an image of `height` lines of `width` pixels."""
        if self.packed:
            return (height, self.line_bytes(width))
        return (height, width, self.channels) if self.channels else (height, width)


_FORMATS = {
    row[0]: FormatInfo(row[0], row[1], row[2], row[3], np.dtype(row[4]), row[5], row[6], row[7])
    for row in _qvi.format_table()
}
_conversions: Optional[dict[str, tuple[str, ...]]] = None


class CameraFormat(NamedTuple):
    """A camera pixel format (PFNC) that ``convert`` takes as ``from_format``."""

    name: str
    """The PFNC name, as cameras spell it: ``"BayerRG12p"``."""
    code: int
    """The PFNC code: ``0x010C0059``."""
    format: str
    """The library format of its pixels (after unpacking): ``"BAY12"``."""
    phase: Optional[str]
    """The Bayer phase its name gives (``"A"`` for BayerRG), or None."""
    packing: str
    """``""`` when the array holds the library format's own pixels; ``"p"``
    (PFNC's little-endian bit stream) or ``"Packed"`` (GigE Vision's two
    pixels in three bytes) when it holds packed lines, (H, bytes) of uint8
    with the width given apart."""
    bits: int
    """Significant bits of a sample."""


_CAMERA_FORMATS = {row[0]: CameraFormat(*row) for row in _qvi.camera_format_table()}


def camera_formats() -> dict[str, CameraFormat]:
    """Every camera (PFNC) format ``convert`` takes, by name."""
    return dict(_CAMERA_FORMATS)


def formats() -> dict[str, FormatInfo]:
    """Every pixel format of the library by name, in the order of their codes."""
    return dict(_FORMATS)


def conversions() -> dict[str, tuple[str, ...]]:
    """The destinations ``convert`` takes for each source format.

    Asked of the library itself (a pair it answers with
    STATUS_BAD_PARAMETER is not a conversion), as ``qvi formats`` prints it.
    Bayer sources demosaic into RGBX32 by 'dup' only, and BAY8 into BGR16 by
    'dup' at phase 'A' only.
    """
    global _conversions
    if _conversions is None:
        _conversions = dict(_qvi.conversion_table())
    return dict(_conversions)


def _count(value: object, name: str, least: int) -> int:
    if not isinstance(value, (int, np.integer)) or isinstance(value, bool):
        raise TypeError(f"{name} must be an int, not {type(value).__name__}")
    if value < least:
        raise ValueError(f"{name} must be at least {least}, not {value}")
    return int(value)


def write(path: str | os.PathLike[str] | bytes, image: np.ndarray, format: str, kind: str = "tiff") -> None:
    """Write an image to a file through the library's writers.

    Parameters
    ----------
    path : str, bytes or os.PathLike
        The file to write.  It is written under a temporary name beside it
        and renamed when complete, so a failure leaves no partial file and
        an existing file untouched (devices and pipes are written directly).
    image : numpy.ndarray
        The image, shaped as for ``convert``.  With ``kind='raw'`` a stack
        of frames (a leading axis) is written frame after frame.
    format : str
        The image's pixel format.  TIFF files take Y8, BGR24 and RGB24;
        RGB24 is stored with red and blue exchanged, as the library does.
    kind : {'tiff', 'raw'}
        'tiff': an uncompressed baseline TIFF file (big-endian) of one
        image.  'raw': the pixels line after line with no header and no
        padding (rows of a padded view are written from a compact copy),
        which ``read_raw`` reads back.

    Raises
    ------
    TypeError, ValueError
        A wrong argument, named in the message.
    qvi.Error
        The library's writer failed (STATUS_OPEN_FAILED when the file cannot
        be created, STATUS_CLOSE_FAILED when the disk is full, ...).
    """
    try:
        target = os.fsencode(path)
    except TypeError:
        raise TypeError(f"path must be a str, bytes or os.PathLike, not {type(path).__name__}") from None
    direct = os.path.exists(target) and not os.path.isfile(target)
    folder, name = os.path.split(target)
    temp = target if direct else os.path.join(folder, b".%s.%s.part" % (name, uuid.uuid4().hex.encode()))
    try:
        _qvi.write_file(temp, image, format, kind)
        if not direct:
            os.replace(temp, target)
    except Error as e:
        _remove(temp, direct)
        raise Error(f"cannot write {os.fsdecode(target)}: {e}", e.status, e.status_name) from None
    except BaseException:
        _remove(temp, direct)
        raise


def _remove(temp: bytes, direct: bool) -> None:
    if not direct:
        try:
            os.unlink(temp)
        except OSError:
            pass


def read_raw(
    path: str | os.PathLike[str] | bytes, width: int, height: int, format: str, stride: Optional[int] = None
) -> np.ndarray:
    """Read a raw capture: frames of `height` lines of `stride` bytes, back
    to back with no header, as ``write(..., kind='raw')`` and ``qvi convert
    -o x.raw`` write them.

    Parameters
    ----------
    path : str, bytes or os.PathLike
        The file; it must hold a whole number of frames, at least one.
    width, height : int
        Pixels per line and lines per frame.
    format : str
        The pixel format.
    stride : int, optional
        Bytes from one line's start to the next (default: the line's bytes).

    Returns
    -------
    numpy.ndarray
        One frame, shaped as ``convert`` takes it (padded lines are left in
        place: the array's row stride is `stride`), read into memory; or,
        when the file holds several frames, a read-only stack (N, H, ...)
        mapped from the file, so that a capture larger than memory is read
        frame by frame as it is used.
    """
    info = _FORMATS[_qvi.format_name(format, "format")]
    width = _count(width, "width", 1)
    height = _count(height, "height", 1)
    line = info.line_bytes(width)
    stride = line if stride is None else _count(stride, "stride", line)
    item = info.dtype.itemsize
    if stride % item:
        raise ValueError(f"stride must be a multiple of {item} bytes for {info.name}, not {stride}")
    frame = stride * height
    size = os.stat(path).st_size
    if size == 0 or size % frame:
        raise ValueError(
            f"{os.fsdecode(path)} holds {size} bytes, not a whole number of frames of {height} lines x "
            f"{stride} bytes ({frame} bytes); check width, height, stride and format"
        )
    count = size // frame
    shape = info.shape(height, width)
    pixel = 1 if info.packed else item * max(info.channels, 1)
    strides = (stride, pixel, item)[: len(shape)]
    if count == 1:
        data = np.fromfile(path, dtype=np.uint8, count=frame)
        return np.ndarray(shape, info.dtype, buffer=data, strides=strides)
    mapped = np.memmap(path, dtype=np.uint8, mode="r", shape=(size,))
    return np.ndarray((count,) + shape, info.dtype, buffer=mapped, strides=(frame,) + strides)
