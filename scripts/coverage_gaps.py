"""Lists what llvm-cov saw no test reach and EXPLAINED does not explain: code of all files, and in the archive, the checks
and the kernels conditions that were never true or never false. Instances of a template count as one. Fails when there is
such a place, and when an explanation has become needless.

usage: coverage_gaps.py COVERAGE.json EXPLAINED.txt
"""

import collections
import json
import pathlib
import re
import sys

LIBRARIES = re.compile(r"(kavsys|kavstd|filt)/")
EVERY_BRANCH = re.compile(r"kavstd/(internal/)?(archive|persistent|registry)|filt/.*(archive|checks)|filt/fft/kernels/")
CODE = 0  # of llvm-cov's kinds of regions


def explanations(path):
    """The set of (file, text of a line); comments are the reasons."""
    entries = [line for line in path.read_text().splitlines() if line and not line.startswith("#")]
    return {tuple(entry.split(": ", 1)) for entry in entries}


def counts(coverage, root):
    """Executions of each piece of code, and [true, false] of each condition, by the (file, line, column) of its start: an
    instance of a template has but the first character of what it leaves out."""
    regions = collections.Counter()
    branches = collections.defaultdict(lambda: [0, 0])
    for function in coverage["functions"]:
        files = [name.removeprefix(root) if LIBRARIES.match(name.removeprefix(root)) else None
                 for name in function["filenames"]]
        for line, column, _, _, count, file, _, kind in function["regions"]:
            if kind == CODE and files[file]:
                regions[files[file], line, column] += count
        for line, column, _, _, true, false, file, _, _ in function["branches"]:
            if files[file]:
                branches[files[file], line, column][0] += true
                branches[files[file], line, column][1] += false
    return regions, {place: taken for place, taken in branches.items() if EVERY_BRANCH.match(place[0])}


def main():
    coverage = json.loads(pathlib.Path(sys.argv[1]).read_text())["data"][0]
    explained = explanations(pathlib.Path(sys.argv[2]))
    regions, branches = counts(coverage, f"{pathlib.Path.cwd()}/")
    gaps = [(place, "this is never reached") for place, count in regions.items() if count == 0]
    # A condition that is neither is a constant, or stands in code that is not reached.
    gaps += [(place, f"this is never {'false' if true else 'true'}")
             for place, (true, false) in branches.items() if (true == 0) != (false == 0)]
    found = set()
    unexplained = 0
    for (name, line, column), what in sorted(gaps):
        text = pathlib.Path(name).read_text().splitlines()[line - 1].strip()
        found.add((name, text))
        if (name, text) not in explained:
            unexplained += 1
            print(f"{name}:{line}:{column}: {what}: {text}")
    needless = explained - found
    for name, text in sorted(needless):
        print(f"{sys.argv[2]}: needs no explanation any more: {name}: {text}")
    lines = coverage["totals"]["lines"]
    sides = [side for taken in branches.values() if any(taken) for side in taken]
    print(f"{lines['covered']} of {lines['count']} lines; of the archive, the checks and the kernels "
          f"{sum(map(bool, sides))} of {len(sides)} branches; {len(found & explained)} places explained")
    return 1 if unexplained or needless else 0


sys.exit(main())
