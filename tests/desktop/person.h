// Somebody in front of the screen, who answers the dialogs that a test opens.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bv::test {

/// How a dialog looks and what to do with it, in the way of the platform. Each waits until the dialog is
/// there, and returns when it is gone.
struct Dialog {
    std::string title;

    /// Types a path where the dialog takes one, unless it is empty, and confirms.
    void Accept(const std::string& path) const;
    /// Chooses all files of the folder that it shows, which are these.
    void AcceptAll(const std::vector<std::string>& names) const;
    /// Mixes a colour of these parts.
    void AcceptColor(int red, int green, int blue) const;
    void Cancel() const;
};

/// Does something with a dialog while the caller shows it. What can't be done in a minute, and a dialog that
/// is open a minute after it, is a failure that names the dialogs; they are closed.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void()> act);
    /// To be called when the dialog has returned.
    ~Meanwhile();

private:
    void Run(const std::function<void()>& act);

    std::mutex mutex_;
    std::condition_variable ended_;
    bool returned_ = false;
    std::string failure_;
    std::thread thread_;
};

/// Asks again and again until it holds. Throws what is missing after a minute.
void Await(const std::string& what, const std::function<bool()>& holds);
/// Closes the dialogs of this program, whatever they are. Gives their titles.
std::vector<std::string> CloseDialogs();

}  // namespace bv::test
