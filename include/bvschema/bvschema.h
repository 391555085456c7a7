// BVSchema: the settings schema of a video conversion job, as an in-process component server.
//
// Everything a host needs: the interfaces, their ids (bv::kIid<T>), the class ids (bv::clsid::*), the records
// and the status codes. <bvschema/platform.h> supplies the component model's own names on each platform.
//
// Rules that hold for every operation, unless it says otherwise:
// - An operation gives a status (HRESULT). S_FALSE (1) is success with nothing there: no value, not found,
// cancelled.
// - Texts are BSTR; a null BSTR reads as an empty text. A BSTR or VARIANT that an operation gives belongs to
// the caller,
//   who frees it (SysFreeString, VariantClear). Arguments stay the caller's and are copied.
// - An interface pointer that an operation gives comes with a reference added; a pointer passed in is not
// kept beyond
//   the call unless the operation says that it holds a reference.
// - After a failure the object and the out arguments are as they were.
// - A refusal that a person should read leaves its text in the calling thread's error object (GetErrorInfo).
// - A tree of nodes, with everything that hangs on it, is used by one thread at a time.
// - Names of nodes compare without regard to case.
#pragma once

#if __cplusplus < 202002L && (!defined(_MSVC_LANG) || _MSVC_LANG < 202002L)
#error \
    "<bvschema/bvschema.h> needs C++20: compile with -std=c++20, or link the CMake target BVSchema::BVSchema."
#include <bvschema/needs_c++20>  // there is no such file: the compiler ends here, with nothing more to say
#endif

#include <bvschema/platform.h>

#include <cstddef>

namespace bv {

namespace detail {
consteval unsigned HexDigit(char c) {
    if (c >= '0' && c <= '9') return unsigned(c - '0');
    if (c >= 'A' && c <= 'F') return unsigned(c - 'A' + 10);
    if (c >= 'a' && c <= 'f') return unsigned(c - 'a' + 10);
    throw "a GUID is written in hexadecimal digits";
}
consteval unsigned long HexField(const char* text, int digits) {
    unsigned long value = 0;
    for (int i = 0; i < digits; ++i) value = value * 16 + HexDigit(text[i]);
    return value;
}
}  // namespace detail

/// A GUID from its text form without braces, "48ADEF10-6C76-40CE-8D40-34771934785D", at compile time.
consteval GUID GuidOf(const char (&text)[37]) {
    GUID id = {};
    id.Data1 = static_cast<decltype(id.Data1)>(detail::HexField(text, 8));
    id.Data2 = static_cast<decltype(id.Data2)>(detail::HexField(text + 9, 4));
    id.Data3 = static_cast<decltype(id.Data3)>(detail::HexField(text + 14, 4));
    for (int i = 0; i < 8; ++i)
        id.Data4[i] = static_cast<unsigned char>(detail::HexField(text + 19 + 2 * i + (i > 1 ? 1 : 0), 2));
    return id;
}

/// The interface id of T: bv::kIid<IProperty>.
template <class T>
inline constexpr IID kIid = T::no_interface_id_is_declared_for_this_type;

}  // namespace bv

// An interface's id, once and for all: for kIid, for __uuidof where the compiler has it, and for grep.
#define BV_INTERFACE_ID(Type, text)                       \
    namespace bv {                                        \
    template <>                                           \
    inline constexpr IID kIid<Type> = ::bv::GuidOf(text); \
    }                                                     \
    BV_DECLARE_UUID(Type, text)
#define BV_SYSTEM_INTERFACE_ID(Type, text)                \
    namespace bv {                                        \
    template <>                                           \
    inline constexpr IID kIid<Type> = ::bv::GuidOf(text); \
    }

BV_SYSTEM_INTERFACE_ID(IUnknown, "00000000-0000-0000-C000-000000000046")
BV_SYSTEM_INTERFACE_ID(IDispatch, "00020400-0000-0000-C000-000000000046")
BV_SYSTEM_INTERFACE_ID(IClassFactory, "00000001-0000-0000-C000-000000000046")
BV_SYSTEM_INTERFACE_ID(ISupportErrorInfo, "DF0B3D60-548F-101B-8E65-08002B2BD119")
BV_SYSTEM_INTERFACE_ID(IErrorInfo, "1CF2B120-547D-101B-8E65-08002B2BD119")
BV_SYSTEM_INTERFACE_ID(ICreateErrorInfo, "22F03340-547D-101B-8E65-08002B2BD119")
BV_SYSTEM_INTERFACE_ID(ISequentialStream, "0C733A30-2A1C-11CE-ADE5-00AA0044773D")
BV_SYSTEM_INTERFACE_ID(IBaseFilter, "56A86895-0AD4-11CE-B03A-0020AF0BA770")
BV_SYSTEM_INTERFACE_ID(ICreateDevEnum, "29840822-5B84-11D0-BD3B-00A0C911CE86")
BV_SYSTEM_INTERFACE_ID(IPropertyBag, "55272A00-42CB-11CE-8135-00AA004BB851")

struct ICriticalSection;
struct IMediaObject;
struct IProperty;

namespace bv {

/// The bits of IProperty.Type: which editor a form shows for the node. The server keeps the word and gives it
/// back; it acts on kNotNegative alone. The others tell what the nodes that carry them have in common, so a
/// host may pass over those that it has no use for. Whether there is a value, a list of values or a dialog,
/// the node itself tells as well: get_Value, IListOfValues, ShowDialog.
namespace style {
inline constexpr LONG kEdit = 0x1;             // a field in which the value is typed
inline constexpr LONG kList = 0x4;             // a list to choose from: the node's IListOfValues
inline constexpr LONG kDialog = 0x8;           // a button that calls ShowDialog
inline constexpr LONG kCarrier = 0x10;         // no row of its own: it carries other nodes, or data
inline constexpr LONG kCheckBox = 0x20;        // a check box: VT_I4 1 or 0
inline constexpr LONG kHeading = 0x40;         // with kGroup: the group has a heading, its Title
inline constexpr LONG kGroup = 0x80;           // a frame round the children; it has no value
inline constexpr LONG kDependent = 0x100;      // counts while the switch above it is on
inline constexpr LONG kRefinement = 0x200;     // refines the setting before it: one step further in
inline constexpr LONG kShowsOthers = 0x400;    // its value shows and hides other nodes: draw the form anew
inline constexpr LONG kSwitch = 0x800;         // a check box that takes what belongs to it into use
inline constexpr LONG kBranch = 0x1000;        // a check box that a whole branch depends on
inline constexpr LONG kFile = 0x8000;          // the text is the path of a file that is there
inline constexpr LONG kRedraws = 0x10000;      // its value changes what is shown for the nodes round it
inline constexpr LONG kLabel = 0x20000;        // a text to read, such as a unit: it isn't typed
inline constexpr LONG kInEditor = 0x40000;     // for the editor of a node above it, not for the form
inline constexpr LONG kNotNegative = 0x80000;  // put_Value refuses a number below 0
inline constexpr LONG kByFormat = 0x100000;    // shown and typed through Format, in the unit beside it
}  // namespace style

}  // namespace bv

