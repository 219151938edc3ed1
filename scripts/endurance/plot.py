# SPDX-License-Identifier: Apache-2.0
"""Draws curves over time as an SVG."""

import html

_WIDTH, _HEIGHT, _LEFT, _GAP = 800, 150, 70, 50


def plot(title, curves):
    """`curves` are pairs of a label and its points (seconds, value), one below the other."""
    height = _GAP + len(curves) * (_HEIGHT + _GAP)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{_LEFT + _WIDTH + 30}" '
             f'height="{height}" font-family="sans-serif" font-size="12">',
             '<rect width="100%" height="100%" fill="white"/>',
             f'<text x="{_LEFT}" y="20" font-size="14">{html.escape(title)}</text>']
    for number, (label, points) in enumerate(curves):
        parts += _curve(label, points, _GAP + number * (_HEIGHT + _GAP))
    return "\n".join([*parts, "</svg>\n"])


def _curve(label, points, top):
    last = max(points[-1][0], 1)
    most = max(value for _, value in points) * 1.1 or 1
    bottom = top + _HEIGHT
    line = " ".join(f"{_LEFT + seconds / last * _WIDTH:.1f},{bottom - value / most * _HEIGHT:.1f}"
                    for seconds, value in points)
    axis = 'stroke="#888" stroke-width="1"'
    return [f'<text x="{_LEFT}" y="{top - 6}">{html.escape(label)}</text>',
            f'<line x1="{_LEFT}" y1="{bottom}" x2="{_LEFT + _WIDTH}" y2="{bottom}" {axis}/>',
            f'<line x1="{_LEFT}" y1="{top}" x2="{_LEFT}" y2="{bottom}" {axis}/>',
            f'<text x="{_LEFT - 6}" y="{top + 10}" text-anchor="end">{most:.4g}</text>',
            f'<text x="{_LEFT - 6}" y="{bottom}" text-anchor="end">0</text>',
            f'<text x="{_LEFT + _WIDTH}" y="{bottom + 16}" text-anchor="end">{last:.0f} s</text>',
            f'<polyline points="{line}" fill="none" stroke="#1f5fa8" stroke-width="2"/>']
