// The .tlc file of a list of cuts: the settings' element form in a document of its own.
#pragma once

#include <bvschema/bvschema.h>

#include <cstdio>

#include "com/com_ptr.h"
#include "com/narrow.h"
#include "xml/xml_dom.h"

namespace bv {

/// A file as a stream, in text mode: line ends become the platform's. It is a draft beside its place, which
/// it takes at the end; where there can't be one, the file itself.
class TextFile final : public ISequentialStream {
public:
    /// The name is in the narrow code page. Folders, devices and pipes are no files.
    explicit TextFile(const NarrowText& name);
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;
    ~TextFile() { Close(); }

    explicit operator bool() const { return file_ != nullptr; }
    /// False when not all that was written has reached the disk: the file is the old one.
    bool Close();

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }  // it lives on the stack, for a call
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP Read(void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void* bytes, ULONG count, ULONG* written) override;

private:
    std::FILE* file_ = nullptr;
    bool good_ = true;
    NarrowText name_;
    NarrowBuffer<kTextLimit + 8> draft_;  // empty: the file itself is written
};

/// What a file's cuts are added to.
class LoadedCuts {
public:
    /// Adds a new cut from frame 0 to 0.
    virtual HRESULT AddLoaded(ComPtr<IProperty>& timeline) = 0;

protected:
    ~LoadedCuts() = default;
};

/// What a file's elements may set.
enum class FileReach {
    kOwnCuts,   // the nodes of the cut that they stand in
    kWholeJob,  // what the search from there finds
};

/// Fills a list from the elements of a document, which may come from anywhere.
class TimelineReader {
public:
    TimelineReader(LoadedCuts& list, IXmlCursor& cursor, FileReach reach)
        : list_(list), cursor_(cursor), reach_(reach) {}
    /// The elements inside the one where the cursor stands, in order. The status of the first cut or value
    /// that there is no memory for, or of a cut that can't be made; kTooManyCuts.
    HRESULT Read() { return ReadChildren(nullptr, 0); }

    /// More cuts than a file of this size may ask for: each takes far more memory than an empty element.
    static constexpr HRESULT kTooManyCuts = STG_E_MEDIUMFULL;

private:
    /// parent: where the names are looked up; null outside a cut.
    HRESULT ReadChildren(IProperty* parent, int depth);
    HRESULT ReadElement(IProperty* parent, int depth);
    HRESULT ReadCut(int depth);
    ComPtr<IProperty> Find(IProperty* from, std::wstring_view name, HRESULT& status) const;

    LoadedCuts& list_;
    IXmlCursor& cursor_;
    const FileReach reach_;
    IProperty* cut_ = nullptr;  // the one that is filled
    size_t cuts_ = 0, bytes_ = 0;
};

}  // namespace bv
