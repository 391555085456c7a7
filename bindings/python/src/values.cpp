#include "objects.h"

namespace bv::python {

py::str Str(std::string_view utf8) {
    PyObject* const text = PyUnicode_DecodeUTF8(utf8.data(), Py_ssize_t(utf8.size()), "replace");
    if (!text) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(text);
}

py::object TypeOf(const char* name) { return py::module_::import("bvschema._types").attr(name); }

namespace {

[[noreturn]] void RaiseObject(const py::object& error) {
    PyErr_SetObject(py::type::of(error).ptr(), error.ptr());
    throw py::error_already_set();
}

std::string Text(const py::handle& text) {
    Py_ssize_t size = 0;
    const char* const utf8 = PyUnicode_AsUTF8AndSize(text.ptr(), &size);
    if (!utf8) throw py::error_already_set();
    return {utf8, size_t(size)};
}

}  // namespace

void Raise(const Refusal& refusal) {
    RaiseObject(TypeOf("Refused")(Str(refusal.text), Str(refusal.node), Str(refusal.value),
                                  std::uint32_t(refusal.status)));
}

void RaiseError(const Error& error) {
    RaiseObject(TypeOf("Error")(Str(error.what()), std::uint32_t(error.status())));
}

Callback::Callback(py::object callable) : function(std::move(callable)) {
    if (!PyCallable_Check(function.ptr()))
        throw py::type_error("a function is wanted, not " +
                             std::string(py::str(py::type::of(function).attr("__name__"))));
}

py::object FromScalar(const Scalar& scalar) {
    if (const auto* flag = std::get_if<bool>(&scalar)) return py::bool_(*flag);
    if (const auto* whole = std::get_if<std::int64_t>(&scalar)) return py::int_(*whole);
    if (const auto* real = std::get_if<double>(&scalar)) return py::float_(*real);
    if (const auto* text = std::get_if<std::string>(&scalar)) return Str(*text);
    return py::none();
}

py::object FromValue(PyJob& job, const bv::Value& value) {
    const Scalar scalar = value.scalar();
    const auto* const object = std::get_if<Ref<IUnknown>>(&scalar);
    if (!object) return FromScalar(scalar);
    if (const auto node = object->As<IProperty>())
        return NodeObject(job, job.job().Root().OfSameJob(node.get()));
    return py::cast(std::make_unique<PyObjectValue>(job.shared_session(), value));
}

bv::Value ToValue(const py::handle& object) {
    if (object.is_none()) return {};
    if (PyBool_Check(object.ptr())) return object.cast<bool>();
    if (PyFloat_Check(object.ptr())) return object.cast<double>();
    if (PyUnicode_Check(object.ptr())) return bv::Value(Text(object));
    if (PyIndex_Check(object.ptr())) {
        const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(object.ptr()));
        if (!number) throw py::error_already_set();
        int beyond = 0;
        const long long whole = PyLong_AsLongLongAndOverflow(number.ptr(), &beyond);
        if (whole == -1 && PyErr_Occurred()) throw py::error_already_set();
        return beyond ? bv::Value(Text(py::str(number))) : bv::Value(std::int64_t(whole));
    }
    if (py::isinstance<PyNode>(object)) {
        bv::Value value;
        VARIANT* const variant = value.Put();
        variant->vt = VT_DISPATCH;
        variant->pdispVal = (*object.cast<const PyNode&>()).get();
        variant->pdispVal->AddRef();
        return value;
    }
    if (py::isinstance<PyObjectValue>(object)) return *object.cast<const PyObjectValue&>();
    if (py::hasattr(object, "__fspath__")) return bv::Value(PathToUtf8(object.cast<std::filesystem::path>()));
    throw py::type_error("a setting takes a number, a text, True or False, a path or a node, not " +
                         std::string(py::str(py::type::of(object).attr("__name__"))));
}

void Set(const PyNode& node, const py::object& value) {
    if (value.is_none()) {
        const auto& refusing = *node;
        Raise(
            {E_INVALIDARG, node.session().Run([&] { return refusing.accepts(); }), refusing.name(), "None"});
    }
    py::object wanted = value;
    if (py::isinstance(value, TypeOf("Choice"))) {
        wanted = value.attr("value");
        if (!py::isinstance<PyNode>(wanted) && !py::isinstance<PyObjectValue>(wanted))
            wanted = value.attr("label");
    }
    const bv::Value given = ToValue(wanted);
    Must(node.session().Run([&] { return node->Set(given); }));
}

py::object NodeObject(PyJob& job, bv::Node node) {
    if (!node) return py::none();
    return py::cast(std::make_unique<PyNode>(job, std::move(node)));
}

py::list NodeList(PyJob& job, const std::vector<bv::Node>& nodes) {
    py::list list(nodes.size());
    for (size_t i = 0; i < nodes.size(); ++i) list[i] = NodeObject(job, nodes[i]);
    return list;
}

py::object FromChange(PyJob& job, const bv::Change& change) {
    const py::object node_change = TypeOf("NodeChange"), what = TypeOf("What");
    py::tuple nodes(change.nodes.size());
    for (size_t i = 0; i < change.nodes.size(); ++i)
        nodes[i] = node_change(NodeObject(job, change.nodes[i].node), what(change.nodes[i].what));
    return TypeOf("Change")(Str(change.name), NodeObject(job, change.cause), nodes);
}

py::object FromReport(const bv::LoadReport& report) {
    const py::object note_type = TypeOf("LoadNote"), kind = TypeOf("NoteKind");
    py::tuple notes(report.notes.size());
    for (size_t i = 0; i < report.notes.size(); ++i) {
        const LoadNote& note = report.notes[i];
        notes[i] = note_type(kind(int(note.kind)), note.line, Str(note.name), Str(note.text));
    }
    return TypeOf("LoadReport")(report.set, notes);
}

py::object FromInfo(const bv::MediaInfo& info) {
    return TypeOf("MediaInfo")(info.duration, info.frame_time, info.video, info.audio, info.still);
}

}  // namespace bv::python
