#include "cuts/timeline_file.h"

#include <optional>

#include "com/ascii.h"
#include "com/variant.h"
#include "tree/names.h"

namespace bv {
namespace {

constexpr int kMaxDepth = 256;  // of elements in elements; a cut needs four
constexpr VARTYPE kNoKind = 0xFFFF;
constexpr VARTYPE kObjectKind = 72;  // what "type" says of an object value, which isn't restored

/// What an element says of its node.
struct Fields {
    std::optional<std::wstring_view> value, type, ext, ext_type;

    explicit Fields(const XmlElement& element) {
        for (size_t i = 0; i < element.attribute_count; ++i) {
            const auto [name, text] = element.attributes[i];
            if (SameName(name, L"value"))
                value = text;
            else if (SameName(name, L"type"))
                type = text;
            else if (SameName(name, L"ext"))
                ext = text;
            else if (SameName(name, L"extType"))
                ext_type = text;
        }
    }
};

/// A plain decimal number; false for any other text.
bool ToNumber(std::wstring_view text, LONG& number) {
    if (text.empty() || text.size() > 9) return false;
    number = 0;
    for (const wchar_t c : text) {
        if (!IsDigit(c)) return false;
        number = number * 10 + (c - L'0');
    }
    return true;
}

VARTYPE KindIn(std::wstring_view text) {
    LONG number = 0;
    return ToNumber(text, number) && number < kNoKind ? VARTYPE(number) : kNoKind;
}

/// The kinds that a text can become. Objects, arrays and references are none of them.
bool IsPlainKind(VARTYPE kind) {
    switch (kind) {
        case VT_I1:
        case VT_I2:
        case VT_I4:
        case VT_I8:
        case VT_UI1:
        case VT_UI2:
        case VT_UI4:
        case VT_UI8:
        case VT_INT:
        case VT_UINT:
        case VT_R4:
        case VT_R8:
        case VT_CY:
        case VT_DATE:
        case VT_BOOL:
        case VT_DECIMAL:
            return true;
        default:
            return false;
    }
}

/// The value of a kind that a text stands for; an empty one when it stands for none.
Variant ValueOf(std::wstring_view text, VARTYPE kind) {
    if (kind == VT_BSTR) return Variant(text);
    Variant value;
    if (kind == VT_I4 && ToNumber(text, value.lVal))
        value.vt = VT_I4;
    else if (IsPlainKind(kind))
        std::ignore = value.ChangeFrom(Lend(Bstr(text).get()), kind);
    return value;
}

}  // namespace

// --- Writing ---

TextFile::TextFile(const char* name) {
    // Opened twice: here all that is no file is refused, and a pipe doesn't wait for its reader; the C
    // library knows the line ends.
    HANDLE const made =
        CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (made == INVALID_HANDLE_VALUE) return;
    CloseHandle(made);
    file_ = std::fopen(name, "w");
}

bool TextFile::Close() {
    if (file_ && std::fclose(file_) != 0) good_ = false;
    file_ = nullptr;
    return good_;
}

STDMETHODIMP TextFile::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    const bool answered = iid == kIid<IUnknown> || iid == kIid<ISequentialStream>;
    *out = answered ? this : nullptr;
    return answered ? S_OK : E_NOINTERFACE;
}

STDMETHODIMP TextFile::Write(const void* bytes, ULONG count, ULONG* written) {
    const size_t done = file_ ? std::fwrite(bytes, 1, count, file_) : 0;
    if (done != count) good_ = false;
    if (written) *written = ULONG(done);
    return done == count ? S_OK : STG_E_MEDIUMFULL;
}

// --- Reading ---

void TimelineReader::ReadChildren(IProperty* parent, int depth) {
    if (depth > kMaxDepth || !cursor_.Enter()) return;
    do Read(parent, depth);
    while (cursor_.Next());
    cursor_.Leave();
}

void TimelineReader::Read(IProperty* parent, int depth) {
    XmlElement element;
    if (!cursor_.Look(element)) return;
    if (SameName(element.name, names::kTimeline.View())) {
        if (const auto timeline = list_.AddLoaded()) ReadChildren(timeline.get(), depth + 1);
        return;
    }
    if (!parent) return ReadChildren(nullptr, depth + 1);

    const Fields fields(element);
    ComPtr<IProperty> found;
    if (parent->FindProperty(CallBstr(element.name).get(), found.Put()) != S_OK) found.Reset();
    if (!fields.value || !fields.type) {
        if (found) ReadChildren(found.get(), depth + 1);
        return;
    }
    if (const VARTYPE kind = KindIn(*fields.type); found && kind != kObjectKind) {
        std::ignore = found->put_Value(ValueOf(*fields.value, kind));
        ComPtr<IProperty> extension;
        if (fields.ext && fields.ext_type && found->get_Extension(extension.Put()) == S_OK && extension)
            std::ignore = extension->put_Value(ValueOf(*fields.ext, KindIn(*fields.ext_type)));
    }
    ReadChildren(parent, depth + 1);  // names are unique within a cut: a child is found from here as well
}

}  // namespace bv
