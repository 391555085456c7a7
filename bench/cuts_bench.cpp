// Lists of cuts, written as settings and loaded from .tlc files:
// write_cuts/N and load_cuts/N for N cuts of 12 nodes.
//
//   scripts/run-native.sh build/native-bench/bin/cuts_bench            times, and bytes for each node
//   ... valgrind --tool=callgrind --collect-atstart=no build/native-bench/bin/cuts_bench count ITEM N ROUNDS
#include <benchmark/benchmark.h>
#include <bvschema/bvschema.h>
#include <malloc.h>
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_TOGGLE_COLLECT
#endif

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "support/media.h"
#include "support/memory_stream.h"

namespace {

constexpr double kNodes = 12;  // of a cut: ten elements and two units

void Put(IProperty* from, const wchar_t* name, LONG number, bool unit = false) {
    BSTR text = SysAllocString(name);
    IProperty* node = nullptr;
    if (from->FindProperty(text, &node) != S_OK) std::abort();
    SysFreeString(text);
    if (IProperty* extension = nullptr; unit && node->get_Extension(&extension) == S_OK) {
        node->Release();
        node = extension;
    }
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_I4;
    value.lVal = number;
    node->put_Value(value);
    node->Release();
}

/// An input's node with its list.
class Cuts {
public:
    Cuts() {
        CoCreateInstance(bv::clsid::PropertyTimelines, nullptr, CLSCTX_INPROC_SERVER, bv::kIid<IProperty>,
                         reinterpret_cast<void**>(&node_));
        node_->QueryInterface(bv::kIid<ITimelines>, reinterpret_cast<void**>(&list_));
        node_->QueryInterface(bv::kIid<ISettingsWriter>, reinterpret_cast<void**>(&writer_));
        media_.duration = 1LL << 60;
        node_->put_MediaObject(media_.dispatch());
    }
    Cuts(const Cuts&) = delete;
    ~Cuts() {
        writer_->Release();
        list_->Release();
        node_->Release();
    }
    void Add(int count) {
        for (int i = 0; i < count; ++i) {
            IProperty* cut = nullptr;
            list_->AddTimeline(10 + 300 * i, 250 + 300 * i, &cut);
            Put(cut, L"StartFrm", 2, true);
            Put(cut, L"TimelineOutputMode", i % 3);
            cut->Release();
        }
    }
    void RemoveFromFront() {
        for (IUnknown* first = nullptr; list_->get_Item(0, &first) == S_OK;) {
            IProperty* node = nullptr;
            first->QueryInterface(bv::kIid<IProperty>, reinterpret_cast<void**>(&node));
            list_->RemoveTimeline(node);
            node->Release();
            first->Release();
        }
    }
    size_t Write() {
        bv::test::MemoryStream memory;
        writer_->WriteXml(&memory);
        benchmark::DoNotOptimize(memory.text.data());
        return memory.text.size();
    }
    void Walk() {
        LONG count = 0;
        list_->get_Count(&count);
        for (LONG i = 0; i < count; ++i) {
            IUnknown* item = nullptr;
            list_->get_Item(i, &item);
            item->Release();
        }
    }
    void Save(const std::wstring& path) { Call(&ITimelines::Save, path); }
    void Load(const std::wstring& path) { Call(&ITimelines::Load, path); }

private:
    void Call(HRESULT (STDMETHODCALLTYPE ITimelines::*operation)(BSTR), const std::wstring& path) {
        BSTR text = SysAllocString(path.c_str());
        if ((list_->*operation)(text) != S_OK) std::abort();
        SysFreeString(text);
    }
    bv::test::MediaDouble media_;
    IProperty* node_ = nullptr;
    ITimelines* list_ = nullptr;
    ISettingsWriter* writer_ = nullptr;
};

std::wstring FileOf(int count) {
    const auto file = std::filesystem::temp_directory_path() / ("bvbench" + std::to_string(count) + ".tlc");
    std::wstring name(file.native().size() + 1, L'\0');
    const int size = MultiByteToWideChar(CP_UTF8, 0, file.c_str(), -1, name.data(), int(name.size()));
    return name.substr(0, size_t(size) - 1);
}

/// Heap that is in use, with the allocator's own share.
double Used() {
    const auto info = mallinfo2();
    return double(info.uordblks + info.hblkhd);
}

void WriteCuts(benchmark::State& state) {
    Cuts cuts;
    const double before = Used();
    cuts.Add(int(state.range(0)));
    const double bytes = Used() - before;
    size_t size = 0;
    for (auto _ : state) size = cuts.Write();
    state.counters["bytes"] = double(size);
    state.counters["bytes_per_node"] = bytes / (kNodes * double(state.range(0)));
    state.counters["ns_per_node"] =
        benchmark::Counter(1e-9 * kNodes * double(state.range(0)),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void LoadCuts(benchmark::State& state) {
    const auto path = FileOf(int(state.range(0)));
    Cuts cuts;
    cuts.Add(int(state.range(0)));
    cuts.Save(path);
    for (auto _ : state) cuts.Load(path);  // with the end of what was there before
    state.counters["ns_per_node"] =
        benchmark::Counter(1e-9 * kNodes * double(state.range(0)),
                           benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void ClearCuts(benchmark::State& state) {
    Cuts cuts;
    for (auto _ : state) {
        state.PauseTiming();
        cuts.Add(int(state.range(0)));
        state.ResumeTiming();
        cuts.Walk();
        cuts.RemoveFromFront();
    }
}

/// Instructions of some rounds after a first one that isn't counted.
int Count(const std::string& item, int count, int rounds) {
    Cuts cuts;
    const auto path = FileOf(count);
    if (item != "add" && item != "clear") cuts.Add(count);
    cuts.Save(path);
    for (int i = 0; i <= rounds; ++i) {
        if (item == "clear") cuts.Add(count);
        if (i == 1 || (i > 1 && item == "clear")) CALLGRIND_TOGGLE_COLLECT;
        if (item == "write_cuts") cuts.Write();
        if (item == "load_cuts") cuts.Load(path);
        if (item == "add") cuts.Add(count);
        if (item == "walk") cuts.Walk();
        if (item == "clear") cuts.RemoveFromFront();
        if (i > 0 && item == "clear") CALLGRIND_TOGGLE_COLLECT;
    }
    if (item != "clear") CALLGRIND_TOGGLE_COLLECT;
    return 0;
}

void CallModule(const char* operation) {
    const auto module = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "BVSchema.so";
    const HMODULE loaded = LoadLibraryA(module.c_str());
    using Operation = HRESULT (*)();
    const auto call =
        reinterpret_cast<Operation>(reinterpret_cast<void (*)()>(GetProcAddress(loaded, operation)));
    if (!call || call() != S_OK) std::abort();
    FreeLibrary(loaded);
}

}  // namespace

BENCHMARK(WriteCuts)
    ->Name("write_cuts")
    ->Arg(1)
    ->Arg(100)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(LoadCuts)
    ->Name("load_cuts")
    ->Arg(1)
    ->Arg(100)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(ClearCuts)
    ->Name("clear_cuts")
    ->Arg(100)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond)
    ->Iterations(1);

int main(int argc, char** argv) {
    CoInitialize(nullptr);
    CallModule("DllRegisterServer");
    int result = 0;
    if (argc == 5 && std::strcmp(argv[1], "count") == 0) {
        result = Count(argv[2], std::atoi(argv[3]), std::atoi(argv[4]));
    } else {
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
    }
    CallModule("DllUnregisterServer");
    CoUninitialize();
    return result;
}
