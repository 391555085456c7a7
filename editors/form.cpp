#include "form.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <tuple>

#include "bvhost/text.h"
#include "console.h"

namespace dlgs {
namespace {

using host::Ask;
using host::OneLine;
using host::TextResult;
using host::Utf8;

constexpr int kMostTries = 20;
constexpr int kDeepest = 32;
constexpr size_t kLongestValue = 512;  // bytes; a node takes more, but what reads it doesn't

/// The answer to a question; "" stands for an empty text, an empty line for no answer.
std::wstring Answer(const std::string& question) {
    Prompt(question + ": ");
    const auto line = ReadLine();
    if (!line) throw Cancelled();
    return *line;
}

/// Asks until take(answer) gives an empty text; else it says why not.
template <class Take>
void AskUntil(const std::string& question, Take take) {
    for (int tries = 0; tries < kMostTries; ++tries) {
        const std::wstring answer = Answer(question);
        const auto control = [](wchar_t c) { return c < L' ' || c == 0x7F; };
        std::string why;
        if (answer.size() > kLongestLine)
            why = "That is too long.";
        else if (std::any_of(answer.begin(), answer.end(), control))
            why = "That has a character that can't be typed.";
        else
            why = take(answer);
        if (why.empty()) return;
        Say("  " + why);
    }
    throw Cancelled();
}

bool ToNumber(const std::wstring& text, LONG* number) {
    const std::string digits = Utf8(text);
    const auto end = digits.data() + digits.size();
    const auto parsed = std::from_chars(digits.data(), end, *number);
    return !digits.empty() && parsed.ec == std::errc() && parsed.ptr == end;
}

size_t NarrowSize(const std::wstring& text) {
    return size_t(
        WideCharToMultiByte(CP_ACP, 0, text.data(), int(text.size()), nullptr, 0, nullptr, nullptr));
}

void SayIfAny(const std::string& why) {
    if (!why.empty()) Say("  " + why);
}

/// Without regard to the case of ASCII letters.
bool Begins(std::string_view text, std::string_view beginning) {
    const auto same = [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); };
    return text.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), text.begin(), same);
}

std::wstring Meant(const std::wstring& answer) { return answer == L"\"\"" ? std::wstring() : answer; }

std::string InBrackets(const std::string& question, const std::string& otherwise) {
    return question + " [" + otherwise + ']';
}

struct Choices {
    std::vector<std::string> labels;
    std::vector<Value> values;
    size_t current = 0;
};

Choices ChoicesOf(IProperty* node) {
    Choices choices;
    const auto list = Ask<IListOfValues>(node);
    LONG count = 0;
    if (!list || FAILED(list->get_Count(&count))) return choices;
    Value value;
    TextResult current;
    if (node->get_Value(value.Put()) == S_OK) std::ignore = list->get_Text(value.get(), current.Put());
    for (LONG i = 0; i < count; ++i) {
        Ref<IUnknown> item;
        TextResult label;
        Value stored;
        if (FAILED(list->get_Item(i, item.Put()))) continue;
        const auto entry = item.As<IListItem>();
        if (!entry || FAILED(entry->get_Title(label.Put())) || FAILED(entry->get_Value(stored.Put())))
            continue;
        if (label.Get() == current.Get()) choices.current = choices.labels.size();
        choices.labels.push_back(OneLine(Utf8(label.Get())));
        choices.values.push_back(std::move(stored));
    }
    return choices;
}

bool IsCheckBox(IProperty* node) {
    LONG type = 0;
    return SUCCEEDED(node->get_Type(&type)) && type & bv::style::kCheckBox;
}

Value ValueOf(IProperty* node) {
    Value value;
    std::ignore = node->get_Value(value.Put());
    return value;
}

bool IsOn(IProperty* node) {
    Value number;
    return SUCCEEDED(ValueOf(node).ChangeTo(VT_I4, &number)) && number.get().lVal != 0;
}

