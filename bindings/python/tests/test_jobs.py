"""Jobs, nodes, refusals, inputs, cuts and files."""

import enum
import os
import pathlib
import pickle

import pytest

import bvschema
from bvschema import Editor, NoteKind
from conftest import described_source


class Mode(enum.IntEnum):
    SINGLE = 1
    SERIES = 2


def test_does_what_a_host_does(job, clip, tmp_path):
    source = job.add_input(clip)
    assert (source.path, source.problem, source.info.duration) == (clip, "", 100_000_000)
    job["Mode"] = Mode.SERIES
    job["OutputFileFormat"] = "MP4"
    job["IsSplit"] = True
    job["SplitLength"] = "250 ms"
    assert job["Mode"].value == 2
    assert (job["SplitLength"].shown, job["SplitLength"].unit) == ("250", "ms")
    assert job["FastStart"] in job["OutputFileFormat"].held.all()
    assert "FileNamePattern" in {node.name for node in job.root.visible()}
    assert "OutputMediaName" not in {node.name for node in job.root.visible()}
    assert job.output_path.suffix == ".mp4"

    source.cuts.add(0, 50)
    source.cuts.add("0:00:04.000", "0:00:05.000")
    assert source.cuts.duration() == 50 * 400_000 + 10_000_000

    file = tmp_path / "ä.job.xml"
    job.save(file)
    again = bvschema.Job.load(os.fspath(file), source=described_source)
    assert again.report.clean and again.report.set > 50
    assert again.xml == job.xml == file.read_bytes() == bvschema.Job.parse(memoryview(job.xml)).xml
    assert [entry.path for entry in again.inputs] == [clip]
    assert len(again.inputs[0].cuts) == 2


def test_nodes_tell_what_a_form_wants(job):
    mode = job["mode"]
    assert mode == job["Output/Mode"] == job.root["Mode"] and hash(mode) == hash(job["Output"]["Mode"])
    assert mode != job["Overwrite"] and mode is not None and mode != 1
    assert (mode.path, mode.name, mode.editor) == ("Main/Common/Output/Mode", "Mode", Editor.CHOICE)
    assert [(choice.label, choice.value, choice.selected) for choice in mode.choices] == [
        ("Single", 1, True),
        ("Multiply", 2, False),
    ]
    output = job["Output"]
    assert (output.editor, output.has_value, output.value, output.shown) == (Editor.GROUP, False, None, "")
    assert list(output) == output.children and mode in output and "Mode" in output
    assert "Nothing" not in output and job.root not in output and 3 not in output
    assert output.title and output.help and output.class_id.startswith("{")
    assert job["SplitLength"].unit_node.choices and mode.unit_node is None and mode.held is None
    assert job["DestinationPath"].has_dialog and not mode.has_dialog
    assert job["IsSplit"].hidden and not mode.hidden and mode.active and not mode.disabled
    assert mode.job is job and repr(mode) == '<bvschema.Node Main/Common/Output/Mode = "Single">'
    for missing in (job, output):
        assert missing.get("Nothing") is None
        with pytest.raises(KeyError, match="Nothing"):
            missing["Nothing"]
        with pytest.raises(KeyError):
            missing["Nothing"] = 1


def test_values_are_what_python_means(job, tmp_path):
    for given, stored in [("Multiply", 2), (1, 1), ("2", 2), (job["Mode"].choices[0], 1), (Mode.SERIES, 2)]:
        job["Mode"] = given
        assert job["Mode"].value == stored
    job["Overwrite"].value = False
    assert job["Overwrite"].shown == "off"
    job["FileNamePattern"] = "Ünï 日本 {SOURCE_FILE_NAME}"
    assert job["FileNamePattern"].value == "Ünï 日本 {SOURCE_FILE_NAME}"
    job["DestinationPath"] = tmp_path
    assert job["DestinationPath"].value == str(tmp_path)
    assert job["Mode"].parse("multiply") == 2 and job["Mode"].parse("nonsense") is None

    # A choice whose value is a node; the node is the job's, so what is set on it can be undone.
    formats = {choice.label: choice for choice in job["OutputFileFormat"].choices}
    for given in (formats["MP4"], formats["MP4"].value, "MP4"):
        job["OutputFileFormat"] = "AVI" if "AVI" in formats else next(iter(formats))
        job["OutputFileFormat"] = given
        assert job["OutputFileFormat"].shown == "MP4"
    assert job["OutputFileFormat"].held == job["OutputFileFormat"].value
    formats["MP4"].value["FastStart"] = not job["FastStart"].value
    assert job.undo_name == job["FastStart"].label

    job["Mode"].put(3)  # as it is, though it is no choice
    assert job["Mode"].value == 3


