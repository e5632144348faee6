#!/usr/bin/env python3
"""Includes go one way: from the roof down to the ground. What the conversion is, the rules, needs nothing but the
platform's plain declarations.

usage: test_includes.py
"""
import re
import sys
from pathlib import Path

SOURCES = Path(__file__).resolve().parents[2] / "src"

# From the top to the bottom. A file may include what stands in its own folder and below.
FOLDERS = ("driver", "output", "cache", "workfile", "ldif", "check", "account", "survey", "rules", "reporting", "platform")
# Below, and not to be used all the same: the tool and the programs beside it share the rules and the platform alone.
HIDDEN = {folder: ("check", "account", "survey") for folder in ("driver", "output", "cache", "workfile", "ldif")}
HIDDEN |= {"check": ("account", "reporting"), "account": ("reporting",), "survey": ("reporting",), "rules": ("reporting",)}

INCLUDE = re.compile(r'^#include "(\w+)/', re.MULTILINE)


def allowed(folder):
    return set(FOLDERS[FOLDERS.index(folder):]) - set(HIDDEN.get(folder, ()))


def main():
    failures = 0
    files = sorted(path for pattern in ("*.h", "*.cpp") for path in SOURCES.glob(f"*/{pattern}"))
    for path in files:
        for included in INCLUDE.findall(path.read_text()):
            if included not in allowed(path.parent.name):
                print(f"FAILED {path.relative_to(SOURCES)}: includes {included}/, which stands above it")
                failures += 1
    print(f"{len(files)} files, {failures} failures")
    return 1 if failures or not files else 0


if __name__ == "__main__":
    sys.exit(main())