Ref<IProperty> Search(IProperty* node, const std::wstring& name, int depth) {
    const auto children = Ask<IEnumProperties>(node);
    LONG count = 0;
    if (!children || depth > kDeepest || FAILED(children->get_Count(&count))) return {};
    for (LONG i = 0; i < count; ++i) {
        Ref<IUnknown> item;
        TextResult found;
        if (FAILED(children->get_Item(i, item.Put()))) continue;
        const auto child = item.As<IProperty>();
        if (!child) continue;
        if (SUCCEEDED(child->get_Name(found.Put())) && host::SameName(found.Get(), name)) return child;
        if (auto below = Search(child.get(), name, depth + 1)) return below;
    }
    return {};
}

/// The server's module, which has the string table. It is in memory already: it made the nodes.
HMODULE Server() {
    wchar_t id[40];
    StringFromGUID2(bv::clsid::PropertyMain, id, 40);
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, (std::wstring(L"CLSID\\") + id + L"\\InprocServer32").c_str(), 0,
                      KEY_READ, &key))
        return nullptr;
    wchar_t module[1024] = {};
    DWORD size = sizeof module - sizeof *module;
    const LONG error =
        RegQueryValueExW(key, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(module), &size);
    RegCloseKey(key);
    return error == ERROR_SUCCESS ? LoadLibraryW(module) : nullptr;
}

}  // namespace

std::string Message(int id, int first, int second) {
    const HMODULE server = Server();
    if (!server) return {};
    wchar_t text[512] = {};
    LoadStringW(server, UINT(id), text, 512);
    FreeLibrary(server);
    std::string message = Utf8(text);
    for (const int number : {first, second})
        if (const size_t at = message.find("%d"); at != message.npos)
            message.replace(at, 2, std::to_string(number));
    return message;
}

std::wstring TextOf(IProperty* node) { return ValueOf(node).AsText(); }

std::string Shown(IProperty* node) {
    const Choices choices = ChoicesOf(node);
    if (!choices.labels.empty()) return choices.labels[choices.current];
    if (IsCheckBox(node)) return IsOn(node) ? "on" : "off";
    const std::wstring text = TextOf(node);
    return text.empty() ? "(empty)" : OneLine(Utf8(text));
}

Ref<IProperty> Below(IProperty* node, const std::wstring& name) { return Search(node, name, 0); }

Ref<IProperty> InJob(IProperty* node, const std::wstring& name) {
    Ref<IProperty> found;
    return node->FindProperty(host::Text(name), found.Put()) == S_OK ? found : Ref<IProperty>();
}

bool AskYesNo(const std::string& question, bool otherwise) {
    return AskChoice(question, {"yes", "no"}, otherwise ? 0 : 1) == 0;
}

int AskNumber(const std::string& question, int otherwise, int lowest, int highest) {
    int number = otherwise;
    AskUntil(InBrackets(question, std::to_string(otherwise)), [&](const std::wstring& answer) -> std::string {
        if (answer.empty()) return {};
        LONG typed = 0;
        if (!ToNumber(answer, &typed)) return "A whole number is needed.";
        if (typed < 0 && lowest >= 0) return Message(40);
        if (typed < lowest || typed > highest)
            return "It is a number from " + std::to_string(lowest) + " to " + std::to_string(highest) + '.';
        number = int(typed);
        return {};
    });
    return number;
}

std::wstring AskText(const std::string& question, const std::wstring& otherwise, size_t most) {
    std::wstring text = otherwise;
    AskUntil(InBrackets(question, otherwise.empty() ? "empty" : OneLine(Utf8(otherwise))),
             [&](const std::wstring& answer) -> std::string {
                 if (answer.empty()) return {};
                 if (NarrowSize(answer) > most)
                     return "That is longer than " + std::to_string(most) + " bytes.";
                 text = Meant(answer);
                 return {};
             });
    return text;
}

