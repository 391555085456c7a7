// What lies around the tree: components of the registry, refusals, several threads, a process's first job.
//
//   scripts/run-native.sh build/native-bench/bin/around_bench            times
//   ... valgrind --tool=callgrind --collect-atstart=no build/native-bench/bin/around_bench count ITEM ROUNDS
//   ... around_bench register; ... valgrind --tool=callgrind ... around_bench first    a process with one job
#include <benchmark/benchmark.h>
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_TOGGLE_COLLECT
#endif
#include <unistd.h>

#include <chrono>

#include "server.h"

namespace bv::bench {
namespace {

/// The sample components, announced as long as it lives.
class Components {
public:
    Components() { Call("DllRegisterServer"); }
    ~Components() { Call("DllUnregisterServer"); }
    Components(const Components&) = delete;

private:
    static void Call(const char* operation) { CallModule("BVSamples.so", operation); }
};

void CreateMain() {
    Ref<IProperty> root;
    Create(clsid::PropertyMain, root);
}

void CreateJobWithComponents(benchmark::State& state) {
    const Components components;
    for (auto _ : state) CreateMain();
}
BENCHMARK(CreateJobWithComponents)->Name("create_job_with_components");

/// A setting that tells why it refuses.
class Refusing {
public:
    Refusing() { Create(clsid::PropertyTextOrientation, node_); }
    void Refuse() { Need(node_->put_Value(Number(1000)) != S_OK, "a refusal"); }

private:
    Ref<IProperty> node_;
};

void RefuseValue(benchmark::State& state) {
    Refusing setting;
    for (auto _ : state) setting.Refuse();
}
BENCHMARK(RefuseValue)->Name("refuse");

void CreateCut() {
    Ref<IProperty> cut;
    Create(clsid::PropertyTimeline, cut);
}

void BuildCuts(benchmark::State& state) {
    if (state.thread_index() > 0) CoInitialize(nullptr);
    for (auto _ : state) CreateCut();
    if (state.thread_index() > 0) CoUninitialize();
    state.SetItemsProcessed(state.iterations());  // of all threads, for each second of the clock
}
BENCHMARK(BuildCuts)->Name("build_cuts")->Threads(1)->Threads(2)->UseRealTime();

/// From the begin of the component model to a job: the ns on the standard output.
int FirstJob() {
    const auto start = std::chrono::steady_clock::now();
    CoInitialize(nullptr);
    CreateMain();
    const std::chrono::nanoseconds taken = std::chrono::steady_clock::now() - start;
    CoUninitialize();
    std::printf("%lld\n", static_cast<long long>(taken.count()));
    return 0;
}

void FirstJobOfAProcess(benchmark::State& state) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string() + " first";
    for (auto _ : state) {
        FILE* output = popen(program.c_str(), "r");
        long long taken = 0;
        Need(output && std::fscanf(output, "%lld", &taken) == 1, "a process");
        pclose(output);
        state.SetIterationTime(1e-9 * double(taken));
    }
}
BENCHMARK(FirstJobOfAProcess)->Name("first_job")->UseManualTime()->Iterations(200);

/// Instructions of some rounds after a first one that isn't counted.
int Count(std::string_view item, int rounds) {
    const Server server;
    const auto run = [rounds](auto work) {
        work();
        CALLGRIND_TOGGLE_COLLECT;
        for (int i = 0; i < rounds; ++i) work();
        CALLGRIND_TOGGLE_COLLECT;
    };
    if (item == "components") {
        const Components components;
        run(CreateMain);
    } else if (item == "job") {
        run(CreateMain);
    } else if (item == "refuse") {
        Refusing setting;
        run([&] { setting.Refuse(); });
    } else if (item == "cut") {
        run(CreateCut);
    }
    return 0;
}

}  // namespace
}  // namespace bv::bench

int main(int argc, char** argv) {
    using namespace bv::bench;
    if (argc == 2 && std::string_view(argv[1]) == "first") return FirstJob();
    if (argc == 2 && std::string_view(argv[1]) == "register") {
        CallModule("BVSchema.so", "DllRegisterServer");
        return 0;
    }
    if (argc == 4 && std::string_view(argv[1]) == "count") return Count(argv[2], std::atoi(argv[3]));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    const Server server;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
