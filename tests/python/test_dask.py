"""A multi-frame raw capture converted with Dask, chunks of whole frames at
a time, gives the frames qvi gives directly."""

import numpy as np
import pytest

import qvi
from conftest import random_image

da = pytest.importorskip("dask.array")

WIDTH, HEIGHT, FRAMES = 24, 16, 10


def to_bgr(block):
    return qvi.convert(block, "BAY12", "BGR24", method="med", phase="B")


@pytest.fixture
def capture(tmp_path, rng):
    random_image(rng, "BAY12", HEIGHT, WIDTH, frames=FRAMES).tofile(tmp_path / "capture.raw")
    return qvi.read_raw(tmp_path / "capture.raw", WIDTH, HEIGHT, "BAY12")


def converted(stack):
    frames = da.from_array(stack, chunks=(4, -1, -1))
    return frames.map_blocks(to_bgr, dtype=np.uint8, chunks=frames.chunks + ((3,),), new_axis=3)


def test_threaded_scheduler(capture):
    lazy = converted(capture)
    assert lazy.shape == (FRAMES, HEIGHT, WIDTH, 3) and lazy.numblocks[0] == 3
    result = lazy.compute(scheduler="threads", num_workers=2)
    np.testing.assert_array_equal(result, to_bgr(capture))


@pytest.mark.filterwarnings("ignore::DeprecationWarning")  # tornado, inside distributed
def test_local_cluster(capture):
    distributed = pytest.importorskip("distributed")
    # Workers in this process, reached without a socket.
    with distributed.LocalCluster(n_workers=1, threads_per_worker=2, processes=False, dashboard_address=None) as cluster:
        assert cluster.scheduler_address.startswith("inproc://")
        with distributed.Client(cluster):
            result = converted(capture).compute()
    np.testing.assert_array_equal(result, to_bgr(capture))