size_t AskChoice(const std::string& question, const std::vector<std::string>& choices, size_t otherwise) {
    std::string all;
    for (const std::string& choice : choices) all += (all.empty() ? "" : ", ") + choice;
    size_t chosen = otherwise;
    AskUntil(InBrackets(question + " (" + all + ')', choices[otherwise]),
             [&](const std::wstring& answer) -> std::string {
                 if (answer.empty()) return {};
                 const std::string typed = Utf8(answer);
                 std::vector<size_t> fitting;
                 for (size_t i = 0; i < choices.size(); ++i) {
                     if (!Begins(choices[i], typed)) continue;
                     if (choices[i].size() == typed.size()) fitting.clear();  // the whole word
                     fitting.push_back(i);
                     if (choices[i].size() == typed.size()) break;
                 }
                 if (fitting.size() != 1) return "It is one of " + all + '.';
                 chosen = fitting.front();
                 return {};
             });
    return chosen;
}

// --- Changes

Changes::~Changes() {
    if (kept_) return;
    for (auto old = old_.rbegin(); old != old_.rend(); ++old)
        std::ignore = old->node->put_Value(old->value.get());
}

void Changes::Remember(IProperty* node) {
    for (const Old& old : old_)
        if (old.node.get() == node) return;
    old_.push_back({Ref<IProperty>(node), ValueOf(node), Shown(node)});
}

std::string Changes::Put(IProperty* node, const Value& value) {
    Remember(node);
    SetErrorInfo(0, nullptr);
    if (SUCCEEDED(node->put_Value(value.get()))) return {};
    Ref<IErrorInfo> error;
    TextResult description;
    if (GetErrorInfo(0, error.Put()) == S_OK) std::ignore = error->GetDescription(description.Put());
    return description.Get().empty() ? "The setting doesn't take that." : OneLine(Utf8(description.Get()));
}

void Changes::Ask(IProperty* node, const std::string& label, std::string (*valid)(const std::wstring&)) {
    const Choices choices = ChoicesOf(node);
    if (!choices.labels.empty()) {
        const size_t chosen = AskChoice(label, choices.labels, choices.current);
        if (chosen != choices.current) SayIfAny(Put(node, choices.values[chosen]));
        return;
    }
    if (IsCheckBox(node)) {
        const bool on = IsOn(node), wanted = AskChoice(label, {"on", "off"}, on ? 0 : 1) == 0;
        if (on != wanted) SayIfAny(Put(node, Value::Of(LONG(wanted))));
        return;
    }
    const bool is_number = ValueOf(node).kind() != VT_BSTR;
    AskUntil(InBrackets(label, Shown(node)), [&](const std::wstring& answer) -> std::string {
        if (answer.empty()) return {};
        LONG number = 0;
        if (is_number)
            return ToNumber(answer, &number) ? Put(node, Value::Of(number)) : "A whole number is needed.";
        if (NarrowSize(answer) > kLongestValue)
            return "That is longer than " + std::to_string(kLongestValue) + " bytes.";
        const std::string why = valid ? valid(Meant(answer)) : std::string();
        return why.empty() ? Put(node, Value::Of(Meant(answer))) : why;
    });
}

void Changes::Confirm() {
    std::vector<std::string> lines = told_;
    for (const Old& old : old_) {
        TextResult name, title;
        std::ignore = old.node->get_Name(name.Put());
        if (name.Get().empty()) std::ignore = old.node->get_Title(title.Put());
        const std::string now = Shown(old.node.get());
        if (now != old.shown)
            lines.push_back(OneLine(Utf8(name.Get() + title.Get())) + ": " + old.shown + " -> " + now);
    }
    if (lines.empty()) {
        Say("Nothing is changed.");
    } else {
        for (const std::string& line : lines) Say("  " + line);
        if (!AskYesNo("Store this", true)) throw Cancelled();
    }
    kept_ = true;
}

}  // namespace dlgs
