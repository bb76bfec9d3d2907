"""The table of what happened."""

import dataclasses
import json
import textwrap


@dataclasses.dataclass
class Row:
    case: str
    seen: str
    answered: str
    pressed: str
    application: str
    show_to_phone_ms: float | None
    answer_to_gone_ms: float | None
    is_right: bool = True


_COLUMNS = [("case", 19), ("what the phone saw", 34), ("answered", 17), ("how it was pressed", 24),
            ("the application", 24), ("show to phone", 13), ("answer to gone", 14), ("", 5)]


def _cells(row):
    def ms(value):
        return "-" if value is None else f"{value:.0f} ms"
    return [row.case, row.seen, row.answered, row.pressed, row.application, ms(row.show_to_phone_ms),
            ms(row.answer_to_gone_ms), "right" if row.is_right else "WRONG"]


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


def write_report(rows, output):
    """Prints the table, keeps it as text and JSON, and says whether every row is right."""
    table = _table(rows)
    (output / "report.txt").write_text(table + "\n", encoding="utf-8")
    (output / "report.json").write_text(json.dumps([dataclasses.asdict(row) for row in rows], indent=2) + "\n",
                                        encoding="utf-8")
    wrong = sum(not row.is_right for row in rows)
    print(f"\n{table}\n\n{len(rows) - wrong} rows right, {wrong} wrong. Screenshots, logs and this table: {output}")
    return wrong == 0