// --- Nodes -------------------------------------------------------------------------------------------------

struct IBaseObj : IDispatch {
    /// The object's Name: what code searches for, and the element name in the settings XML. E_POINTER for a
    /// null out pointer, E_OUTOFMEMORY when the copy fails.
    STDMETHOD(get_Name)(BSTR* pVal) PURE;
};
BV_INTERFACE_ID(IBaseObj, "D27BF443-091F-4AF5-A234-851BB5CEF820")

/// One node of the settings tree: a self-describing, typed, editable setting.
/// Its children come by asking the node for IEnumProperties, its allowed values by asking for IListOfValues.
struct IProperty : IBaseObj {
    /// The style word for whoever presents the node, bits of bv::style.
    /// The server acts on one of them: kNotNegative.
    STDMETHOD(get_Type)(LONG* pVal) PURE;
    /// Non-zero: not to be shown.
    STDMETHOD(get_IsHide)(LONG* pVal) PURE;
    /// The same as Hide.
    STDMETHOD(put_IsHide)(LONG newVal) PURE;
    /// Non-zero: to be shown, but not editable.
    STDMETHOD(get_IsDisabled)(LONG* pVal) PURE;
    /// The same as Disabled.
    STDMETHOD(put_IsDisabled)(LONG newVal) PURE;
    /// The help text: that of the description id if one above 0 is set (at most 511 characters), else the
    /// text that was put. E_POINTER for a null out pointer.
    STDMETHOD(get_Description)(BSTR* pVal) PURE;
    /// Replaces the help text and clears the description id. Simple nodes keep the id, which goes on winning.
    STDMETHOD(put_Description)(BSTR newVal) PURE;
    /// The text shown beside the value.
    STDMETHOD(get_Title)(BSTR* pVal) PURE;
    /// A copy of the stored value, in the kind in which it was stored. S_FALSE, and *pVal untouched, for a
    /// node that has no value (a group).
    STDMETHOD(get_Value)(VARIANT* pVal) PURE;
    /// Stores a copy of newVal in its own kind, with nothing converted, and runs the node's hooks, which
    /// show, hide and enable what depends on it. E_NOTIMPL for a node that has no value; E_FAIL with "This
    /// value cannot be negative." for a negative number on a node with the bit 0x80000; the value stays and
    /// no hook runs then. A class may check more.
    STDMETHOD(put_Value)(VARIANT newVal) PURE;
    /// Opens the node's editor, modal. S_OK: a value was stored. S_FALSE: cancelled, or not there.
    /// E_NOTIMPL: no editor.
    STDMETHOD(ShowDialog)() PURE;
    /// The node of that Name. With a media object: the active nodes below this one, then those of the whole
    /// job (IMap); E_FAIL when the media object has no IMap. Without one: this node's descendants, active or
    /// not. S_FALSE, and *pRet untouched, when there is none.
    STDMETHOD(FindProperty)(BSTR Name, IProperty** pRet) PURE;
    /// The media object of the job. S_OK and *pVal untouched when there is none.
    STDMETHOD(get_MediaObject)(IDispatch** pVal) PURE;
    /// Gives the node and its whole subtree, with all entries of value lists, the media object, and registers
    /// the descendants in the object's IMap. A second call registers them again. No reference is kept: the
    /// media object must outlive the tree, or be taken back with a null pointer.
    STDMETHOD(put_MediaObject)(IDispatch* newVal) PURE;
    /// The node or collection above this one. S_FALSE, and *pVal untouched, when there is none, or
    /// it is gone.
    STDMETHOD(get_Parent)(IDispatch** pVal) PURE;
    /// No reference is kept.
    STDMETHOD(put_Parent)(IDispatch* newVal) PURE;
    /// The node that qualifies this one: the unit beside a number, a converter of the shown form. E_NOTIMPL:
    /// none.
    STDMETHOD(get_Extension)(IProperty** pVal) PURE;
    /// Runs the hook of a node whose value decides what others show, for a tree that has just got
    /// its media object.
    STDMETHOD(InitDefault)() PURE;
    /// Non-zero: the node counts. A search through the media object passes over a node with 0.
    STDMETHOD(get_Active)(LONG* pVal) PURE;
    /// Sets the flag here, on the node that the value holds, and on all children.
    STDMETHOD(put_Active)(LONG newVal) PURE;
    /// Sets the hidden flag here, on the node that the value holds, and on all children.
    STDMETHOD(Hide)(LONG newVal) PURE;
    /// Sets the disabled flag here, on the node that the value holds, and on all children.
    STDMETHOD(Disabled)(LONG newVal) PURE;
    /// The shown form of the value: the value itself, or what the extension's IValueFormat makes of it.
    STDMETHOD(get_Format)(VARIANT* pVal) PURE;
    /// Takes the shown form: parses it where the extension can, checks it and stores it as put_Value does.
    STDMETHOD(put_Format)(VARIANT newVal) PURE;
    /// The opaque block that was put here: its kind, its length in bytes, and the node's own buffer, which is
    /// valid until the next PutData or PutExData and isn't the caller's to free. S_OK with null and 0 when
    /// there is none.
    STDMETHOD(GetData)(int* nDataType, LONG* pLength, BYTE** pData) PURE;
    /// Keeps a copy of nLength bytes and drops the extra object. E_OUTOFMEMORY: the old block is gone all the
    /// same, and GetData gives null with the kind and the length that it had.
    STDMETHOD(PutData)(int nDataType, LONG nLength, BYTE* pData) PURE;
    /// Replaces Name. An object in pVal (VT_DISPATCH, VT_UNKNOWN) becomes the parent, with no reference.
    STDMETHOD(SetInfo)(BSTR Name, VARIANT pVal) PURE;
    /// To be called before the value list is opened.
    STDMETHOD(BeforeCombo)() PURE;
    /// The node's class id.
    STDMETHOD(get_ClassID)(GUID* pVal) PURE;
    /// The media object for this node, its children and its extension, with nothing registered and
    /// no hook run.
    STDMETHOD(SetMediaObject)(IDispatch* pVal) PURE;
    /// The VT code of the stored value; 0 (VT_EMPTY) for an empty one and for a node that has no value.
    STDMETHOD(get_ValueType)(int* pVal) PURE;
    /// The string-table id of the help text; above 0 it wins over a text.
    STDMETHOD(put_DescriptionID)(int newVal) PURE;
    /// Keeps an object for the host, with a reference, and drops the opaque block.
    STDMETHOD(PutExData)(IDispatch* pVal) PURE;
    /// The object that was put here. E_FAIL: none.
    STDMETHOD(GetExData)(IDispatch** pVal) PURE;
};
BV_INTERFACE_ID(IProperty, "48ADEF10-6C76-40CE-8D40-34771934785D")

