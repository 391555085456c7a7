// Where settings XML goes on its way to the caller's stream: a buffer, so that a tree costs few writes.
#pragma once

#include <bvschema/bvschema.h>

#include <charconv>
#include <cstring>
#include <string_view>

#include "com/com_ptr.h"
#include "com/narrow.h"

namespace bv {

/// A stream in front of the caller's. Our own nodes write into its buffer; a foreign object gets it as a
/// plain stream. Its writes never fail: the caller's stream keeps its own state.
class XmlSink final : public ISequentialStream {
public:
    static constexpr size_t kSafeLimit = 255;  // characters of a text that had to be made safe

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP Read(void* bytes, ULONG count, ULONG* read) override;
    STDMETHODIMP Write(const void* bytes, ULONG count, ULONG* written) override;

    /// What writes an element to a stream: finds the sink, or puts one in front of the stream and flushes it at its
    /// end; what comes after that goes nowhere.
    class Scope {
    public:
        explicit Scope(ISequentialStream* stream);
        Scope(const Scope&) = delete;
        ~Scope() { Close(); }
        /// Flushes and ends before its time.
        void Close() {
            if (sink_ && is_new_) sink_->End();
        }
        /// Null: no memory.
        XmlSink* sink() const { return sink_.get(); }

    private:
        ComPtr<XmlSink> sink_;
        bool is_new_ = false;
    };

    /// Appends as it stands.
    void Append(std::string_view text);
    /// A name between two texts. It stands at the begin of a block of 24 bytes, which is copied whole.
    template <size_t N, size_t M>
    void AppendTag(const char (&before)[N], const char (&block)[24], size_t size, const char (&behind)[M]) {
        char* out = Room(N + M + sizeof block);
        std::memcpy(out, before, N - 1);
        std::memcpy(out + N - 1, block, sizeof block);
        std::memcpy(out + N - 1 + size, behind, M - 1);
        used_ += N - 1 + size + M - 1;
    }
    /// The begin of an element whose value is a VT_I4. Its name stands in such a block.
    void AppendNumberTag(const char (&block)[24], size_t size, LONG number) {
        constexpr std::string_view kValue = " value='", kType = "' type='3'>\n";
        char* const start = Room(sizeof block + 64);
        char* out = start;
        *out++ = '<';
        std::memcpy(out, block, sizeof block);
        out += size;
        std::memcpy(out, kValue.data(), kValue.size());
        out = std::to_chars(out + kValue.size(), out + kValue.size() + 16, number).ptr;
        std::memcpy(out, kType.data(), kType.size());
        used_ += size_t(out - start) + kType.size();
    }
    template <size_t N>
    void Append(const char (&literal)[N]) {
        static_assert(N <= kTextLimit);
        std::memcpy(Room(N - 1), literal, N - 1);
        used_ += N - 1;
    }
    /// A value and its kind, with the texts before each; behind them the closing quote.
    template <size_t N, size_t M>
    void AppendTyped(const char (&before)[N], const VARIANT& value, const char (&between)[M]);
    /// Appends a text in the narrow code page; nothing if that takes more than 512 bytes.
    void AppendName(std::wstring_view text);
    /// The same with the four special characters replaced; nothing also if there were any and the safe form
    /// has more than 255 characters.
    void AppendSafe(std::wstring_view text);
    /// A value in its text form, made safe if it is a text.
    void AppendValue(const VARIANT& value);
    void AppendNumber(LONGLONG number);

private:
    void End();
    void Flush();
    XmlSink() = default;
    ~XmlSink() = default;
    /// Where so many bytes can be written.
    char* Room(size_t bytes) {
        if (kCapacity - used_ < bytes) Flush();
        return buffer_ + used_;
    }

    class Spare;
    static Spare spare_;
    static constexpr size_t kCapacity = 32 * 1024;
    ULONG references_ = 0;
    ISequentialStream* target_ = nullptr;  // the caller's, who keeps it for the call; null once that is over
    size_t used_ = 0;
    char buffer_[kCapacity];
};

template <size_t N, size_t M>
void XmlSink::AppendTyped(const char (&before)[N], const VARIANT& value, const char (&between)[M]) {
    if (value.vt == VT_I4) {  // most values
        char* out = Room(N + M + 24);
        std::memcpy(out, before, N - 1);
        out = std::to_chars(out + N - 1, out + N + 23, value.lVal).ptr;
        std::memcpy(out, between, M - 1);
        out += M - 1;
        *out++ = char('0' + VT_I4);
        *out++ = '\'';
        used_ = size_t(out - buffer_);
        return;
    }
    Append(before);
    AppendValue(value);
    Append(between);
    AppendNumber(value.vt);
    Append("'");
}

template <>
inline constexpr IID kIid<XmlSink> = GuidOf("E1C8B1F0-27C7-4A0E-8F0B-1F2B0D3C9E04");

}  // namespace bv
