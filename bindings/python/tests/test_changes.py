"""What a job tells of its changes and takes back, and what lives how long."""

import gc
import subprocess
import sys
import textwrap
import threading
import weakref

import pytest

import bvschema
from bvschema import What
from conftest import described_source


def told(change):
    nodes = {entry.node.name: entry.what for entry in change.nodes}
    assert len(nodes) <= len(change.nodes)
    return nodes


def test_tells_what_changed(job, clip):
    changes = []
    with job.subscribe(changes.append) as subscription:
        job["Mode"] = 2
        (change,) = changes
        assert change.cause == job["Mode"] and change.name == job["Mode"].label
        assert told(change)["Mode"] == What.VALUE and told(change)["FileNamePattern"] == What.HIDDEN
        job["Mode"] = 2
        with pytest.raises(bvschema.Refused):
            job["Mode"] = "nonsense"
        assert len(changes) == 1
        source = job.add_input(clip)
        assert What.CAME in told(changes[-1])[source.node.name] and changes[-1].cause is None
        assert subscription.active
    assert not subscription.active
    job["Mode"] = 1
    assert len(changes) == 2


def test_functions_may_change_subscribe_and_end(job):
    order = []

    def first(change):
        order.append(("first", change.cause.name))
        if change.cause.name == "Mode":
            job["Overwrite"] = False

    def second(change):
        order.append(("second", change.cause.name))
        ending.end()
        ending.end()

    job.subscribe(first)  # lasts as long as the job
    ending = job.subscribe(second)
    gc.collect()
    job["Mode"] = 2
    assert order == [("first", "Mode"), ("second", "Mode"), ("first", "Overwrite")]


def test_what_a_function_raises_is_reported_and_the_change_stays(job, monkeypatch):
    unraisable, later = [], []
    monkeypatch.setattr(sys, "unraisablehook", lambda args: unraisable.append(args.exc_type))

    def fails(change):
        raise ValueError("no")

    job.subscribe(fails)
    job.subscribe(later.append)
    job["Mode"] = 2
    assert unraisable == [ValueError] and len(later) == 1 and job["Mode"].value == 2

    def interrupts(change):
        raise KeyboardInterrupt

    with job.subscribe(interrupts), pytest.raises(KeyboardInterrupt):
        job["Mode"] = 1
    assert job["Mode"].value == 1 and len(later) == 2
    with pytest.raises(TypeError):
        job.subscribe("no function")


def test_a_transaction_is_one_step_or_none(job, clip):
    before, changes = job.xml, []
    job.subscribe(changes.append)
    with job.transaction("Both"):
        job["Mode"] = 2
        job["Overwrite"] = False
        assert not job.undo()
    assert len(changes) == 1 and job.undo_name == "Both"
    assert job.undo() and job.xml == before and job.redo_name == "Both"
    assert job.redo() and job["Mode"].value == 2 and not job.redo()
    job.undo()

    with pytest.raises(bvschema.Refused, match="Mode"), job.transaction("Refused"):
        job["Overwrite"] = False
        job.add_input(clip).cuts.add(0, 9)
        job["Mode"] = "nonsense"
    with pytest.raises(ZeroDivisionError), job.transaction("Failed"):
        job["Mode"] = 2
        1 / 0
    assert job.xml == before and job.inputs == [] and job.undo_name == ""


def test_transactions_in_transactions(job):
    before = job.xml
    with job.transaction("Outer"):
        job["Mode"] = 2
        with job.transaction("Inner"):
            job["Overwrite"] = False
    assert job.undo_name == "Outer" and job.undo() and job.xml == before

    with pytest.raises(bvschema.Error, match="Outer"):
        with job.transaction("Outer"):
            job["Mode"] = 2
            try:
                with job.transaction("Inner"):
                    job["Overwrite"] = False
                    raise LookupError
            except LookupError:
                pass
    assert job.xml == before

    again = job.transaction("Again")
    with again, pytest.raises(bvschema.Error):
        again.__enter__()
    with again:
        job["Mode"] = 2
    assert job.undo_name == "Again"

    def left_open():
        with job.transaction("Left open"):
            job["Overwrite"] = False
            yield

    generator = left_open()
    next(generator)
    del generator  # closed by an exception, so taken back
    assert job["Overwrite"].value == 1
    job.transaction("Never closed").__enter__()
    gc.collect()
    job["Mode"] = 1
    assert job.undo() and job["Mode"].value == 2


def test_what_belongs_to_a_job_keeps_it(clip):
    mode = bvschema.Job()["Mode"]
    cuts = bvschema.Job(described_source).add_input(clip).cuts
    gc.collect()
    mode.set("Multiply")
    assert mode.shown == "Multiply" and mode.job.undo()
    assert cuts.add(0, 5).job is cuts.job


class Window:
    """Holds a job that calls it: a cycle."""

    def __init__(self):
        self.job = bvschema.Job(source=self.read)
        self.subscription = self.job.subscribe(self.changed)
        self.mode = self.job["Mode"]
        self.transaction = self.job.transaction("Open")
        self.transaction.__enter__()

    def read(self, path):
        return None

    def changed(self, change):
        self.mode = change.cause


