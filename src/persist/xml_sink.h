// Where settings XML goes on its way to the caller's stream: a buffer, so that a tree costs few writes.
#pragma once

#include <bvschema/bvschema.h>

#include <string_view>

#include "com/com_ptr.h"

namespace bv {

/// A stream in front of the caller's. Our own nodes write into its buffer; a foreign object gets it as a plain stream. Its
/// writes never fail: the caller's stream keeps its own state.
class XmlSink final : public ISequentialStream {
public:
    static constexpr size_t kTextLimit = 512;  // bytes of a name, value or extension value
    static constexpr size_t kSafeLimit = 255;  // characters of a text that had to be made safe

    /// The sink behind a stream if it is one, else a new one in front of it. Null: no memory.
    static ComPtr<XmlSink> For(ISequentialStream* stream);

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP Read(void* bytes, ULONG count, ULONG* read) override;
    STDMETHODIMP Write(const void* bytes, ULONG count, ULONG* written) override;

    /// Appends as it stands.
    void Append(std::string_view text);
    /// Appends a text in the narrow code page; nothing if that takes more than 512 bytes.
    void AppendName(std::wstring_view text);
    /// The same with the four special characters replaced; nothing also if there were any and the safe form has more than
    /// 255 characters.
    void AppendSafe(std::wstring_view text);
    /// A value in its text form, made safe if it is a text.
    void AppendValue(const VARIANT& value);
    void AppendNumber(LONGLONG number);
    /// To be called by whoever made the sink, when the whole is written: what comes later goes nowhere.
    void Close();

private:
    void Flush();
    explicit XmlSink(ISequentialStream* target) : target_(target) {}
    ~XmlSink() = default;
    char* Room(size_t bytes);

    static constexpr size_t kCapacity = 32 * 1024;
    ULONG references_ = 0;
    ISequentialStream* target_;  // the caller's, who keeps it for the call; null once that is over
    size_t used_ = 0;
    char buffer_[kCapacity];
};
template <>
inline constexpr IID kIid<XmlSink> = GuidOf("E1C8B1F0-27C7-4A0E-8F0B-1F2B0D3C9E04");

}  // namespace bv
