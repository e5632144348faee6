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

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)', re.MULTILINE)


def allowed(folder):
    return set(FOLDERS[FOLDERS.index(folder):]) - set(HIDDEN.get(folder, ()))


def failures_of(path):
    """What the file includes of this project that it may not, or by another name than folder/file."""
    for mark, included in INCLUDE.findall(path.read_text()):
        folder = included.partition("/")[0]
        if (mark == '"' or folder in FOLDERS) and folder not in allowed(path.parent.name):
            yield f"{path.relative_to(SOURCES)}: includes {included}, which does not stand below it"


def main():
    files = sorted(path for path in SOURCES.rglob("*") if path.suffix in (".h", ".cpp"))
    failures = [f"{path.relative_to(SOURCES)}: stands in no folder of the order" for path in files
                if path.relative_to(SOURCES).parent.as_posix() not in FOLDERS]
    if not failures:
        failures = [failure for path in files for failure in failures_of(path)]
    for failure in failures:
        print(f"FAILED {failure}")
    print(f"{len(files)} files, {len(failures)} failures")
    return 1 if failures or not files else 0


if __name__ == "__main__":
    sys.exit(main())
