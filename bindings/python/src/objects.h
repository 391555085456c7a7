// The Python objects: handles on the layer's, each of which keeps its job.
#pragma once

#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <string>

#include "session.h"

namespace bv::python {

// --- Values

/// Text for Python; bytes that are no UTF-8 become U+FFFD.
py::str Str(std::string_view utf8);
/// A class of the package's Python part.
py::object TypeOf(const char* name);
[[noreturn]] void Raise(const Refusal& refusal);
[[noreturn]] void RaiseError(const Error& error);

inline void Must(const Result<>& result) {
    if (!result) Raise(result.error());
}
template <class T>
T Must(Result<T> result) {
    if (!result) Raise(result.error());
    return *std::move(result);
}

/// A Python function that the layer calls.
struct Callback {
    explicit Callback(py::object callable);
    ~Callback() {
        const py::gil_scoped_acquire lock;
        function = {};
    }
    Callback(const Callback&) = delete;
    Callback& operator=(const Callback&) = delete;
    py::object function;  // none: it has ended
};

// --- Jobs

struct Subscribed {
    std::uint64_t id;
    std::shared_ptr<Callback> callback;
    bv::Subscription subscription;
};

/// The layer's job with the Python functions that it calls.
struct JobParts {
    bv::Job job;
    std::shared_ptr<Callback> source;
    std::vector<Subscribed> subscribed;
};

class PyJob : public Holder<JobParts> {
public:
    /// How a new job comes: Create, Load or Parse.
    using Make = std::function<bv::Job(JobOptions)>;
    static std::unique_ptr<PyJob> New(const py::object& source, size_t undo_depth, const Make& make);

    PyJob(std::shared_ptr<Session> session, JobParts parts) : Holder(std::move(session), std::move(parts)) {}

    bv::Job& job() const { return (**this).job; }
    std::uint64_t Subscribe(const py::object& callable);
    void Unsubscribe(std::uint64_t id);
    bool IsSubscribed(std::uint64_t id) const;
    int Traverse(visitproc visit, void* arg) const;
    void Clear();

    int open_transactions = 0;
    bool doomed = false;  // one inside of another has failed

private:
    std::uint64_t last_id_ = 0;
};

/// What belongs to a job, and keeps it.
template <class T>
class Member : public Holder<T> {
public:
    Member(PyJob& job, T value)
        : Holder<T>(job.shared_session(), std::move(value)),
          job_(py::cast(&job, py::return_value_policy::reference)),
          of_(&job) {}
    PyJob& job() const {
        this->session().Check();
        if (!job_) throw Error("the object has ended");
        return *of_;
    }
    py::object job_object() const { return job_; }
    int Traverse(visitproc visit, void* arg) const {
        Py_VISIT(job_.ptr());
        return 0;
    }
    void Clear() {
        this->Drop();
        job_ = {};
    }

private:
    py::object job_;
    PyJob* of_;
};

using PyNode = Member<bv::Node>;
using PyCuts = Member<bv::Cuts>;
using PyInput = Member<bv::Input>;

/// An object of the tree that is no node.
class PyObjectValue : public Holder<bv::Value> {
public:
    PyObjectValue(std::shared_ptr<Session> session, bv::Value value)
        : Holder(std::move(session), std::move(value)) {}
};

/// None for no node.
py::object NodeObject(PyJob& job, bv::Node node);
py::list NodeList(PyJob& job, const std::vector<bv::Node>& nodes);
py::object FromValue(PyJob& job, const bv::Value& value);
bv::Value ToValue(const py::handle& object);
/// Sets as a person does: a label, a stored value, a text with its unit, one of the node's choices.
void Set(const PyNode& node, const py::object& value);
py::object FromChange(PyJob& job, const bv::Change& change);
py::object FromReport(const bv::LoadReport& report);
py::object FromInfo(const bv::MediaInfo& info);
py::object WhyOf(PyJob& job, const std::string& name);
/// None, a switch, a number or a text: a value that is no object.
py::object FromScalar(const Scalar& scalar);

// --- The module

/// Lets the collector of cycles look into a class with Traverse and Clear.
template <class T>
py::custom_type_setup Collected() {
    return py::custom_type_setup([](PyHeapTypeObject* heap) {
        static const auto held = [](PyObject* self) -> T* {
            auto value = reinterpret_cast<py::detail::instance*>(self)->get_value_and_holder();
            return value.holder_constructed() ? static_cast<T*>(value.value_ptr()) : nullptr;
        };
        PyTypeObject* const type = &heap->ht_type;
        type->tp_flags |= Py_TPFLAGS_HAVE_GC;
        type->tp_traverse = [](PyObject* self, visitproc visit, void* arg) {
            Py_VISIT(Py_TYPE(self));
            const T* value = held(self);
            return value ? value->Traverse(visit, arg) : 0;
        };
        type->tp_clear = [](PyObject* self) {
            if (T* value = held(self)) value->Clear();
            return 0;
        };
        type->tp_dealloc = [](PyObject* self) {
            PyObject_GC_UnTrack(self);
            py::detail::pybind11_object_dealloc(self);
        };
    });
}

void BindRuntime(py::module_& module);
void BindNode(py::module_& module);
void BindJob(py::module_& module);
void BindPresets(py::module_& module);

}  // namespace bv::python
