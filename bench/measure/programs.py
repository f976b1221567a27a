"""Where the built programs are: RUVO_BENCH_BUILD names the folder that bench/run builds into."""

import os
import pathlib
import subprocess

BUILD = pathlib.Path(os.environ.get("RUVO_BENCH_BUILD", "build/bench")).resolve()
DYNAMIC = BUILD / "dynamic"
STATIC = BUILD / "static"
STATIC_ALONE = BUILD / "static-alone"  # without the device's library
DEVKIT = DYNAMIC / "devkit"


def bench_program(name):
    """A program of this folder, such as bench-receiver."""
    found = sorted((DYNAMIC / "bench").rglob(name))
    if not found:
        raise FileNotFoundError(f"{name} is not built below {DYNAMIC / 'bench'}")
    return found[0]


def output_lines(name, *arguments):
    """What a bench program prints, line by line."""
    command = [str(word) for word in (bench_program(name), *arguments)]
    done = subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True)
    return done.stdout.splitlines()


def output_numbers(name, *arguments):
    """The same where each line is a number; what it runs may print empty lines between."""
    return [int(line) for line in output_lines(name, *arguments) if line]
