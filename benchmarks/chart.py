"""Draws the ratios of the benchmarks as a picture: for every row our time beside the peer's, which is 1."""
import datetime
import html
import platform

OURS, PEER, INK, QUIET = "#1e88e5", "#cfd8dc", "#212121", "#757575"
WORK_WIDTH, PEER_WIDTH, UNIT, LONGEST, ROW, TOP = 250, 150, 240, 1.6, 22, 52


def machine():
    """What the times were taken on, as the system names it."""
    try:
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            names = [line.split(":", 1)[1].strip() for line in file if line.startswith("model name")]
        return f"{names[0]}, {len(names)} processors"
    except (OSError, IndexError):
        return platform.machine()


def draw(rows):
    """The picture as SVG text; `rows` are (work, peer, ratio)."""
    width, height = WORK_WIDTH + PEER_WIDTH + UNIT * LONGEST + 60, TOP + ROW * len(rows) + 16
    left = WORK_WIDTH + PEER_WIDTH
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width:.0f}" height="{height}" '
           f'viewBox="0 0 {width:.0f} {height}" font-family="DejaVu Sans, sans-serif" font-size="11">',
           "<!-- Written by benchmarks/chart.py. -->",
           f'<rect width="{width:.0f}" height="{height}" fill="#ffffff"/>',
           f'<text x="12" y="20" fill="{INK}" font-size="13">Our time (blue) beside the peer\'s (grey, 1); shorter is '
           "faster</text>",
           f'<text x="12" y="37" fill="{QUIET}">{html.escape(machine())}; '
           f'{datetime.date.today().isoformat()}</text>']
    before = None
    for number, (work, peer, ratio) in enumerate(rows):
        y = TOP + ROW * number
        if work != before:
            out.append(f'<text x="12" y="{y + 13}" fill="{INK}">{html.escape(work)}</text>')
            before = work
        shown = min(ratio, LONGEST)
        out.append(f'<text x="{left - 8}" y="{y + 13}" fill="{QUIET}" text-anchor="end">{html.escape(peer)}</text>'
                   f'<rect x="{left}" y="{y + 9}" width="{UNIT}" height="7" fill="{PEER}"/>'
                   f'<rect x="{left}" y="{y + 2}" width="{UNIT * shown:.1f}" height="7" fill="{OURS}"/>'
                   f'<text x="{left + UNIT * max(shown, 1) + 6:.1f}" y="{y + 13}" fill="{INK}">{ratio:.2f}</text>')
    out.append("</svg>")
    return "\n".join(out) + "\n"
