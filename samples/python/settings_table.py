#!/usr/bin/env python3
"""A table of all settings of a job in one output format, as Markdown: settings_table.py [FORMAT]

Each "# %%" begins a cell, for those who open this file as a notebook.
"""

# %% A job in that format
import sys

import bvschema
from bvschema import Editor

job = bvschema.Job()
formats = job["OutputFileFormat"]
wanted = " ".join(sys.argv[1:])
if wanted:
    try:
        formats.set(wanted)
    except bvschema.Refused as refused:
        sys.exit(f"settings_table.py: {refused.text}")


# %% What to say of a setting
def takes(node: bvschema.Node) -> str:
    """What may be set: its choices, or what fits its editor."""
    if node.choices:
        return ", ".join(choice.label for choice in node.choices)
    if node.editor is Editor.CHECK_BOX:
        return "on, off"
    kinds = {Editor.NUMBER: "a number", Editor.FILE: "a file", Editor.DIALOG: "by its dialog"}
    text = kinds.get(node.editor, "a text")
    units = node.unit_node.choices if node.unit_node else []
    return text + (" in " + ", ".join(unit.label for unit in units) if units else "")


def shown_when(node: bvschema.Node) -> str:
    """What brings a setting to sight that a new job hides."""
    if not node.hidden:
        return ""
    causes = [f"{cause.label} = {' or '.join(cause.instead)}" for cause in node.why().causes]
    return ", ".join(causes) or "by a component"


def row(*cells: str) -> str:
    """One line of the table."""
    texts = (" ".join(cell.split()).replace("\\", "\\\\").replace("|", "\\|") for cell in cells)
    return "| " + " | ".join(texts) + " |"


# %% The table
print(f"# Settings of a job in the format {formats.shown or '(none)'}\n")
print(row("Setting", "Name", "Usual", "Takes", "Shown with", "What it is for"))
print(row(*["---"] * 6))
for node in job.root.all():
    if not node.has_value or node.editor is Editor.NONE:
        continue
    usual = f"{node.shown} {node.unit}".strip()
    print(row(node.label, node.name, usual, takes(node), shown_when(node), node.help))
