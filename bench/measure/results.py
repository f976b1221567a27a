"""What has been measured: for each metric and column (a system, or the floor) a value a round."""

import dataclasses
import json
import pathlib

from . import statistics

FLOOR = "floor"


@dataclasses.dataclass(frozen=True)
class Metric:
    """A line of the table."""

    name: str
    title: str
    unit: str
    better: str = "lower"  # or "higher", or "" where neither is
    digits: int = 2


class Results:
    def __init__(self, values=None, about=None):
        self.values = values or {}
        self.about = about or {}

    def add(self, column, measured):
        """One round's values by metric; a key (metric, column) is another column's."""
        for key, value in measured.items():
            metric, place = key if isinstance(key, tuple) else (key, column)
            self.values.setdefault(metric, {}).setdefault(place, []).append(value)

    def median(self, metric, column):
        """Of the rounds; None where nothing has been measured."""
        rounds = self.values.get(metric, {}).get(column)
        return statistics.median(rounds) if rounds else None

    def worst(self, metric, column):
        """The greatest of the rounds: for what must never happen, such as a loss."""
        rounds = self.values.get(metric, {}).get(column)
        return max(rounds) if rounds else None

    def columns(self):
        return {column for by_column in self.values.values() for column in by_column}

    def save(self, path):
        figures = {
            metric: {
                column: {"median": statistics.median(rounds), "rounds": rounds}
                for column, rounds in by_column.items()
            }
            for metric, by_column in self.values.items()
        }
        document = {"about": self.about, "figures": figures}
        pathlib.Path(path).write_text(json.dumps(document, indent=1) + "\n", encoding="utf-8")


def load(path):
    document = json.loads(pathlib.Path(path).read_text(encoding="utf-8"))
    values = {
        metric: {column: figure["rounds"] for column, figure in by_column.items()}
        for metric, by_column in document["figures"].items()
    }
    return Results(values, document["about"])
