// A .tlc file of any content: loaded, asked, saved, and loaded again with the same result.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "com/narrow.h"
#include "com/object.h"
#include "com/variant.h"
#include "host.h"
#include "support/media.h"

namespace {

std::string Settings(IUnknown* list) {
    const auto timelines = bv::Query<ITimelines>(list);
    LONG count = 0;
    timelines->get_Count(&count);
    fuzz::Sink sink;
    for (LONG i = 0; i < count; ++i) {
        bv::ComPtr<IUnknown> item;
        timelines->get_Item(i, item.Put());
        if (auto writer = item.As<ISettingsWriter>()) std::ignore = writer->WriteXml(&sink);
    }
    return std::to_string(count) + ' ' + std::to_string(sink.size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::StartServer();
    static const char* const folder = std::getenv("BV_TEST_TEMP");
    static const auto first = std::filesystem::path(folder ? folder : ".") / "fuzz.tlc";
    static const auto second = std::filesystem::path(folder ? folder : ".") / "fuzz2.tlc";
    static const bv::Bstr first_name = bv::ToBstr(first.native()), second_name = bv::ToBstr(second.native());
    std::ofstream(first, std::ios::binary).write(reinterpret_cast<const char*>(data), std::streamsize(size));

    bv::test::MediaDouble media;
    bv::ComPtr<IProperty> node;
    if (FAILED(bv::Create(bv::clsid::PropertyTimelines, node))) std::abort();
    node->put_MediaObject(media.dispatch());
    const auto list = node.As<ITimelines>();
    if (list->Load(first_name.get()) == S_OK) {
        LONGLONG duration = 0;
        const bv::test::Ref<IMap> map = media.map();
        map->InsertProperty(node.get());
        std::ignore = list->get_ActiveDuration(&duration);
        // What a first save can't keep, such as an overlong text, it has left out:
        // from then on nothing changes.
        if (list->Save(first_name.get()) != S_OK || list->Load(first_name.get()) != S_OK) std::abort();
        const std::string before = Settings(list.get());
        if (list->Save(second_name.get()) != S_OK || list->Load(second_name.get()) != S_OK) std::abort();
        if (Settings(list.get()) != before) std::abort();
        map->RemoveProperties(bv::ConstBstr(L"TimeLines").get(), nullptr);
    }
    node->put_MediaObject(nullptr);
    return 0;
}
