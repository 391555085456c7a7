"""What the objects of the package give and raise."""

from __future__ import annotations

import dataclasses
import enum
from typing import TYPE_CHECKING, Union

if TYPE_CHECKING:
    import os

    from ._bvschema import Node, Object

__all__ = [
    "Cause",
    "Change",
    "Choice",
    "Difference",
    "Editor",
    "Error",
    "Explanation",
    "LoadNote",
    "LoadReport",
    "MediaInfo",
    "NodeChange",
    "NoteKind",
    "Refused",
    "What",
    "WhyState",
]

Value = Union[None, bool, int, float, str, "Node", "Object"]
Settable = Union[Value, "Choice", "os.PathLike[str]"]

_E_FAIL = 0x80004005


class Error(Exception):
    """What can't be made or done: a file that can't be read, classes that aren't registered, another's thread."""

    text: str
    """Why, for the user."""
    status: int
    """The status of the component model, such as 0x80070057."""

    def __init__(self, text: str, status: int = _E_FAIL) -> None:
        super().__init__(text, status)
        self.text = text
        self.status = status

    def __str__(self) -> str:
        return self.text


class Refused(Error):
    """What the job doesn't take. Everything is as it was."""

    node: str
    """The name of the node; empty where none is concerned."""
    value: str
    """What was refused, as text."""

    def __init__(self, text: str, node: str = "", value: str = "", status: int = _E_FAIL) -> None:
        super().__init__(text, status)
        self.args = (text, node, value, status)
        self.node = node
        self.value = value

    def __str__(self) -> str:
        return f"{self.node}: {self.text}" if self.node else self.text


class Editor(enum.Enum):
    """Which editor a form shows for a node."""

    NONE = 0
    """A node that carries others, or a unit that is only read."""
    GROUP = 1
    """A frame round its children."""
    CHECK_BOX = 2
    """On or off."""
    CHOICE = 3
    """One of Node.choices."""
    NUMBER = 4
    TEXT = 5
    FILE = 6
    """The path of a file that is there."""
    DIALOG = 7
    """A text that a dialog of the node's own makes: Node.show_dialog."""


class What(enum.IntFlag):
    """How a node changed."""

    VALUE = 1
    """Its value, or its unit."""
    HIDDEN = 2
    """It is shown or hidden now."""
    DISABLED = 4
    """It can be edited now, or no longer."""
    CHOICES = 8
    """It offers other values."""
    TITLE = 16
    CAME = 32
    """It hangs in the tree now."""
    GONE = 64
    """It did."""


class NoteKind(enum.Enum):
    """What became of an element that a tree didn't take as it is."""

    REFUSED = 0
    UNKNOWN = 1
    """There is no such setting."""
    INPUT = 2
    """An input that can't be read."""


@dataclasses.dataclass(frozen=True)
class Choice:
    """One of the values that a node offers."""

    label: str
    value: Value
    """As the node stores it; a node where the choice brings one."""
    selected: bool = False


@dataclasses.dataclass(frozen=True)
class MediaInfo:
    """What to know of a source. Times are in units of 100 ns."""

    duration: int = 0
    frame_time: int = 0
    """0: no video."""
    video: bool = False
    audio: bool = False
    still: bool = False


@dataclasses.dataclass(frozen=True)
class NodeChange:
    """How one node changed."""

    node: Node
    what: What


@dataclasses.dataclass(frozen=True)
class Change:
    """One change of a job and all that came of it: each node once, in the tree's order, those that went last."""

    name: str
    """What was done, for a menu."""
    cause: Node | None
    """None: no single node."""
    nodes: tuple[NodeChange, ...]


@dataclasses.dataclass(frozen=True)
class LoadNote:
    """An element of a file that was read, which the tree didn't take as it is."""

    kind: NoteKind
    line: int
    """Of the file."""
    name: str
    """The element's."""
    text: str
    """Why, for the user."""


@dataclasses.dataclass(frozen=True)
class LoadReport:
    """What became of a file that was read."""

    set: int = 0
    """How many values and units the tree took."""
    notes: tuple[LoadNote, ...] = ()
    """What it didn't, inputs first."""

    @property
    def clean(self) -> bool:
        """Whether the tree took all of it."""
        return not self.notes


class WhyState(enum.Enum):
    """What an Explanation explains."""

    NOTHING = 0
    """The setting is shown and can be edited."""
    HIDDEN = 1
    """It isn't shown."""
    DISABLED = 2
    """It is shown, and can't be edited."""
    ABSENT = 3
    """It belongs to a choice that isn't selected."""


@dataclasses.dataclass(frozen=True)
class Cause:
    """A setting that decides, and what would change that."""

    node: str
    """Its path."""
    label: str
    now: str
    """What is chosen."""
    instead: tuple[str, ...]
    """Each of these would show or enable; Node.set takes them."""


@dataclasses.dataclass(frozen=True)
class Explanation:
    """Why a setting isn't shown or can't be edited. As text, a line for the user."""

    state: WhyState
    causes: tuple[Cause, ...]
    """What decides, in the order in which it is to be changed. Empty: no choice shows or enables it."""
    text: str
    """For the user: "hidden while Mode is Single; shown by Mode = Multiply"."""

    def __str__(self) -> str:
        return self.text


@dataclasses.dataclass(frozen=True)
class Difference:
    """A setting that two jobs have differently. A side whose job has no such setting is empty."""

    node: str
    """Its path."""
    label: str
    before: str
    """As a person reads it, with the unit."""
    after: str
