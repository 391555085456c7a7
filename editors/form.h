// Questions and answers about nodes: what the editors have in common.
#pragma once

#include <string>
#include <vector>

#include "bvhost/com.h"

namespace dlgs {

using host::Ref;
using host::Value;

/// Thrown when the user ends the input: nothing is stored.
struct Cancelled {};

/// A text of the server's string table, filled with up to two numbers;
/// empty when the server isn't registered.
std::string Message(int id, int first = 0, int second = 0);

std::wstring TextOf(IProperty* node);
/// As a user reads it: the label of a choice, "on" or "off" for a check box.
std::string Shown(IProperty* node);
/// A node by its name among those below another; null: none. Names of the media object's index aren't looked
/// at: a job may have the same editor's nodes twice.
Ref<IProperty> Below(IProperty* node, const std::wstring& name);
/// Any node of the job.
Ref<IProperty> InJob(IProperty* node, const std::wstring& name);

// Each asks until the answer will do. An empty line keeps what is there. They throw Cancelled at the end of
// input, and when twenty answers in a row won't do.
bool AskYesNo(const std::string& question, bool otherwise);
int AskNumber(const std::string& question, int otherwise, int lowest, int highest);
/// An empty text is typed as "". most: bytes in the narrow code page.
std::wstring AskText(const std::string& question, const std::wstring& otherwise, size_t most);
/// The index of one of several texts.
size_t AskChoice(const std::string& question, const std::vector<std::string>& choices, size_t otherwise);

/// What an editor stores, taken back when it isn't kept.
class Changes {
public:
    Changes() = default;
    Changes(const Changes&) = delete;
    Changes& operator=(const Changes&) = delete;
    ~Changes();

    /// Remembers a value that the caller is about to change in a way of its own.
    void Remember(IProperty* node);
    /// Stores a value. Empty, or why the node refuses it.
    std::string Put(IProperty* node, const Value& value);
    /// Asks for the value of a node until it takes one: a number of its list of choices or a label, "on" or
    /// "off", a number, a text. valid: why a text won't do, or empty.
    void Ask(IProperty* node, const std::string& label,
             std::string (*valid)(const std::wstring& text) = nullptr);

    /// A line for what is not a value.
    void Tell(const std::string& change) { told_.push_back(change); }
    /// Shows what is stored and asks whether it is to stay. Throws Cancelled if not.
    void Confirm();
    bool kept() const { return kept_; }

private:
    struct Old {
        Ref<IProperty> node;
        Value value;
        std::string shown;
    };
    std::vector<Old> old_;
    std::vector<std::string> told_;
    bool kept_ = false;
};

}  // namespace dlgs
