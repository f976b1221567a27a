#!/usr/bin/python3
"""States the share of some files' lines that a run has reached.

usage: reached_lines.py NAME LCOV-FILE SOURCE-FILE...

The status is 1 when it is below 90 % or when a file is not in the report."""

import sys

LEAST_PERCENT = 90


def counts_by_file(lcov):
    """Path, as the compiler was told it, to line number to how often it was reached."""
    counts, path = {}, None
    for record in lcov:
        kind, _, rest = record.strip().partition(":")
        if kind == "SF":
            path = rest.rpartition("/./")[2].removeprefix("./")
            counts.setdefault(path, {})
        elif kind == "DA":
            line, count = rest.split(",")[:2]
            known = counts[path].get(int(line), 0)
            counts[path][int(line)] = known + int(count)
    return counts


def main(name, report, *files):
    with open(report, encoding="utf-8") as lcov:
        counts = counts_by_file(lcov)
    missing = [file for file in files if file not in counts]
    lines = [(file, line, count) for file in files for line, count in counts.get(file, {}).items()]
    reached = sum(1 for _, _, count in lines if count)
    percent = 100 * reached / max(len(lines), 1)
    print(f"{name}: {reached} of {len(lines)} lines ({percent:.1f} %) of {len(files)} files")
    for file in files:
        left = [str(line) for path, line, count in lines if path == file and not count]
        if left:
            print(f"    not reached: {file}:{','.join(left)}")
    if missing:
        print(f"    not in the report: {', '.join(missing)}")
    return 1 if missing or percent < LEAST_PERCENT else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