@pytest.mark.parametrize(
    ("node", "value", "text"),
    [
        ("Mode", "Mutliply", 'the choices are "Single", "Multiply", did you mean "Multiply"?'),
        ("Mode", 7, "the choices are"),
        ("Mode", None, "the choices are"),
        ("Overwrite", "perhaps", 'this setting is "on" or "off"'),
        ("SplitLength", -1, "This value cannot be negative."),
        ("SplitLength", 1.5, "a whole number from 0 to"),
        ("SplitLength", float("nan"), "a whole number"),
        ("SplitLength", 10**30, "a whole number"),
        ("Output", 1, "this is a group, it has no value"),
    ],
)
def test_refusals_say_why_and_change_nothing(job, node, value, text):
    before = job.xml
    with pytest.raises(bvschema.Refused) as raised:
        job[node] = value
    refused = raised.value
    assert text in refused.text and refused.node == node and refused.status & 0x80000000
    assert str(refused) == f"{node}: {refused.text}"
    if isinstance(value, (str, int)):
        assert refused.value == str(value)
    assert isinstance(refused, bvschema.Error)
    assert pickle.loads(pickle.dumps(refused)).args == refused.args
    assert job.xml == before and job.undo_name == ""


@pytest.mark.parametrize("value", [[1], {}, object(), b"Single", 1j])
def test_what_is_no_value_is_a_type_error(job, value):
    with pytest.raises(TypeError):
        job["Mode"] = value
    with pytest.raises(TypeError):
        job["Mode"].put(value)


def test_texts_that_no_file_can_hold(job):
    for bad in ("\ud800", "a\udfffb"):
        with pytest.raises((UnicodeEncodeError, TypeError)):
            job["FileNamePattern"] = bad
        with pytest.raises((UnicodeEncodeError, TypeError)):
            job[bad]
    with pytest.raises(OverflowError):
        job["Mode"].put(10**30)
    assert job["Mode"].value == 1


def test_cuts(job, clip, tmp_path):
    cuts = job.add_input(clip).cuts
    assert not cuts and not cuts.in_use and list(cuts) == []
    cuts_made = [cuts.add(at, at + 5) for at in (0, 20, 40)]
    assert cuts.in_use and list(cuts) == cuts_made == cuts[:] and cuts[-1] == cuts_made[2]
    assert cuts[1:] == cuts_made[1:] and cuts[0]["EndFrm"].shown == "5"
    for bad in (3, -4):
        with pytest.raises(IndexError):
            cuts[bad]
    with pytest.raises(bvschema.Refused) as refused:
        cuts.add(50, 10)
    assert refused.value.text and len(cuts) == 3
    for bad in (True, 1.5, None, b"0"):
        with pytest.raises(TypeError):
            cuts.add(bad, 10)
    with pytest.raises(Exception):
        cuts.add(2**40, 2**41)
    assert len(cuts) == 3

    file = tmp_path / "schnitt 日本.tlc"
    cuts.save(file)
    del cuts[0]
    cuts.remove(cuts[-1])
    cuts.remove(0)
    assert len(cuts) == 0
    with pytest.raises(bvschema.Refused):
        cuts.remove(cuts_made[0])
    cuts.load(file)
    assert [cut["StartFrm"].shown for cut in cuts] == ["0", "20", "40"]
    cuts.use(False)
    assert not cuts.in_use
    cuts.clear()
    assert len(cuts) == 0
    with pytest.raises(bvschema.Refused):
        cuts.load(tmp_path / "nowhere.tlc")


def test_inputs_move_and_go(job, tmp_path):
    files = [tmp_path / name for name in ("a.mp4", "b.mp4")]
    for file in files:
        file.write_bytes(b"x")
    first, second = (job.add_input(file) for file in files)
    assert job.inputs == [first, second] and hash(first) == hash(job.inputs[0])
    job.move_input(second, -1)
    assert job.inputs == [second, first]
    with pytest.raises(bvschema.Refused):
        job.move_input(second, -1)
    job.select(second)
    job.remove_input(first)
    for gone in (job.remove_input, job.select):
        with pytest.raises(bvschema.Refused):
            gone(first)
    missing = job.add_input(tmp_path / "nowhere.mp4")
    assert missing.problem == "there is no such file" and missing.info == bvschema.MediaInfo()


