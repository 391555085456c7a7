#include "cuts/timeline_file.h"

#include <bv_file_draft.h>

#include <optional>
#include <utility>

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

namespace {

/// Whether there is a file, or can be one. All that is no file is refused here, and a pipe doesn't wait
/// for its reader.
bool Opens(const char* name, DWORD disposition) {
    HANDLE const file =
        CreateFileA(name, GENERIC_WRITE, 0, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE && CloseHandle(file);
}

}  // namespace

TextFile::TextFile(const NarrowText& name) : name_(name) {
    if (!Opens(name_.c_str(), OPEN_EXISTING) && GetLastError() != ERROR_FILE_NOT_FOUND) return;
    const bool named = draft_.Append(name_.View()) && draft_.Append(".part");
    if (!named || !Opens(draft_.c_str(), CREATE_ALWAYS)) {
        // Where the folder takes no other file, or none of such a name, the old one is all that
        // can be written.
        const DWORD error = GetLastError();
        if (named) std::ignore = DeleteFileA(draft_.c_str());
        if (named && error != ERROR_ACCESS_DENIED && error != ERROR_FILENAME_EXCED_RANGE) return;
        draft_.Clear();
        if (!Opens(name_.c_str(), CREATE_ALWAYS)) return;
    }
    file_ =
        std::fopen(draft_.View().empty() ? name_.c_str() : draft_.c_str(), "w");  // it knows the line ends
    if (!file_ && !draft_.View().empty()) std::ignore = DeleteFileA(draft_.c_str());
}

bool TextFile::Close() {
    if (!file_) return good_;
    if (std::fclose(file_) != 0) good_ = false;
    file_ = nullptr;
    if (draft_.View().empty()) return good_;
    if (good_)
        good_ = KeepDraft(draft_.c_str(), name_.c_str());
    else
        std::ignore = DeleteFileA(draft_.c_str());
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

namespace {

constexpr size_t kFreeCuts = 1000;
constexpr size_t kBytesOfCut = 64;  // a cut with a start and an end takes more
constexpr size_t kBytesOfTag = 3, kBytesOfAttribute = 4;

/// What an element takes in its file, at least.
size_t BytesOf(const XmlElement& element) {
    size_t bytes = kBytesOfTag + element.name.size();
    for (size_t i = 0; i < element.attribute_count; ++i)
        bytes += kBytesOfAttribute + element.attributes[i].name.size() + element.attributes[i].value.size();
    return bytes;
}

/// Whether a node hangs below another one. same: how two objects are compared.
template <class Same>
bool HangsBelow(IProperty* node, IProperty* root, Same same) {
    ComPtr<IProperty> at(node);
    for (int level = 0; at && level < kMaxDepth; ++level) {
        if (same(at.get(), root)) return true;
        ComPtr<IDispatch> parent;
        if (at->get_Parent(parent.Put()) != S_OK) return false;
        at = parent.As<IProperty>();
    }
    return false;
}

/// The status of what has no other way to tell it than by failing:
/// all but a lack of memory is the file's own affair.
HRESULT OnlyMemory(HRESULT status) { return status == E_OUTOFMEMORY ? status : S_OK; }

HRESULT PutValue(IProperty* node, std::wstring_view text, VARTYPE kind) {
    const Variant value = ValueOf(text, kind);
    if (value.vt == VT_BSTR && !value.bstrVal) return E_OUTOFMEMORY;
    return OnlyMemory(node->put_Value(value));
}

}  // namespace

HRESULT TimelineReader::ReadChildren(IProperty* parent, int depth) {
    if (depth > kMaxDepth || !cursor_.Enter()) return S_OK;
    HRESULT status = S_OK;
    do status = ReadElement(parent, depth);
    while (SUCCEEDED(status) && cursor_.Next());
    cursor_.Leave();
    return status;
}

HRESULT TimelineReader::ReadCut(int depth) {
    if (++cuts_ > kFreeCuts + bytes_ / kBytesOfCut) return kTooManyCuts;
    ComPtr<IProperty> timeline;
    RETURN_IF_FAILED(list_.AddLoaded(timeline));
    IProperty* const outer = std::exchange(cut_, timeline.get());
    const HRESULT status = ReadChildren(timeline.get(), depth + 1);
    cut_ = outer;
    return status;
}

/// Null for a node that the file may not set.
ComPtr<IProperty> TimelineReader::Find(IProperty* from, std::wstring_view name, HRESULT& status) const {
    ComPtr<IProperty> found;
    const HRESULT searched = from->FindProperty(CallBstr(name).get(), found.Put());
    status = OnlyMemory(searched);
    if (searched != S_OK || !found) return nullptr;
    if (reach_ == FileReach::kWholeJob) return found;
    const auto same_pointer = [](IUnknown* a, IUnknown* b) { return a == b; };
    if (HangsBelow(found.get(), cut_, same_pointer) || HangsBelow(found.get(), cut_, SameObject))
        return found;
    return nullptr;
}

HRESULT TimelineReader::ReadElement(IProperty* parent, int depth) {
    XmlElement element;
    if (!cursor_.Read(element)) return E_OUTOFMEMORY;
    bytes_ += BytesOf(element);
    if (SameName(element.name, names::kTimeline.View())) return ReadCut(depth);
    if (!parent) return ReadChildren(nullptr, depth + 1);

    const Fields fields(element);
    HRESULT status = S_OK;
    const auto found = Find(parent, element.name, status);
    if (FAILED(status)) return status;
    if (!fields.value || !fields.type) return found ? ReadChildren(found.get(), depth + 1) : S_OK;
    if (const VARTYPE kind = KindIn(*fields.type); found && kind != kObjectKind) {
        RETURN_IF_FAILED(PutValue(found.get(), *fields.value, kind));
        ComPtr<IProperty> extension;
        if (fields.ext && fields.ext_type && found->get_Extension(extension.Put()) == S_OK && extension)
            RETURN_IF_FAILED(PutValue(extension.get(), *fields.ext, KindIn(*fields.ext_type)));
    }
    return ReadChildren(parent,
                        depth + 1);  // names are unique within a cut: a child is found from here as well
}

}  // namespace bv
