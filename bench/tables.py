"""Markdown tables, and the limits that their rows keep or not."""


def print_row(*cells):
    print("| " + " | ".join(cells) + " |", flush=True)


def print_header(*titles):
    print()
    print_row(*titles)
    print("|---" * len(titles) + "|", flush=True)


class Limits:
    """The limits that were looked at, and those that were not kept."""

    def __init__(self):
        self.kept = 0
        self.broken = []

    def judge(self, name, value, limit):
        """Returns the word for the table."""
        if value <= limit:
            self.kept += 1
            return "yes"
        self.broken.append(f"{name} is {value:.2f}, the limit {limit:.2f}")
        return "**no**"

    def fail(self, name, failure):
        print_row(name, str(failure))
        self.broken.append(f"{name} could not be measured: {failure}")

    def print(self):
        print(f"\nLimits kept: {self.kept} of {self.kept + len(self.broken)}.")
        for broken in self.broken:
            print(f"- Not kept: {broken}.")
