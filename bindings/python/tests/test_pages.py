"""The page's example, the sample, and the hints, as a user meets them."""

import ast
import inspect
import os
import pathlib
import re
import shutil
import subprocess
import sys

import pytest

import bvschema
from bvschema import _bvschema

ROOT = pathlib.Path(__file__).resolve().parents[3]


def block(name):
    page = (ROOT / "docs/python.md").read_text(encoding="utf-8")
    return re.search(rf"^```\w+ {re.escape(name)}\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)[1]


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, timeout=600, **options)


def test_the_example_runs_to_the_letter(tmp_path):
    (tmp_path / "example.py").write_text(block("example.py"), encoding="utf-8")
    (tmp_path / "Übung 日本.mp4").write_bytes(b"x")
    done = run(sys.executable, "example.py", cwd=tmp_path)
    assert (done.returncode, done.stderr) == (0, "")
    lines = done.stdout.splitlines()
    assert [line.split(" changed")[0] for line in lines[:2]] == ["Mode", "Split"]
    assert lines[2] == "SplitLength: This value cannot be negative."
    assert "Length: 250 ms" in lines
    assert lines[-1] == "hidden while Mode is Multiply; shown by Mode = Single"
    assert (tmp_path / "a.job.xml").stat().st_size > 1000


def test_the_sample_makes_a_table():
    sample = ROOT / "samples/python/settings_table.py"
    done = run(sys.executable, sample, "MP4")
    assert (done.returncode, done.stderr) == (0, "")
    title, blank, *rows = done.stdout.splitlines()
    assert title.endswith("MP4") and blank == ""
    columns = {len(re.split(r"(?<!\\)\|", line)) for line in rows}
    assert columns == {8}
    cells = {row[2]: row for row in (re.split(r" ?(?<!\\)\| ?", line) for line in rows)}
    assert cells["FastStart"][3:5] == ["on", "on, off"]
    assert cells["SplitLength"][4:6] == ["a number in s, ms, frm", "Mode = Multiply, Use split = on"]
    assert cells["Mode"][5] == ""

    done = run(sys.executable, sample, "Film")
    assert done.returncode == 1 and "the choices are" in done.stderr and done.stdout == ""


def public(scope):
    return {name for name in vars(scope) if not name.startswith("_")}


def test_every_name_has_a_docstring_and_a_hint():
    names = {name for name in public(bvschema) if not inspect.ismodule(getattr(bvschema, name))}
    assert names == set(bvschema.__all__)
    hints = {
        node.name: node
        for node in ast.parse((pathlib.Path(bvschema.__file__).parent / "_bvschema.pyi").read_text()).body
        if isinstance(node, (ast.ClassDef, ast.FunctionDef))
    }
    assert hints.keys() == public(_bvschema)
    for name in bvschema.__all__:
        value = getattr(bvschema, name)
        assert inspect.getdoc(value), name
        if name not in hints or not inspect.isclass(value):
            continue
        hinted = {node.name: node for node in hints[name].body if isinstance(node, ast.FunctionDef)}
        assert public(value) == {member for member in hinted if not member.startswith("_")}, name
        for member in public(value) | (vars(value).keys() & hinted.keys()):
            assert inspect.getdoc(vars(value)[member]), f"{name}.{member}"
            if callable(getattr(value, member)) and member in public(value):
                there = list(inspect.signature(getattr(value, member)).parameters)
                assert there == [argument.arg for argument in hinted[member].args.args], f"{name}.{member}"


def test_the_hints_hold_for_the_example_and_the_sample(tmp_path):
    example = tmp_path / "example.py"
    typed = block("example.py").replace("def source(path):", "def source(path: Path) -> bvschema.MediaInfo:")
    typed = f"from pathlib import Path\n{typed}reveal_type(job['Mode'].value)\n"
    example.write_text(typed, encoding="utf-8")
    package = pathlib.Path(bvschema.__file__).resolve().parents[1]
    options = ("--strict", "--cache-dir", os.devnull)
    checked = run("/usr/bin/mypy", *options, example, ROOT / "samples/python/settings_table.py", cwd=package)
    assert checked.returncode == 0, checked.stdout + checked.stderr
    assert "Revealed type" in checked.stdout and "Node" in checked.stdout
    wrong = tmp_path / "wrong.py"
    wrong.write_text("import bvschema\nbvschema.Job()['Mode'] = [1]\nbvschema.Job().nothing\n")
    assert run("/usr/bin/mypy", *options, wrong, cwd=package).stdout.count("error:") == 2


def test_a_wheel_is_built_offline_and_brings_the_server(tmp_path, monkeypatch):
    package = pathlib.Path(bvschema.__file__).resolve().parents[1]
    sources = tmp_path / "bindings"
    others = shutil.ignore_patterns("src", "tests", "build", "*.egg-info")
    shutil.copytree(ROOT / "bindings/python", sources, ignore=others)
    monkeypatch.setenv("BVSCHEMA_BUILD", str(package.parent))
    monkeypatch.setenv("BVSCHEMA_SOURCE", str(ROOT))
    monkeypatch.setenv("PIP_CONFIG_FILE", os.devnull)
    monkeypatch.delenv("PYTHONDEVMODE", raising=False)
    monkeypatch.delenv("PYTHONPATH")
    command = block("wheel").strip().replace("bindings/python", str(sources)).split()
    assert command[0] == "python3"
    done = run(sys.executable, *command[1:], cwd=tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr
    (wheel,) = (tmp_path / "dist").glob("bvschema-*-linux_*.whl")

    folder = tmp_path / "installed"
    done = run(sys.executable, "-m", "pip", "install", "--no-index", "--no-deps", "--target", folder, wheel)
    assert done.returncode == 0, done.stdout + done.stderr
    monkeypatch.setenv("BV_REGISTRY", str(tmp_path / "registry.db"))
    code = "import bvschema; r = bvschema.Runtime(); r.register(); bvschema.Job(); print(r.module)"
    done = run(sys.executable, "-c", code, cwd=folder)
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout.strip() == str(folder / "bvschema/lib/BVSchema.so")
