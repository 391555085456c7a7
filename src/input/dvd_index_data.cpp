// The record of a DVD, and what the user chose on it.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include "com/byte_block.h"
#include "com/object.h"
#include "com/variant.h"
#include "xml/xml_dom.h"
#include "xml/xml_sink.h"

namespace bv {
namespace {

// Far above what a disc holds; a count beyond is a slip of the host's, not a record.
constexpr LONG kMaxFiles = 10000;
constexpr LONG kMaxVobs = 1000000;  // of one part
constexpr DWORD kUnsaved = 0xFFFFFFFF;

/// A record with its arrays. The host sees `info`; how long the arrays are is known here.
class Record {
public:
    struct File {
        std::vector<DVDVobRecord> menu, title;
    };

    Record() = default;
    /// A deep copy; arrays that aren't there count as empty. Throws std::bad_alloc, as the two below.
    explicit Record(const DVDInfo& info) {
        std::memcpy(info_.DiscId, info.DiscId, sizeof info.DiscId);
        for (size_t i = 0; i < Counted(info.Files, info.FileCount); ++i) {
            AddFile() = info.Files[i];
            for (const bool title : {false, true}) {
                const DVDSection& from = title ? info.Files[i].Title : info.Files[i].Menu;
                const size_t count = Counted(from.Vobs, from.VobCount);
                SetVobs(i, title,
                        count ? std::vector(from.Vobs, from.Vobs + count) : std::vector<DVDVobRecord>());
            }
        }
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    /// A file without pieces, all zero.
    DVDFileRecord& AddFile() {
        files_.emplace_back();
        records_.emplace_back();
        info_.FileCount = LONG(records_.size());
        info_.Files = records_.data();
        return records_.back();
    }
    void SetVobs(size_t file, bool title, std::vector<DVDVobRecord> vobs) {
        auto& own = title ? files_[file].title : files_[file].menu;
        own = std::move(vobs);
        DVDSection& section = Section(file, title);
        section.VobCount = LONG(own.size());
        section.Vobs = own.empty() ? nullptr : own.data();
    }

    DVDInfo& Info() { return info_; }
    size_t FileCount() const { return records_.size(); }
    DVDFileRecord& FileAt(size_t file) { return records_[file]; }
    DVDSection& Section(size_t file, bool title) {
        return title ? records_[file].Title : records_[file].Menu;
    }
    std::vector<DVDVobRecord>& Vobs(size_t file, bool title) {
        return title ? files_[file].title : files_[file].menu;
    }

    int Size() const {
        LONGLONG size = 40 + 464 * LONGLONG(files_.size());
        for (const File& file : files_) size += 20 * LONGLONG(file.menu.size() + file.title.size());
        return int(std::min<LONGLONG>(size, INT_MAX));
    }

    static bool HasSaneCounts(const DVDInfo& info) {
        if (info.FileCount > kMaxFiles && info.Files) return false;
        for (size_t i = 0; i < Counted(info.Files, info.FileCount); ++i)
            for (const DVDSection* section : {&info.Files[i].Menu, &info.Files[i].Title})
                if (section->VobCount > kMaxVobs && section->Vobs) return false;
        return true;
    }

private:
    static size_t Counted(const void* array, LONG count) { return array && count > 0 ? size_t(count) : 0; }

    DVDInfo info_ = {};
    std::vector<File> files_;
    std::vector<DVDFileRecord> records_;
};

template <size_t N>
bool SameText(const char (&a)[N], const char (&b)[N]) {
    return std::strncmp(a, b, N) == 0;
}

// --- Reading the choices ---

bool NumberOf(IXMLDOMNamedNodeMap* attributes, LONG index, LONG& number) {
    ComPtr<IXMLDOMNode> attribute;
    Bstr text;
    Variant value;
    if (attributes->get_item(index, attribute.Put()) != S_OK || !attribute ||
        FAILED(attribute->get_text(text.Put())) || FAILED(value.ChangeFrom(Lend(text.get()), VT_I4)))
        return false;
    number = value.lVal;
    return true;
}

/// The first attribute of a node, and its second if audio is asked for. Names aren't looked at.
bool ReadChoice(IXMLDOMNode* node, LONG& exclude, BYTE* audio = nullptr) {
    ComPtr<IXMLDOMNamedNodeMap> attributes;
    if (node->get_attributes(attributes.Put()) != S_OK || !attributes) return false;
    LONG track = 0;
    if (!NumberOf(attributes.get(), 0, exclude) || (audio && !NumberOf(attributes.get(), 1, track)))
        return false;
    if (audio) *audio = BYTE(track);
    return true;
}

ComPtr<IXMLDOMNode> FirstIn(IXMLDOMNode* node) {
    ComPtr<IXMLDOMNode> child;
    return node->get_firstChild(child.Put()) == S_OK ? child : nullptr;
}

ComPtr<IXMLDOMNode> NextTo(IXMLDOMNode* node) {
    ComPtr<IXMLDOMNode> next;
    return node->get_nextSibling(next.Put()) == S_OK ? next : nullptr;
}

bool ReadSection(IXMLDOMNode* node, Record& record, size_t file, bool title) {
    DVDSection& section = record.Section(file, title);
    if (!ReadChoice(node, section.Exclude, &section.AudioId)) return false;
    std::vector<DVDVobRecord> vobs;
    for (auto child = FirstIn(node); child; child = NextTo(child.get())) {
        DVDVobRecord vob = {};
        if (vobs.size() >= size_t(kMaxVobs) || !ReadChoice(child.get(), vob.Exclude)) return false;
        vobs.push_back(vob);
    }
    record.SetVobs(file, title, std::move(vobs));
    return true;
}

/// Null for an element that isn't as it was written.
std::unique_ptr<Record> ReadRecord(IXMLDOMNode* root) {
    auto record = std::make_unique<Record>();
    for (auto child = FirstIn(root); child; child = NextTo(child.get())) {
        const size_t file = record->FileCount();
        if (file >= size_t(kMaxFiles) || !ReadChoice(child.get(), record->AddFile().Exclude)) return nullptr;
        const auto menu = FirstIn(child.get());
        const auto title = menu ? NextTo(menu.get()) : nullptr;
        if (!title || !ReadSection(menu.get(), *record, file, false) ||
            !ReadSection(title.get(), *record, file, true))
            return nullptr;
    }
    return record;
}

// --- The object ---

class DVDIndexData : public Dispatch<IDVDIndexData>, public ISettingsWriter, public ObjectRoot {
public:
    using Answers = InterfaceMap<IDVDIndexData, IDispatch, ISettingsWriter>;

