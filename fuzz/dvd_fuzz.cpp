// A DVD's record with any counts, and choices of any content: 1 byte of files, then for each 2 bytes of
// counts and flags, then the text of the choices.
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "com/narrow.h"
#include "com/object.h"
#include "com/variant.h"
#include "host.h"
#include "xml/xml_dom.h"

namespace {

struct Disc {
    DVDInfo info = {};
    std::vector<DVDFileRecord> files;
    std::vector<std::vector<DVDVobRecord>> vobs;
};

LONG CountOf(std::uint8_t byte) {
    return byte == 0xFF ? INT_MAX : byte == 0xFE ? -1 : byte == 0xFD ? INT_MIN : byte % 8;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::StartServer();
    if (size < 1) return 0;
    Disc disc;
    const LONG count = CountOf(data[0]);
    ++data, --size;
    disc.info.FileCount = count;
    if (count >= 0 && count < 8) {
        for (LONG i = 0; i < count && size >= 2; ++i, data += 2, size -= 2) {
            DVDFileRecord& file = disc.files.emplace_back();
            std::memset(file.FileName, data[0], sizeof file.FileName);
            for (DVDSection* section : {&file.Menu, &file.Title}) {
                section->VobCount = CountOf(section == &file.Menu ? data[0] : data[1]);
                auto& vobs = disc.vobs.emplace_back(
                    size_t(section->VobCount >= 0 && section->VobCount < 8 ? section->VobCount : 0));
                for (DVDVobRecord& vob : vobs) vob.Words[2] = data[1] & 1 ? 0xFFFFFFFF : data[0];
                section->Vobs = vobs.empty() ? nullptr : vobs.data();
            }
        }
        disc.info.FileCount = LONG(disc.files.size());
        disc.info.Files = disc.files.empty() ? nullptr : disc.files.data();
    }

    bv::ComPtr<IDVDIndexData> object;
    bv::ComPtr<IXMLDOMDocument> document;
    if (FAILED(bv::Create(bv::clsid::DVDIndexData, object)) || FAILED(bv::Create(bv::kXmlDocument, document)))
        std::abort();
    const auto writer = object.As<ISettingsWriter>();
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const bv::Bstr text = bv::ToBstr({reinterpret_cast<const char*>(data), size});
    if (document->loadXML(text.get(), &loaded) == S_OK) {
        bv::ComPtr<IXMLDOMNode> root;
        document->get_firstChild(root.Put());
        if (writer->ReadExtraData(root.get()) != S_OK) std::abort();
    }
    auto* bytes = reinterpret_cast<BYTE*>(&disc.info);
    const bool taken = object->SetDVDInfo(bytes, 0) == S_OK;
    const HRESULT equal = object->Equal(bytes, 0);
    if (equal != S_OK && equal != S_FALSE) std::abort();
    fuzz::Sink sink;
    if (writer->WriteXml(&sink) != S_OK || (sink.size == 0) == taken) std::abort();
    BYTE* own = nullptr;
    int length = 0;
    if (object->GetDVDInfo(&own, &length) == S_OK && object->SetDVDInfo(own, length) != S_OK) std::abort();
    return 0;
}
