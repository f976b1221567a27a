"""Pure functions over numbers; no clock, no file."""

import math


def median(values):
    """The middle value; of an even number of values the mean of the middle two."""
    ordered = sorted(values)
    if not ordered:
        raise ValueError("no values")
    half = len(ordered) // 2
    if len(ordered) % 2:
        return ordered[half]
    return (ordered[half - 1] + ordered[half]) / 2


def percentile(values, share):
    """The nearest rank: the smallest value that at least `share` (above 0, up to 1) of all do not exceed."""
    ordered = sorted(values)
    if not ordered:
        raise ValueError("no values")
    # A product such as 0.07 * 100 comes out a hair above its whole number.
    rank = math.ceil(round(share * len(ordered), 9))
    return ordered[max(rank, 1) - 1]


def spread(values):
    """From the least to the greatest."""
    return max(values) - min(values)


def deviations(times_ns, due_ns):
    """How much later than due each send came, both counted from their first."""
    return [(at - times_ns[0]) - (due - due_ns[0]) for at, due in zip(times_ns, due_ns, strict=True)]


def slope(xs, ys):
    """Of the straight line that fits the points best (least squares)."""
    mean_x = sum(xs) / len(xs)
    mean_y = sum(ys) / len(ys)
    square = sum((x - mean_x) ** 2 for x in xs)
    if square == 0:
        raise ValueError("a slope takes two different places")
    return sum((x - mean_x) * (y - mean_y) for x, y in zip(xs, ys, strict=True)) / square


def drift_us_per_s(times_ns, due_ns):
    """How fast the deviation grows: microseconds for each second of the plan."""
    seconds = [due / 1e9 for due in due_ns]
    return slope(seconds, [late / 1e3 for late in deviations(times_ns, due_ns)])


def growth_exponent(sizes, costs):
    """The e of cost = c * size ** e that fits best: 1 is in proportion, 2 is quadratic."""
    return slope([math.log(size) for size in sizes], [math.log(cost) for cost in costs])


def out_of_order_share(indices):
    """The share of arrivals that come right behind a later send's."""
    if len(indices) < 2:
        return 0.0
    swaps = sum(1 for before, after in zip(indices, indices[1:]) if before > after)
    return swaps / (len(indices) - 1)
