// The variables of a watermark's text.
#pragma once

#include <bvschema/bvschema.h>

#include <optional>

#include "com/narrow.h"
#include "tree/names.h"

namespace bv {

/// Who tells what the variables stand for.
class VariableSource {
public:
    /// The path of the input, or of the output, that is worked on. None: there is none.
    virtual std::optional<NarrowText> SourcePath() = 0;
    virtual std::optional<NarrowText> OutputPath() = 0;
    /// The number of the output.
    virtual std::optional<LONG> OutputIndex() = 0;
    /// The format that a node of this name holds; none without such a node.
    virtual std::optional<NarrowText> FormatOf(Name name) = 0;

protected:
    ~VariableSource() = default;
};

/// What a variable stands for now; none when its source is missing, and then its key stays in the text.
using VariableValue = std::optional<NarrowText>;

struct Variable {
    std::string_view key;  // in lower case
    const wchar_t* title;
    VariableValue (*value)(VariableSource& source);
};

/// In the order in which they are put in. A key that begins with another one stands before it. Each is put in
/// on its own, so what one brings into the text is seen by those behind it.
inline constexpr size_t kVariableCount = 7;
extern const Variable kVariables[kVariableCount];

inline constexpr const wchar_t* kDateFormat = L"d:MM:yyyy";
inline constexpr const wchar_t* kTimeFormat = L"h:mm:ss";

}  // namespace bv
