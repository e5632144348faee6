"""How a script of unit tests ends: it says line by line what it skipped, and its status is 77 then.

CTest counts such a test as skipped, and scripts/test lists the lines at its end.
"""
import sys
import unittest
from pathlib import Path


def main():
    result = unittest.main(exit=False).result
    for test, reason in result.skipped:
        print(f"skipped: {test.id().replace('__main__', Path(sys.argv[0]).stem)}: {reason}", file=sys.stderr)
    sys.exit(1 if not result.wasSuccessful() else 77 if result.skipped else 0)
