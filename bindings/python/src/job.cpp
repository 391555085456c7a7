#include "objects.h"

namespace bv::python {
namespace {

using std::filesystem::path;

// --- What Python tells the layer

Refusal RefusalOf(const py::error_already_set& error) {
    const py::object& raised = error.value();
    py::object text =
        py::hasattr(raised, "text") ? py::object(raised.attr("text")) : py::object(py::str(raised));
    std::string why = OneLine(std::string(py::str(text)));
    if (why.empty()) why = std::string(py::str(error.type().attr("__name__")));
    return {E_FAIL, why, {}, {}};
}

MediaInfo InfoFrom(const py::object& answer) {
    if (answer.is_none()) return {};
    if (!py::isinstance(answer, TypeOf("MediaInfo")))
        throw py::type_error("the source gives no MediaInfo but " +
                             std::string(py::str(py::type::of(answer).attr("__name__"))));
    const auto number = [&](const char* name) { return answer.attr(name).cast<LONGLONG>(); };
    const auto flag = [&](const char* name) { return py::bool_(answer.attr(name)).cast<bool>(); };
    return {number("duration"), number("frame_time"), flag("video"), flag("audio"), flag("still")};
}

/// Calls the function for each source. What it raises is why a source can't be read.
MediaSource SourceOf(const std::shared_ptr<Callback>& callback, std::weak_ptr<Session> of) {
    return [callback, of = std::move(of)](const path& file) -> Result<MediaInfo> {
        const py::gil_scoped_acquire lock;
        const py::object function = callback->function;
        if (!function) return MediaInfo{};
        try {
            return InfoFrom(function(file));
        } catch (py::error_already_set& error) {
            Refusal refusal = RefusalOf(error);
            if (const auto session = of.lock(); session && !error.matches(PyExc_Exception))
                session->Report(error, function);
            return refusal;
        } catch (const std::exception& error) {
            return Refusal{E_FAIL, error.what(), {}, {}};
        }
    };
}

CutPoint PointOf(const py::object& point) {
    if (PyUnicode_Check(point.ptr())) return Time{point.cast<std::string>()};
    if (PyBool_Check(point.ptr()) || !PyIndex_Check(point.ptr()))
        throw py::type_error(
            "a cut begins and ends at a frame's number, or at a time such as \"0:00:01.500\"");
    return Frames{LONG(point.attr("__index__")().cast<std::int32_t>())};
}

}  // namespace

// --- PyJob

std::unique_ptr<PyJob> PyJob::New(const py::object& source, size_t undo_depth, const Make& make) {
    const auto session = Session::ForJobs();
    JobOptions options;
    options.undo_depth = undo_depth;
    std::shared_ptr<Callback> callback;
    if (!source.is_none()) {
        callback = std::make_shared<Callback>(source);
        options.source = SourceOf(callback, session);
    }
    auto made = [&]() -> std::optional<bv::Job> {
        try {
            return session->RunAlone([&] { return std::optional(make(std::move(options))); });
        } catch (const Error& error) {
            if (error.status() != REGDB_E_CLASSNOTREG) throw;
            throw Error(error.status(),
                        std::string(error.what()) + ", and so does bvschema.Runtime().register()");
        }
    }();
    return std::make_unique<PyJob>(session, JobParts{*std::move(made), std::move(callback), {}});
}

std::uint64_t PyJob::Subscribe(const py::object& callable) {
    const auto callback = std::make_shared<Callback>(callable);
    auto subscription = session().Run([&] {
        return job().Subscribe([this, callback](const Change& change) {
            const py::gil_scoped_acquire lock;
            const py::object function = callback->function;
            if (!function || !held()) return;
            try {
                function(FromChange(*this, change));
            } catch (py::error_already_set& error) {
                session().Report(error, function);
            } catch (const std::exception& error) {
                PyErr_SetString(PyExc_RuntimeError, error.what());
                PyErr_WriteUnraisable(function.ptr());
            }
        });
    });
    (**this).subscribed.push_back({++last_id_, callback, std::move(subscription)});
    return last_id_;
}

void PyJob::Unsubscribe(std::uint64_t id) {
    std::vector<Subscribed> ended;  // lets go of the function when the list is whole again
    auto& all = (**this).subscribed;
    for (auto at = all.begin(); at != all.end(); ++at) {
        if (at->id != id) continue;
        ended.push_back(std::move(*at));
        all.erase(at);
        break;
    }
}

bool PyJob::IsSubscribed(std::uint64_t id) const {
    const auto& all = (**this).subscribed;
    return std::any_of(all.begin(), all.end(), [id](const Subscribed& one) { return one.id == id; });
}

int PyJob::Traverse(visitproc visit, void* arg) const {
    const JobParts* const parts = Peek();
    if (!parts) return 0;
    if (parts->source) Py_VISIT(parts->source->function.ptr());
    for (const Subscribed& one : parts->subscribed) Py_VISIT(one.callback->function.ptr());
    return 0;
}

void PyJob::Clear() { Drop(); }

namespace {

// --- Inputs and cuts

using PyInputs = std::vector<bv::Input>;

py::object InputObject(PyJob& job, bv::Input input) {
    return py::cast(std::make_unique<PyInput>(job, std::move(input)));
}

py::list Inputs(PyJob& job) {
    const PyInputs inputs = job.session().Run([&] { return job.job().Inputs(); });
    py::list list;
    for (const bv::Input& input : inputs) list.append(InputObject(job, input));
    return list;
}

py::object CutsObject(const PyInput& input) {
    PyJob& job = input.job();
    return py::cast(std::make_unique<PyCuts>(job, job.session().Run([&] { return input->cuts(); })));
}

size_t Place(const PyCuts& cuts, py::ssize_t index) {
    const auto count = py::ssize_t(cuts->size());
    if (index < 0) index += count;
    if (index < 0 || index >= count) throw py::index_error("there is no such cut");
    return size_t(index);
}

py::object CutAt(const PyCuts& cuts, py::ssize_t index) {
    return NodeObject(cuts.job(), (*cuts)[Place(cuts, index)]);
}

py::list AllCuts(const PyCuts& cuts) {
    return NodeList(cuts.job(), cuts.session().Run([&] { return cuts->all(); }));
}

py::object AddCut(const PyCuts& cuts, const py::object& start, const py::object& end) {
    const CutPoint from = PointOf(start), to = PointOf(end);
    return NodeObject(cuts.job(), Must(cuts.session().Run([&] { return cuts->Add(from, to); })));
}

void RemoveCut(const PyCuts& cuts, const py::object& cut) {
    const bv::Node node = py::isinstance<PyNode>(cut) ? *cut.cast<const PyNode&>()
                                                      : (*cuts)[Place(cuts, cut.cast<py::ssize_t>())];
    Must(cuts.session().Run([&] { return cuts->Remove(node); }));
}

/// Copies, for calls without the interpreter's lock.
template <class Call>
void OnFile(const PyCuts& cuts, Call call) {
    const bv::Cuts list = *cuts;
    Must(cuts.session().RunAlone([&] { return call(list); }));
}

// --- The tree

py::object Find(PyJob& job, const std::string& name) {
    return NodeObject(job, job.session().Run([&] { return job.job()[name]; }));
}

py::object FindOrRaise(PyJob& job, const std::string& name) {
    py::object found = Find(job, name);
    if (found.is_none()) throw py::key_error(name);
    return found;
}

py::bytes Xml(PyJob& job) {
    return py::bytes(job.session().Run([&] { return job.job().Xml(); }));
}

std::string DocumentOf(const py::object& document) {
    if (py::isinstance<py::str>(document)) return document.cast<std::string>();
    const auto bytes = py::reinterpret_steal<py::object>(PyBytes_FromObject(document.ptr()));
    if (!bytes) throw py::error_already_set();
    return bytes.cast<std::string>();
}

// --- Subscriptions and transactions

class PySubscription : public Member<std::uint64_t> {
public:
    using Member::Member;
    bool active() const { return job().IsSubscribed(**this); }
    void End() const { job().Unsubscribe(**this); }
};

class PyTransaction : public Member<std::optional<TransactionScope>> {
public:
    PyTransaction(PyJob& job, std::string name) : Member(job, std::nullopt), name_(std::move(name)) {}
    ~PyTransaction() override {
        if (!open_) return;  // left open: it is taken back
        open_->doomed = --open_->open_transactions > 0;
    }
    void Enter() {
        if (open_) throw Error("the transaction has begun already");
        PyJob& owner = job();
        session().Run([&] { (**this).emplace(owner.job().Begin(name_)); });
        open_ = &owner;
        if (owner.open_transactions++ == 0) owner.doomed = false;
    }
    void Exit(bool keep) {
        if (!open_) return;
        PyJob& owner = job();
        open_ = nullptr;
        const bool inside = --owner.open_transactions > 0;
        const bool doomed = owner.doomed;
        if (inside)
            owner.doomed = doomed || !keep;
        else
            owner.doomed = false;
        session().Run([&] {
            std::optional<TransactionScope>& scope = **this;
            if (keep && !doomed)
                scope->Keep();
            else
                scope->TakeBack();
            scope.reset();
        });
        if (keep && doomed && !inside)
            throw Error("what \"" + OneLine(name_) + "\" did is taken back, as a transaction in it was");
    }

private:
    std::string name_;
    PyJob* open_ = nullptr;  // as long as it is open
};

}  // namespace

void BindJob(py::module_& module) {
    py::class_<PyJob> job = py::class_<PyJob>(
        module, "Job",
        "A job: its tree, its inputs, its file, what it tells of changes and takes back.\n\n"
        "source: a function that is asked once for each input, with its path, and gives a MediaInfo, or "
        "None for one\nwithout streams; what it raises becomes the input's problem. undo_depth: how many "
        "steps can be undone.\n\nRaises Error when the classes aren't registered.",
        Collected<PyJob>());
    job.def(py::init([](const py::object& source, size_t undo_depth) {
                return PyJob::New(source, undo_depth,
                                  [](JobOptions options) { return bv::Job::Create(std::move(options)); });
            }),
            py::arg("source") = py::none(), py::arg("undo_depth") = 1000,
            "__init__(self, source=None, undo_depth=1000)\n--\n\nMakes a new job as the server makes it.");
    job.def_static(
        "load",
        [](const path& file, const py::object& source, size_t undo_depth) {
            return PyJob::New(source, undo_depth,
                              [&](JobOptions options) { return bv::Job::Load(file, std::move(options)); });
        },
        py::arg("path"), py::arg("source") = py::none(), py::arg("undo_depth") = 1000,
        "load(path, source=None, undo_depth=1000)\n--\n\nA job from its file. What the tree didn't take is "
        "told by report. "
        "Raises Error for a file that can't\nbe read or is no job.");
    job.def_static(
        "parse",
        [](const py::object& document, const py::object& source, size_t undo_depth) {
            const std::string text = DocumentOf(document);
            return PyJob::New(source, undo_depth,
                              [&](JobOptions options) { return bv::Job::Parse(text, std::move(options)); });
        },
        py::arg("document"), py::arg("source") = py::none(), py::arg("undo_depth") = 1000,
        "parse(document, source=None, undo_depth=1000)\n--\n\nThe same from the file's bytes, or its text.");
    job.def_property_readonly(
           "root", [](PyJob& self) { return NodeObject(self, self.job().Root()); },
           "The topmost node of the tree.")
        .def("__getitem__", &FindOrRaise, py::arg("name"),
             "A node by its name, of the tree or of the current input, or KeyError.")
        .def(
            "__setitem__",
            [](PyJob& self, const std::string& name, const py::object& value) {
                Set(FindOrRaise(self, name).cast<const PyNode&>(), value);
            },
            py::arg("name"), py::arg("value"), "Sets a node, as Node.set does.")
        .def(
            "__contains__",
            [](PyJob& self, const py::object& name) {
                return py::isinstance<py::str>(name) && !Find(self, name.cast<std::string>()).is_none();
            },
            py::arg("name"), "Whether there is a node of the name.")
        .def("get", &Find, py::arg("name"), "get(self, name)\n--\n\nA node by its name; None: there is none.")
        .def_property_readonly("inputs", &Inputs, "The inputs, a list of Input.")
        .def(
            "add_input",
            [](PyJob& self, const path& file) {
                return InputObject(self, self.session().RunAlone([&] { return self.job().AddInput(file); }));
            },
            py::arg("path"),
            "add_input(self, path)\n--\n\nAdds a file and gives its Input; the first becomes the current "
            "one. A file "
            "that can't be read is added\ntoo: Input.problem tells. Raises Error for a name that the list "
            "doesn't take.")
        .def(
            "remove_input",
            [](PyJob& self, const PyInput& input) {
                const bv::Input gone = *input;
                Must(self.session().Run([&] { return self.job().RemoveInput(gone); }));
            },
            py::arg("input"),
            "remove_input(self, input)\n--\n\nTakes an input out of the list. Raises Refused.")
        .def(
            "move_input",
            [](PyJob& self, const PyInput& input, int by) {
                const bv::Input moved = *input;
                Must(self.session().Run([&] { return self.job().MoveInput(moved, by); }));
            },
            py::arg("input"), py::arg("by"),
            "move_input(self, input, by)\n--\n\nMoves it one place up (-1) or down (1). Raises Refused.")
        .def(
            "select",
            [](PyJob& self, const PyInput& input) {
                const bv::Input selected = *input;
                Must(self.session().Run([&] { return self.job().Select(selected); }));
            },
            py::arg("input"),
            "select(self, input)\n--\n\nMakes an input the one that the tree asks about. Raises Refused.")
        .def_property_readonly(
            "output_path",
            [](PyJob& self) -> std::optional<path> {
                const path file = self.session().Run([&] { return self.job().media()->OutputPath(); });
                return file.empty() ? std::nullopt : std::optional(file);
            },
            "The file that would be written for the current input; None where the settings name none.")
        .def_property_readonly("xml", &Xml, "The settings document, as its file has it: bytes.")
        .def(
            "save",
            [](PyJob& self, const path& file) {
                Must(self.session().RunAlone([&] { return self.job().Save(file); }));
            },
            py::arg("path"),
            "save(self, path)\n--\n\nWrites the document. A draft takes the file's place when it is whole "
            "and on the "
            "disk. Raises Refused.")
        .def_property_readonly(
            "report", [](PyJob& self) { return FromReport(self.job().report()); },
            "What became of the file that the job was read from: a LoadReport.")
        .def(
            "subscribe",
            [](PyJob& self, const py::object& callback) {
                return std::make_unique<PySubscription>(self, self.Subscribe(callback));
            },
            py::arg("callback"),
            "subscribe(self, callback)\n--\n\nCalls a function with a Change after each change, until the "
            "Subscription "
            "ends or the job goes. A change\nthat the function makes is told after this one. What it raises "
            "goes to "
            "sys.unraisablehook; the change stays.")
        .def(
            "refresh", [](PyJob& self) { self.session().Run([&] { self.job().Refresh(); }); },
            "refresh(self)\n--\n\nLooks for what was changed by others than this package, and tells it.")
        .def(
            "transaction",
            [](PyJob& self, std::string name) {
                return std::make_unique<PyTransaction>(self, std::move(name));
            },
            py::arg("name"),
            "transaction(self, name)\n--\n\nSeveral changes as one, for a with statement: one step to undo, "
            "one event. "
            "What leaves the statement by\nan exception is taken back.")
        .def("why", &WhyOf, py::arg("name"),
             "why(self, name)\n--\n\nWhy a setting isn't shown or can't be edited, an Explanation; found on "
             "a copy of "
             "the job. Raises Refused\nwhen no choice of the job has such a setting.")
        .def(
            "changed", [](PyJob& self) { return self.session().Run([&] { return Changed(self.job()); }); },
            "changed(self)\n--\n\nThe settings that differ from those of a new job, a list of Setting in the "
            "order in "
            "which they are to\nbe set. Inputs and cuts aren't among them.")
        .def(
            "apply",
            [](PyJob& self, const std::vector<Setting>& settings) {
                return FromReport(self.session().Run([&] { return Apply(self.job(), settings); }));
            },
            py::arg("settings"),
            "apply(self, settings)\n--\n\nSets what was kept, a list of Setting, as one step to undo. What "
            "isn't taken "
            "is told by the LoadReport,\nthe rest is set.")
        .def(
            "compare",
            [](PyJob& self, PyJob& after) {
                const auto differences = self.session().Run([&] { return Compare(self.job(), after.job()); });
                const py::object type = TypeOf("Difference");
                py::list list;
                for (const Difference& one : differences)
                    list.append(type(Str(one.node), Str(one.label), Str(one.before), Str(one.after)));
                return list;
            },
            py::arg("after"),
            "compare(self, after)\n--\n\nThe settings that differ between this job and another, a list of "
            "Difference.")
        .def_property_readonly(
            "undo_name", [](PyJob& self) { return Str(self.job().undo_name()); },
            "The name of the step that undo takes back; empty without one.")
        .def_property_readonly(
            "redo_name", [](PyJob& self) { return Str(self.job().redo_name()); },
            "The name of the step that redo brings back; empty without one.")
        .def(
            "undo", [](PyJob& self) { return self.session().Run([&] { return self.job().Undo(); }); },
            "undo(self)\n--\n\nTakes the last change back. False: there is none, or a transaction is open.")
        .def(
            "redo", [](PyJob& self) { return self.session().Run([&] { return self.job().Redo(); }); },
            "redo(self)\n--\n\nBrings back what undo took. False: there is nothing.");

    py::class_<PyInput>(module, "Input", "One input of a job.", Collected<PyInput>(), py::is_final())
        .def_property_readonly("job", &PyInput::job_object, "The job that has it.")
        .def_property_readonly(
            "node", [](const PyInput& self) { return NodeObject(self.job(), self->node()); },
            "Its node in the list.")
        .def_property_readonly(
            "path", [](const PyInput& self) { return self->path(); }, "The file.")
        .def_property_readonly(
            "info", [](const PyInput& self) { return FromInfo(self->info()); },
            "What the job's source told of it, a MediaInfo; zeros with a problem.")
        .def_property_readonly(
            "problem", [](const PyInput& self) { return Str(self->problem()); },
            "Why it can't be read; empty: it could.")
        .def_property_readonly("cuts", &CutsObject, "Its Cuts.")
        .def(
            "__eq__", [](const PyInput& a, const PyInput& b) { return a->node() == b->node(); },
            py::is_operator(), "Whether both are the same input.")
        .def(
            "__hash__", [](const PyInput& self) { return std::hash<const void*>()(self->node().get()); },
            "Goes with equality.")
        .def(
            "__repr__",
            [](const PyInput& self) {
                const bool there = self.held() && !self.session().closed() && self.session().IsOwner();
                return Str(there ? "<bvschema.Input " + Quoted(PathToUtf8(self->path())) + ">"
                                 : "<bvschema.Input>");
            },
            "Its file.");

    py::class_<PyCuts>(module, "Cuts",
                       "The cuts of one input: a list of nodes, in order.\n\n"
                       "They count when they are in use; without them the whole source is encoded.",
                       Collected<PyCuts>(), py::is_final())
        .def_property_readonly("job", &PyCuts::job_object, "The job that has them.")
        .def(
            "__len__", [](const PyCuts& self) { return self->size(); }, "How many there are.")
        .def("__getitem__", &CutAt, py::arg("index"), "A cut by its place; from the end below 0.")
        .def(
            "__getitem__",
            [](const PyCuts& self, const py::slice& slice) {
                const py::list all = AllCuts(self);
                return py::object(all[slice]);
            },
            py::arg("index"), "A part of them, as a list.")
        .def(
            "__iter__", [](const PyCuts& self) { return py::iter(AllCuts(self)); },
            "Those that are there when it begins.")
        .def(
            "__delitem__", [](const PyCuts& self, py::ssize_t index) { RemoveCut(self, py::int_(index)); },
            py::arg("index"), "Takes a cut out.")
        .def(
            "add", &AddCut, py::arg("start"), py::arg("end"),
            "add(self, start, end)\n--\n\nAdds a cut, gives its node and takes the cuts into use. A point is "
            "a frame's "
            "number, or a time such as\n\"0:00:01.500\". Raises Refused for a point that the server refuses.")
        .def("remove", &RemoveCut, py::arg("cut"),
             "remove(self, cut)\n--\n\nTakes a cut out, by its node or its place. Raises Refused when it "
             "isn't there.")
        .def(
            "clear", [](const PyCuts& self) { Must(self.session().Run([&] { return self->Clear(); })); },
            "clear(self)\n--\n\nTakes all of them out.")
        .def_property_readonly(
            "in_use", [](const PyCuts& self) { return self->in_use(); }, "Whether they count.")
        .def(
            "use",
            [](const PyCuts& self, bool use) { Must(self.session().Run([&] { return self->Use(use); })); },
            py::arg("use") = true, "use(self, use=True)\n--\n\nTakes them into use, or out of it.")
        .def(
            "save",
            [](const PyCuts& self, const path& file) {
                OnFile(self, [&](const bv::Cuts& cuts) { return cuts.Save(file); });
            },
            py::arg("path"),
            "save(self, path)\n--\n\nWrites them as a file of their own (\".tlc\"). Raises Refused.")
        .def(
            "load",
            [](const PyCuts& self, const path& file) {
                OnFile(self, [&](const bv::Cuts& cuts) { return cuts.Load(file); });
            },
            py::arg("path"),
            "load(self, path)\n--\n\nReads such a file in place of those that are there. Raises Refused, and "
            "then none "
            "is left.")
        .def(
            "duration",
            [](const PyCuts& self) { return Must(self.session().Run([&] { return self->Duration(); })); },
            "duration(self)\n--\n\nWhat will be encoded, in units of 100 ns; its input must be the current "
            "one. Raises "
            "Refused.")
        .def(
            "__repr__",
            [](const PyCuts& self) {
                const bool there = self.held() && !self.session().closed() && self.session().IsOwner();
                return Str("<bvschema.Cuts" + (there ? " (" + std::to_string(self->size()) + ")" : "") + ">");
            },
            "How many there are.");

    py::class_<PySubscription>(
        module, "Subscription",
        "A function that is told of changes. It ends with end(), at the end of its with statement, "
        "or with the job.",
        Collected<PySubscription>(), py::is_final())
        .def_property_readonly("active", &PySubscription::active, "Whether the function is still called.")
        .def("end", &PySubscription::End, "end(self)\n--\n\nEnds it; more than once is no fault.")
        .def(
            "__enter__", [](const py::object& self) { return self; }, "Gives itself.")
        .def(
            "__exit__", [](const PySubscription& self, const py::args&) { self.End(); }, "Ends it.");

    py::class_<PyTransaction>(
        module, "Transaction",
        "Changes of a with statement as one: one step to undo, one event. An exception takes all of "
        "it back.\n\nOne inside of another is a part of that one: where the inner is taken back, the "
        "outer is too, with an Error\nat its end if nothing else is raised.",
        Collected<PyTransaction>(), py::is_final())
        .def(
            "__enter__",
            [](const py::object& self) {
                self.cast<PyTransaction&>().Enter();
                return self;
            },
            "Begins it.")
        .def(
            "__exit__",
            [](PyTransaction& self, const py::object& type, const py::object&, const py::object&) {
                self.Exit(type.is_none());
            },
            "Keeps the changes, or takes them back for an exception.");
}

}  // namespace bv::python
