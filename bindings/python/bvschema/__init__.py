"""Jobs of the settings schema: their trees, inputs, cuts, files and changes.

    import bvschema

    job = bvschema.Job()
    job["Mode"] = "Multiply"
    job.save("holiday.job.xml")

What the job doesn't take raises Refused, and everything is as it was; what can't be made at all raises Error. Times
are in units of 100 ns. A job and all that belongs to it is used by the thread that made it.
"""

from ._types import (
    Cause,
    Change,
    Choice,
    Difference,
    Editor,
    Error,
    Explanation,
    LoadNote,
    LoadReport,
    MediaInfo,
    NodeChange,
    NoteKind,
    Refused,
    What,
    WhyState,
)
from ._bvschema import (
    Cuts,
    Input,
    Job,
    Node,
    Object,
    Presets,
    Runtime,
    Setting,
    Subscription,
    Transaction,
    __version__,
    parse_preset,
    preset_json,
    schema,
)

__all__ = [
    "Cause",
    "Change",
    "Choice",
    "Cuts",
    "Difference",
    "Editor",
    "Error",
    "Explanation",
    "Input",
    "Job",
    "LoadNote",
    "LoadReport",
    "MediaInfo",
    "Node",
    "NodeChange",
    "NoteKind",
    "Object",
    "Presets",
    "Refused",
    "Runtime",
    "Setting",
    "Subscription",
    "Transaction",
    "What",
    "WhyState",
    "parse_preset",
    "preset_json",
    "schema",
]
