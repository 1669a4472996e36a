"""Run by GDB in batch mode on the program values: compares what the printers show with expected.tsv.

A row is an expression and the text, without the addresses. Ends GDB with status 1 when one differs.
"""

import os
import re
import sys

import gdb

folder = os.path.dirname(os.path.abspath(__file__))


def shown(expression):
    text = gdb.parse_and_eval(expression).format_string(raw=False, max_elements=40, max_depth=2)
    return re.sub(r"0x[0-9a-f]+", "0x…", text).replace("\n", " ")


def main():
    gdb.execute("set width 0")
    gdb.execute("set breakpoint pending on")
    gdb.execute("source %s" % os.environ["MIVO_PRINTERS"])
    gdb.execute("break look")
    gdb.execute("run")
    failures = rows = 0
    with open(os.path.join(folder, "expected.tsv"), encoding="utf-8") as table:
        for line in table:
            if line.startswith("#") or not line.strip():
                continue
            expression, expected = line.rstrip("\n").split("\t")
            rows += 1
            text = shown(expression)
            if text != expected:
                failures += 1
                print("%s\n  shows    %s\n  expected %s" % (expression, text, expected))
    print("%d values shown, %d wrong" % (rows, failures))
    sys.stdout.flush()
    gdb.execute("kill")
    gdb.execute("quit %d" % (1 if failures or not rows else 0))


try:
    main()
except Exception as error:  # whatever it is: GDB itself would end with status 0
    print("cannot check: %s: %s" % (type(error).__name__, error))
    sys.stdout.flush()
    gdb.execute("quit 1")
