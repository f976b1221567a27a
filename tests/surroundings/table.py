"""Prints the table of a run: every scenario, how it ended, what was counted."""

import json
import sys


def main(path):
    try:
        with open(path, encoding="utf-8") as file:
            results = [json.loads(line) for line in file]
    except FileNotFoundError:
        results = []
    results.sort(key=lambda result: result["file"])
    for result in results:
        name = result["test"].removeprefix("test_").replace("_", " ")
        counted = ", ".join(f"{what}: {count}" for what, count in result["counted"].items())
        line = f"{result['outcome']:7} {result['seconds']:6.1f} s  {result['file']:13}  {name}"
        print(f"{line}  ({counted})" if counted else line)
    passed = sum(result["outcome"] == "passed" for result in results)
    print(f"{passed} of {len(results)} scenarios passed")
    return 0 if results and passed == len(results) else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
