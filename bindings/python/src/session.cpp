#include "session.h"

#include <atomic>

namespace bv::python {
namespace {

thread_local std::shared_ptr<Session> current;

}  // namespace

std::uint64_t Session::ThisThread() {
    static std::atomic<std::uint64_t> last{0};
    thread_local const std::uint64_t number = ++last;  // an id of the system's comes again
    return number;
}

Session::~Session() {
    // Its thread has ended, and with it what it counted.
    if (!IsOwner()) std::ignore = runtime_.release();
}

bool Session::IsOwner() const { return thread_ == ThisThread(); }

std::shared_ptr<Session> Session::Current() {
    if (!current || current->closed_) current = std::make_shared<Session>();
    return current;
}

std::shared_ptr<Session> Session::ForJobs() {
    auto session = Current();
    if (session->users_ == 0) session->AddUser();
    return session;
}

void Session::CloseCurrent() {
    if (const auto session = std::exchange(current, nullptr)) session->Close();
}

void Session::RemoveUser() {
    Check();
    if (users_ == 1 && busy_ > 0) throw Error("the runtime is in use: a callback can't close it");
    if (--users_ == 0) Close();
}

void Session::Close() {
    if (closed_) return;
    closed_ = true;
    std::vector<std::shared_ptr<void>> taken;
    for (Handle* handle = first_; handle; handle = handle->next_)
        if (auto value = handle->Take()) taken.push_back(std::move(value));
    taken.clear();
    orphans_.clear();
    runtime_.reset();
}

void Session::Check() const {
    if (!IsOwner()) throw Error("this belongs to another thread");
    if (closed_) throw Error("the runtime was closed");
}

Session::Outside::Outside(Session& session) : session_(session) {
    ++session.outside_;
    state_ = PyEval_SaveThread();
}

Session::Outside::~Outside() {
    PyEval_RestoreThread(state_);
    if (--session_.outside_ == 0) std::exchange(session_.orphans_, {}).clear();
}

void Session::Report(py::error_already_set& error, const py::object& callback) {
    if (error.matches(PyExc_Exception))
        error.discard_as_unraisable(callback);
    else if (!pending_)
        pending_ = error;
}

void Session::RaisePending() {
    if (busy_ > 1 || !pending_) return;  // the outermost call has the caller
    const py::error_already_set error = *std::exchange(pending_, std::nullopt);
    throw error;
}

Handle::Handle(std::shared_ptr<Session> session) : session_(std::move(session)) {
    next_ = session_->first_;
    if (next_) next_->link_ = &next_;
    link_ = &session_->first_;
    session_->first_ = this;
}

Handle::~Handle() {
    *link_ = next_;
    if (next_) next_->link_ = link_;
}

}  // namespace bv::python
