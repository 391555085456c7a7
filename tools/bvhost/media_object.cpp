#include "media_object.h"

#include <cwchar>
#include <filesystem>

#include "paths.h"
#include "server.h"

namespace host {
namespace {

template <class T>
HRESULT Give(T* out, T value) {
    if (!out) return E_POINTER;
    *out = value;
    return S_OK;
}

HRESULT Give(BSTR* out, const std::wstring& text) {
    if (!out) return E_POINTER;
    *out = SysAllocStringLen(text.data(), UINT(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

std::wstring TextOf(IProperty* root, const wchar_t* name) {
    const Ref<IProperty> node = root ? Find(root, name) : Ref<IProperty>();
    Value value;
    return node && node->get_Value(value.Put()) == S_OK ? value.AsText() : std::wstring();
}

constexpr LONG kSeries = 2;
constexpr const wchar_t* kSourceName = L"{SOURCE_FILE_NAME}";

/// The selected format's, with its dot.
std::wstring Extension(IMediaObject* media) {
    Ref<IDispatch> format;
    TextResult name, extension;
    if (media->get_CurrentFormat(format.Put()) != S_OK) return {};
    const auto info = format.As<IOutputFormatInfo>();
    return info && SUCCEEDED(info->GetFormatInfo(name.Put(), extension.Put())) ? extension.Get()
                                                                               : std::wstring();
}

}  // namespace

std::wstring PathOf(IProperty* input) {
    Value path;
    return input && input->get_Value(path.Put()) == S_OK ? path.AsText() : std::wstring();
}

Ref<IProperty> Find(IProperty* from, const std::wstring& name) {
    Ref<IProperty> found;
    if (from->FindProperty(Text(name), found.Put()) != S_OK) return {};
    return found;
}

MediaObject::MediaObject(std::optional<MediaInfo> given) : given_(given) {
    map_ = Create<IUnknown>(bv::clsid::Map, "Map", static_cast<IUnknown*>(Dispatch()));
    files_ = Create<IMediaFiles>(bv::clsid::MediaFiles, "MediaFiles");
}

MediaObject::~MediaObject() { Close(); }

void MediaObject::Close() {
    root_ = nullptr;
    files_ = {};
    map_ = {};
}

STDMETHODIMP MediaObject::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == bv::kIid<IProperty>) return root_ ? root_->QueryInterface(iid, out) : E_NOINTERFACE;
    if (iid == bv::kIid<IMediaFiles>) return files_ ? files_->QueryInterface(iid, out) : E_NOINTERFACE;
    if (iid == bv::kIid<IUnknown> || iid == bv::kIid<IDispatch> || iid == bv::kIid<IMediaObject>)
        *out = static_cast<IMediaObject*>(this);
    else if (iid == bv::kIid<IMediaParser>)
        *out = static_cast<IMediaParser*>(this);
    else if (iid == bv::kIid<IMediaFilesHost>)
        *out = static_cast<IMediaFilesHost*>(this);
    else
        return map_ ? map_->QueryInterface(iid, out) : E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP MediaObject::GetTypeInfoCount(UINT* count) { return Give(count, UINT(0)); }

// What goes wrong here is told by the node's state: no exception leaves an operation.
STDMETHODIMP MediaObject::PreOpen(IUnknown* source) try {
    const Ref<IProperty> node = Ask<IProperty>(source);
    const Ref<IMediaOpenState> state = Ask<IMediaOpenState>(source);
    if (!node || !state) return E_INVALIDARG;
    const std::wstring path = PathOf(node.get());
    try {
        std::error_code ignored;
        const std::filesystem::path file = ToPath(path);
        if (!std::filesystem::exists(file, ignored)) throw Problem("there is no such file");
        if (std::filesystem::is_directory(file, ignored)) throw Problem("this is a folder");
        if (!given_ && std::filesystem::is_regular_file(file, ignored) &&
            std::filesystem::file_size(file, ignored) == 0)
            throw Problem("the file is empty");
        info_ = given_ ? *given_ : ReadMedia(path);
        state->SetState(1, Text(L""));
        return S_OK;
    } catch (const Problem& problem) {
        info_ = {};
        ForgetErrors();
        state->SetState(0, Text(Wide(problem.what())));
        return E_FAIL;
    }
} catch (const std::exception&) {
    return E_OUTOFMEMORY;
}

STDMETHODIMP MediaObject::get_TitleInfo(BSTR* pVal) try {
    return Give(pVal, FromPath(ToPath(TextOf(root_, L"PathToMediaFile")).filename()));
} catch (const std::exception&) {
    return E_OUTOFMEMORY;
}

STDMETHODIMP MediaObject::get_CurrentFormat(IDispatch** pVal) {
    if (!pVal) return E_POINTER;
    const Ref<IProperty> node = root_ ? Find(root_, L"OutputFileFormat") : Ref<IProperty>();
    Value value;
    if (!node || node->get_Value(value.Put()) != S_OK) return S_FALSE;
    Ref<IDispatch> format = Ask<IDispatch>(value.object());
    if (!format) return S_FALSE;
    format->AddRef();
    *pVal = format.get();
    return S_OK;
}

STDMETHODIMP MediaObject::InitDefault() {
    const Ref<IMap> map = Ask<IMap>(map_.get());
    return map ? map->InitDefault() : E_FAIL;
}

STDMETHODIMP MediaObject::GetOuputFileName(BSTR* pVal) try {
    if (!pVal) return E_POINTER;
    const Ref<IProperty> mode = root_ ? Find(root_, L"Mode") : Ref<IProperty>();
    Value series;
    std::filesystem::path file;
    if (mode && mode->get_Value(series.Put()) == S_OK && series.kind() == VT_I4 &&
        series.get().lVal == kSeries) {
        // One file for each input, named by the pattern.
        const std::wstring source = FromPath(ToPath(TextOf(root_, L"PathToMediaFile")).stem());
        std::wstring name = TextOf(root_, L"FileNamePattern");
        for (size_t at = 0; (at = name.find(kSourceName, at)) != name.npos; at += source.size())
            name.replace(at, std::wcslen(kSourceName), source);
        if (!name.empty()) file = ToPath(TextOf(root_, L"DestinationPath")) / ToPath(name + Extension(this));
    } else {
        file = ToPath(TextOf(root_, L"OutputMediaName"));
    }
    return file.empty() ? E_FAIL : Give(pVal, FromPath(file));
} catch (const std::exception&) {
    return E_OUTOFMEMORY;
}

STDMETHODIMP MediaObject::GetCurIndex(int* pVal) { return Give(pVal, index_); }
STDMETHODIMP MediaObject::get_Duration(LONGLONG* pVal) { return Give(pVal, info_.duration); }
STDMETHODIMP MediaObject::get_TimePerFrame(LONGLONG* pVal) { return Give(pVal, info_.frame_time); }
// A still image is no stream: its length is that of one picture, whatever its cuts say.
STDMETHODIMP MediaObject::get_StreamFlagA(int* pVal) { return Give(pVal, int(info_.video && !info_.still)); }
STDMETHODIMP MediaObject::get_StreamFlagB(int* pVal) { return Give(pVal, int(info_.audio && !info_.still)); }
STDMETHODIMP MediaObject::get_IsStill(int* pVal) { return Give(pVal, int(info_.still)); }

}  // namespace host
