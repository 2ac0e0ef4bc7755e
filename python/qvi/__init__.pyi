# Type stubs of the qvi package (the functions of its compiled core included).
import os
from typing import NamedTuple, Optional, Union

import numpy as np
import numpy.typing as npt

__version__: str
_Path = Union[str, bytes, os.PathLike[str], os.PathLike[bytes]]

class Error(Exception):
    """A library call returned a failure status."""

    status: int
    status_name: str
    def __init__(self, message: str, status: int, status_name: str) -> None: ...

class FormatInfo(NamedTuple):
    """A pixel format of the library and the NumPy array that holds it."""

    name: str
    code: int
    group_bytes: int
    pixels_per_group: int
    dtype: np.dtype
    channels: int
    packed: bool
    layout: str
    def line_bytes(self, width: int) -> int: ...
    def shape(self, height: int, width: int) -> tuple[int, ...]: ...

class CameraFormat(NamedTuple):
    """A camera pixel format (PFNC) that convert takes as from_format."""

    name: str
    code: int
    format: str
    phase: Optional[str]
    packing: str
    bits: int

def camera_formats() -> dict[str, CameraFormat]:
    """Every camera (PFNC) format convert takes, by name."""

def formats() -> dict[str, FormatInfo]:
    """Every pixel format of the library by name, in the order of their codes."""

def conversions() -> dict[str, tuple[str, ...]]:
    """The destinations convert takes for each source format, asked of the library."""

def convert(
    src: npt.ArrayLike,
    from_format: str,
    to_format: str = "BGR24",
    *,
    method: str = "ave",
    phase: str = "A",
    width: Optional[int] = None,
    out: Optional[np.ndarray] = None,
    threads: int = 1,
) -> np.ndarray:
    """Convert an image, or every frame of a stack, from one pixel format to another."""

def deinterlace(
    field: npt.ArrayLike,
    format: str,
    method: str = "bilinear",
    parity: str = "even",
    out: Optional[np.ndarray] = None,
    *,
    threads: int = 1,
) -> np.ndarray:
    """Make a frame of 2H lines from a field of H lines (or every field of a stack)."""

def write(path: _Path, image: npt.ArrayLike, format: str, kind: str = "tiff") -> None:
    """Write an image (kind 'raw': also a stack of frames) to a file through the library's writers."""

def read_raw(path: _Path, width: int, height: int, format: str, stride: Optional[int] = None) -> np.ndarray:
    """Read a raw capture: one frame, or a read-only memory-mapped stack (N, H, ...)."""
