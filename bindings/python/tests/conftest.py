"""A registry of the run's own, with the server and the sample components, and sources that the tests describe."""

import os
import pathlib

import pytest

import bvschema

BUILT = pathlib.Path(bvschema.__file__).resolve().parents[2] / "bin"


@pytest.fixture(scope="session", autouse=True)
def registered():
    assert os.environ.get("BV_PRIVATE_RUN"), "run by scripts/run-native.sh: the tests change a registry"
    runtime = bvschema.Runtime()
    runtime.register()
    runtime.register(BUILT / "BVSamples.so")
    yield runtime


def described_source(path):
    """10 s at 25 pictures a second, with sound."""
    return bvschema.MediaInfo(duration=100_000_000, frame_time=400_000, video=True, audio=True)


@pytest.fixture
def job():
    return bvschema.Job(source=described_source)


@pytest.fixture
def clip(tmp_path):
    file = tmp_path / "Übung 日本 'a' $x.mp4"
    file.write_bytes(b"x")
    return file
