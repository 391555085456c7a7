// What a host does with a job: makes it, looks for settings, sets one that shows and hides others, writes it.
#include <benchmark/benchmark.h>

#include "server.h"

namespace bv::bench {
namespace {

/// A job with an index of its nodes.
class Job {
public:
    Job() {
        Create(clsid::Map, media_);
        Create(clsid::PropertyMain, root_);
        root_->put_MediaObject(media_.get());
    }
    ~Job() { root_->put_MediaObject(nullptr); }
    IProperty* root() const { return root_.get(); }

private:
    Ref<IMap> media_;
    Ref<IProperty> root_;
};

void CreateJob(benchmark::State& state) {
    for (auto _ : state) {
        Ref<IProperty> root;
        Create(clsid::PropertyMain, root);
    }
}
BENCHMARK(CreateJob)->Name("create_job");

void FindByName(benchmark::State& state) {
    const Job job;
    const Text name("Overwrite");
    for (auto _ : state) {
        Ref<IProperty> found;
        Need(job.root()->FindProperty(name, found.Put()) == S_OK, "a search");
    }
}
BENCHMARK(FindByName)->Name("find_by_name");

void SetWithVisibility(benchmark::State& state) {
    const Job job;
    Ref<IProperty> mode;
    Need(job.root()->FindProperty(Text("Mode"), mode.Put()) == S_OK, "Mode");
    LONG value = 1;
    for (auto _ : state) mode->put_Value(Number(value = 3 - value));
}
BENCHMARK(SetWithVisibility)->Name("set_with_visibility");

void WriteXml(benchmark::State& state) {
    const Job job;
    Ref<ISettingsWriter> writer;
    Ask(job.root(), writer);
    MemoryStream stream;
    for (auto _ : state) {
        stream.text.clear();
        writer->WriteXml(&stream);
    }
    state.SetBytesProcessed(std::int64_t(stream.text.size()) * std::int64_t(state.iterations()));
}
BENCHMARK(WriteXml)->Name("write_xml");

}  // namespace
}  // namespace bv::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    const bv::bench::Server server;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
