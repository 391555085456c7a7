// The layer for hosts beside the plain interfaces: one edit of a whole job with its events, and a load of
// a large one.
#include <benchmark/benchmark.h>

#include <bvschema/host.h>

#include <fstream>

#include "server.h"

namespace bv::bench {
namespace {

constexpr int kCuts = 1000;

JobOptions Options(size_t undo_depth) {
    JobOptions options;
    options.undo_depth = undo_depth;
    options.source = [](const std::filesystem::path&) -> Result<MediaInfo> {
        return MediaInfo{100'000'000'000, 400'000, true, true, false};
    };
    return options;
}

/// A job with an input and cuts, 170 nodes beside those of the cuts.
host::Job Whole(size_t undo_depth, int cuts) {
    host::Job job = host::Job::Create(Options(undo_depth));
    const Input input = job.AddInput("/proc/self/exe");
    for (int i = 0; i < cuts; ++i) input.cuts().get()->AddTimeline(i * 10, i * 10 + 5, nullptr);
    job.Refresh();
    return job;
}

void EditPlain(benchmark::State& state) {
    const host::Job job = Whole(0, 0);
    IProperty* const mode = job["Mode"].get();
    LONG value = 1;
    for (auto _ : state) mode->put_Value(Number(value ^= 3));
}
BENCHMARK(EditPlain);

void EditWithEvents(benchmark::State& state) {
    host::Job job = Whole(0, int(state.range(0)));
    size_t told = 0;
    const Subscription subscription =
        job.Subscribe([&](const Change& change) { told += change.nodes.size(); });
    const Node mode = job["Mode"];
    LONG value = 1;
    for (auto _ : state) std::ignore = mode.Put(Value::Of(value ^= 3));
    Need(told > 0, "events");
}
BENCHMARK(EditWithEvents)->Arg(0)->Arg(kCuts);

void EditAndUndo(benchmark::State& state) {
    host::Job job = Whole(1000, int(state.range(0)));
    const Node mode = job["Mode"];
    for (auto _ : state) {
        std::ignore = mode.Put(Value::Of(LONG(2)));
        job.Undo();
    }
}
BENCHMARK(EditAndUndo)->Arg(0)->Arg(kCuts);

void Load(benchmark::State& state) {
    const std::string document = Whole(0, int(state.range(0))).Xml();
    for (auto _ : state) benchmark::DoNotOptimize(host::Job::Parse(document, Options(0)));
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(document.size()));
}
BENCHMARK(Load)->Arg(0)->Arg(kCuts)->Unit(benchmark::kMillisecond);

/// The same tree made by the plain interfaces, as the least that a load can take.
void BuildPlain(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(Whole(0, int(state.range(0))));
}
BENCHMARK(BuildPlain)->Arg(0)->Arg(kCuts)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace bv::bench

int main(int argc, char** argv) {
    const bv::bench::Server server;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
