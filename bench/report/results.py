"""Reads the benchmarks' JSON files into rows: an operation in one case, with memcpy and peers."""

import json
import pathlib
from dataclasses import dataclass, field

MICROSECONDS = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}
VANTRO = "vantro"
MEMCPY = "memcpy"
ONE_LANE = "itself at one lane"

# bench/image and bench/motion have names of their own: program -> name before the arguments ->
# (operation, who). A peer may serve several operations. A third entry is the bytes touched, by the
# arguments.
PIXELS = 1920 * 1080
RESIZES = ["1920x1080 to 100x100", "320x180 to 1920x1080", "1440x1080 to 1920x1440",
           "1920x1440 to 1440x1080"]
RESIZE_BYTES = [PIXELS + 10000, 57600 + PIXELS, 1440 * 1080 + 1920 * 1440, 1920 * 1440 + 1440 * 1080]
FROM_420 = {"": PIXELS * 9 // 2}
FROM_422 = {"": PIXELS * 5}
OTHER_NAMES = {
    "bench_colour_convert": {
        "Nv21ToBgr": ("NV21ToRGB", VANTRO, FROM_420),
        "UyvyToBgr": ("UYVYToRGB", VANTRO, FROM_422),
        "Planar422ToBgr": ("YV16ToRGB", VANTRO, FROM_422),
        "I420ToRgb": ("convertI420ToRGBU8", VANTRO, FROM_420),
        "BgrToUyvy": ("RGBToUYVY", VANTRO, FROM_422),
        "BgrToNv21": ("RGBToNV21", VANTRO, FROM_420),
        "LibyuvNv21ToBgr": ("NV21ToRGB", "libyuv"),
        "LibyuvUyvyToBgr": ("UYVYToRGB", "libyuv"),
        "LibyuvPlanar422ToBgr": ("YV16ToRGB", "libyuv"),
        "LibyuvI420ToRgb": ("convertI420ToRGBU8", "libyuv"),
        "LibyuvBgrToUyvy": ("RGBToUYVY", "libyuv"),
        "LibyuvBgrToNv21": ("RGBToNV21", "libyuv"),
        "LibyuvRgbToNv21": ("RGBToNV21", "libyuv, full range"),
        "Copy": (MEMCPY, MEMCPY, FROM_420),
    },
    "bench_channel_resize": {
        "Plane": ("ResizeUchar", VANTRO),
        "PlaneC": ("ResizeUchar (C linkage)", VANTRO),
        "Channel": ("ResizeUcharChl", VANTRO),
        "OneOfTwoChannels": ("ResizeUcharChl, one of 2 channels", VANTRO),
        "TwoChannels": ("ResizeUcharChl, both of 2 channels", VANTRO),
        "OpenCvPlane": (("ResizeUchar", "ResizeUcharChl"), "OpenCV"),
        "OpenCvExtracted": ("ResizeUcharChl, one of 2 channels", "OpenCV, taken out and put back"),
        "OpenCvTwoChannels": (("ResizeUcharChl, one of 2 channels",
                               "ResizeUcharChl, both of 2 channels"), "OpenCV, both at once"),
        "Copy": (MEMCPY, MEMCPY),
    },
    "bench_geometry": {
        "RotateLuma": ("resizeYrotateMinus90", VANTRO, {"": PIXELS * 2}),
        "RotateLumaBilinear": ("resizeYrotateMinus90, bilinear", VANTRO, {"": PIXELS * 25 // 16}),
        "OpenCvResizeAndRotate": ("resizeYrotateMinus90, bilinear", "OpenCV resize and rotate"),
        "RotateLumaByStep": ("resizeYrotateMinus90Integer", VANTRO,
                             {"1": PIXELS * 2, "2": PIXELS * 5 // 4}),
        "RotateNv21ByAddress": ("resizeNV21RotateMinus90_X", VANTRO,
                                {"1": PIXELS * 9 // 2, "2": PIXELS * 9 // 4}),
        "RotateNv21ByPairs": ("resizeNV21RotateMinus90Integer", VANTRO, {"": PIXELS * 9 // 4}),
        "ReduceLuma": ("resizeY16X", VANTRO, {"": PIXELS * 17 // 16}),
        "ReduceSemiPlanar": ("resizeNV1216X", VANTRO, {"": PIXELS * 51 // 32}),
        "BoxFilter": ("boxfilter_iter_f", VANTRO),
        "Copy": (MEMCPY, MEMCPY),
    },
    "motion_blur_bench": {
        "BM_Blur": ("gaussian_blur", VANTRO),
        "BM_BlurOpenCv": ("gaussian_blur", "OpenCV"),
    },
    "motion_flow_bench": {
        "BM_CompareOpticalFlow": ("CompareOpticalFlow", VANTRO),
        "BM_GetFlashFlag1080p": ("GetFlashFlag", VANTRO),
    },
    "engine_bench": {
        "BM_Process": ("Plimra_Process", VANTRO),
        "BM_Sample": ("sampling of the network's input", VANTRO),
        "BM_Network": ("network alone", VANTRO),
    },
}
CASES = {"CompareOpticalFlow": "100x100", "GetFlashFlag": "1920x1080 NV21",
         "network alone": "256x256"}


@dataclass
class Row:
    operation: str
    case: str
    program: str
    order: tuple = ()
    time: float = 0.0
    touched: int = 0
    memcpy: float = 0.0
    peers: dict = field(default_factory=dict)

    @property
    def best_peer(self):
        """The fastest peer and its time, or None."""
        return min(self.peers.items(), key=lambda item: item[1]) if self.peers else None

    @property
    def memcpy_ratio(self):
        return self.time / self.memcpy if self.memcpy else None

    @property
    def peer_ratio(self):
        return self.time / self.best_peer[1] if self.peers else None


def _case(program, operation, arguments):
    if program == "bench_channel_resize" and arguments:
        return RESIZES[int(arguments)]
    if program == "bench_geometry":
        if operation == "boxfilter_iter_f":
            radius, fractions = arguments.split("/")
            return f"1920x1080, radius {radius}, {'fractions' if fractions == '1' else 'whole numbers'}"
        return "1920x1080" + (f", step {arguments}" if arguments else "")
    if program == "motion_blur_bench":
        width, height, length = (part.split(":")[1] for part in arguments.split("/"))
        return f"{width}x{height}, length {length}"
    if program == "bench_colour_convert":
        return "1920x1080"
    return CASES.get(operation, arguments.replace("/", ", "))


def _translate(program, name):
    """(operations, who, case, bytes touched or None) of a benchmark."""
    name = name.removesuffix("/process_time").removesuffix("/real_time")
    if program in OTHER_NAMES:
        head, _, arguments = name.partition("/")
        operations, who, *touched = OTHER_NAMES[program].get(head, (head, VANTRO))
        if isinstance(operations, str):
            operations = (operations,)
        count = touched[0].get(arguments) if touched else None
        if program == "bench_channel_resize" and "of 2" not in operations[0]:
            count = RESIZE_BYTES[int(arguments)]
        if operations[0] == MEMCPY and count is None:
            count = int(arguments)
        return operations, who, _case(program, operations[0], arguments), count
    operation, who, case = name.split("/", 2)
    return (operation,), who, case, int(case) if operation == MEMCPY else None


def read(folder):
    """The rows of all programs in the order of the programs' names, and the context of a run."""
    rows = {}
    context = {}
    for path in sorted(pathlib.Path(folder).glob("*bench*.json")):
        # A program's second run, its kernels held at one lane, is a peer of its first.
        program, _, one_lane = path.stem.partition(".")
        report = json.loads(path.read_text(encoding="utf-8"))
        context = report["context"]
        copies = {}
        mine = []
        for entry in report["benchmarks"]:
            if entry.get("aggregate_name") != "median":
                continue
            operations, who, case, touched = _translate(program, entry["run_name"])
            who = ONE_LANE if one_lane else who
            time = entry["cpu_time"] * MICROSECONDS[entry["time_unit"]]
            if operations[0] == MEMCPY:
                copies[touched] = time
                continue
            for operation in operations:
                row = rows.setdefault((program, operation, case), Row(operation, case, program))
                if who == VANTRO:
                    # The repetitions come in a random order; families are numbered as registered.
                    row.order = (entry["family_index"], entry["per_family_instance_index"])
                    row.time = time
                    row.touched = touched or int(entry.get("touched", 0))
                    mine.append(row)
                else:
                    row.peers[who] = time
        for row in mine:
            row.memcpy = copies.get(row.touched, 0.0)
    measured = [row for row in rows.values() if row.time]
    return sorted(measured, key=lambda row: (row.program, row.order)), context
