"""What the library's speed is measured against: each target with the rows that it is about."""

from dataclasses import dataclass


@dataclass
class Target:
    work: str
    demand: str
    limit: float
    measured: float
    program: str

    @property
    def command(self):
        """Measures this one again."""
        return "./scripts/bench " + self.program.removeprefix("bench_").removesuffix("_bench")

    @property
    def met(self):
        # Two digits are shown and judged.
        return round(self.measured, 2) <= self.limit


# What the profile shows where a target is missed, by a part of its work.
REASONS = {
    "resizeYrotateMinus90, bilinear": "each of the four terms of a pixel is a product of three numbers "
    "in double precision that is truncated before it is added: 8 multiplications, 4 truncations and "
    "3 additions on lanes of 64 bits for every byte written. The fastest peer, which may round once, "
    "scales and rotates in two passes.",
    "resizeYrotateMinus90Integer`, 1920x1080, step 1": "about 1.9 by the fastest "
    "repetitions. Tiles of 128, another order of the tiles and prefetching gained nothing.",
    "boxfilter_iter_f`, 1920x1080, radius 50, fractions": "the column sums of every row are added up "
    "anew from the top of their box, as the last bits depend on that order. Sums kept from row to row, "
    "or made of blocks, cost the same for every radius but round otherwise; planes of whole numbers, "
    "where they cannot, are summed like that.",
    "Vantro_Process`, 1920x1080": "half of the time is the optical flow, whose cost does not depend "
    "on the frame's size; the rest is bound by memory. FFmpeg's fastest graph, `hue`, leaves luma "
    "alone and gets planar frames.",
}

UPSCALERS = ["upScale2x2", "upscale_x4_blinear", "upScale4x4", "upscale_x16_blinear",
             "bilinearGrayU8BorderLines"]
CONVERSIONS = ["NV21ToRGB", "UYVYToRGB", "YV16ToRGB", "convertI420ToRGBU8", "RGBToUYVY", "RGBToNV21"]


def evaluate(rows):
    """The targets whose rows were measured."""
    targets = []

    def add(row, demand, limit, measured, work=None):
        if measured is None:
            return
        work = work or f"`{row.operation}`, {row.case}"
        targets.append(Target(work, demand, limit, measured, row.program))

    def find(operation, case=None):
        return [row for row in rows
                if row.operation == operation and (case is None or row.case == case)]

    for case, limit in (("1920x1080 NV21", 2.0), ("3840x2160 NV21", 1.2)):
        for row in find("Grayeffect", case):
            add(row, f"at most {limit:g} x `memcpy` of the frame", limit, row.memcpy_ratio)
    for row in find("VantroObject", "1920x1080 NV21"):
        add(row, "at most a quarter of FFmpeg's fastest whole effect", 0.25, row.peer_ratio)
    for row in find("Vantro_Process", "1920x1080 NV21"):
        add(row, "at most half of FFmpeg's fastest whole effect, flow included", 0.5, row.peer_ratio)
        for large in find("Vantro_Process", "7680x4320 NV21"):
            add(large, "16 times the pixels of 1080p in at most 16 times the time", 1.0,
                large.time / row.time / 16)
    for operation in ("ConnectedComponentsLabeling::connected", "connectionFilter"):
        for row in find(operation):
            add(row, "at most OpenCV's `connectedComponents`", 1.0, row.peer_ratio)
    for operation in UPSCALERS:
        for row in find(operation):
            add(row, "at most libyuv's bilinear scaler", 1.0, row.peer_ratio)
    for operation in CONVERSIONS:
        for row in find(operation):
            add(row, "at most libyuv's conversion", 1.0, row.peer_ratio)
    for operation in ("ResizeUchar", "ResizeUcharChl", "ResizeUcharChl, one of 2 channels"):
        for row in find(operation):
            add(row, "at most OpenCV's linear `resize`", 1.0, row.peer_ratio)
    for row in rows:
        if row.program == "bench_geometry" and row.memcpy:
            add(row, "at most 2 x `memcpy`", 2.0, row.memcpy_ratio)
    boxes = find("boxfilter_iter_f")
    for kind in ("whole numbers", "fractions"):
        times = {row.case: row for row in boxes if row.case.endswith(kind)}
        small = times.get(f"1920x1080, radius 4, {kind}")
        large = times.get(f"1920x1080, radius 50, {kind}")
        if small and large:
            add(large, "as radius 4, within 10 per cent", 1.1, large.time / small.time)
    for row in find("gaussian_blur"):
        add(row, "at most OpenCV's `GaussianBlur`", 1.0, row.peer_ratio)
    for flow in find("CompareOpticalFlow"):
        add(flow, "at most 500 us (ratio to that)", 1.0, flow.time / 500)
        if flow.peers:
            add(flow, "6 times as fast as at one lane (ratio to that)", 1.0, 6 * flow.peer_ratio)
    for row in find("GetFlashFlag"):
        add(row, "10 per cent above 500 us (ratio to that)", 1.0, row.time / 550)
    for row in find("MThread_Boot"):
        add(row, "at most 1.5 x a semaphore ping-pong", 1.5, row.peer_ratio)
    for row in find("sprintf_s", "log line"):
        add(row, "at most `snprintf`", 1.0, row.peer_ratio)
    return targets


def reasons(targets):
    """A line for each missed target that has a known reason."""
    return [f"- {target.work}: {reason}" for target in targets if not target.met
            for part, reason in REASONS.items() if part in target.work]
