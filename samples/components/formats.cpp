// Output formats, two of video and one of pictures. A format is a node, the root of its own settings, that
// says its file extension and takes part in the job once the node "OutputFileFormat" holds it. What a format
// does to each frame is the server's own tree; codecs and containers are the format's.
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
constexpr Choice kCompressions[] = {{L"Fast", 1}, {L"Small", 9}};
// The switch "HasAudio" shows and hides "Audio", "IsInterleave" and "Interleave" by these names.
constexpr Setting kAviGroups[] = {
    {.name = L"Video", .title = L"Video", .children = kAviVideo},
    {.name = L"FrameRate", .cls = bv::clsid::PropertyFrame},
    {.name = L"Frame", .cls = bv::clsid::PropertyLifeTimeFilters},
    {.name = L"Filters", .cls = bv::clsid::PropertyFilters},
    {.name = L"HasAudio", .cls = bv::clsid::PropertyHasAudio},
    {.name = L"Audio", .title = L"Audio", .children = kAviAudio},
    {.name = L"IsInterleave",
     .title = L"Interleave sound and pictures",
     .style = kCheckBox,
     .value = 1,
     .description_id = 92},
    {.name = L"Interleave",
     .title = L"Interleave every",
     .style = kEdit | kNotNegative,
     .value = 500,
     .unit = L"ms",
     .description_id = 1104},
    {.name = L"AudioSource", .cls = bv::clsid::PropertyAudioSrc},
};
constexpr Setting kMp4Groups[] = {
    {.name = L"Video", .title = L"Video", .children = kMp4Video},
    {.name = L"FrameRate", .cls = bv::clsid::PropertyFrame},
    {.name = L"Frame", .cls = bv::clsid::PropertyLifeTimeFilters},
    {.name = L"Filters", .cls = bv::clsid::PropertyFilters},
    {.name = L"HasAudio", .cls = bv::clsid::PropertyHasAudio},
    {.name = L"Audio", .title = L"Audio", .children = kMp4Audio},
};
constexpr Setting kPngGroups[] = {
    {.name = L"Compression",
     .title = L"Compression",
     .style = kList,
     .value = 9,
     .choices = kCompressions,
     .description = L"The picture is the same; a smaller file takes longer."},
};

struct FormatDecl {
    CLSID cls;
    const wchar_t* name;       // for people
    const wchar_t* extension;  // with its dot
    Setting root;              // its title is the label of the choice
};
constexpr FormatDecl kAvi = {
    kAviFormat, L"AVI", L".avi", {.name = L"AVI", .title = L"AVI", .children = kAviGroups}};
constexpr FormatDecl kMp4 = {
    kMp4Format, L"MP4", L".mp4", {.name = L"MP4", .title = L"MP4", .children = kMp4Groups}};
// The class of a picture's settings has a title of its own.
constexpr FormatDecl kPng = {kPngFormat,
                             L"PNG",
                             L".png",
                             {.name = L"PNG", .children = kPngGroups, .cls = bv::clsid::PropertyPictureMain}};

template <const FormatDecl& decl>
class Format final : public Component<IOutputFormatInfo> {
public:
    HRESULT Build() {
        const HRESULT status = AggregateNode(decl.root.cls);
        return FAILED(status) ? status : SetUp(this, decl.root);
    }

    STDMETHODIMP GetFormatInfo(BSTR* name, BSTR* extension) override {
        if (!name || !extension) return E_POINTER;
        *name = SysAllocString(decl.name);
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
HRESULT CreatePngFormat(REFIID iid, void** out) {
    return Component<IOutputFormatInfo>::Create<Format<kPng>>(iid, out);
}

}  // namespace sample
