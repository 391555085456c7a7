#include "objects.h"

namespace bv::python {

py::object WhyOf(PyJob& job, const std::string& name) {
    const Explanation explanation = Must(job.session().Run([&] { return Why(job.job(), name); }));
    const py::object cause_type = TypeOf("Cause");
    py::tuple causes(explanation.causes.size());
    for (size_t i = 0; i < explanation.causes.size(); ++i) {
        const Cause& cause = explanation.causes[i];
        py::tuple instead(cause.instead.size());
        for (size_t k = 0; k < cause.instead.size(); ++k) instead[k] = Str(cause.instead[k]);
        causes[i] = cause_type(Str(cause.node), Str(cause.label), Str(cause.now), instead);
    }
    return TypeOf("Explanation")(TypeOf("WhyState")(int(explanation.state)), causes, Str(explanation.text()));
}

void BindPresets(py::module_& module) {
    using std::filesystem::path;

    // Their values are no objects of a tree, so they need no runtime.
    py::class_<Setting>(module, "Setting",
                        "A setting's value, so that it can be set again: Job.changed, Job.apply, Presets.",
                        py::is_final())
        .def_property_readonly(
            "node", [](const Setting& self) { return Str(self.node); }, "The node's path.")
        .def_property_readonly(
            "label", [](const Setting& self) { return Str(self.label); }, "As a person knows it.")
        .def_property_readonly(
            "value", [](const Setting& self) { return FromScalar(self.value.scalar()); },
            "As it is stored; for an object, such as a format, the label of its choice.")
        .def_property_readonly(
            "unit", [](const Setting& self) { return Str(self.unit); },
            "The label of its unit; empty where it has none.")
        .def_property_readonly(
            "shown", [](const Setting& self) { return Str(self.shown); }, "The value as a person reads it.")
        .def(
            "__repr__",
            [](const Setting& self) {
                return Str("<bvschema.Setting " + OneLine(self.node) + " = " + Quoted(self.shown) +
                           (self.unit.empty() ? "" : ' ' + OneLine(self.unit)) + '>');
            },
            "Its path and what it shows.");

    module.def(
        "schema",
        [] {
            const std::string json = Session::ForJobs()->RunAlone([] { return SchemaJson(); });
            return py::module_::import("json").attr("loads")(Str(json));
        },
        "schema()\n--\n\nAll settings of all choices as data: for each its path, texts, editor, type, "
        "default, choices, units, "
        "range, and what\nshows it. It takes about half a second, as every choice is tried. Raises Error.");
    module.def(
        "preset_json", [](const std::vector<Setting>& settings) { return Str(ToJson(settings)); },
        py::arg("settings"), "preset_json(settings)\n--\n\nSettings as the text of a preset's file.");
    module.def(
        "parse_preset",
        [](const py::object& json) {
            const auto bytes = py::isinstance<py::str>(json)
                                   ? json
                                   : py::reinterpret_steal<py::object>(PyBytes_FromObject(json.ptr()));
            if (!bytes) throw py::error_already_set();
            return ParsePreset(bytes.cast<std::string>());
        },
        py::arg("json"),
        "parse_preset(json)\n--\n\nThe settings in a preset's text or bytes. Raises Error, with the place.");

    py::class_<Presets>(
        module, "Presets",
        "Presets in a folder, a file each, with the settings that differ from those of a new job.",
        py::is_final())
        .def(
            py::init([](const std::optional<path>& folder) { return folder ? Presets(*folder) : Presets(); }),
            py::arg("folder") = py::none(),
            "__init__(self, folder=None)\n--\n\nThose of a folder; None: the user's own, "
            "$XDG_CONFIG_HOME/bvschema/presets.")
        .def_property_readonly("folder", &Presets::folder, "The folder.")
        .def(
            "names", [](const Presets& self) { return self.List(); },
            "names(self)\n--\n\nTheir names, in order.")
        .def(
            "save",
            [](const Presets& self, PyJob& job, const std::string& name) {
                Must(job.session().Run([&] { return self.Save(job.job(), name); }));
            },
            py::arg("job"), py::arg("name"),
            "save(self, job, name)\n--\n\nKeeps what a job differs in, in place of one of the same name. "
            "Raises Refused.")
        .def(
            "load", [](const Presets& self, const std::string& name) { return self.Load(name); },
            py::arg("name"),
            "load(self, name)\n--\n\nIts settings, for Job.apply. Raises Error for one that isn't there or "
            "can't be read.")
        .def(
            "remove", [](const Presets& self, const std::string& name) { Must(self.Remove(name)); },
            py::arg("name"), "remove(self, name)\n--\n\nDeletes one. Raises Refused.");
}

}  // namespace bv::python