def test_cycles_are_collected():
    windows = [weakref.ref(Window()) for _ in range(5)]
    gc.collect()
    assert [window() for window in windows] == [None] * 5


def test_a_job_is_its_thread_s(job, clip):
    node, raised = job["Mode"], []

    def other_thread(own):
        for use in (lambda: node.value, lambda: job.xml, lambda: job.add_input(clip), lambda: repr(node)):
            try:
                use()
            except bvschema.Error as error:
                raised.append(error.text)
        with bvschema.Runtime():
            theirs = bvschema.Job()
            theirs["Mode"] = 2
            own.append(theirs["Mode"].value)
        own.append(bvschema.Job())  # outlives its thread

    own = []
    thread = threading.Thread(target=other_thread, args=(own,))
    thread.start()
    thread.join()
    assert raised == ["this belongs to another thread"] * 3 and own[0] == 2
    with pytest.raises(bvschema.Error, match="another thread"):
        own[1].xml
    own.clear()
    gc.collect()
    assert node.value == 1


def test_threads_let_go_while_another_is_in_the_layer(tmp_path):
    """Others drop nodes of a job while its own thread reads and writes without the interpreter's lock."""
    made, stop, failed = [], threading.Event(), []

    def drop():
        while not stop.is_set():
            try:
                made.pop()
            except IndexError:
                pass

    def work(number):
        try:
            job = bvschema.Job()
            file = tmp_path / f"{number}.xml"
            for _ in range(20):
                made.extend(job.root.all())
                job.save(file)
                made.append(bvschema.Job.load(file))
        except BaseException as error:
            failed.append(error)

    workers = [threading.Thread(target=work, args=(number,)) for number in range(3)]
    droppers = [threading.Thread(target=drop) for _ in range(2)]
    for thread in workers + droppers:
        thread.start()
    for thread in workers:
        thread.join()
    stop.set()
    for thread in droppers:
        thread.join()
    made.clear()
    assert failed == []


def run(code):
    """A program of its own, in the run's registry."""
    command = [sys.executable, "-X", "dev", "-c", textwrap.dedent(code)]
    return subprocess.run(command, capture_output=True, text=True, timeout=300)


def test_a_runtime_ends_its_jobs():
    done = run(
        """
        import bvschema
        with bvschema.Runtime() as runtime:
            with bvschema.Runtime():
                job = bvschema.Job()
            node, xml = job["Mode"], job.xml
            transaction = job.transaction("Open")
            transaction.__enter__()
            job.subscribe(print)
            assert runtime.module.name == "BVSchema.so" and not runtime.closed
        assert runtime.closed
        for use in (lambda: node.value, lambda: job.xml, lambda: runtime.register(), lambda: node == node,
                    lambda: transaction.__exit__(None, None, None)):
            try:
                use()
            except bvschema.Error as error:
                assert "closed" in error.text, error
            else:
                raise SystemExit("it can be used")
        repr(node), repr(job)
        runtime.close()
        assert bvschema.Job().xml == xml  # begins again, and lasts until the end
        with bvschema.Runtime() as inner:
            job = bvschema.Job(source=lambda path: inner.close())
        job["Mode"] = 2
        with bvschema.Runtime() as outer:
            pass
        assert job["Mode"].value == 2
        """
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")


def test_a_program_may_end_with_anything_open(tmp_path):
    done = run(
        f"""
        import bvschema, sys, threading
        job = bvschema.Job(source=lambda path: None)
        input = job.add_input({str(tmp_path / "a.mp4")!r})
        kept = [job["Mode"], input.cuts, job.subscribe(lambda change: job["Mode"])]
        transaction = job.transaction("Open")
        transaction.__enter__()
        bvschema.kept = kept
        sys.modules["kept"] = kept
        thread = threading.Thread(target=lambda: kept.append(bvschema.Job()))
        thread.start()
        thread.join()
        class Cycle:
            def __del__(self):
                self.job
        cycle = Cycle()
        cycle.job, cycle.self = job, cycle
        print("done")
        """
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "done\n", "")


def test_without_a_server_an_error_says_what_to_do(monkeypatch, tmp_path):
    monkeypatch.setenv("BV_REGISTRY", str(tmp_path / "empty.db"))
    done = run(
        """
        import bvschema
        try:
            bvschema.Job()
        except bvschema.Error as error:
            assert "register()" in error.text, error.text
            assert error.status == 0x80040154
        runtime = bvschema.Runtime()
        assert runtime.module is None
        for bad in ("/nowhere/BVSchema.so", bvschema.__file__):
            try:
                runtime.register(bad)
            except bvschema.Refused as refused:
                assert refused.text
            else:
                raise SystemExit(bad)
        runtime.register()
        bvschema.Job()
        runtime.unregister()
        assert runtime.module is None
        """
    )
    assert (done.returncode, done.stdout, done.stderr) == (0, "", "")
