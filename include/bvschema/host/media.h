// What the tree asks its host: the source, the list of inputs, the names of outputs.
#pragma once

#include <bvschema/host/result.h>

#include <atomic>
#include <functional>

namespace bv::inline host {

/// What a host knows of an input before it encodes it. Times are in units of 100 ns.
struct MediaInfo {
    LONGLONG duration = 0;
    LONGLONG frame_time = 0;  // 0: no video
    bool video = false;
    bool audio = false;
    bool still = false;
};

/// Reads a file's data: the host's demuxer. A refusal's text becomes the input's problem.
using MediaSource = std::function<Result<MediaInfo>(const std::filesystem::path& file)>;

/// Stands for the job towards its tree: hands look-ups on to the server's Map, IProperty to the job's root,
/// and answers for the current input. All of it is implemented; a host derives from it to say more.
///
/// It is made by new and ends with its last reference. A Job holds one; the nodes hold none.
class MediaObject : public IMediaObject, public IMediaParser, public IMediaFilesHost {
public:
    /// Throws Error.
    MediaObject();
    MediaObject(const MediaObject&) = delete;
    MediaObject& operator=(const MediaObject&) = delete;

    /// What to know of a file; asked once for each input. Without a source: as if each file had no streams.
    void SetSource(MediaSource source) { source_ = std::move(source); }
    /// The tree's root; null takes it back. No reference is kept.
    void SetRoot(IProperty* root) { root_ = root; }
    /// Lets go of all nodes: the last call of the job that has it.
    virtual void Close();

    IDispatch* Dispatch() { return static_cast<IMediaObject*>(this); }
    IMediaFiles* Files() const { return files_.get(); }
    IProperty* root() const { return root_; }

    /// The current input's data, which the server asks for.
    const MediaInfo& Info() const { return info_; }
    void SetInfo(const MediaInfo& info) { info_ = info; }
    /// The number of the output that is written, for "%i" in a watermark's text.
    void SetIndex(int index) { index_ = index; }

    // --- What a host may want to say

    /// A file's data. Usual: what the source says, and a refusal for a file that isn't there, is a folder
    /// or is empty.
    virtual Result<MediaInfo> ReadMedia(const std::filesystem::path& file);
    /// The file that is written. Usual: OutputMediaName; for a series FileNamePattern with the input's name,
    /// in DestinationPath, with the format's extension. Empty: the settings name none.
    virtual std::filesystem::path OutputPath();

    // --- IUnknown, IDispatch: no late binding

    STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() override;
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

    // --- IMediaObject

    /// Reads an input, a node of the list, and tells the node what came of it. E_FAIL: it can't be read; the
    /// node has the reason as its state.
    STDMETHODIMP PreOpen(IUnknown* source) override;
    /// The current input's file name.
    STDMETHODIMP get_TitleInfo(BSTR* pVal) override;
    /// The selected output format. S_FALSE: none.
    STDMETHODIMP get_CurrentFormat(IDispatch** pVal) override;
    STDMETHODIMP InitDefault() override;
    /// Usual: E_NOTIMPL, as of a host that encodes nothing.
    STDMETHODIMP Encoding(ICriticalSection*, LONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Stop() override { return S_OK; }
    /// OutputPath. E_FAIL: there is none.
    STDMETHODIMP GetOuputFileName(BSTR* pVal) override;
    STDMETHODIMP GetCurIndex(int* pVal) override;

    // --- IMediaParser

    STDMETHODIMP get_Duration(LONGLONG* pVal) override;
    STDMETHODIMP get_TimePerFrame(LONGLONG* pVal) override;
    STDMETHODIMP get_StreamFlagA(int* pVal) override;
    STDMETHODIMP get_StreamFlagB(int* pVal) override;
    STDMETHODIMP get_IsStill(int* pVal) override;

protected:
    virtual ~MediaObject();
    /// The text of a setting of the job; empty without it.
    std::wstring TextOf(const wchar_t* name) const;

private:
    std::atomic<ULONG> references_{1};
    MediaSource source_;
    MediaInfo info_;
    int index_ = 0;
    IProperty* root_ = nullptr;
    Ref<IUnknown> map_;  // the inner object's own IUnknown
    Ref<IMediaFiles> files_;
};

}  // namespace bv::inline host