/// How the code that creates a simple node sets it up. To be used on a new node.
struct ISimpleInit : IUnknown {
    /// The flags that IProperty.Type gives.
    STDMETHOD(SetType)(LONG type) PURE;
    /// Hides the node and what is below it; 0 shows it.
    STDMETHOD(put_IsHide)(LONG newVal) PURE;
    /// Disables the node and what is below it; 0 enables it.
    STDMETHOD(put_IsDisabled)(LONG newVal) PURE;
    /// The help text, where the node has no id of one. Null is empty.
    STDMETHOD(put_Description)(BSTR newVal) PURE;
    /// What a person reads in place of the name. Null is empty.
    STDMETHOD(SetTitle)(BSTR title) PURE;
    /// As IProperty's, but makes the value when the node has none.
    STDMETHOD(put_Value)(VARIANT newVal) PURE;
    /// The object above, to which no reference is kept. Null: none.
    STDMETHOD(put_Parent)(IDispatch* newVal) PURE;
    /// Gives the node an extension that holds a path. The status of its creation;
    /// the old extension stays then.
    STDMETHOD(SetPathExtension)(BSTR path) PURE;
    /// The three additions of IListOfValues, on the node's own list. S_OK whatever becomes of the entry.
    STDMETHOD(AddItem)(BSTR name, VARIANT value) PURE;
    /// With a new object of the class, under its title.
    STDMETHOD(AddObject)(CLSID* pClsID) PURE;
    /// With a new node of the class, under its own value.
    STDMETHOD(AddObject2)(BSTR name, CLSID* pClsID) PURE;
    /// Gives the value of the list's entry to put_Value. E_INVALIDARG when there is no such entry.
    STDMETHOD(SelectItem)(LONG index) PURE;
    /// Creates an object of the class as the extension; the status of the creation.
    STDMETHOD(SetExtensionClass)(CLSID* pClsID) PURE;
    /// The string of the module that is the help text; 0: put_Description's.
    STDMETHOD(put_DescriptionID)(int newVal) PURE;
};
BV_INTERFACE_ID(ISimpleInit, "B7047ECE-CCB6-41C9-AFC1-98DA6412ECC3")

/// A converter between a stored and a shown value, asked of a node's extension.
struct IValueFormat : IUnknown {
    /// What is to be stored for what a person typed; the caller owns it. A kind that needs no conversion is
    /// copied. A text that makes no sense fails with a message, and *stored is untouched.
    STDMETHOD(ParseValue)(VARIANT shown, VARIANT* stored) PURE;
    /// Replaces a stored value by what is shown for it. After a failure it is as it was.
    STDMETHOD(FormatValue)(VARIANT* value) PURE;
};
BV_INTERFACE_ID(IValueFormat, "FE946CF5-1D77-4AB8-943D-26EA1373639C")

/// What can be written as settings XML.
struct ISettingsWriter : IUnknown {
    /// Appends the object's element, with all below it, to the stream, in the 8-bit code page, one tag a
    /// line. S_OK, also when the stream takes nothing: its state tells.
    STDMETHOD(WriteXml)(ISequentialStream* stream) PURE;
    /// Reads what lies beside the settings, once the values were restored. A node needs no argument; DVD
    /// index data takes the XML node of its own element.
    STDMETHOD(ReadExtraData)(IUnknown* source) PURE;
};
BV_INTERFACE_ID(ISettingsWriter, "F8855786-E505-4575-8855-8BCC75A8ED48")

// --- Collections -------------------------------------------------------------------------------------------

struct ICollection : IBaseObj {
    /// How many items there are.
    STDMETHOD(get_Count)(LONG* pVal) PURE;
    /// The item at Index, from 0. E_INVALIDARG, and *pVal untouched, outside the list.
    STDMETHOD(get_Item)(LONG Index, IUnknown** pVal) PURE;
};
BV_INTERFACE_ID(ICollection, "A7708037-EB36-4358-869B-2461C6BC6C84")

/// The children of a node, in order; also their creator, and the search engine of the tree.
struct IEnumProperties : ICollection {
    /// AddProperty with the node that owns this collection as parent.
    STDMETHOD(InsertProperty)(BSTR Name, GUID* pClsID, IProperty** pRet) PURE;
    /// Creates a node of the class, names it, gives it the parent and appends it. pRet may be null. The
    /// status of the creation; nothing is added then.
    STDMETHOD(AddProperty)(BSTR Name, GUID* refclsid, IDispatch* pParent, IProperty** pRet) PURE;
    /// Searches the tree below pParent, which may be null, then this collection's own items; active nodes
    /// only. S_FALSE, and *pRet untouched, when there is none.
    STDMETHOD(FindProperty)(BSTR Name, IProperty* pParent, IProperty** pRet) PURE;
    /// Gives S_FALSE.
    STDMETHOD(FindPropertyExactly)(BSTR Name, IProperty** pRet) PURE;
    /// Gives all items the media object, and registers them in its IMap.
    STDMETHOD(InitProperty)(IDispatch* pVal) PURE;
    /// Removes the first item of that name, active or not. S_OK, also when there is none.
    /// pParent has no effect.
    STDMETHOD(RemoveByName)(BSTR Name, IProperty* pParent) PURE;
    /// The node that owns this collection; no reference is kept.
    STDMETHOD(PutParent)(IProperty* pParent) PURE;
    /// Appends an object that exists, with a reference; a node gets the name and the parent.
    STDMETHOD(AddObject)(BSTR Name, IUnknown* pParent, IUnknown* pUnk) PURE;
};
BV_INTERFACE_ID(IEnumProperties, "203419F1-9A44-4ECB-AB2F-D9F7A5E7353D")

