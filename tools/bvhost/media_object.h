// The media object: what the tree asks when it wants to know the source, the list of inputs, or another node.
#pragma once

#include <optional>
#include <string>

#include "com.h"
#include "media_source.h"

namespace host {

/// Stands for the job towards its tree. It aggregates the server's Map for the index of nodes, hands
/// IProperty on to the job's root and IMediaFiles to the list of inputs, and answers for the current input
/// itself.
///
/// The tree keeps no reference on it, so it isn't counted: it lives as long as the job that has it.
class MediaObject final : public IMediaObject, public IMediaParser, public IMediaFilesHost {
public:
    /// given: what options say of every input; the file itself is then not read.
    explicit MediaObject(std::optional<MediaInfo> given);
    MediaObject(const MediaObject&) = delete;
    MediaObject& operator=(const MediaObject&) = delete;
    ~MediaObject();

    void SetRoot(IProperty* root) { root_ = root; }
    /// Lets go of all nodes.
    void Close();
    IDispatch* Dispatch() { return static_cast<IMediaObject*>(this); }
    IMediaFiles* Files() const { return files_.get(); }
    const MediaInfo& Info() const { return info_; }
    void SetInfo(const MediaInfo& info) { info_ = info; }
    void SetIndex(int index) { index_ = index; }

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override { return --references_; }
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    /// Opens an input, a node of the list, and tells the node what came of it. E_FAIL: it can't be read; the
    /// node has the reason as its state.
    STDMETHODIMP PreOpen(IUnknown* source) override;
    /// The current input's file name.
    STDMETHODIMP get_TitleInfo(BSTR* pVal) override;
    /// The selected output format. S_FALSE: none.
    STDMETHODIMP get_CurrentFormat(IDispatch** pVal) override;
    STDMETHODIMP InitDefault() override;
    /// This host edits jobs; it encodes none.
    STDMETHODIMP Encoding(ICriticalSection*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return S_OK; }
    /// Where the current input's output goes. E_FAIL: the settings name no file.
    STDMETHODIMP GetOuputFileName(BSTR* pVal) override;
    STDMETHODIMP GetCurIndex(int* pVal) override;

    STDMETHODIMP get_Duration(LONGLONG* pVal) override;
    STDMETHODIMP get_TimePerFrame(LONGLONG* pVal) override;
    STDMETHODIMP get_StreamFlagA(int* pVal) override;
    STDMETHODIMP get_StreamFlagB(int* pVal) override;
    STDMETHODIMP get_IsStill(int* pVal) override;

    /// The inputs are described by the caller, and not read.
    bool Described() const { return given_.has_value(); }

private:
    ULONG references_ = 1;
    std::optional<MediaInfo> given_;
    MediaInfo info_;
    int index_ = 0;
    IProperty* root_ = nullptr;
    Ref<IUnknown> map_;  // the inner object's own IUnknown
    Ref<IMediaFiles> files_;
};

/// The path that a node of the input list holds.
std::wstring PathOf(IProperty* input);
/// A node of the job by its name; null when there is none.
Ref<IProperty> Find(IProperty* from, const std::wstring& name);

}  // namespace host
