// The dialogs are programs of the desktop. They tell what they show, and take what is done, as they do for
// people who use them by speech or a single switch: over the accessibility bus.
#include <gio/gio.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "desktop/person.h"

namespace bv::test {
namespace {

constexpr int kCallTime = 10'000;  // ms; a program that is just ending doesn't answer

using Result = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

/// The bus of this session for what is accessible; null as long as it isn't there.
GDBusConnection* Bus() {
    static GDBusConnection* const bus = []() -> GDBusConnection* {
        GDBusConnection* const session = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        if (!session) return nullptr;
        GVariant* const answer = g_dbus_connection_call_sync(
            session, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", nullptr,
            G_VARIANT_TYPE("(s)"), G_DBUS_CALL_FLAGS_NONE, kCallTime * 3, nullptr, nullptr);
        if (!answer) return nullptr;
        const char* address = nullptr;
        g_variant_get(answer, "(&s)", &address);
        GDBusConnection* const made = g_dbus_connection_new_for_address_sync(
            address,
            GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        g_variant_unref(answer);
        return made;
    }();
    if (!bus) throw std::runtime_error("an accessibility bus");
    return bus;
}

/// Something on the screen. What has gone answers nothing.
struct Widget {
    std::string program, path;

    Result Call(const char* interface, const char* operation, GVariant* arguments = nullptr) const {
        return {
            g_dbus_connection_call_sync(Bus(), program.c_str(), path.c_str(), interface, operation, arguments,
                                        nullptr, G_DBUS_CALL_FLAGS_NONE, kCallTime, nullptr, nullptr),
            g_variant_unref};
    }
    std::string Name() const {
        const Result answer = Call("org.freedesktop.DBus.Properties", "Get",
                                   g_variant_new("(ss)", "org.a11y.atspi.Accessible", "Name"));
        if (!answer) return {};
        GVariant* value = nullptr;
        g_variant_get(answer.get(), "(v)", &value);
        const std::string name = g_variant_get_string(value, nullptr);
        g_variant_unref(value);
        return name;
    }
    std::string Role() const { return Text(Call("org.a11y.atspi.Accessible", "GetRoleName")); }
    std::string Text() const {
        return Text(Call("org.a11y.atspi.Text", "GetText", g_variant_new("(ii)", 0, -1)));
    }
    bool Is(int state) const {
        const Result answer = Call("org.a11y.atspi.Accessible", "GetState");
        if (!answer) return false;
        GVariant* words = nullptr;
        g_variant_get(answer.get(), "(@au)", &words);
        guint32 word = 0;
        if (g_variant_n_children(words) > gsize(state / 32))
            g_variant_get_child(words, gsize(state / 32), "u", &word);
        g_variant_unref(words);
        return word >> state % 32 & 1;
    }
    std::vector<Widget> Children() const {
        std::vector<Widget> children;
        const Result answer = Call("org.a11y.atspi.Accessible", "GetChildren");
        if (!answer) return children;
        GVariantIter* list = nullptr;
        g_variant_get(answer.get(), "(a(so))", &list);
        const char *name = nullptr, *object = nullptr;
        while (g_variant_iter_next(list, "(&s&o)", &name, &object)) children.push_back({name, object});
        g_variant_iter_free(list);
        return children;
    }
    bool Act() const { return Call("org.a11y.atspi.Action", "DoAction", g_variant_new("(i)", 0)) != nullptr; }
    bool Put(const std::string& text) const {
        return Call("org.a11y.atspi.EditableText", "SetTextContents", g_variant_new("(s)", text.c_str())) !=
               nullptr;
    }

private:
    static std::string Text(const Result& answer) {
        const char* text = "";
        if (answer) g_variant_get(answer.get(), "(&s)", &text);
        return text;
    }
};
constexpr int kSelected = 23, kSensitive = 24, kShowing = 25;  // places in a widget's states

std::optional<Widget> FindBelow(const Widget& widget, const std::function<bool(const Widget&)>& matches) {
    for (const Widget& child : widget.Children()) {
        if (!child.Is(kShowing)) continue;
        if (matches(child)) return child;
        if (auto found = FindBelow(child, matches)) return found;
    }
    return std::nullopt;
}

std::vector<Widget> Windows() {
    std::vector<Widget> windows;
    const Widget desktop = {"org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root"};
    for (const Widget& program : desktop.Children())
        for (Widget& window : program.Children()) windows.push_back(std::move(window));
    return windows;
}

/// A dialog on the screen, and what a person does with it.
class Window {
public:
    explicit Window(const std::string& title) : title_(title) {
        Await("the dialog " + title, [&] {
            for (const Widget& window : Windows())
                if (window.Name() == title && window.Is(kShowing)) self_ = window;
            return !self_.program.empty();
        });
    }
    std::optional<Widget> FindWidget(const std::function<bool(const Widget&)>& matches) const {
        return FindBelow(self_, matches);
    }
    std::optional<Widget> FindWidget(const std::string& role) const {
        return FindWidget([&](const Widget& widget) { return widget.Role() == role; });
    }
    /// Presses the button of one of the names, when the dialog shows what it shall, until the dialog has
    /// gone. shows: says whether it does, and does what is missing.
    void Close(const std::vector<std::string>& names, const std::function<bool(const Window&)>& shows) const {
        Await("the end of " + title_, [&] {
            const auto button = FindWidget([&](const Widget& widget) {
                return widget.Role() == "push button" && std::ranges::count(names, widget.Name());
            });
            if (button && shows(*this) && button->Is(kSensitive)) button->Act();
            return !self_.Is(kShowing);
        });
    }
    void Confirm(const std::function<bool(const Window&)>& shows) const {
        Close({"OK", "Open", "Save", "Select"}, shows);
    }

private:
    std::string title_;
    Widget self_;
};

}  // namespace

void Dialog::Accept(const std::string& path) const {
    Window(title).Confirm([&](const Window& window) {
        if (path.empty()) return true;
        // What the dialog reads of a folder may take the place of what was typed.
        const auto field = window.FindWidget("text");
        if (field && field->Text() == path) return true;
        if (field)
            field->Put(path);
        else if (const auto chooser = window.FindWidget("file chooser"))
            chooser->Act();  // opens the field
        return false;
    });
}

void Dialog::AcceptAll(const std::vector<std::string>& names) const {
    Window(title).Confirm([&](const Window& window) {
        const auto files = window.FindWidget([](const Widget& widget) { return widget.Name() == "Files"; });
        const bool all = files && std::ranges::all_of(names, [&](const std::string& name) {
                             const auto file =
                                 FindBelow(*files, [&](const Widget& cell) { return cell.Name() == name; });
                             return file && file->Is(kSelected);
                         });
        // Lists of files can't be told over the bus to choose: it takes a key.
        if (files && !all && files->Call("org.a11y.atspi.Component", "GrabFocus"))
            std::ignore = std::system(("timeout 10 xdotool search --onlyvisible --name '^" + title +
                                       "$' windowfocus key ctrl+a >/dev/null")
                                          .c_str());
        return all;
    });
}

void Dialog::AcceptColor(int red, int green, int blue) const {
    char typed[8], shown[8];
    std::snprintf(typed, sizeof typed, "#%02x%02x%02x", red, green, blue);
    std::snprintf(shown, sizeof shown, "#%02X%02X%02X", red, green, blue);  // when it was taken over
    Window(title).Confirm([&](const Window& window) {
        const auto field = window.FindWidget("text");
        if (field && field->Text() == shown) return true;
        if (field && field->Put(typed)) field->Act();
        return false;
    });
}

void Dialog::Cancel() const {
    Window(title).Close({"Cancel"}, [](const Window&) { return true; });
}

std::vector<std::string> CloseDialogs() {
    std::vector<std::string> closed;
    for (const Widget& window : Windows())
        if (window.Is(kShowing)) closed.push_back(window.Name());
    // A dialog that shows nothing is one too.
    for (const auto& process : std::filesystem::directory_iterator("/proc")) {
        std::ifstream stream(process.path() / "stat");
        std::string number, name, state;
        pid_t parent = 0;
        if (!(stream >> number >> name >> state >> parent) || parent != getpid() || state == "Z") continue;
        kill(std::stoi(number), SIGTERM);
        if (closed.empty()) closed.push_back(name);
    }
    return closed;
}

}  // namespace bv::test