/// The values that a node offers, each with its label. The list only offers:
/// put_Value doesn't check against it.
struct IListOfValues : ICollection {
    /// The label of the first entry with that value, by kind and value; objects by identity. E_INVALIDARG:
    /// none.
    STDMETHOD(get_Text)(VARIANT varValue, BSTR* pVal) PURE;
    /// AddItem, with an object stored as VT_UNKNOWN.
    STDMETHOD(AddNew)(BSTR Name, VARIANT var) PURE;
    /// An entry with a new node of the class as value; the node's own value is the label.
    STDMETHOD(AddObject2)(BSTR Name, GUID* pClsID) PURE;
    /// An entry with a new object of the class as value; the label is the Title of an object that is a node.
    STDMETHOD(AddObject)(GUID* pClsID) PURE;
    /// Appends an entry. A node given as value is deactivated until it is selected.
    STDMETHOD(AddItem)(BSTR Name, VARIANT var) PURE;
    /// Removes all entries. The value of the node stays, a selected object too.
    STDMETHOD(Clear)() PURE;
    /// Removes the entry at that index. E_INVALIDARG outside the list.
    STDMETHOD(RemoveByID)(int nID) PURE;
};
BV_INTERFACE_ID(IListOfValues, "E0CCC893-1D3D-4873-9579-BC5979F5A40A")

/// One entry of a value list.
struct IListItem : IBaseObj {
    /// The label, once more.
    STDMETHOD(get_Title)(BSTR* pVal) PURE;
    /// The value that choosing this entry stores: a copy, or a reference to an object.
    STDMETHOD(get_Value)(VARIANT* pVal) PURE;
    /// Sets the label, which Name and Title both give, and the value.
    STDMETHOD(SetInfo)(BSTR Name, VARIANT pVal) PURE;
};
BV_INTERFACE_ID(IListItem, "6DE6CE67-1578-4B80-9B41-B9EA98B11458")

/// The flat index of a job's nodes, which the media object answers.
struct IMap : IDispatch {
    /// Searches below pParent, which may be null, then the whole index. S_FALSE, and *pVal untouched:
    /// no such active node.
    STDMETHOD(get_Property)(BSTR Name, IProperty* pParent, IProperty** pVal) PURE;
    /// The value of that node, with the status of its get_Value. E_INVALIDARG: no such active node.
    STDMETHOD(get_PropertyVal)(BSTR Name, IProperty* pParent, VARIANT* pVal) PURE;
    /// put_Value of that node, with its status. E_INVALIDARG: no such active node.
    STDMETHOD(put_PropertyVal)(BSTR Name, IProperty* pParent, VARIANT newVal) PURE;
    /// Takes one entry of that name out of the index. S_OK whatever the outcome.
    STDMETHOD(RemoveProperties)(BSTR Name, IProperty* pParent) PURE;
    /// InitDefault of every entry, in order.
    STDMETHOD(InitDefault)() PURE;
    /// Appends a node, with a reference. Nodes alone may be given.
    STDMETHOD(InsertProperty)(IUnknown* pVal) PURE;
};
BV_INTERFACE_ID(IMap, "C3C055E0-E599-4DB0-BDB7-F44D0D7A56DB")

/// A counted list of filter objects.
struct IEnumObject : IDispatch {
    /// How many objects are in the list.
    STDMETHOD(Count)(LONG* pnCount) PURE;
    /// The object at that index, from 0, with a reference.
    /// E_INVALIDARG, and *ppUnk untouched, outside the list.
    STDMETHOD(Item)(LONG nID, IUnknown** ppUnk) PURE;
    /// Takes out the first entry that is this very pointer. S_FALSE: there is none.
    STDMETHOD(Remove)(IUnknown* ppUnk) PURE;
    /// Appends the object that *ppUnk holds, with a reference of the list's own; null adds nothing. A node
    /// gets the media object that the list has. E_OUTOFMEMORY: not added.
    STDMETHOD(Add)(IUnknown** ppUnk) PURE;
    /// The media object of the job, which the list passes on to its nodes by put_MediaObject and keeps for
    /// later ones without a reference. Null takes it back.
    STDMETHOD(SetMediaObject)(IDispatch* ppUnk) PURE;
    /// Creates an object in process as IFilterEntry, appends it as Add does and gives it in *ppUnk with a
    /// reference of the caller's. The status of the creation; nothing is added then.
    STDMETHOD(AddByCLSID)(CLSID* pClsID, IUnknown** ppUnk) PURE;
};
BV_INTERFACE_ID(IEnumObject, "80E93B00-7E4C-419D-90FB-28EB8E498E18")

// --- The job's root, actions and filters -------------------------------------------------------------------

/// The second interface of the root.
struct IMainMediaPath : IUnknown {
    /// Makes an input node the current one: the node "PathToMediaFile" of the media object's index. The root
    /// must have its media object; E_FAIL without one that answers IMap.
    STDMETHOD(SetMediaPath)(IProperty* path) PURE;
};
BV_INTERFACE_ID(IMainMediaPath, "83359A42-4FA7-4B21-AD15-83B804855DD0")

struct IActionImplInit : IUnknown {
    /// Creates the action object and hangs its node below this one, as "ActionRoot_" and the name.
    STDMETHOD(Init)(BSTR name, BSTR title, BSTR description, CLSID* action) PURE;
};
BV_INTERFACE_ID(IActionImplInit, "0E3E26B1-21B1-4377-8C4D-45F5AB90701B")

