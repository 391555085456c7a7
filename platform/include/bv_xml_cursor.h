// What an XML document may answer beside the interfaces of the document object model: a way through its
// elements that takes no object and no text of its own for each of them. The native layer's documents do.
#pragma once

#include <objbase.h>

#include <cstddef>
#include <string_view>

struct XmlAttribute {
    std::wstring_view name, value;
};

/// An element as it stands: its attributes in order, with entities resolved.
struct XmlElement {
    std::wstring_view name;
    const XmlAttribute* attributes = nullptr;
    std::size_t attribute_count = 0;
};

/// Stands on the document at first, then on elements; nodes of other kinds are passed over. It keeps what was
/// loaded alive, and has one owner.
struct IXmlCursor {
    /// The owner's last call.
    virtual void End() = 0;
    /// To the first element inside, to the next one beside. False: there is none, and the cursor stays.
    virtual bool Enter() = 0;
    virtual bool Next() = 0;
    /// To the element around, or the document.
    virtual void Leave() = 0;
    /// The element that it stands on. The texts are the cursor's and last until the next call of it.
    /// False: no memory.
    virtual bool Read(XmlElement& element) = 0;

protected:
    ~IXmlCursor() = default;
};

struct IXmlCursorSource : IUnknown {
    /// A cursor for what the document holds now, which is the caller's. E_OUTOFMEMORY.
    STDMETHOD(NewCursor)(IXmlCursor** cursor) PURE;
};

inline constexpr IID IID_IXmlCursorSource = {
    0x6F1E24A9, 0xC3D7, 0x4B58, {0x8E, 0x02, 0x91, 0x5C, 0x7A, 0x3F, 0xE8, 0x60}};
