"""An SVG chart of the library's time by the fastest peer's, one bar an operation."""

import math
from html import escape

LOW, HIGH = 0.05, 20.0  # of the axis
LEFT, WIDTH, RIGHT = 400, 420, 130
STEP, TOP = 20, 54
AHEAD, BEHIND = "#2a7f9e", "#c2703d"


def _x(ratio):
    share = math.log(min(max(ratio, LOW), HIGH) / LOW) / math.log(HIGH / LOW)
    return LEFT + WIDTH * share


def _one_case_each(rows):
    """A row for each operation that has a peer, at 1080p where there is one."""
    chosen = {}
    for row in rows:
        if row.peers and (row.operation not in chosen or row.case.startswith("1920x1080 NV21")):
            chosen[row.operation] = row
    return sorted(chosen.values(), key=lambda row: row.peer_ratio)


def draw(rows):
    rows = _one_case_each(rows)
    height = TOP + STEP * len(rows) + 24
    width = LEFT + WIDTH + RIGHT
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
        f'viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="12">',
        f'<rect width="{width}" height="{height}" fill="#ffffff"/>',
        f'<text x="{width / 2}" y="20" text-anchor="middle" font-size="15">'
        "Time by that of the fastest other library (shorter is faster)</text>",
    ]
    for tick in (0.1, 0.25, 0.5, 1, 2, 5, 10):
        colour = "#303030" if tick == 1 else "#d8d8d8"
        parts.append(f'<line x1="{_x(tick):.1f}" x2="{_x(tick):.1f}" y1="{TOP - 6}" '
                     f'y2="{height - 20}" stroke="{colour}"/>')
        parts.append(f'<text x="{_x(tick):.1f}" y="{TOP - 12}" text-anchor="middle">{tick:g}</text>')
    for number, row in enumerate(rows):
        y = TOP + STEP * number
        end = _x(row.peer_ratio)
        colour = AHEAD if row.peer_ratio <= 1 else BEHIND
        label = f"{row.operation.removeprefix('ConnectedComponentsLabeling::')}, {row.case}"
        if len(label) > 62:
            label = label[:60] + "…"
        parts.append(f'<text x="{LEFT - 8}" y="{y + 13}" text-anchor="end">{escape(label)}</text>')
        parts.append(f'<rect x="{LEFT}" y="{y + 2}" width="{max(end - LEFT, 1):.1f}" '
                     f'height="{STEP - 6}" fill="{colour}"/>')
        parts.append(f'<text x="{end + 6:.1f}" y="{y + 13}" paint-order="stroke" stroke="#ffffff" '
                     f'stroke-width="3">{row.peer_ratio:.2f} '
                     f'{escape(row.best_peer[0])}</text>')
    parts.append("</svg>\n")
    return "\n".join(parts)
