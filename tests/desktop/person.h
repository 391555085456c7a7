// Somebody in front of the screen, who answers the dialogs that a test opens.
#pragma once

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace bv::test {

/// How a dialog looks and what to do with it, in the way of the platform. A dialog that doesn't appear ends
/// the program: the test would wait for it.
struct Dialog {
    std::string title;

    /// Types a path where the dialog takes one, unless it is empty, and confirms.
    void Accept(const std::string& path) const;
    /// Chooses all files of the folder that it shows.
    void AcceptAll(const std::vector<std::string>& names) const;
    /// Mixes a colour of these parts.
    void AcceptColor(int red, int green, int blue) const;
    void Cancel() const;
};
/// Does something with a dialog while the caller shows it.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void()> act) : thread_(std::move(act)) {}
    ~Meanwhile() { thread_.join(); }

private:
    std::thread thread_;
};

}  // namespace bv::test
