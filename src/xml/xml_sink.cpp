#include "xml/xml_sink.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstring>
#include <new>

#include "com/module_lock.h"
#include "com/variant.h"

namespace bv {
namespace {

constexpr std::string_view Entity(wchar_t c) {
    switch (c) {
        case L'&':
            return "&amp;";
        case L'<':
            return "&lt;";
        case L'>':
            return "&gt;";
        case L'\'':
            return "&apos;";
        default:
            return {};
    }
}

/// Characters that stand for themselves, in every code page too.
constexpr auto kIsPlain = [] {
    std::array<bool, 0x80> plain{};
    for (size_t c = 1; c < plain.size(); ++c) plain[c] = Entity(wchar_t(c)).empty();
    return plain;
}();
bool IsPlain(wchar_t c) { return size_t(c) < kIsPlain.size() && kIsPlain[size_t(c)]; }

}  // namespace

/// A sink that nobody uses, kept for the next one: a host may write node by node, and a new buffer each time
/// costs a job's settings 6 % more instructions, a lone node's 59 %.
class XmlSink::Spare {
public:
    ~Spare() { delete sink_.load(); }
    XmlSink* Take() { return sink_.exchange(nullptr); }
    void Give(XmlSink* sink) { delete sink_.exchange(sink); }

private:
    std::atomic<XmlSink*> sink_ = nullptr;
};
XmlSink::Spare XmlSink::spare_;

XmlSink::Scope::Scope(ISequentialStream* stream) : sink_(Query<XmlSink>(stream)) {
    if (sink_) return;
    XmlSink* sink = spare_.Take();
    if (!sink) sink = new (std::nothrow) XmlSink;
    if (!sink) return;
    LockModule();  // somebody may keep it after the call
    sink->target_ = stream;
    sink->used_ = 0;
    sink_ = sink;
    is_new_ = true;
}

STDMETHODIMP XmlSink::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid != kIid<XmlSink> && iid != kIid<ISequentialStream> && iid != kIid<IUnknown>) return E_NOINTERFACE;
    AddRef();
    *out = this;
    return S_OK;
}

STDMETHODIMP_(ULONG) XmlSink::Release() {
    const ULONG left = --references_;
    if (left == 0) {
        spare_.Give(this);
        UnlockModule();
    }
    return left;
}

STDMETHODIMP XmlSink::Read(void*, ULONG, ULONG* read) {
    if (read) *read = 0;
    return S_FALSE;
}

STDMETHODIMP XmlSink::Write(const void* bytes, ULONG count, ULONG* written) {
    if (!bytes && count) return E_POINTER;
    Append({static_cast<const char*>(bytes), count});
    if (written) *written = count;
    return S_OK;
}

void XmlSink::Flush() {
    if (used_ && target_) std::ignore = target_->Write(buffer_, ULONG(used_), nullptr);
    used_ = 0;
}

void XmlSink::End() {
    Flush();
    target_ = nullptr;
}

void XmlSink::Append(std::string_view text) {
    while (text.size() > kCapacity - used_) {
        const size_t part = kCapacity - used_;
        std::memcpy(buffer_ + used_, text.data(), part);
        used_ += part;
        text.remove_prefix(part);
        Flush();
    }
    std::memcpy(buffer_ + used_, text.data(), text.size());
    used_ += text.size();
}

void XmlSink::AppendName(std::wstring_view text) {
    text = text.substr(0, text.find(L'\0'));  // no document can hold one
    const int length = ToNarrowBytes(Room(kTextLimit), text, int(kTextLimit));
    if (length > 0) used_ += size_t(length);
}

void XmlSink::AppendSafe(std::wstring_view text) {
    char* out = Room(kTextLimit);
    size_t done = 0;
    for (const size_t most = std::min(text.size(), kTextLimit); done < most && IsPlain(text[done]); ++done)
        out[done] = char(text[done]);
    if (done == text.size()) {
        used_ += done;
        return;
    }
    text = text.substr(0, text.find(L'\0'));  // no document can hold one
    if (text.size() > kTextLimit) return;     // a character takes a byte or more
    size_t bytes = done;
    size_t added = 0;  // characters that the replacements add
    bool replaced = false;
    while (done < text.size()) {
        // Runs between special characters are converted as one: a character may take several units.
        const size_t special = std::min(text.find_first_of(L"&<>'", done), text.size());
        const int run =
            ToNarrowBytes(out + bytes, text.substr(done, special - done), int(kTextLimit - bytes));
        if (run < 0) return;
        bytes += size_t(run);
        done = special;
        if (done == text.size()) break;
        const std::string_view entity = Entity(text[done++]);
        if (entity.size() > kTextLimit - bytes) return;
        std::memcpy(out + bytes, entity.data(), entity.size());
        bytes += entity.size();
        added += entity.size() - 1;
        replaced = true;
    }
    if (replaced && text.size() + added > kSafeLimit) return;
    used_ += bytes;
}

void XmlSink::AppendNumber(LONGLONG number) {
    char* out = Room(24);
    if (number >= 0 && number < 10) {  // kinds, flags, choices
        *out = char('0' + number);
        ++used_;
        return;
    }
    used_ += size_t(std::to_chars(out, out + 24, number).ptr - out);
}

void XmlSink::AppendValue(const VARIANT& value) {
    switch (value.vt) {
        case VT_I4:
            return AppendNumber(value.lVal);
        case VT_I2:
        case VT_BOOL:
            return AppendNumber(value.iVal);
        case VT_UI1:
            return AppendNumber(value.bVal);
        case VT_BSTR:
            return AppendSafe(View(value.bstrVal));
        default:
            if (Variant text; SUCCEEDED(text.ChangeFrom(value, VT_BSTR))) AppendName(TextOf(text));
    }
}

}  // namespace bv
