// Two output formats. A format is a node, the root of its own settings, that says its file extension and
// takes part in the job once the node "OutputFileFormat" holds it.
#include "classes.h"
#include "settings.h"

namespace sample {
namespace {

constexpr Choice kAviVideoCodecs[] = {{L"MPEG-4 Part 2", 1}, {L"Motion JPEG", 2}, {L"Uncompressed", 3}};
constexpr Choice kMp4VideoCodecs[] = {{L"H.264", 1}, {L"HEVC", 2}};
constexpr Choice kAviAudioCodecs[] = {{L"MP3", 1}, {L"PCM", 2}};
constexpr Choice kMp4AudioCodecs[] = {{L"AAC", 1}, {L"MP3", 2}};
constexpr Choice kAudioBitrates[] = {
    {L"96 kbit/s", 96}, {L"128 kbit/s", 128}, {L"192 kbit/s", 192}, {L"256 kbit/s", 256}};

constexpr Setting kAviVideo[] = {
    {.name = L"VideoCodec", .title = L"Codec", .style = kList, .value = 1, .choices = kAviVideoCodecs},
    {.name = L"VideoBitrate",
     .title = L"Bitrate",
     .style = kEdit | kNotNegative,
     .value = 4000,
     .unit = L"kbit/s",
     .description = L"Average of the whole file. Uncompressed video takes what it needs."},
};
constexpr Setting kMp4Video[] = {
    {.name = L"VideoCodec", .title = L"Codec", .style = kList, .value = 1, .choices = kMp4VideoCodecs},
    {.name = L"VideoBitrate",
     .title = L"Bitrate",
     .style = kEdit | kNotNegative,
     .value = 2500,
     .unit = L"kbit/s",
     .description = L"Average of the whole file."},
    {.name = L"FastStart",
     .title = L"Playable while it loads",
     .style = kCheckBox,
     .value = 1,
     .description = L"Puts the index in front of the pictures."},
};
constexpr Setting kAviAudio[] = {
    {.name = L"AudioCodec", .title = L"Codec", .style = kList, .value = 1, .choices = kAviAudioCodecs},
    {.name = L"AudioBitrate", .title = L"Bitrate", .style = kList, .value = 192, .choices = kAudioBitrates},
};
constexpr Setting kMp4Audio[] = {
    {.name = L"AudioCodec", .title = L"Codec", .style = kList, .value = 1, .choices = kMp4AudioCodecs},
    {.name = L"AudioBitrate", .title = L"Bitrate", .style = kList, .value = 128, .choices = kAudioBitrates},
};
constexpr Setting kAviGroups[] = {
    {.name = L"Video", .title = L"Video", .style = kGroup, .children = kAviVideo},
    {.name = L"Audio", .title = L"Audio", .style = kGroup, .children = kAviAudio},
};
constexpr Setting kMp4Groups[] = {
    {.name = L"Video", .title = L"Video", .style = kGroup, .children = kMp4Video},
    {.name = L"Audio", .title = L"Audio", .style = kGroup, .children = kMp4Audio},
};

struct FormatDecl {
    CLSID cls;
    const wchar_t* extension;  // with its dot
    Setting root;              // the title is the format's name
};
constexpr FormatDecl kAvi = {
    kAviFormat, L".avi", {.name = L"AVI", .title = L"AVI", .style = kGroup, .children = kAviGroups}};
constexpr FormatDecl kMp4 = {
    kMp4Format, L".mp4", {.name = L"MP4", .title = L"MP4", .style = kGroup, .children = kMp4Groups}};

template <const FormatDecl& decl>
class Format final : public Component<IOutputFormatInfo> {
public:
    HRESULT Build() {
        const HRESULT status = AggregateNode(bv::clsid::PropertySimple);
        return FAILED(status) ? status : SetUp(this, decl.root);
    }

    STDMETHODIMP GetFormatInfo(BSTR* name, BSTR* extension) override {
        if (!name || !extension) return E_POINTER;
        *name = SysAllocString(decl.root.title);
        *extension = SysAllocString(decl.extension);
        return *name && *extension ? S_OK : E_OUTOFMEMORY;
    }
    STDMETHODIMP GetClassID(GUID* pVal) override {
        if (!pVal) return E_POINTER;
        *pVal = decl.cls;
        return S_OK;
    }
    // The node has its place and its media object from the job; nothing here needs them as well.
    STDMETHODIMP SetOwner(IProperty*) override { return S_OK; }
    STDMETHODIMP SetMediaObject(IDispatch*) override { return S_OK; }

    STDMETHODIMP GetTypeInfoCount(UINT* count) override {
        if (!count) return E_POINTER;
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }

protected:
    bool Answers(REFIID iid) const override { return Component::Answers(iid) || iid == bv::kIid<IDispatch>; }
};

}  // namespace

HRESULT CreateAviFormat(REFIID iid, void** out) {
    return Component<IOutputFormatInfo>::Create<Format<kAvi>>(iid, out);
}
HRESULT CreateMp4Format(REFIID iid, void** out) {
    return Component<IOutputFormatInfo>::Create<Format<kMp4>>(iid, out);
}

}  // namespace sample