struct IFilterImplInit : IUnknown {
    /// Creates the filter object in process and hangs its node below this one, under the name; this node's
    /// Name becomes "FltImplement" and the name, 255 characters at most. From then on the node answers
    /// IBaseFilter with the object. To be called once. The status of the creation, or E_NOINTERFACE for a
    /// filter that is no node; the node stays as it was then.
    STDMETHOD(Init)(BSTR name, CLSID* filter) PURE;
};
BV_INTERFACE_ID(IFilterImplInit, "A06B2128-9FB4-4874-813B-AFA5149D32A0")

// --- Input sources -----------------------------------------------------------------------------------------

/// What became of the last attempt to open an input.
struct IMediaOpenState : IUnknown {
    /// 1 once SetState was called for the path that the node has.
    STDMETHOD(get_StateSet)(LONG* pVal) PURE;
    /// 1 when the state was set and is 1.
    STDMETHOD(get_IsGood)(LONG* pVal) PURE;
    /// State and text of the last attempt. Unless the state is 1, an error object of the thread is taken: its
    /// description becomes the text, and the state 2. E_POINTER, E_OUTOFMEMORY.
    STDMETHOD(GetState)(LONG* state, BSTR* text) PURE;
    /// What became of an attempt: 1 for success, other numbers are the host's.
    /// A change of the path takes it back.
    STDMETHOD(SetState)(LONG state, BSTR text) PURE;
};
BV_INTERFACE_ID(IMediaOpenState, "82B1FF6F-5DD0-4F2C-8231-88FDFF27DCF3")

/// One sample of an input, kept with its node.
struct ICachedSample : IUnknown {
    /// Keeps a copy of the bytes and of the media type, with its format block. S_FALSE, and nothing is kept:
    /// the node has a sample already, or 201 nodes of the process have one.
    STDMETHOD(PutSample)(BYTE* data, LONG size, AM_MEDIA_TYPE* type, LONG typeSize) PURE;
    /// The node's own block and type, which are not the caller's to free. S_FALSE, and nothing is written:
    /// there is none.
    STDMETHOD(GetSample)(BYTE** data, LONG* size, AM_MEDIA_TYPE** type, LONG* typeSize) PURE;
};
BV_INTERFACE_ID(ICachedSample, "2712A0D5-BC8E-45D6-867A-EAD5C41CDD2C")

/// The ordered list of a job's inputs, nodes of the class PropertyMediaPath.
struct IMediaFiles : ICollection {
    /// Lets the user choose files, and adds each. S_OK also when the dialog is cancelled; the first failure
    /// ends it, what was added stays.
    STDMETHOD(AddNew)() PURE;
    /// Adds an input with that path. A lone entry without a path is filled instead. The status of the
    /// creation or of put_Value.
    STDMETHOD(Insert)(BSTR Path) PURE;
    /// Takes an entry out, and the list's reference with it. S_OK also when it isn't in the list.
    STDMETHOD(RemoveItem)(IProperty* pIt) PURE;
    /// Swaps an entry with the one nDir places further, -1 for one up. E_INVALIDARG, and nothing moves,
    /// outside the list; S_OK when the entry isn't in it.
    STDMETHOD(Move)(IProperty* ptrProp, int nDir) PURE;
    /// The first entry; an empty list gets one without a path.
    STDMETHOD(GetTopMedia)(IProperty** pProp) PURE;
};
BV_INTERFACE_ID(IMediaFiles, "93AED99E-EBD6-4410-906F-D33E587E10BD")

/// The cuts of one input: the node "Timelines" (class PropertyTimelines) below the input's node answers it.
struct ITimelines : ICollection {
    /// Appends a cut, in frames from 0, and gives it; ptrRet may be null. The frames aren't checked here. The
    /// status of the creation, or E_OUTOFMEMORY; nothing is added then.
    STDMETHOD(AddTimeline)(LONG nStartFrm, LONG nEndFrm, IProperty** ptrRet) PURE;
    /// Takes a cut out, and the list's reference with it. S_OK also when it isn't in the list.
    STDMETHOD(RemoveTimeline)(IProperty* ptrProp) PURE;
    /// Writes all cuts to a file, which is made anew. A file that can't be made or written whole, and an item
    /// that can't be written, fail with a message; what was written so far stays.
    STDMETHOD(Save)(BSTR bstrFileName) PURE;
    /// Clears the list, and fills it from a file. One that is no document, or has more than a thousand cuts
    /// that say nothing, fails with a message, a lack of memory with E_OUTOFMEMORY, and the list is empty
    /// then; in a document, what isn't a cut is passed over, and so is a node that isn't the
    /// cut's own (ICutFileReach).
    STDMETHOD(Load)(BSTR bstrFileName) PURE;
    /// The media object of the job, for the cuts that are there and those to come. No reference is kept; null
    /// takes it back.
    STDMETHOD(SetMediaObject)(IMediaObject* ptrMediaObj) PURE;
    /// What will be encoded, in 100 ns: the cuts that lie in the source, overlaps as often as they occur, or
    /// the whole source while cuts aren't in use. Fails with a message when the media object is missing or
    /// knows no source. *pVal is untouched for a source that has neither sound nor moving pictures and
    /// is no still.
    STDMETHOD(get_ActiveDuration)(LONGLONG* pVal) PURE;
};
BV_INTERFACE_ID(ITimelines, "8D6996E4-2F2E-4F29-B0A3-D4032EB2D074")

/// How far a file of cuts may reach into the job, at an object that answers ITimelines. A file may come from
/// anywhere: at first (0) its elements set the nodes of the cut that they stand in, and an element that names
/// another node is passed over. Otherwise they set whatever node a search from the cut finds, such as the
/// job's output: for files that the host has made itself. Holds for each Load that follows.
struct ICutFileReach : IUnknown {
    STDMETHOD(get_WholeJob)(LONG* pVal) PURE;
    STDMETHOD(put_WholeJob)(LONG newVal) PURE;
};
BV_INTERFACE_ID(ICutFileReach, "3E0B8C57-94D1-4C6A-A2F7-5B6D0E81C9A4")

// A scanned DVD, as hosts and their scanners hand it over. On 32 bits these are exact layouts; on 64 bits the
// same fields with natural alignment. Arrays are blocks of their own; a count of 0 needs none.