    STDMETHODIMP SetDVDInfo(BYTE* pData, int nLen) override;
    STDMETHODIMP SetDVDIndex(BYTE* pData, int nLen) override;
    STDMETHODIMP Equal(BYTE* pData, int nLen) override;
    STDMETHODIMP GetDVDInfo(BYTE** pData, int* nLen) override;
    STDMETHODIMP GetDVDIndex(BYTE** pData, int* nLen) override;
    STDMETHODIMP WriteXml(ISequentialStream* stream) override;
    STDMETHODIMP ReadExtraData(IUnknown* source) override;

private:
    std::unique_ptr<Record> info_;
    std::unique_ptr<Record> loaded_;  // the choices that were read, until a record comes
    ByteBlock index_;
};

/// Lays choices over a record of the same counts; leaves any other as it is.
void Merge(Record& record, Record& choices) {
    if (record.FileCount() != choices.FileCount()) return;
    for (size_t i = 0; i < record.FileCount(); ++i)
        for (const bool title : {false, true})
            if (record.Vobs(i, title).size() != choices.Vobs(i, title).size()) return;
    for (size_t i = 0; i < record.FileCount(); ++i) {
        record.FileAt(i).Exclude = choices.FileAt(i).Exclude;
        for (const bool title : {false, true}) {
            record.Section(i, title).Exclude = choices.Section(i, title).Exclude;
            record.Section(i, title).AudioId = choices.Section(i, title).AudioId;
            auto& to = record.Vobs(i, title);
            for (size_t k = 0; k < to.size(); ++k) to[k].Exclude = choices.Vobs(i, title)[k].Exclude;
        }
    }
}

STDMETHODIMP DVDIndexData::SetDVDInfo(BYTE* pData, int) {
    if (!pData) return E_POINTER;
    const DVDInfo& info = *reinterpret_cast<const DVDInfo*>(pData);
    if (!Record::HasSaneCounts(info)) return E_INVALIDARG;
    try {
        info_ = std::make_unique<Record>(info);  // which may be a copy of what was here
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    if (loaded_) Merge(*info_, *loaded_);
    loaded_.reset();
    return S_OK;
}

STDMETHODIMP DVDIndexData::SetDVDIndex(BYTE* pData, int nLen) {
    if (nLen < 0) return E_INVALIDARG;
    if (!pData && nLen) return E_POINTER;
    ByteBlock copy;  // of what may be a part of the old block
    if (!copy.Assign(pData, size_t(nLen))) return E_OUTOFMEMORY;
    index_.Swap(copy);
    return S_OK;
}

STDMETHODIMP DVDIndexData::Equal(BYTE* pData, int) {
    if (!pData) return E_POINTER;
    if (!info_) return S_FALSE;
    const DVDInfo& other = *reinterpret_cast<const DVDInfo*>(pData);
    if (!SameText(info_->Info().DiscId, other.DiscId) || other.FileCount != LONG(info_->FileCount()))
        return S_FALSE;
    if (other.FileCount && !other.Files) return S_FALSE;
    for (size_t i = 0; i < info_->FileCount(); ++i) {
        const DVDFileRecord& file = other.Files[i];
        const auto& menu = info_->Vobs(i, false);
        if (!SameText(info_->FileAt(i).FileName, file.FileName) || file.Menu.VobCount != LONG(menu.size()) ||
            file.Title.VobCount != LONG(info_->Vobs(i, true).size()) || (!menu.empty() && !file.Menu.Vobs))
            return S_FALSE;
        for (size_t k = 0; k < menu.size(); ++k)
            if (!std::equal(menu[k].Words, menu[k].Words + 4, file.Menu.Vobs[k].Words)) return S_FALSE;
    }
    return S_OK;
}

STDMETHODIMP DVDIndexData::GetDVDInfo(BYTE** pData, int* nLen) {
    if (!pData || !nLen) return E_POINTER;
    if (!info_) return S_FALSE;
    *pData = reinterpret_cast<BYTE*>(&info_->Info());
    *nLen = info_->Size();
    return S_OK;
}

STDMETHODIMP DVDIndexData::GetDVDIndex(BYTE** pData, int* nLen) {
    if (!pData || !nLen) return E_POINTER;
    if (!index_) return S_FALSE;
    *pData = index_.data();
    *nLen = int(index_.size());
    return S_OK;
}

STDMETHODIMP DVDIndexData::WriteXml(ISequentialStream* stream) {
    if (!stream) return E_POINTER;
    if (!info_) return S_OK;
    const XmlSink::Scope scope(stream);
    XmlSink* const sink = scope.sink();
    if (!sink) return E_OUTOFMEMORY;
    const auto attribute = [sink](std::string_view begin, LONG number) {
        sink->Append(begin);
        sink->AppendNumber(number);
    };
    sink->Append("<DVDEXT>");
    for (size_t i = 0; i < info_->FileCount(); ++i) {
        attribute("<DVDFILE EXCLUDE=\"", info_->FileAt(i).Exclude);
        sink->Append("\">");
        for (const bool title : {false, true}) {
            const DVDSection& section = info_->Section(i, title);
            attribute(title ? "<TITLE EXCLUDE=\"" : "<MENU EXCLUDE=\"", section.Exclude);
            attribute("\" AUDIOID=\"", section.AudioId);
            sink->Append("\">");
            for (const DVDVobRecord& vob : info_->Vobs(i, title)) {
                if (vob.Words[2] == kUnsaved) continue;
                attribute("<VOB EXCLUDE=\"", vob.Exclude);
                sink->Append("\"></VOB>");
            }
            sink->Append(title ? "</TITLE>" : "</MENU>");
        }
        sink->Append("</DVDFILE>");
    }
    sink->Append("</DVDEXT>");
    return S_OK;
}

/// Damaged choices are no choices: nothing here fails.
STDMETHODIMP DVDIndexData::ReadExtraData(IUnknown* source) {
    loaded_.reset();
    const auto root = Query<IXMLDOMNode>(source);
    if (!root) return S_OK;
    try {
        loaded_ = ReadRecord(root.get());
    } catch (const std::bad_alloc&) {
        loaded_.reset();
    }
    return S_OK;
}

}  // namespace
BV_CREATOR(DVDIndexData)
}  // namespace bv
