#!/usr/bin/python3
"""States the share of some files' lines that a run has reached.

usage: reached_lines.py NAME LCOV-FILE SOURCE-FILE...

The status is 1 when it is below 90 % or when a file is not in the report."""

import sys

LEAST_PERCENT = 90


def counts_by_path(lcov):
    """Path, as the compiler was told it, to line number to how often it was reached."""
    counts, lines = {}, None
    for record in lcov:
        kind, _, rest = record.strip().partition(":")
        if kind == "SF":
            lines = counts.setdefault(rest, {})
        elif kind == "DA":
            line, count = map(int, rest.split(",")[:2])
            lines[line] = lines.get(line, 0) + count
    return counts


def main(name, report, *files):
    with open(report, encoding="utf-8") as lcov:
        counts = counts_by_path(lcov)
    total = reached = 0
    details = []
    for file in files:
        # The compiler was told paths that begin in the build folder.
        found = [lines for path, lines in counts.items() if path.endswith("/" + file)]
        if len(found) != 1:
            details.append(f"    not in the report: {file}")
            continue
        left = [line for line, count in sorted(found[0].items()) if not count]
        total += len(found[0])
        reached += len(found[0]) - len(left)
        if left:
            details.append(f"    not reached: {file}:{','.join(map(str, left))}")
    percent = 100 * reached / max(total, 1)
    print(f"{name}: {reached} of {total} lines ({percent:.1f} %) of {len(files)} files")
    print("\n".join(details), end="\n" if details else "")
    return 1 if percent < LEAST_PERCENT or any("not in" in line for line in details) else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
