#include "desktop/person.h"

#include <gmock/gmock.h>

#include <chrono>
#include <stdexcept>

namespace bv::test {

namespace {

constexpr std::chrono::seconds kPatience(60);
constexpr std::chrono::milliseconds kBetweenLooks(20);

}  // namespace

void Await(const std::string& what, const std::function<bool()>& holds) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end) throw std::runtime_error(what);
        std::this_thread::sleep_for(kBetweenLooks);
    }
}

Meanwhile::Meanwhile(std::function<void()> act) : thread_([this, act = std::move(act)] { Run(act); }) {}

Meanwhile::~Meanwhile() {
    {
        const std::lock_guard lock(mutex_);
        returned_ = true;
    }
    ended_.notify_all();
    thread_.join();
    if (!failure_.empty()) ADD_FAILURE() << failure_;
}

void Meanwhile::Run(const std::function<void()>& act) {
    try {
        act();
    } catch (const std::exception& error) {
        failure_ = std::string("waited in vain: ") + error.what() + '\n';
    }
    std::unique_lock lock(mutex_);
    // Each dialog may have another behind it, such as a question.
    while (
        !ended_.wait_for(lock, failure_.empty() ? kPatience : kBetweenLooks, [this] { return returned_; })) {
        lock.unlock();
        for (const std::string& title : CloseDialogs()) failure_ += "closed what was open: " + title + '\n';
        lock.lock();
    }
}

}  // namespace bv::test
