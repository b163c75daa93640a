# SPDX-License-Identifier: MIT
"""The results of a comparison: reading, joining, and the figures that are made of its samples."""
import json
from statistics import median


def load(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def join(old, new):
    """New groups take the place of old ones of the same name; the order stays."""
    groups = {group["name"]: group for group in old["groups"]}
    groups.update({group["name"]: group for group in new["groups"]})
    return {**new, "groups": list(groups.values())}


def spread(values):
    """The median, and the median distance from it."""
    middle = median(values)
    return middle, median(abs(value - middle) for value in values)


def rows(results):
    """Each row of the table with its group."""
    for group in results["groups"]:
        for row in group["rows"]:
            yield group, row


def cost(group, name):
    return spread(group["samples"][name])


def best(group, names):
    """The name with the smallest median; None without any."""
    return min(names, key=lambda name: median(group["samples"][name]), default=None)


def ratio(group, name, other):
    """One divided by the other, round by round, so that what moves all of a round does not count: the median, and how
    far off it may be (its standard error)."""
    ratios = [a / b for a, b in zip(group["samples"][name], group["samples"][other])]
    middle, off = spread(ratios)
    return middle, 1.86 * off / len(ratios) ** 0.5


def amount(value, unit):
    """1.23 ms, 4.56 MiB: three digits."""
    steps = (
        [(1, "s"), (1e-3, "ms"), (1e-6, "µs"), (1e-9, "ns")]
        if unit == "s"
        else [(2**30, "GiB"), (2**20, "MiB"), (2**10, "KiB"), (1, "B")]
    )
    for size, name in steps:
        if value >= size:
            break
    value /= size
    digits = 0 if value >= 100 else 1 if value >= 10 else 2
    return f"{value:.{digits}f} {name}"
