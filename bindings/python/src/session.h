// The component model of a thread as Python sees it: who uses it, and what goes with it.
#pragma once

#include <bvschema/host.h>
#include <pybind11/pybind11.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

namespace bv::python {

namespace py = pybind11;

class Handle;

/// The runtime of one thread. It ends when its last user closes it, or with the thread when nothing is left of it.
///
/// All but what runs in RunAlone holds the interpreter's lock, which guards the session's own data too.
class Session {
public:
    Session() : runtime_(std::make_unique<Runtime>()) {}
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session();

    /// The thread's, begun where it has none.
    static std::shared_ptr<Session> Current();
    /// The same for a job that is made without a Runtime object: it lasts until the thread ends.
    static std::shared_ptr<Session> ForJobs();
    /// Ends what the thread has, at the end of the interpreter.
    static void CloseCurrent();

    void AddUser() { ++users_; }
    /// The last one ends all jobs.
    void RemoveUser();
    Runtime& runtime() { return *runtime_; }
    bool closed() const { return closed_; }
    bool IsOwner() const;

    /// Throws Error when the session is closed, or another thread's.
    void Check() const;

    /// Runs a call of the layer. An exception that had to end a program, and was raised in a callback, is raised after it.
    template <class Call>
    auto Run(Call&& call) {
        Check();
        const Counted busy(busy_);
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            RaisePending();
        } else {
            auto result = call();
            RaisePending();
            return result;
        }
    }
    /// The same for a call that reads files or waits, without the interpreter's lock.
    template <class Call>
    auto RunAlone(Call&& call) {
        return Run([&] {
            const Outside outside(*this);
            return call();
        });
    }

    /// What a callback raised, which has no caller to go to.
    void Report(py::error_already_set& error, const py::object& callback);

    /// Lets go of what a Python object held. Another thread may be the one that does, while the owner is in the layer
    /// without the lock: then it is kept until that comes back.
    template <class T>
    void Discard(std::optional<T>& value) {
        if (!value) return;
        if (outside_ > 0 && !IsOwner()) orphans_.push_back(std::make_shared<T>(std::move(*value)));
        value.reset();
    }

private:
    friend class Handle;
    struct Counted {
        explicit Counted(int& c) : count(c) { ++count; }
        ~Counted() { --count; }
        Counted(const Counted&) = delete;
        Counted& operator=(const Counted&) = delete;
        int& count;
    };
    class Outside {
    public:
        explicit Outside(Session& session);
        ~Outside();
        Outside(const Outside&) = delete;
        Outside& operator=(const Outside&) = delete;

    private:
        Session& session_;
        PyThreadState* state_;
    };
    void RaisePending();
    void Close();

    const std::uint64_t thread_ = ThisThread();
    static std::uint64_t ThisThread();
    std::unique_ptr<Runtime> runtime_;
    Handle* first_ = nullptr;
    std::vector<std::shared_ptr<void>> orphans_;
    std::optional<py::error_already_set> pending_;
    int users_ = 0;
    int busy_ = 0;     // calls that run
    int outside_ = 0;  // those without the lock
    bool closed_ = false;
};

/// What a Python object stands for. The session can take it away.
class Handle {
public:
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    virtual ~Handle();
    Session& session() const { return *session_; }
    const std::shared_ptr<Session>& shared_session() const { return session_; }

protected:
    explicit Handle(std::shared_ptr<Session> session);

private:
    friend class Session;
    /// What it held, for the end of the session.
    virtual std::shared_ptr<void> Take() = 0;
    std::shared_ptr<Session> session_;
    Handle* next_ = nullptr;
    Handle** link_ = nullptr;
};

template <class T>
class Holder : public Handle {
public:
    /// Throws Error when it is gone, or another thread's.
    T& operator*() const {
        session().Check();
        if (!value_) throw Error("the object has ended");
        return *value_;
    }
    T* operator->() const { return &**this; }
    bool held() const { return value_.has_value(); }

protected:
    Holder(std::shared_ptr<Session> session, T value)
        : Handle(std::move(session)), value_(std::move(value)) {}
    ~Holder() override { session().Discard(value_); }
    /// Null when it is gone.
    const T* Peek() const { return value_ ? &*value_ : nullptr; }
    void Drop() { session().Discard(value_); }

private:
    std::shared_ptr<void> Take() override {
        if (!value_) return nullptr;
        auto taken = std::make_shared<T>(std::move(*value_));
        value_.reset();
        return taken;
    }
    mutable std::optional<T> value_;
};

}  // namespace bv::python
