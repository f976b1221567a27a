"""Values worked out by hand."""

import math

import pytest

from measure import statistics


@pytest.mark.parametrize(
    "values, expected",
    [
        ([7], 7),
        ([3, 1, 2], 2),
        ([4, 1, 3, 2], 2.5),  # the mean of 2 and 3
        ([-5, 5, 5, 5], 5),
    ],
)
def test_median(values, expected):
    assert statistics.median(values) == expected


def test_median_of_nothing_is_refused():
    with pytest.raises(ValueError):
        statistics.median([])


@pytest.mark.parametrize(
    "values, share, expected",
    [
        (range(1, 101), 0.99, 99),  # 99 of 100 values do not exceed 99
        (range(1, 101), 0.991, 100),
        (range(1, 101), 0.07, 7),  # 0.07 * 100 is 7.000000000000001 in floating point
        (range(1, 129), 0.99, 127),  # 126.72 values are not a whole number: the 127th
        (range(1, 21), 0.99, 20),  # of 20 values the 99th percentile is the greatest
        ([30, 10, 20], 0.5, 20),
        ([30, 10, 20], 0.001, 10),
        ([30, 10, 20], 1, 30),
    ],
)
def test_percentile_is_the_nearest_rank(values, share, expected):
    assert statistics.percentile(list(values), share) == expected


def test_percentile_of_nothing_is_refused():
    with pytest.raises(ValueError):
        statistics.percentile([], 0.5)


def test_spread():
    assert statistics.spread([12, 5, 9]) == 7


def test_deviations_count_from_the_first():
    # due 5 apart; the second came 1 late, the third 2 early
    assert statistics.deviations([100, 106, 108], [0, 5, 10]) == [0, 1, -2]
    # what the first arrival's own due time is does not matter
    assert statistics.deviations([100, 106, 108], [7, 12, 17]) == [0, 1, -2]


def test_deviations_need_as_many_times_as_plans():
    with pytest.raises(ValueError):
        statistics.deviations([1, 2], [0])


@pytest.mark.parametrize(
    "xs, ys, expected",
    [
        ([0, 1, 2], [5, 7, 9], 2),
        ([0, 1, 2], [4, 4, 4], 0),
        # means 1.5 and 1.75; (2.625 - 0.125 - 0.375 + 3.375) / (2.25 + 0.25 + 0.25 + 2.25)
        ([0, 1, 2, 3], [0, 2, 1, 4], 1.1),
    ],
)
def test_slope(xs, ys, expected):
    assert statistics.slope(xs, ys) == pytest.approx(expected)


def test_slope_of_one_place_is_refused():
    with pytest.raises(ValueError):
        statistics.slope([3, 3], [1, 2])


def test_drift_in_microseconds_per_second():
    # every 5 ms comes 1 us later than the one before: 200 us in a second
    due = [0, 5_000_000, 10_000_000, 15_000_000]
    times = [1_000, 5_002_000, 10_003_000, 15_004_000]
    assert statistics.drift_us_per_s(times, due) == pytest.approx(200)


def test_drift_ignores_a_constant_lateness():
    due = [0, 1_000_000_000, 2_000_000_000]
    assert statistics.drift_us_per_s([77 + at for at in due], due) == pytest.approx(0)


@pytest.mark.parametrize(
    "costs, expected",
    [
        ([3, 30, 300], 1),
        ([1, 100, 10_000], 2),
        ([8, 8, 8], 0),
        ([10, 10 * math.sqrt(10), 100], 0.5),
    ],
)
def test_growth_exponent(costs, expected):
    assert statistics.growth_exponent([1_000, 10_000, 100_000], costs) == pytest.approx(expected)


@pytest.mark.parametrize(
    "indices, expected",
    [
        ([0, 1, 2, 3], 0),
        ([0, 2, 1, 3], 1 / 3),  # 1 comes behind 2
        ([3, 2, 1, 0], 1),
        ([5], 0),
        ([], 0),
    ],
)
def test_out_of_order_share(indices, expected):
    assert statistics.out_of_order_share(indices) == pytest.approx(expected)