/// A piece of a VOB.
struct DVDVobRecord {
    DWORD Words[4];  // the host's; 0xFFFFFFFF in the third: a piece that isn't saved
    LONG Exclude;    // non-zero: left out
};
/// The menu or the title part of a file.
struct DVDSection {
    LONG VobCount;
    LONG HostValue;
    LONG Exclude;
    DVDVobRecord* Vobs;
    BYTE HostByte;
    BYTE AudioId;  // the audio track
    BYTE HostBytes[82];
};
/// A file of the disc.
struct DVDFileRecord {
    char FileName[260];  // ended by NUL
    LONG Exclude;
    DVDSection Menu;
    DVDSection Title;
};
/// The disc.
struct DVDInfo {
    char DiscId[32];  // ended by NUL
    LONG FileCount;
    DVDFileRecord* Files;
};
static_assert(sizeof(DVDVobRecord) == 20 && offsetof(DVDVobRecord, Exclude) == 16);
static_assert(sizeof(void*) != 4 ||
              (sizeof(DVDSection) == 100 && offsetof(DVDSection, Exclude) == 8 &&
               offsetof(DVDSection, Vobs) == 12 && offsetof(DVDSection, AudioId) == 17 &&
               offsetof(DVDSection, HostBytes) == 18));
static_assert(sizeof(void*) != 4 ||
              (sizeof(DVDFileRecord) == 464 && offsetof(DVDFileRecord, Exclude) == 260 &&
               offsetof(DVDFileRecord, Menu) == 264 && offsetof(DVDFileRecord, Title) == 364));
static_assert(sizeof(void*) != 4 || (sizeof(DVDInfo) == 40 && offsetof(DVDInfo, FileCount) == 32 &&
                                     offsetof(DVDInfo, Files) == 36));

/// The record of a DVD, and what the user chose on it: files, parts and pieces to leave out, audio tracks.
/// Put into a node with PutExData, it is written with the settings, the choices alone; read back through
/// ISettingsWriter, they wait for the record of the fresh scan.
/// No length argument but that of SetDVDIndex is looked at.
struct IDVDIndexData : IDispatch {
    /// Takes a copy of a DVDInfo, and lays the choices that were read over it if they fit its counts; they
    /// are gone then. E_INVALIDARG, and nothing changes, for counts that no disc has.
    STDMETHOD(SetDVDInfo)(BYTE* pData, int nLen) PURE;
    /// Keeps a copy of an opaque block, which isn't written.
    STDMETHOD(SetDVDIndex)(BYTE* pData, int nLen) PURE;
    /// Whether a DVDInfo is of the same disc: S_OK or S_FALSE. Choices don't count, and of a title only the
    /// number of pieces.
    STDMETHOD(Equal)(BYTE* pData, int nLen) PURE;
    /// The object's own record, which may be edited but not resized, and what it would take on 32 bits.
    /// S_FALSE: none.
    STDMETHOD(GetDVDInfo)(BYTE** pData, int* nLen) PURE;
    /// The object's own block. S_FALSE: none.
    STDMETHOD(GetDVDIndex)(BYTE** pData, int* nLen) PURE;
};
BV_INTERFACE_ID(IDVDIndexData, "2116D701-E7A1-4A06-B50F-6A16BC1980B7")

// --- Watermark ---------------------------------------------------------------------------------------------

/// The variables of a watermark text.
struct IDynamicText : IUnknown {
    /// How many variables there are.
    STDMETHOD(GetVariableCount)(LONG* count) PURE;
    /// Key ("%sf") and title ("Full Source File Name") of a variable, from 0. E_INVALIDARG outside the list.
    STDMETHOD(GetVariable)(LONG index, BSTR* key, BSTR* title) PURE;
    /// The text with the variables put in as they are now: names of the input and the output, index, date and
    /// time. Keys count in any case; one that has no value stays as it is, and so does any other text with
    /// "%". Text and result have at most 512 bytes in the 8-bit code page; a longer one becomes empty. A null
    /// text is an empty one. S_OK; E_POINTER for a null result.
    STDMETHOD(Expand)(BSTR text, BSTR* result) PURE;
};
BV_INTERFACE_ID(IDynamicText, "31EA8AE3-62DF-47E7-8D82-7C65EB15A5BF")

/// A font, as editors and drawing components exchange it: narrow texts, each ended by NUL.
/// The caller owns it.
struct FontInfo {
    char FaceName[256];
    char Style[32];    // a word, such as "Regular"
    char Charset[32];  // a word, such as "Default"
    LONG Size;
    LONG Underline;  // 0: off; 1 after reading, else any number is on
    LONG Strikeout;  // the same
};
static_assert(sizeof(FontInfo) == 332);

/// A font as the text of its node: "FONT=Tahoma;STYLE=Regular;SIZE=10;U=OFF;S=OFF;CHARSET=Default;".
struct IFontStringParser : IUnknown {
    /// Makes the node's value from a record, without a check and without the hooks of put_Value.
    STDMETHOD(PutFontInfo)(FontInfo* font) PURE;
    /// Reads the node's value into a record. Fields that the text doesn't name stay as the caller filled
    /// them; a text is cut at its field's size, and a size that is no number counts as 8.
    STDMETHOD(GetFontInfo)(FontInfo* font) PURE;
};
BV_INTERFACE_ID(IFontStringParser, "6BF2C055-C880-475D-9B0D-B2AC7918696C")

// --- Services ----------------------------------------------------------------------------------------------

/// A registered component, as IBVMapper gives it. The mapper owns it and its texts.
struct tagGUIDREG {
    GUID clsGUID;
    BSTR bstrName;
    LONG cbCount;  // how many of pExtrData are set
    BSTR pExtrData[10];
};
static_assert(sizeof(void*) != 4 ||
              (sizeof(tagGUIDREG) == 64 && offsetof(tagGUIDREG, bstrName) == 16 &&
               offsetof(tagGUIDREG, cbCount) == 20 && offsetof(tagGUIDREG, pExtrData) == 24));
