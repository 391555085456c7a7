#include "objects.h"

namespace bv::python {
namespace {

/// What a node tells, under the session's rules.
template <class Call>
auto Ask(const PyNode& node, Call call) {
    const bv::Node& asked = *node;
    return node.session().Run([&] { return call(asked); });
}

template <std::string (bv::Node::*Tell)() const>
py::str Told(const PyNode& node) {
    return Str(Ask(node, [](const bv::Node& asked) { return (asked.*Tell)(); }));
}
template <bool (bv::Node::*Tell)() const>
bool IsSo(const PyNode& node) {
    return Ask(node, [](const bv::Node& asked) { return (asked.*Tell)(); });
}
template <bv::Node (bv::Node::*Tell)() const>
py::object Other(const PyNode& node) {
    return NodeObject(node.job(), Ask(node, [](const bv::Node& asked) { return (asked.*Tell)(); }));
}
template <std::vector<bv::Node> (bv::Node::*Tell)() const>
py::list Others(const PyNode& node) {
    return NodeList(node.job(), Ask(node, [](const bv::Node& asked) { return (asked.*Tell)(); }));
}

py::object Find(const PyNode& node, const std::string& name) {
    return NodeObject(node.job(), Ask(node, [&](const bv::Node& asked) { return asked.Find(name); }));
}

py::object FindOrRaise(const PyNode& node, const std::string& name) {
    py::object found = Find(node, name);
    if (found.is_none()) throw py::key_error(name);
    return found;
}

py::list Choices(const PyNode& node) {
    const auto choices = Ask(node, [](const bv::Node& asked) { return asked.choices(); });
    const py::object type = TypeOf("Choice");
    py::list list(choices.size());
    for (size_t i = 0; i < choices.size(); ++i)
        list[i] = type(Str(choices[i].label), FromValue(node.job(), choices[i].value), choices[i].selected);
    return list;
}

py::str ClassId(const PyNode& node) {
    wchar_t text[40] = {};
    StringFromGUID2(Ask(node, [](const bv::Node& asked) { return asked.class_id(); }), text, 40);
    return Str(ToUtf8(text));
}

py::object ValueOf(const PyNode& node) {
    return FromValue(node.job(), Ask(node, [](const bv::Node& asked) { return asked.value(); }));
}

void Put(const PyNode& node, const py::object& value) {
    if (PyLong_Check(value.ptr()) && !PyBool_Check(value.ptr())) {
        const long long number = PyLong_AsLongLong(value.ptr());
        if (number == -1 && PyErr_Occurred()) throw py::error_already_set();  // OverflowError
    }
    const bv::Value given = ToValue(value);
    Must(Ask(node, [&](const bv::Node& asked) { return asked.Put(given); }));
}

py::object Parse(const PyNode& node, const std::string& text) {
    const auto value = Ask(node, [&](const bv::Node& asked) { return asked.Parse(text); });
    return value ? FromValue(node.job(), *value) : py::object(py::none());
}

bool ShowDialog(const PyNode& node) {
    const bv::Node shown = *node;
    return Must(node.session().RunAlone([&] { return shown.ShowDialog(); }));
}

bool Contains(const PyNode& node, const py::object& what) {
    if (py::isinstance<py::str>(what)) return !Find(node, what.cast<std::string>()).is_none();
    if (!py::isinstance<PyNode>(what)) return false;
    const bv::Node& wanted = *what.cast<const PyNode&>();
    for (const bv::Node& child : Ask(node, [](const bv::Node& asked) { return asked.children(); }))
        if (child == wanted) return true;
    return false;
}

py::object WhyOfNode(const PyNode& node) { return WhyOf(node.job(), (*node).path()); }

bool IsChangedNode(const PyNode& node) {
    return Ask(node, [&](const bv::Node& asked) { return IsChanged(node.job().job(), asked.path()); });
}

void ResetNode(const PyNode& node) {
    Must(Ask(node, [&](const bv::Node& asked) { return Reset(node.job().job(), asked.path()); }));
}

py::str Repr(const PyNode& node) {
    if (!node.held() || node.session().closed() || !node.session().IsOwner()) return Str("<bvschema.Node>");
    return Str(Ask(node, [](const bv::Node& asked) {
        const std::string shown = asked.shown(), unit = asked.unit();
        return "<bvschema.Node " + OneLine(asked.path()) + (asked.has_value() ? " = " + Quoted(shown) : "") +
               (unit.empty() ? "" : ' ' + OneLine(unit)) + '>';
    }));
}

}  // namespace

void BindNode(py::module_& module) {
    py::class_<PyNode>(
        module, "Node",
        "One node of a job's tree: a setting, or a group of them.\n\n"
        "A node keeps its job. Names compare without regard to case, and \"Output/Mode\" is the Mode "
        "below Output. Iterating gives the children.",
        Collected<PyNode>(), py::is_final())
        .def_property_readonly("job", &PyNode::job_object, "The job that the node belongs to.")
        .def_property_readonly("name", &Told<&bv::Node::name>,
                               "The name, by which settings files and programs know it.")
        .def_property_readonly("path", &Told<&bv::Node::path>,
                               "Names from the topmost node to this one: \"Main/Common/Output/Mode\".")
        .def_property_readonly("title", &Told<&bv::Node::title>, "The title for people; may be empty.")
        .def_property_readonly("label", &Told<&bv::Node::label>, "The title, or the name where it has none.")
        .def_property_readonly("help", &Told<&bv::Node::help>, "What it is for, in words.")
        .def_property_readonly("class_id", &ClassId, "The id of its class, in braces.")
        .def_property_readonly(
            "style",
            [](const PyNode& node) { return Ask(node, [](const bv::Node& n) { return n.style(); }); },
            "The style word, whose bits tell how a form shows it.")
        .def_property_readonly(
            "editor",
            [](const PyNode& node) {
                return TypeOf("Editor")(int(Ask(node, [](const bv::Node& n) { return n.editor(); })));
            },
            "Which editor a form shows: an Editor.")
        .def_property_readonly("hidden", &IsSo<&bv::Node::hidden>, "Whether a form leaves it out.")
        .def_property_readonly("disabled", &IsSo<&bv::Node::disabled>, "Whether a form shows it grey.")
        .def_property_readonly("active", &IsSo<&bv::Node::active>,
                               "Whether it counts: a node of a choice that isn't selected doesn't.")
        .def_property_readonly("has_dialog", &IsSo<&bv::Node::has_dialog>, "Whether show_dialog opens one.")
        .def_property_readonly("has_value", &IsSo<&bv::Node::has_value>, "False for a group.")
        .def_property(
            "value", &ValueOf, &Set,
            "The value as it is stored; None for a group, a node where the value is one. Assigning is set().")
        .def_property_readonly(
            "shown", &Told<&bv::Node::shown>,
            "The value as a person reads it: a choice's label, \"on\", a number. Without its unit.")
        .def_property_readonly("choices", &Choices, "What it offers, a list of Choice; empty for free input.")
        .def_property_readonly("unit", &Told<&bv::Node::unit>,
                               "The unit beside the value, such as \"ms\"; may be empty.")
        .def_property_readonly("unit_node", &Other<&bv::Node::unit_node>,
                               "The node of that unit, whose choices are the units; None without one.")
        .def_property_readonly("accepts", &Told<&bv::Node::accepts>,
                               "What may be set, in words for the user.")
        .def_property_readonly("children", &Others<&bv::Node::children>, "The nodes below it, in order.")
        .def_property_readonly(
            "held", &Other<&bv::Node::held>,
            "The node that is the value, such as the selected output format; None for none.")
        .def("visible", &Others<&bv::Node::Visible>,
             "visible(self)\n--\n\nAll below it in the order of a form, without hidden ones and what is "
             "below those.")
        .def("all", &Others<&bv::Node::All>,
             "all(self)\n--\n\nAll below it in the order of a form, hidden ones too.")
        .def("get", &Find, py::arg("name"),
             "get(self, name)\n--\n\nThe first node below that has the name; None: there is none.")
        .def("set", &Set, py::arg("value"),
             "set(self, value)\n--\n\nSets what a person types or a program means: a choice, its label or "
             "its stored "
             "value, True or False,\na number, a text, a number with its unit (\"250 ms\"). Raises Refused.")
        .def("put", &Put, py::arg("value"),
             "put(self, value)\n--\n\nStores the value as it is, in the kind that it has here, though it be "
             "no choice. "
             "Raises Refused,\nand OverflowError for a number of more than 64 bits.")
        .def("parse", &Parse, py::arg("text"),
             "parse(self, text)\n--\n\nThe value that a person's text means here; None where it means "
             "nothing.")
        .def("show_dialog", &ShowDialog,
             "show_dialog(self)\n--\n\nOpens the node's dialog and waits for the person. False: cancelled. "
             "Raises "
             "Refused when it has none.")
        .def("why", &WhyOfNode,
             "why(self)\n--\n\nWhy it isn't shown or can't be edited, an Explanation; found on a copy of the "
             "job.")
        .def("is_changed", &IsChangedNode,
             "is_changed(self)\n--\n\nWhether it differs from that of a new job.")
        .def("reset", &ResetNode,
             "reset(self)\n--\n\nSets it and all below it back to what a new job has, as one step to undo. "
             "Raises "
             "Refused.")
        .def("__getitem__", &FindOrRaise, py::arg("name"),
             "The first node below that has the name, or KeyError.")
        .def(
            "__setitem__",
            [](const PyNode& node, const std::string& name, const py::object& value) {
                Set(FindOrRaise(node, name).cast<const PyNode&>(), value);
            },
            py::arg("name"), py::arg("value"), "Sets the node below that has the name.")
        .def("__contains__", &Contains, py::arg("what"),
             "Whether a name is found below, or a node is a child.")
        .def(
            "__iter__", [](const PyNode& node) { return py::iter(Others<&bv::Node::children>(node)); },
            "The children, in order.")
        .def(
            "__eq__", [](const PyNode& a, const PyNode& b) { return *a == *b; }, py::is_operator(),
            "Whether both are the same node.")
        .def(
            "__hash__", [](const PyNode& node) { return std::hash<const void*>()((*node).get()); },
            "Goes with equality.")
        .def("__repr__", &Repr, "Its path and what it shows.");

    py::class_<PyObjectValue>(module, "Object",
                              "An object of the tree that is no node. It can be given back as a value.",
                              py::is_final());
}

}  // namespace bv::python
