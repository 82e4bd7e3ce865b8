"""How much more rate one encoder needs than another at the same quality, from four points of each: the BD-rate."""
import bisect
import math


def end_slope(h0, h1, d0, d1):
    """Of the outermost point, from the widths and slopes of the two intervals next to it, without a bend of its own."""
    slope = ((2 * h0 + h1) * d0 - h0 * d1) / (h0 + h1)
    if slope * d0 <= 0:
        return 0.0
    return 3 * d0 if d0 * d1 < 0 and abs(slope) > 3 * abs(d0) else slope


class Curve:
    """A piecewise cubic through points that never swings beyond them (PCHIP: slopes are weighted harmonic means)."""

    def __init__(self, points):
        self.x, self.y = zip(*points)
        if len(points) < 3 or any(a >= b for a, b in zip(self.x, self.x[1:])):
            raise ValueError("the points make no curve")
        h = [b - a for a, b in zip(self.x, self.x[1:])]
        d = [(b - a) / w for a, b, w in zip(self.y, self.y[1:], h)]
        inner = [0.0 if a * b <= 0 else 3 * (v + w) / ((2 * w + v) / a + (w + 2 * v) / b)
                 for a, b, v, w in zip(d, d[1:], h, h[1:])]
        self.slopes = [end_slope(h[0], h[1], d[0], d[1]), *inner, end_slope(h[-1], h[-2], d[-1], d[-2])]

    def integral_to(self, i, t):
        """Over interval i, from its start to t of its width: of the cubic Hermite polynomial."""
        h = self.x[i + 1] - self.x[i]
        start = t - t**3 + t**4 / 2
        out, back = t**2 / 2 - 2 * t**3 / 3 + t**4 / 4, t**4 / 4 - t**3 / 3
        bend = out * self.slopes[i] + back * self.slopes[i + 1]
        return h * (start * self.y[i] + (t - start) * self.y[i + 1] + h * bend)

    def integral(self, low, high):
        def from_start(x):
            i = min(max(bisect.bisect_right(self.x, x) - 1, 0), len(self.x) - 2)
            whole = sum(self.integral_to(j, 1) for j in range(i))
            return whole + self.integral_to(i, (x - self.x[i]) / (self.x[i + 1] - self.x[i]))

        return from_start(high) - from_start(low)


def bd_rate(anchor, other):
    """Percent of rate that the other needs more than the anchor, over the qualities that both reach.

    Both are points (rate, PSNR), in any order. ValueError when they reach no quality in common, or make no curve.
    """
    curves = [Curve(sorted((psnr, math.log10(rate)) for rate, psnr in points)) for points in (anchor, other)]
    low, high = max(c.x[0] for c in curves), min(c.x[-1] for c in curves)
    if low >= high:
        raise ValueError("no quality in common")
    mean = (curves[1].integral(low, high) - curves[0].integral(low, high)) / (high - low)
    return (10**mean - 1) * 100
