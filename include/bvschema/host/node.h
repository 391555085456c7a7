// A setting, as a form wants it.
#pragma once

#include <bvschema/host/result.h>
#include <bvschema/host/value.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bv::inline host {

class JobCore;
class Node;

/// Which editor a form shows for a node, by its style word and by what it holds.
enum class Editor {
    kNone,      // a node that carries others, or a unit that is only read
    kGroup,     // a frame round its children, with a title where it has a heading
    kCheckBox,  // on or off
    kChoice,    // one of choices()
    kNumber,
    kText,
    kFile,    // the path of a file that is there
    kDialog,  // a text that a dialog of the node's own makes: ShowDialog
};

/// One of the values that a node offers.
struct Choice {
    std::string label;
    Value value;
    bool selected = false;
};

/// A handle on one node of a tree; copying it copies no node. Nodes of a job keep the job's tree alive, and what is set
/// through them is told to the job's subscribers and can be undone. Names compare without regard to case.
class Node {
public:
    Node() = default;
    /// A node of a tree that no Job has: nothing is told, nothing can be undone.
    explicit Node(IProperty* node) : node_(node) {}

    /// Whether there is a node; all else wants one.
    explicit operator bool() const { return bool(node_); }
    bool operator==(const Node& other) const { return node_ == other.node_; }
    /// The interface for what this layer has no word for. What is set by it is found by Job::Refresh.
    IProperty* get() const { return node_.get(); }
    /// A node of the same job that was found by its interface, such as an object that is a choice's value.
    Node OfSameJob(IProperty* node) const { return With(Ref<IProperty>(node)); }

    // --- What it says of itself

    std::string name() const;
    /// Names from the topmost node to this one: "Main/Output/Mode".
    std::string path() const;
    std::string title() const;
    /// The title, or the name where it has none.
    std::string label() const;
    std::string help() const;
    CLSID class_id() const;
    /// Bits of bv::style.
    LONG style() const;
    Editor editor() const;
    bool hidden() const;
    bool disabled() const;
    /// Whether it counts: a node of a choice that isn't selected doesn't.
    bool active() const;
    bool has_dialog() const { return (style() & style::kDialog) != 0; }

    // --- Its value

    bool has_value() const;
    /// As it is stored; empty for a group.
    Value value() const;
    /// As a person reads it: a choice's label, "on", a number, a text. The unit isn't in it.
    std::string shown() const;
    std::vector<Choice> choices() const;
    /// The unit beside the value, such as "ms"; empty for none.
    std::string unit() const;
    /// The node of that unit, whose choices are the units; null for none.
    Node unit_node() const;
    /// What may be set, in words for the user: "the choices are ...", "a whole number from 0 to 255".
    std::string accepts() const;

    /// Sets what a person typed or a program means: a choice's label or stored value, "on" or "off" for a check box, a
    /// number or a text in the kind that the node holds, a number with its unit ("250 ms"). What isn't one of these, and
    /// what the node itself refuses, changes nothing.
    Result<> Set(const Value& value) const;
    /// The same; a refusal is kept for Job::TakeRefusals.
    template <class T>
    requires std::constructible_from<Value, T>
    void operator=(const T& value) const { Keep(Set(Value(value))); }
    /// Stores the value as it is, in its own kind, as IProperty.put_Value does.
    Result<> Put(const Value& value) const;
    /// The value that a person's text means here; none where it means nothing.
    std::optional<Value> Parse(std::string_view text) const;

    /// Opens the node's dialog and waits for the person. False: cancelled. Refused when it has none.
    Result<bool> ShowDialog() const;

    // --- What hangs on it

    /// The children, in order.
    std::vector<Node> children() const;
    /// The node that is the value, such as the selected output format; null for none.
    Node held() const;
    /// All below it in the order of a form, each before its own: what it holds, then the children. Without hidden ones
    /// and what is below those.
    std::vector<Node> Visible() const;
    /// The same with hidden ones.
    std::vector<Node> All() const;
    /// The first node below that has the name, or, for "Output/Mode", the name below such a one. Null: none.
    Node Find(std::string_view name) const;
    Node operator[](std::string_view name) const { return Find(name); }

private:
    friend class JobCore;
    Node(Ref<IProperty> node, std::shared_ptr<JobCore> job) : node_(std::move(node)), job_(std::move(job)) {}
    Node With(Ref<IProperty> node) const { return {std::move(node), job_}; }
    void Keep(Result<> result) const;
    Result<> Change(const std::string& what, const Value& given,
                    const std::function<HRESULT()>& change) const;
    void Collect(std::vector<Node>& all, bool hidden_too, int depth) const;

    Ref<IProperty> node_;
    std::shared_ptr<JobCore> job_;
};

}  // namespace bv::inline host
