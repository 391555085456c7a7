#include <bvschema/host/media.h>
#include <bvschema/host/value.h>

#include <cwchar>

namespace bv::inline host {
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

Ref<IProperty> Find(IProperty* from, const wchar_t* name) {
    Ref<IProperty> found;
    if (!from || from->FindProperty(Text(name), found.Put()) != S_OK) return {};
    return found;
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

MediaObject::MediaObject() {
    map_ = Create<IUnknown>(clsid::Map, "Map", static_cast<IUnknown*>(Dispatch()));
    files_ = Create<IMediaFiles>(clsid::MediaFiles, "MediaFiles");
}

MediaObject::~MediaObject() {
    references_ = 1;  // what goes may ask for the object once more
    MediaObject::Close();
}

void MediaObject::Close() {
    root_ = nullptr;
    files_ = {};
    map_ = {};
}

STDMETHODIMP_(ULONG) MediaObject::Release() {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
}

std::wstring MediaObject::TextOf(const wchar_t* name) const {
    const Ref<IProperty> node = Find(root_, name);
    Value value;
    return node && node->get_Value(value.Put()) == S_OK ? value.AsText() : std::wstring();
}

STDMETHODIMP MediaObject::QueryInterface(REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid == kIid<IProperty>) return root_ ? root_->QueryInterface(iid, out) : E_NOINTERFACE;
    if (iid == kIid<IMediaFiles>) return files_ ? files_->QueryInterface(iid, out) : E_NOINTERFACE;
    if (iid == kIid<IUnknown> || iid == kIid<IDispatch> || iid == kIid<IMediaObject>)
        *out = static_cast<IMediaObject*>(this);
    else if (iid == kIid<IMediaParser>)
        *out = static_cast<IMediaParser*>(this);
    else if (iid == kIid<IMediaFilesHost>)
        *out = static_cast<IMediaFilesHost*>(this);
    else
        return map_ ? map_->QueryInterface(iid, out) : E_NOINTERFACE;
    AddRef();
    return S_OK;
}

STDMETHODIMP MediaObject::GetTypeInfoCount(UINT* count) { return Give(count, UINT(0)); }

Result<MediaInfo> MediaObject::ReadMedia(const std::filesystem::path& file) {
    const auto refused = [](const char* why) { return Refusal{E_FAIL, why, {}, {}}; };
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) return refused("there is no such file");
    if (std::filesystem::is_directory(file, ignored)) return refused("this is a folder");
    return source_ ? source_(file) : MediaInfo{};
}

// What goes wrong here is told by the node's state: no exception leaves an operation.
STDMETHODIMP MediaObject::PreOpen(IUnknown* source) try {
    const Ref<IProperty> node = Ask<IProperty>(source);
    const Ref<IMediaOpenState> state = Ask<IMediaOpenState>(source);
    if (!node || !state) return E_INVALIDARG;
    Value path;
    std::ignore = node->get_Value(path.Put());
    auto info = [&]() -> Result<MediaInfo> {
        try {
            return ReadMedia(ToPath(path.AsText()));
        } catch (const Error& error) {
            return Refusal{error.status(), error.what(), {}, {}};
        }
    }();
    if (info) {
        info_ = *info;
        state->SetState(1, Text(L""));
        return S_OK;
    }
    info_ = {};
    ForgetErrors();
    state->SetState(0, Text(std::string_view(info.error().text)));
    return E_FAIL;
} catch (const std::exception&) {
    return E_OUTOFMEMORY;
}

STDMETHODIMP MediaObject::get_TitleInfo(BSTR* pVal) try {
    return Give(pVal, FromPath(ToPath(TextOf(L"PathToMediaFile")).filename()));
} catch (const std::exception&) {
    return E_OUTOFMEMORY;
}

STDMETHODIMP MediaObject::get_CurrentFormat(IDispatch** pVal) {
    if (!pVal) return E_POINTER;
    const Ref<IProperty> node = Find(root_, L"OutputFileFormat");
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

std::filesystem::path MediaObject::OutputPath() {
    const Ref<IProperty> mode = Find(root_, L"Mode");
    Value series;
    if (!mode || mode->get_Value(series.Put()) != S_OK || series.kind() != VT_I4 ||
        series.get().lVal != kSeries)
        return ToPath(TextOf(L"OutputMediaName"));
    // One file for each input, named by the pattern.
    const std::wstring source = FromPath(ToPath(TextOf(L"PathToMediaFile")).stem());
    std::wstring name = TextOf(L"FileNamePattern");
    for (size_t at = 0; (at = name.find(kSourceName, at)) != name.npos; at += source.size())
        name.replace(at, std::wcslen(kSourceName), source);
    if (name.empty()) return {};
    return ToPath(TextOf(L"DestinationPath")) / ToPath(name + Extension(this));
}

STDMETHODIMP MediaObject::GetOuputFileName(BSTR* pVal) try {
    if (!pVal) return E_POINTER;
    const std::filesystem::path file = OutputPath();
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

}  // namespace bv::inline host
