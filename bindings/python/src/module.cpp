// The package's compiled part.
#include "objects.h"

namespace bv::python {
namespace {

using std::filesystem::path;

class PyRuntime {
public:
    PyRuntime() : session_(Session::Current()) { session_->AddUser(); }
    Session& session() const {
        if (!open_) throw Error("the runtime was closed");
        session_->Check();
        return *session_;
    }
    bool closed() const { return !open_ || session_->closed(); }
    void Close() {
        if (closed()) return;
        session_->RemoveUser();
        open_ = false;
    }

private:
    std::shared_ptr<Session> session_;
    bool open_ = true;
};

/// The server that is installed with the package, or was built with it.
path OwnModule() {
    const path package =
        py::module_::import("bvschema._bvschema").attr("__file__").cast<path>().parent_path();
    std::error_code ignored;
    for (const char* folder : {"lib", BV_INSTALLED_MODULES, BV_BUILT_MODULES}) {
        path module = (package / folder / "BVSchema.so").lexically_normal();
        if (std::filesystem::is_regular_file(module, ignored))
            return std::filesystem::absolute(module, ignored);
    }
    throw Error("no BVSchema module is installed with the package; name one");
}

template <Result<> (Runtime::*Call)(const path&)>
void ForModule(const PyRuntime& self, const std::optional<path>& named) {
    const path module = named ? std::filesystem::absolute(*named) : OwnModule();
    Must(self.session().Run([&] { return (self.session().runtime().*Call)(module); }));
}

}  // namespace

void BindRuntime(py::module_& module) {
    py::class_<PyRuntime>(module, "Runtime",
                          "The component model of this thread.\n\n"
                          "A job begins it by itself, and it then lasts until the thread ends; an object of "
                          "this class is for a program that "
                          "says\nwhere it ends, and for registering modules. The last one that is closed "
                          "ends all jobs of the thread: "
                          "whatever of them\nis still there raises Error.",
                          py::is_final())
        .def(py::init<>(), "__init__(self)\n--\n\nBegins it where the thread has none yet.")
        .def_property_readonly("closed", &PyRuntime::closed, "Whether it was closed.")
        .def_property_readonly(
            "module",
            [](const PyRuntime& self) -> std::optional<path> {
                const path found = self.session().Run([&] { return self.session().runtime().Module(); });
                return found.empty() ? std::nullopt : std::optional(found);
            },
            "The module that has the job's classes; None where none is registered.")
        .def("register", &ForModule<&Runtime::Register>, py::arg("module") = py::none(),
             "register(self, module=None)\n--\n\nAnnounces a module's classes in the user's registry, once "
             "for all "
             "programs; None: the server that is\ninstalled with the package. Raises Refused.")
        .def("unregister", &ForModule<&Runtime::Unregister>, py::arg("module") = py::none(),
             "unregister(self, module=None)\n--\n\nTakes them back. Raises Refused.")
        .def("close", &PyRuntime::Close,
             "close(self)\n--\n\nEnds it, and with the last one all jobs of the thread. Raises Error in a "
             "callback.")
        .def(
            "__enter__", [](const py::object& self) { return self; }, "Gives itself.")
        .def(
            "__exit__", [](PyRuntime& self, const py::args&) { self.Close(); }, "Closes it.");
}

PYBIND11_MODULE(_bvschema, module) {
    py::options options;
    options.disable_function_signatures();
    module.doc() = "The compiled part of bvschema.";
    module.attr("__version__") = BV_VERSION;
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const Error& error) {
            try {
                RaiseError(error);
            } catch (py::error_already_set& raised) {
                raised.restore();
            }
        }
    });
    BindNode(module);
    BindPresets(module);
    BindJob(module);
    BindRuntime(module);
    py::module_::import("atexit").attr("register")(py::cpp_function(&Session::CloseCurrent));
}

}  // namespace bv::python