static_assert(sizeof(void*) != 4 ||
              (sizeof(_AMMediaType) == 72 && offsetof(_AMMediaType, lSampleSize) == 40 &&
               offsetof(_AMMediaType, formattype) == 44 && offsetof(_AMMediaType, pUnk) == 60 &&
               offsetof(_AMMediaType, cbFormat) == 64 && offsetof(_AMMediaType, pbFormat) == 68));

/// The components of one category of the application's registry tree.
struct IBVMapper : IDispatch {
    /// Reads the category's components, in the registry's order. The registry's status when the category
    /// can't be opened; a component that can't be read is passed over.
    STDMETHOD(Init)(GUID* pCategory) PURE;
    /// How many components were read.
    STDMETHOD(get_Count)(LONG* pVal) PURE;
    /// The record at that index, from 0; it is the mapper's, and lives as long.
    /// E_INVALIDARG outside the list.
    STDMETHOD(get_Item)(LONG nID, tagGUIDREG** pRet) PURE;
};
BV_INTERFACE_ID(IBVMapper, "39DDB819-D74A-4E60-BEFF-216BCBC2CB48")

/// The media framework's filters of one category, put in a value list.
struct IBVFilterMapper : IDispatch {
    /// Appends an entry for each filter of the category: the filter itself when it is a node, else a new
    /// object of the class pItem that is given the filter. One that can't be made is passed over; S_OK also
    /// when there is none. pItem may be null: nodes alone then.
    STDMETHOD(Init)(GUID* pCategory, GUID* pItem, IListOfValues* pDest) PURE;
};
BV_INTERFACE_ID(IBVFilterMapper, "F0E6D02D-08C5-4BDC-B08E-7E334F55516C")

/// A media type as an object.
struct IAMMediaType : IDispatch {
    /// Keeps a deep copy. E_OUTOFMEMORY: the former one stays.
    STDMETHOD(SetMedia)(_AMMediaType* pValue) PURE;
    /// A type of sound in words: "128 Kbits/s, 44100 Hz, Stereo". Empty where the format block is too short
    /// to be one.
    STDMETHOD(get_Description)(BSTR* pVal) PURE;
    /// A deep copy; the caller frees its format block, releases its pUnk and frees the record, by
    /// CoTaskMemFree. Null when there is no memory.
    STDMETHOD(GetMedia)(_AMMediaType** pRetMedia) PURE;
};
BV_INTERFACE_ID(IAMMediaType, "2A11ABD2-57C4-4E3D-8CD6-9349D973A726")

/// The file and folder dialogs.
struct IMediaSelecter : IDispatch {
    /// Lets the user choose one or more input files, beginning in the folder of the last time. They are added
    /// to the paths; S_OK also when the dialog is cancelled.
    STDMETHOD(Simple)() PURE;
    /// How many paths were chosen.
    STDMETHOD(get_Count)(LONG* pVal) PURE;
    /// The path at that index, from 0. E_INVALIDARG outside the list.
    STDMETHOD(get_Path)(LONG nID, BSTR* pVal) PURE;
    /// Lets the user choose a folder, beginning with CurFolder. S_FALSE, and *pRet untouched: cancelled.
    STDMETHOD(SelectFolder)(BSTR CurFolder, BSTR* pRet) PURE;
    /// Lets the user choose a file of cuts to be loaded; a name without an extension gets ".tlc". S_FALSE,
    /// and *pRet untouched: cancelled.
    STDMETHOD(LoadTimelines)(BSTR* pRet) PURE;
    /// The same for a file to be saved.
    STDMETHOD(SaveTimelines)(BSTR* pRet) PURE;
};
BV_INTERFACE_ID(IMediaSelecter, "FE7D78A5-0F63-4530-965E-15E453E16803")

/// The job's two locks and its stop flag, shared by the host and the media object; made for several threads.
/// bWork selects the lock: 0 the one, any other number the work lock. Both want Initialize before their use
/// and Delete after it.
struct ICriticalSection : IDispatch {
    /// Enters the lock, and waits until it is free. A thread may enter again what it holds.
    /// E_UNEXPECTED: not initialized.
    STDMETHOD(Enter)(LONG bWork) PURE;
    /// To be called as often as Enter, by the same thread.
    STDMETHOD(Leave)(LONG bWork) PURE;
    /// 1 while the lock is held and at least one more Enter is outstanding, else 0. A lock that is merely
    /// held gives 0.
    STDMETHOD(get_IsLock)(LONG bWork, LONG* pVal) PURE;
    /// Where the job's notices go; the server doesn't look at it.
    STDMETHOD(get_NotifyWnd)(HWND* pVal) PURE;
    /// Keeps the window.
    STDMETHOD(put_NotifyWnd)(HWND newVal) PURE;
    /// Makes the lock ready. That of the work lock begins a new job: it takes a Stop back.
    STDMETHOD(Initialize)(LONG bWork) PURE;
    /// Ends the lock.
    STDMETHOD(Delete)(LONG bWork) PURE;
    /// Asks the job to end. Takes no lock; nobody waits for it to be seen.
    STDMETHOD(Stop)() PURE;
    /// 1 once Stop was called, until Initialize of the work lock.
    STDMETHOD(get_IsStop)(LONG* pRet) PURE;
};
BV_INTERFACE_ID(ICriticalSection, "8D6E6155-5C63-4588-8A77-7E2F30A38110")

// --- What a host and its components implement --------------------------------------------------------------

/// The job engine. Must also answer IMap, IProperty (the job's root), IMediaParser and IMediaFilesHost.
struct IMediaObject : IDispatch {
    /// For the host: opens an input. The server calls GetOuputFileName and GetCurIndex alone.
    STDMETHOD(PreOpen)(IUnknown* source) PURE;
    /// For the host.
    STDMETHOD(get_TitleInfo)(BSTR* pVal) PURE;
    /// For the host: the selected output format.
    STDMETHOD(get_CurrentFormat)(IDispatch** pVal) PURE;
    /// For the host.
    STDMETHOD(InitDefault)() PURE;
    /// For the host: runs the job, which watches the stop flag of pCritical.
    STDMETHOD(Encoding)(ICriticalSection* pCritical, LONG* pnIndexStart) PURE;
    /// For the host.
    STDMETHOD(Stop)() PURE;
    /// The whole path of the file being written. (sic)
    STDMETHOD(GetOuputFileName)(BSTR* pVal) PURE;
    /// The number of the output being written, for "%i" in a watermark text.
    STDMETHOD(GetCurIndex)(int* pVal) PURE;
};
BV_INTERFACE_ID(IMediaObject, "B6A5A766-395F-42D5-8917-053FB13A08F4")

