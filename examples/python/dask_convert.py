"""Convert a multi-frame raw capture larger than memory with Dask: the file
is mapped, not read, each chunk of whole frames is demosaiced by qvi on one
of Dask's threads (qvi releases the GIL, so they run at once), and the
results stream into an output raw file that is mapped too.

    PYTHONPATH=build/release/python /usr/bin/python3 examples/python/dask_convert.py \\
        capture.raw --width 2448 --height 2048 --format BAY12 --phase A -o capture-bgr24.raw

Without a capture, --make N writes a synthetic one of N frames first.  With
--cluster the work goes to a dask.distributed cluster of this process's
threads instead of the threaded scheduler.
"""

import argparse

import dask.array as da
import numpy as np

import qvi


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("capture")
    parser.add_argument("--width", type=int, required=True)
    parser.add_argument("--height", type=int, required=True)
    parser.add_argument("--format", default="BAY12")
    parser.add_argument("--phase", default="A")
    parser.add_argument("--method", default="ave")
    parser.add_argument("--frames-per-chunk", type=int, default=4)
    parser.add_argument("--make", type=int, metavar="N", help="first write a synthetic capture of N frames")
    parser.add_argument("--cluster", action="store_true", help="use a local dask.distributed cluster")
    parser.add_argument("-o", "--output", required=True, help="the BGR24 raw file to write")
    args = parser.parse_args()

    if args.make:
        info = qvi.formats()[args.format]
        frame = np.random.default_rng(1).integers(0, 1 << 12, info.shape(args.height, args.width)).astype(info.dtype)
        with open(args.capture, "wb") as f:
            for _ in range(args.make):
                frame.tofile(f)

    stack = qvi.read_raw(args.capture, args.width, args.height, args.format)
    if stack.ndim == len(qvi.formats()[args.format].shape(1, 1)):
        stack = stack[np.newaxis]  # a single frame
    frames = da.from_array(stack, chunks=(args.frames_per_chunk,) + stack.shape[1:])
    bgr = frames.map_blocks(
        lambda block: qvi.convert(block, args.format, "BGR24", method=args.method, phase=args.phase),
        dtype=np.uint8, chunks=frames.chunks + ((3,),), new_axis=3)

    output = np.memmap(args.output, dtype=np.uint8, mode="w+", shape=bgr.shape)
    if args.cluster:
        from distributed import Client, LocalCluster

        # Workers in this process, reached without a socket.
        with LocalCluster(processes=False, dashboard_address=None) as cluster, Client(cluster):
            da.store(bgr, output, lock=False)
    else:
        da.store(bgr, output, lock=False, scheduler="threads")
    output.flush()
    print(f"{len(stack)} frames of {args.width} x {args.height} {args.format} -> {args.output} (BGR24 raw)")


if __name__ == "__main__":
    main()
