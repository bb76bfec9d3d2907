"""The table of what happened."""

import dataclasses
import json
import statistics
import textwrap


@dataclasses.dataclass
class Row:
    """One case; a time is None where the case has none."""
    case: str
    seen: str
    answered: str = ""
    pressed: str = ""
    screen: str = ""
    application: str = ""
    show_to_phone_ms: float | None = None
    answer_to_gone_ms: float | None = None
    is_right: bool = True


_COLUMNS = [("case", 19), ("what the phone saw", 33), ("answered", 18), ("how it was pressed", 21),
            ("the screen", 23), ("the application", 21), ("show to phone", 13), ("answer to gone", 14), ("", 5)]


def _milliseconds(value):
    return "-" if value is None else f"{value:.0f} ms"


def _cells(row):
    return [row.case, row.seen, row.answered, row.pressed, row.screen, row.application,
            _milliseconds(row.show_to_phone_ms), _milliseconds(row.answer_to_gone_ms),
            "right" if row.is_right else "WRONG"]


def _table(rows):
    lines = []
    for cells in [[title for title, _ in _COLUMNS]] + [_cells(row) for row in rows]:
        wrapped = [textwrap.wrap(cell, width) or [""] for cell, (_, width) in zip(cells, _COLUMNS)]
        for at in range(max(map(len, wrapped))):
            lines.append("  ".join((part[at] if at < len(part) else "").ljust(width)
                                   for part, (_, width) in zip(wrapped, _COLUMNS)).rstrip())
        if len(lines) == max(map(len, wrapped)):
            lines.append("  ".join("-" * width for _, width in _COLUMNS))
    return "\n".join(lines)


def _medians(rows):
    def median(name):
        times = [value for row in rows if row.is_right and (value := getattr(row, name)) is not None]
        return _milliseconds(statistics.median(times) if times else None)
    return f"Medians: show to phone {median('show_to_phone_ms')}, answer to gone {median('answer_to_gone_ms')}."


def write_report(rows, output):
    """Prints the table, keeps it as text and JSON, and says whether every row is right."""
    report = f"{_table(rows)}\n\n{_medians(rows)}"
    (output / "report.txt").write_text(report + "\n", encoding="utf-8")
    (output / "report.json").write_text(json.dumps([dataclasses.asdict(row) for row in rows], indent=2) + "\n",
                                        encoding="utf-8")
    wrong = sum(not row.is_right for row in rows)
    print(f"\n{report}\n{len(rows) - wrong} rows right, {wrong} wrong. Screenshots, logs and this table: {output}")
    return wrong == 0
