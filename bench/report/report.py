"""report.py RESULTS TARGET EXPORTS: writes performance.md and performance.svg into TARGET, from the
benchmarks' JSON files in RESULTS; EXPORTS lists the library's exported names."""

import argparse
import datetime
import json
import pathlib
import platform
import re
import subprocess
import textwrap

import chart
import results
import targets

INTRODUCTION = """Written by `./scripts/bench`; `./scripts/bench --quick` is a shorter look. All times
are medians of processor time on one thread (two for the hand-over of tasks), in microseconds. *memcpy*
copies half as many bytes as the operation reads and writes together, so that both touch the same
number. A *peer* is another library that does the same job in the same run; of several the fastest is
shown. FFmpeg's filters get planar frames, which spares them a camera's layouts."""
PEER_PACKAGES = ["libyuv-dev", "libopencv-imgproc-dev", "libavfilter-dev", "libbenchmark-dev"]
TITLES = {
    "bench_handle": "Whole handles",
    "bench_effect": "The effect",
    "bench_rescale": "Mask rescaling",
    "bench_region_filter": "Mask analysis",
    "motion_flow_bench": "Scene change",
    "motion_blur_bench": "Gaussian blur",
    "bench_motion_operations": "Steps of the flow, members of the blur, small matrices",
    "bench_colour_convert": "Colour conversion",
    "bench_channel_resize": "Channel resizers",
    "bench_geometry": "Rotations, reductions, box filter",
    "bench_image_operations": "Further image primitives",
    "thread_bench": "Worker threads",
    "bounded_bench": "Bounded memory and strings",
    "bench_diagnostics_operations": "Diagnostics and platform",
    "engine_bench": "Segmentation engine",
}


def microseconds(value):
    if value >= 100:
        return f"{value:,.0f}"
    return f"{value:.1f}" if value >= 10 else f"{value:.3g}"


def ratio(value):
    return "" if value is None else f"{value:.2f}"


def processor():
    text = pathlib.Path("/proc/cpuinfo").read_text(encoding="utf-8")
    name = re.search(r"model name\s*:\s*(.*)", text)
    return name.group(1) if name else platform.machine()


def output_of(*command):
    run = subprocess.run(command, capture_output=True, text=True, check=False)
    return run.stdout.strip()


def versions():
    found = []
    for package in PEER_PACKAGES:
        version = output_of("dpkg-query", "-W", "-f", "${Version}", package)
        if version:
            found.append(f"{package.removesuffix('-dev')} {version}")
    return ", ".join(found)


def machine(context, options):
    caches = ", ".join(f"L{cache['level']} {cache['type'].lower()} {cache['size'] // 1024} KiB"
                       for cache in context["caches"])
    load = context["load_avg"][0] if context["load_avg"] else 0
    lines = [
        f"- {processor()}, {context['num_cpus']} cores at {context['mhz_per_cpu']} MHz; {caches}",
        f"- {platform.system()} {platform.release()}; {output_of('c++', '--version').splitlines()[0]}",
        f"- {versions()}",
        f"- {datetime.date.today()}, core {options.cpu}, {options.repetitions} interleaved repetitions "
        f"of at least {options.min_time} s; load {load:.1f} when the last program began",
    ]
    return "\n".join(lines)


def target_table(found):
    lines = ["| work | target | measured | | again |", "|---|---|--:|---|---|"]
    for target in found:
        verdict = "met" if target.met else "**missed**"
        lines.append(f"| {target.work} | {target.demand} | {target.measured:.2f} | {verdict} | "
                     f"`{target.command}` |")
    return "\n".join(lines + [""] + targets.reasons(found))


def row_table(rows):
    lines = ["| operation | case | µs | memcpy µs | × memcpy | fastest peer | µs | × peer |",
             "|---|---|--:|--:|--:|---|--:|--:|"]
    for row in rows:
        peer, time = row.best_peer or ("", None)
        lines.append(f"| `{row.operation}` | {row.case} | {microseconds(row.time)} | "
                     f"{microseconds(row.memcpy) if row.memcpy else ''} | {ratio(row.memcpy_ratio)} | "
                     f"{peer} | {microseconds(time) if time else ''} | {ratio(row.peer_ratio)} |")
    return "\n".join(lines)


def memory_lines(folder, frames):
    path = folder / "memory.json"
    if not path.exists():
        return ""
    memory = json.loads(path.read_text(encoding="utf-8"))
    return (f"\n## Memory\n\n`vantro video` on a clip of {frames} frames of 3840x2160, decoding, "
            f"segmentation, effect and encoding: at most **{memory['peak_kib'] / 1024:.0f} MiB** "
            f"resident, {memory['seconds']:.1f} s.\n")


def bare_name(export):
    """A function's name without arguments."""
    return export.split("(")[0].split("::")[-1]


def not_measured(rows, exports):
    """Exported functions that no row and no case names."""
    text = " ".join(f"{row.operation} {row.case}" for row in rows)
    names = set(re.findall(r"\w+", text))
    # The hooks are data; others are measured inside these.
    names |= {"fmalloc", "ffree", "merge"}
    listed = {bare_name(line) for line in exports.read_text(encoding="utf-8").splitlines() if line}
    return sorted(listed - names)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("results", type=pathlib.Path)
    parser.add_argument("target", type=pathlib.Path)
    parser.add_argument("exports", type=pathlib.Path)
    parser.add_argument("--cpu")
    parser.add_argument("--repetitions")
    parser.add_argument("--min-time")
    parser.add_argument("--frames")
    options = parser.parse_args()

    rows, context = results.read(options.results)
    found = targets.evaluate(rows)
    missed = sum(not target.met for target in found)
    complete = {row.program for row in rows} == set(TITLES)
    missing = not_measured(rows, options.exports) if complete else []

    page = [
        "# Performance",
        "",
        textwrap.fill(INTRODUCTION, 100),
        "",
        machine(context, options),
        "",
        "![Time by the fastest peer's](performance.svg)",
        "",
        "## Targets",
        "",
        f"{len(found) - missed} met, {missed} missed.",
        "",
        target_table(found),
        memory_lines(options.results, options.frames),
        "## All operations",
        "",
    ]
    if complete:
        page += [f"Exported functions without a row: {', '.join(missing) or 'none'}.", ""]
    for program, title in TITLES.items():
        mine = [row for row in rows if row.program == program]
        if mine:
            page += [f"### {title}", "", f"`{program}`", "", row_table(mine), ""]
    (options.target / "performance.md").write_text("\n".join(page), encoding="utf-8")
    (options.target / "performance.svg").write_text(chart.draw(rows), encoding="utf-8")
    print(f"bench: {len(found) - missed} targets met, {missed} missed; "
          f"{len(missing) if complete else 'some'} exported functions not measured")


if __name__ == "__main__":
    main()