/// The timing and the streams of the current input.
struct IMediaParser : IDispatch {
    /// In units of 100 ns.
    STDMETHOD(get_Duration)(LONGLONG* pVal) PURE;
    /// Average, in units of 100 ns.
    STDMETHOD(get_TimePerFrame)(LONGLONG* pVal) PURE;
    /// Non-zero: there is a stream of one kind (video in the reference host).
    STDMETHOD(get_StreamFlagA)(int* pVal) PURE;
    /// Non-zero: there is a stream of the other kind (audio in the reference host).
    STDMETHOD(get_StreamFlagB)(int* pVal) PURE;
    /// Non-zero: a still image.
    STDMETHOD(get_IsStill)(int* pVal) PURE;
};
BV_INTERFACE_ID(IMediaParser, "787D0F2A-A973-4B90-8DD3-17C79E3A59F6")

/// Says that the object has the job's input list: it answers IMediaFiles.
struct IMediaFilesHost : IUnknown {};
BV_INTERFACE_ID(IMediaFilesHost, "3B18AF50-EF8F-45F0-A479-4556626CA8F5")

/// An output format. Must also answer IProperty, the root of the format's own settings.
struct IOutputFormatInfo : IDispatch {
    /// The name for display, and the file extension with its leading dot.
    STDMETHOD(GetFormatInfo)(BSTR* name, BSTR* extension) PURE;
    /// The class id that the settings XML writes for the format.
    STDMETHOD(GetClassID)(GUID* pVal) PURE;
    /// The node that holds the format as its value, null while the tree is built.
    /// S_OK: the format can be used.
    STDMETHOD(SetOwner)(IProperty* owner) PURE;
    /// The media object of the job, null when it is taken back; no reference may be kept.
    STDMETHOD(SetMediaObject)(IDispatch* media) PURE;
};
BV_INTERFACE_ID(IOutputFormatInfo, "8D24E034-24CC-4573-A8C5-F34B3CD4E95A")

/// A wrapper round a filter of the media framework that isn't the application's own.
struct IFilterItem : IDispatch {
    /// Name and filter that it stands for. A failure leaves the filter out of the list.
    STDMETHOD(Init)(BSTR name, IUnknown* filter) PURE;
    /// What the settings XML writes for the filter.
    STDMETHOD(get_Text)(BSTR* pVal) PURE;
};
BV_INTERFACE_ID(IFilterItem, "3DAD75BF-751F-42A5-A8CE-C77C38C2252C")

/// Says that the object is an action; it answers IProperty, the root of the action's settings.
struct IActionObject : IUnknown {};
BV_INTERFACE_ID(IActionObject, "E3F9EC36-21D6-4FAD-9B2D-B380A1BDA667")

/// Says that the object can stand in a list of filters.
struct IFilterEntry : IUnknown {};
BV_INTERFACE_ID(IFilterEntry, "64E1B8D8-F282-4531-AA4A-7372DEBB03CB")

// --- Identities --------------------------------------------------------------------------------------------

namespace bv {

namespace clsid {
#define BV_CLASS(Name, text) inline constexpr CLSID Name = ::bv::GuidOf(text);
#include <bvschema/classes.def>
#undef BV_CLASS
// Named by the type library, with no class behind them: creating one gives CLASS_E_CLASSNOTAVAILABLE.
inline constexpr CLSID PropertyMpegVideoFormat = GuidOf("3F165F46-A139-4851-B608-DDA925D3D4AA");
inline constexpr CLSID MediaInfo = GuidOf("C66CA55B-C5D8-4BDC-874F-562C72CF1CFE");
// Filter objects that the frame and picture branches create, outside the server.
inline constexpr CLSID FrameSizeFilter = GuidOf("B4ABD385-6C4A-40DD-B365-D7D0527F41C1");
inline constexpr CLSID CropFilter = GuidOf("B4ABD38F-6C4A-40DD-B365-D7D0527F41C1");
}  // namespace clsid

/// Where components announce themselves: HKEY_CLASSES_ROOT, "CLSID\{root}\{category}\{class id}".
namespace category {
inline constexpr GUID Root = GuidOf("3C78B8E0-6C50-11D0-A0E0-000EFA951B00");
inline constexpr GUID OutputFormats = GuidOf("3C78B8E2-6C5D-11D0-ADE1-0C0EFA951B02");
inline constexpr GUID InputFormats = GuidOf("3C78B8E2-6C5D-11D0-ADE1-0C0EFA951B04");
inline constexpr GUID Actions = GuidOf("3C78B8E2-6C5D-11D0-ADE1-0C0EFA951B06");
// Filters for a list of further ones (IEnumObject) stand where the media framework keeps its devices, as the
// media framework does it: "CLSID\{category}\Instance\{class id}", with the values "CLSID" and
// "FriendlyName". IBVFilterMapper reads them.
inline constexpr GUID Filters = GuidOf("3C78B8E2-6C5D-11D0-ADE1-0C0EFA951B08");
}  // namespace category

inline constexpr GUID kTypeLibrary =
    GuidOf("C90C47A5-DC40-4B1F-A0C7-94816B8B762B");  // BVSCHEMALib, version 1.0

using ::IActionImplInit, ::IActionObject, ::IAMMediaType, ::IBaseObj, ::IBVFilterMapper, ::IBVMapper,
    ::ICachedSample, ::ICollection, ::ICriticalSection, ::IDVDIndexData, ::IDynamicText, ::IEnumObject,
    ::IEnumProperties, ::IFilterEntry, ::IFilterImplInit, ::IFilterItem, ::IFontStringParser, ::IListItem,
    ::IListOfValues, ::IMainMediaPath, ::IMap, ::IMediaFiles, ::IMediaFilesHost, ::IMediaObject,
    ::IMediaOpenState, ::IMediaParser, ::IMediaSelecter, ::IOutputFormatInfo, ::IProperty, ::ISettingsWriter,
    ::ISimpleInit, ::ITimelines, ::IValueFormat;

}  // namespace bv