def test_a_read_back_tells_what_it_could_not_set():
    read = bvschema.Job.parse(
        "<Main>\n<Mode value='2' type='3'/>\n<SplitLength value='-5' type='3'/>\n"
        "<Unheard><Of value='1' type='3'/></Unheard>\n</Main>"
    )
    assert read["Mode"].value == 2 and not read.report.clean
    notes = [(note.kind, note.line, note.name) for note in read.report.notes]
    assert notes == [(NoteKind.REFUSED, 3, "SplitLength"), (NoteKind.UNKNOWN, 4, "Unheard")]
    assert read.report.notes[0].text == "This value cannot be negative."


def test_what_cannot_be_made_raises(tmp_path):
    with pytest.raises(bvschema.Error, match="nowhere"):
        bvschema.Job.load(tmp_path / "nowhere.xml")
    for bad in ("", b"<Other></Other>", "<a>" * 100_000, b"\x00" * 100):
        with pytest.raises(bvschema.Error):
            bvschema.Job.parse(bad)
    with pytest.raises(bvschema.Refused):
        bvschema.Job().save(tmp_path / "no folder" / "job.xml")
    with pytest.raises(TypeError):
        bvschema.Job(source=3)
    for given in (bvschema.Node, bvschema.Cuts, bvschema.Input, bvschema.Transaction, bvschema.Setting):
        with pytest.raises(TypeError):
            given()


def test_sources_are_asked_and_may_fail(clip):
    asked = []

    def source(path):
        asked.append(path)
        if len(asked) == 1:
            raise OSError("the disc is gone\nfor good")
        return None if len(asked) == 2 else 5

    job = bvschema.Job(source)
    problem = job.add_input(clip).problem
    assert problem.startswith("the disc is gone") and "\n" not in problem
    assert asked == [clip] and isinstance(asked[0], pathlib.Path)
    assert job.add_input(clip).problem == ""
    assert "MediaInfo" in job.add_input(clip).problem

    def interrupted(path):
        raise KeyboardInterrupt

    job = bvschema.Job(interrupted)
    with pytest.raises(KeyboardInterrupt):
        job.add_input(clip)
    assert len(job.inputs) == 1 and job.inputs[0].problem


def test_why(job):
    why = job.why("SplitLength")
    assert why.state is bvschema.WhyState.HIDDEN and str(why) == why.text and why.causes
    for cause in why.causes:
        job[cause.node] = cause.instead[0]
    assert not job["SplitLength"].hidden
    assert job["SplitLength"].why().state is bvschema.WhyState.NOTHING
    with pytest.raises(bvschema.Refused):
        job.why("Nothing")


def test_presets_keep_what_differs(job, tmp_path):
    assert job.changed() == [] and not job["Mode"].is_changed()
    job["Mode"] = 2
    job["SplitLength"] = "250 ms"
    settings = job.changed()
    assert [(one.node.rpartition("/")[2], one.value, one.unit) for one in settings][0] == ("Mode", 2, "")
    assert job["Mode"].is_changed()

    presets = bvschema.Presets(tmp_path / "presets 日本")
    presets.save(job, "Serie ü")
    assert presets.names() == ["Serie ü"]
    for bad in ("", "../out", "a/b"):
        with pytest.raises(bvschema.Refused):
            presets.save(job, bad)
    other = bvschema.Job()
    assert [one.node for one in other.compare(job)]
    report = other.apply(presets.load("Serie ü"))
    assert report.clean and report.set == len(settings)
    assert other.compare(job) == [] and other.xml == job.xml
    assert other.undo() and other.changed() == []
    with pytest.raises(bvschema.Error, match="Serie"):
        presets.load("Serie")
    presets.remove("Serie ü")
    with pytest.raises(bvschema.Refused):
        presets.remove("Serie ü")

    text = bvschema.preset_json(settings)
    assert bvschema.preset_json(bvschema.parse_preset(text.encode())) == text
    for bad in ("", "{}", "[" * 100_000, '{"settings": 3}'):
        with pytest.raises(bvschema.Error):
            bvschema.parse_preset(bad)
    job["Output"].reset()
    assert job.changed() == []


def test_the_schema_tells_all_settings():
    settings = {one["path"]: one for one in bvschema.schema()["settings"]}
    assert settings["Main/Common/Output/Mode"]["default"] == {"shown": "Single", "value": 1}
    assert "MP4/Video/FastStart" in settings
