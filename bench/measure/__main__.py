"""Measures, prints the tables and writes the results; bench/run calls it in ruvo-world.

    python3 -m measure --help
"""

import argparse
import os
import pathlib
import sys
import tempfile
import traceback

from . import chart, check, compare, figures, machine, programs, results, table
from .figures.figure import ITEMS, TCP_PORT, UDP_PORT, Bench
from .goals import GOALS
from .receive import Receiver
from .scenario import Scenario
from .systems import all_systems


class Run:
    """One run over the figures and systems that are wanted."""

    def __init__(self, options, bench):
        self.results = results.Results(about=machine.about(options.rounds, options.quick))
        self.failures = 0
        self._bench = bench
        self._only = options.only or figures.names()
        self._systems = options.systems

    def round(self):
        """Every figure once, over all systems: rounds interleave what is compared."""
        for figure in self._wanted(figures.MACHINE_FIGURES):
            self._try(figure.name, lambda: figure.measure(self._bench))
        for figure in self._wanted(figures.SYSTEM_FIGURES):
            for system in self._systems:
                self._measure(figure, system)
        wanted = self._wanted(figures.RUNNING_FIGURES)
        for system in self._systems if wanted else []:
            self._try(f"{system.name}: start", lambda: self._run_figures(wanted, system))

    def _run_figures(self, wanted, system):
        events = [event for figure in wanted for event in figure.events(self._bench)]
        with system.start(Scenario(tuple(events), ITEMS), self._bench.folder / "running"):
            system.wait_until_settled()
            for figure in wanted:
                self._measure(figure, system)
        return {}

    def _measure(self, figure, system):
        self._try(f"{figure.name}: {system.name}", lambda: figure.measure(system, self._bench), system.name)

    def _wanted(self, some):
        return [figure for figure in some if figure.name in self._only]

    def _try(self, what, measure, column=None):
        """What fails is told and leaves its place in the table empty; the others go on."""
        print(f"    {what}", file=sys.stderr, flush=True)
        try:
            self.results.add(column, measure())
        except Exception:  # whatever a peer may do
            traceback.print_exc()
            self.failures += 1


def parse_options():
    systems = all_systems()
    parser = argparse.ArgumentParser(prog="bench/run", description="Measures the daemon beside its peers.")
    parser.add_argument("--rounds", type=int, metavar="N", help="interleaved rounds (3; 1 with --quick)")
    parser.add_argument("--only", nargs="+", choices=figures.names(), metavar="FIGURE",
                        help=f"some of: {', '.join(figures.names())}")
    parser.add_argument("--systems", nargs="+", choices=systems, metavar="SYSTEM",
                        help=f"some of: {', '.join(systems)}")
    parser.add_argument("--compare", type=pathlib.Path, metavar="OLD.json",
                        help="print what has changed since")
    parser.add_argument("--quick", action="store_true",
                        help="one round of few runs, to see that all works")
    parser.add_argument("--check", action="store_true",
                        help="check what the systems send, and measure nothing")
    options = parser.parse_args()
    options.rounds = options.rounds or (1 if options.quick else 3)
    options.systems = [systems[name] for name in options.systems or systems]
    return options


def is_fit(system, folder):
    """Whether all of it is there and it sends what it should: what does not is not measured."""
    wrong = [f"{path} is missing" for path in system.missing()] or check.check(system, folder / system.name)
    print(f"    {system.name:<16} {'not measured' if wrong else 'sends what it should'}", file=sys.stderr)
    for line in wrong:
        print(f"        {line}", file=sys.stderr)
    return not wrong


def prepare_environment(folder):
    """The device's tools for everything that is started."""
    os.environ["PATH"] = f"{programs.DEVKIT}:{os.environ['PATH']}"
    os.environ["RUVO_USER_CONFIG"] = str(folder / "user_config.json")


def measure(options, folder):
    prepare_environment(folder)
    fit = [system for system in options.systems if is_fit(system, folder / "check")]
    with Receiver(udp=[UDP_PORT], tcp=[TCP_PORT]) as receiver:
        all_fit = len(fit) == len(options.systems)
        options.systems = fit
        run = Run(options, Bench(receiver, folder, options.quick))
        for number in range(options.rounds):
            print(f"round {number + 1} of {options.rounds}", file=sys.stderr, flush=True)
            run.round()
        if receiver.dropped:
            print(f"the receiver itself has lost {receiver.dropped} datagrams", file=sys.stderr)
    return run.results, all_fit and run.failures == 0 and receiver.dropped == 0


def report(found, options):
    """Prints the tables and writes result.json and result.svg."""
    titles = table.column_titles(found, all_systems())
    before = results.load(options.compare) if options.compare else None
    found.save(programs.BUILD / "result.json")
    svg = chart.chart(found, figures.metrics(), titles)
    (programs.BUILD / "result.svg").write_text(svg, encoding="utf-8")
    print(machine.sentence(found.about), end="\n\n")
    print(table.goals_table(found, GOALS), end="\n\n")
    print(table.systems_table(found, figures.metrics(), titles))
    if before:
        print(f"\nbefore: {machine.sentence(before.about)}\n")
        print(compare.comparison_table(before, found, figures.metrics()))


def main():
    options = parse_options()
    if options.check:
        return check.main([system.name for system in options.systems])
    with tempfile.TemporaryDirectory() as folder:
        found, complete = measure(options, pathlib.Path(folder))
    report(found, options)
    return 0 if complete else 1


if __name__ == "__main__":
    sys.exit(main())
