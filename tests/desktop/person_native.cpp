#include "desktop/person.h"

#include <cstdio>
#include <cstdlib>

namespace bv::test {
namespace {

void Do(const std::string& command) {
    if (std::system(("timeout 30 xdotool " + command + " >/dev/null").c_str()) == 0) return;
    std::fprintf(stderr, "no dialog, or it can't be used: xdotool %s\n", command.c_str());
    std::_Exit(1);
}

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

void Show(const std::string& title) {
    Do("search --sync --onlyvisible --name " + Quoted('^' + title + '$') + " windowfocus --sync sleep 0.5");
}

}  // namespace

void Dialog::Accept(const std::string& path) const {
    Show(title);
    if (path.empty())
        Do("key alt+o key alt+s key Return");  // OK, Select, or the only button
    else                                       // a slash opens the field for a path
        Do("key slash sleep 0.3 key ctrl+a type --delay 3 -- " + Quoted(path) +
           " && xdotool sleep 0.3 key Return");
}

void Dialog::AcceptAll(const std::vector<std::string>&) const {
    Show(title);
    Do("key ctrl+a sleep 0.3 key alt+o");
}

void Dialog::AcceptColor(int red, int green, int blue) const {
    char color[8];
    std::snprintf(color, sizeof color, "#%02x%02x%02x", red, green, blue);
    Show(title);
    Do("key ctrl+a type " + Quoted(color) + " && xdotool key Tab sleep 0.3 key alt+s");
}

void Dialog::Cancel() const {
    Show(title);
    Do("key Escape");
}

}  // namespace bv::test
