#!/usr/bin/env python3
"""The README's accuracy tables: the output of korvs_accuracy_report (both twins, body and
tails) with R's errors on the same oracle rows (bench/r_accuracy.R) beside the double twin.

    python3 tools/accuracy_table.py build/tools/korvs_accuracy_report tests/data

Needs Rscript; prints Markdown.
"""
import subprocess
import sys


def cells(line):
    return [c.strip() for c in line.strip().strip("|").split("|")]


def main():
    report, data = sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else "tests/data"
    ours = subprocess.run([report, data], capture_output=True, text=True, check=True).stdout
    theirs = subprocess.run(["Rscript", "bench/r_accuracy.R", data], capture_output=True, text=True,
                            check=True).stdout
    r = {}
    for line in theirs.splitlines():
        c = cells(line) if line.startswith("|") else []
        if len(c) == 4 and c[0] not in ("Function", "---"):
            r[c[0]] = (c[2], c[3])
    for line in ours.splitlines():
        if not line.startswith("|"):
            print(line)
            continue
        c = cells(line)
        if c[0] in ("Distribution function", "Quantile"):
            c += ["R, body (eps)", "R, tails (eps)"]
        elif c[0].startswith("---"):
            c += ["---", "---"]
        else:
            body, tails = r.get(c[0], ("-", "-"))
            c += [body, tails] if c[1] == "d" else ["", ""]
        print("| " + " | ".join(c) + " |")


if __name__ == "__main__":
    main()
