// What an operation tells and leaves when memory or the disk ends in the middle of it: each call that it makes fails in
// its turn, once and from then on.
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>

#include "failures/faults.h"
#include "late_binding/library.h"
#include "support/cuts.h"
#include "support/environment.h"
#include "support/names.h"
#include "support/registry.h"

namespace bv::test {
namespace {

namespace fs = std::filesystem;

/// One run of an operation: what it told, and what came of it.
class Attempt {
public:
    /// A call that is disturbed. An exception doesn't come out.
    template <class F>
    HRESULT Call(F call) {
        HRESULT status = E_UNEXPECTED;
        try {
            const Guarded guard;
            status = call();
        } catch (...) {
            escaped = true;
        }
        told.push_back(status);
        return status;
    }
    /// What is there afterwards; it is as without a failure if none was told.
    void Result(const std::string& text) { results += text + '\n'; }
    /// What holds whatever happened.
    void Expect(bool holds, const char* what) {
        if (!holds) broken = what;
    }
    bool AllWell() const {
        for (const HRESULT status : told)
            if (FAILED(status)) return false;
        return !escaped;
    }

    std::vector<HRESULT> told;
    std::string results;
    bool escaped = false;
    const char* broken = nullptr;
};
using Operation = std::function<void(Attempt&)>;

constexpr FaultPlan kMemoryPlans[] = {{FaultKind::kMemory, 0, false, "an allocation"},
                                      {FaultKind::kMemory, 0, true, "allocations"}};
constexpr FaultPlan kFilePlans[] = {
    {FaultKind::kFiles, EIO, false, "EIO"},         {FaultKind::kFiles, EIO, true, "EIO from then on"},
    {FaultKind::kFiles, ENOSPC, false, "ENOSPC"},   {FaultKind::kFiles, ENOSPC, true, "ENOSPC from then on"},
    {FaultKind::kFiles, EMFILE, false, "EMFILE"},   {FaultKind::kFiles, EINTR, false, "EINTR"},
    {FaultKind::kShort, 0, false, "a short write"}, {FaultKind::kShort, 0, true, "short writes"}};

/// Which calls fail: every one up to a bound, and then fewer and fewer. BV_FAILURES=all: every one.
struct Density {
    long bound;
    long part;  // of the number, by which it grows beyond the bound
    long After(long number) const {
        return number < bound ? number + 1 : number + (number + part - 1) / part;
    }
};
const bool kAll = std::getenv("BV_FAILURES") != nullptr;
const Density kDense = {kAll ? 10'000'000 : 150, 5};
// Operations that make tens of thousands of calls, a quarter of a second each.
const Density kSparse = kAll ? Density{150, 5} : Density{4, 1};

// A lock that can't be had is waited for, seconds each time: most of these run in full alone.
constexpr FaultPlan kFewFilePlans[] = {{FaultKind::kFiles, EIO, false, "EIO"},
                                       {FaultKind::kShort, 0, true, "short writes"}};

constexpr int kTimes = 8;  // what grows so often in a row isn't a cache

class FailuresTest : public testing::Test {
protected:
    /// Lets each call of an operation fail. undisturbed: runs between two operations, so that they begin alike.
    template <size_t N>
    void FailEach(const char* what, const Operation& operation, const FaultPlan (&plans)[N]) {
        renewed_ = false;
        SCOPED_TRACE(what);
        Attempt plain;
        operation(plain);
        operation(plain = {});
        ASSERT_EQ(plain.broken, nullptr) << plain.broken;
        for (const FaultPlan& plan : plans) FailEach(what, operation, plan, plain);
    }

    /// In a module that has just been loaded, too: one that has worked keeps memory for its next objects.
    void FailEachAnew(const char* what, const Operation& operation) {
        FailEach(what, operation, kMemoryPlans);
        const auto anew = [&](Attempt& run) {
            Renew();
            renewed_ = true;  // what the system's loader keeps is its own affair
            operation(run);
        };
        FailEach("the same in a new module", anew, kMemoryPlans);
        renewed_ = false;
    }

private:
    void FailEach(const char* what, const Operation& operation, const FaultPlan& plan, const Attempt& plain) {
        long tried = 0;
        int reports = 0;
        can_go_ = ModuleCanGo();
        const auto report = [&](long number, const std::string& problem) {
            if (++reports <= 5) ADD_FAILURE() << plan.name << ", call " << number << ": " << problem;
        };
        Again(operation);
        WatchBlocks();
        const long settled = LiveBlocks();
        for (int again = 0; again < kTimes; ++again) Again(operation);
        if (!renewed_ && LiveBlocks() >= settled + kTimes) {
            ShowWatchedBlocks();
            report(0, "memory is lost without a failure");
        }
        for (long number = 1;; number = density_.After(number)) {
            const long before = LiveBlocks();
            const int before_reports = reports;
            if (!Try(operation, plan, number, plain, report)) break;
            ++tried;
            // Caches grow once; what grows each time is lost. Reports take memory of their own.
            const int known = before_reports;
            for (int again = 0;
                 again < kTimes && !renewed_ && reports == known && LiveBlocks() > before + again; ++again) {
                Try(operation, plan, number, plain, report);
                if (again == kTimes - 1 && reports == known && LiveBlocks() > before + kTimes)
                    report(number, "memory is lost");
            }
        }
        if (reports > 5) ADD_FAILURE() << plan.name << ": " << reports << " in all";
        std::printf("  %s, %s: %ld calls failed, %d findings\n", what, plan.name, tried, reports);
    }
    /// False: the operation makes fewer calls.
    template <class Report>
    bool Try(const Operation& operation, const FaultPlan& plan, long number, const Attempt& plain,
             Report report) {
        bool tripped = false;
        {
            Attempt run;
            {
                const Faults faults(plan, number);
                operation(run);
                tripped = Faults::Tripped();
            }
            if (run.escaped) report(number, "an exception came out");
            if (run.broken) report(number, run.broken);
            if (!run.escaped && run.told == plain.told && run.results != plain.results)
                report(number, "no failure told, but\n" + Differences(run.results, plain.results));
            SetErrorInfo(0, nullptr);
        }
        if (ModuleCanGo() != can_go_) {
            report(number, "an object is left");
            can_go_ = ModuleCanGo();  // all that follows would report it too
        }
        Attempt after;
        operation(after);
        if (after.told != plain.told || after.results != plain.results)
            report(number,
                   "afterwards it isn't done as before\n" + Differences(after.results, plain.results));
        return tripped;
    }
    void Again(const Operation& operation) {
        Attempt run;
        operation(run);
    }
    /// The first line that isn't the same.
    static std::string Differences(const std::string& a, const std::string& b) {
        std::istringstream one(a), other(b);
        std::string line, wanted;
        while (std::getline(other, wanted)) {
            if (!std::getline(one, line)) line = "(end)";
            if (line != wanted)
                return "    " + line.substr(0, 200) + "\n    instead of " + wanted.substr(0, 200);
        }
        return "";
    }

protected:
    void SetUp() override {
        // The module stays, as in a host that has a job open.
        module_ = LoadLibraryW(WideName(BinFolder() / PathOf(kModuleFile)).c_str());
        ASSERT_NE(module_, nullptr);
    }
    void TearDown() override { FreeLibrary(module_); }

    /// Loads the module anew, so that it keeps nothing of what was done before.
    void Renew() {
        FreeLibrary(std::exchange(module_, nullptr));
        CoFreeUnusedLibrariesEx(0, 0);
        CoFreeUnusedLibrariesEx(0, 0);
        FailuresTest::SetUp();
    }

    Density density_ = kDense;

private:
    HMODULE module_ = nullptr;
    bool renewed_ = false;
    bool can_go_ = true;  // as far as the objects go that the test itself holds
};

/// A job, made without disturbance.
struct Job {
    Job() {
        media.root = root.get();
        root.Give(media.dispatch());
    }
    FakeMedia media;
    Node root = CreateNode(clsid::PropertyMain);
};

std::string Bytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The settings, into a stream that needs no memory.
std::string WriteDisturbed(Attempt& run, const Node& node) {
    MemoryStream stream;
    stream.text.reserve(1 << 20);
    const auto writer = node.As<ISettingsWriter>();
    run.Call([&] { return writer->WriteXml(&stream); });
    return stream.text;
}

TEST_F(FailuresTest, CreatingAJob) {
    const Operation create = [](Attempt& run) {
        FakeMedia media;
        Node root;
        {
            Ref<IProperty> made;
            run.Call([&] {
                return CoCreateInstance(clsid::PropertyMain, nullptr, CLSCTX_INPROC_SERVER, kIid<IProperty>,
                                        made.PutVoid());
            });
            if (!run.AllWell()) return;
            root = Node(std::move(made));
        }
        media.root = root.get();
        run.Call([&] { return root->put_MediaObject(media.dispatch()); });
        if (!run.AllWell()) return;
        run.Expect(root.Name() == L"Main", "the root has lost its name");
        run.Result(Dump(root));
    };
    FailEachAnew("creating a job", create);
}

TEST_F(FailuresTest, PuttingAValue) {
    const Node other = CreateNode(clsid::PropertySimple);
    BSTR lent = SysAllocString(L"lent by its caller");
    const std::pair<const char*, Value> values[] = {{"a number", I4(7)},
                                                    {"a text", Str(L"a text of some length")},
                                                    {"an object", Obj(other.get())},
                                                    {"a reference", Raw(VT_BYREF | VT_BSTR, &lent)},
                                                    {"a double", R8(1.5)}};
    for (const auto& [what, value] : values) {
        for (const bool had_one : {false, true}) {
            const Operation put = [&value = value, had_one](Attempt& run) {
                const Node node = CreateNode(clsid::PropertySimple);
                const Value old = had_one ? Str(L"what was before") : I4(1);
                node.As<ISimpleInit>()->put_Value(old.get());
                const HRESULT status = run.Call([&, given = value.get()] { return node->put_Value(given); });
                const Value now = node.Value();
                if (FAILED(status)) run.Expect(now == old, "a refused value isn't the old one");
                std::ostringstream shown;
                PrintTo(now, &shown);
                run.Result(shown.str());
                Value copy;
                run.Call([&] { return node->get_Value(copy.Put()); });
                if (run.AllWell()) run.Expect(copy == now, "another value is given than is there");
            };
            FailEach(what, put, kMemoryPlans);
        }
    }
    SysFreeString(lent);
}

TEST_F(FailuresTest, PuttingTexts) {
    const std::wstring old_text = L"a text that was there before",
                       new_text = L"another one, longer than a short one";
    const Operation put = [&](Attempt& run) {
        const Node node = CreateNode(clsid::PropertySimple);
        const auto init = node.As<ISimpleInit>();
        const auto entry = New<IListItem>(clsid::ListItem);
        const Text before(old_text), after(new_text);
        const auto put_all = [&](const Text& text, auto call) {
            call([&] { return node->SetInfo(text, Nothing().get()); }, [&] { return node.Name(); });
            call([&] { return init->SetTitle(text); }, [&] { return node.Title(); });
            call([&] { return node->put_Description(text); }, [&] { return node.Description(); });
            call([&] { return entry->SetInfo(text, Nothing().get()); },
                 [&] { return TextFrom(entry.get(), &IListItem::get_Title); });
        };
        put_all(before, [&](auto set, auto) { EXPECT_EQ(set(), S_OK); });
        put_all(after, [&](auto set, auto get) {
            run.Expect(get() == (FAILED(run.Call(set)) ? old_text : new_text), "a text isn't what was told");
        });
    };
    FailEachAnew("texts", put);
}

TEST_F(FailuresTest, PuttingValuesOfAJob) {
    const Operation put = [](Attempt& run) {
        const Job job;
        const auto put_on = [&](const wchar_t* name, const Value& value) {
            const Node node = job.root.Find(name);
            ASSERT_TRUE(node);
            const Value old = node.Value();
            const HRESULT status = run.Call([&, given = value.get()] { return node->put_Value(given); });
            if (FAILED(status)) run.Expect(node.Value() == old, "a refused value isn't the old one");
        };
        put_on(L"Mode", I4(2));
        put_on(L"DestinationPath", Str(L"/some/where"));
        put_on(L"FileNamePattern", Str(L"{SOURCE_FILE_NAME} again"));
        if (run.AllWell()) run.Result(job.root.Xml());
    };
    FailEach("values of a job", put, kMemoryPlans);
}

TEST_F(FailuresTest, WritingTheSettings) {
    const Job job;
    ASSERT_EQ(job.root.Find(L"FileNamePattern").Put(Str(L"a & b \x416\x430")), S_OK);
    const Operation write = [&](Attempt& run) { run.Result(WriteDisturbed(run, job.root)); };
    FailEach("writing the settings", write, kMemoryPlans);
}

/// A job with one input.
struct CutJob : Job {
    CutJob() {
        EXPECT_EQ(input.Put(Str(L"a.avi")), S_OK);
        EXPECT_EQ(root.As<IMainMediaPath>()->SetMediaPath(input.get()), S_OK);
        cuts = input.Find(L"Timelines").As<ITimelines>();
    }
    std::string All() const {
        std::string all;
        for (LONG i = 0; i < CountOf(cuts); ++i) all += Node(ItemOf(cuts, i).As<IProperty>()).Xml();
        return all;
    }
    Node input = CreateNode(clsid::PropertyMediaPath);
    Ref<ITimelines> cuts;
};

constexpr LONG kCuts = 50;

struct FiftyCuts : CutJob {
    FiftyCuts() {
        for (LONG i = 0; i < kCuts; ++i) EXPECT_EQ(cuts->AddTimeline(i * 5, i * 5 + 4, nullptr), S_OK);
    }
};

TEST_F(FailuresTest, SavingCuts) {
    const FiftyCuts job;
    const fs::path file = TempFolder() / "cuts.tlc";
    const Text name(WideName(file));
    ASSERT_EQ(job.cuts->Save(name), S_OK);
    const std::string whole = Bytes(file), old = "what was there before";
    const Operation save = [&](Attempt& run) {
        std::ofstream(file, std::ios::binary) << old;
        run.Call([&] { return job.cuts->Save(name); });
        const std::string now = Bytes(file);
        run.Expect(now == old || now == whole, "the file is neither the old one nor the new one");
        run.Result(now);
        size_t files = 0;
        for (const auto& entry : fs::directory_iterator(TempFolder()))
            files += Utf8Name(entry.path().filename()).starts_with("cuts.");
        run.Expect(files == 1, "a draft is left");
    };
    FailEach("saving cuts", save, kMemoryPlans);
    FailEach("saving cuts", save, kFilePlans);
}

TEST_F(FailuresTest, LoadingCuts) {
    const fs::path file = TempFolder() / "loaded.tlc";
    const Text name(WideName(file));
    {
        const FiftyCuts job;
        ASSERT_EQ(job.cuts->Save(name), S_OK);
    }
    const CutJob job;
    const Operation load = [&](Attempt& run) {
        const HRESULT status = run.Call([&] { return job.cuts->Load(name); });
        if (FAILED(status)) run.Expect(CountOf(job.cuts) == 0, "cuts of a file that isn't loaded");
        run.Result(std::to_string(CountOf(job.cuts)));
        if (run.AllWell()) run.Result(job.All());
    };
    FailEach("loading cuts", load, kMemoryPlans);
    FailEach("loading cuts", load, kFilePlans);
}

TEST_F(FailuresTest, TheIndexCache) {
    const fs::path source = TempFolder() / "source.avi";
    std::ofstream(source, std::ios::binary) << std::string(1000, 's');
    const std::string index(5000, 'i');
    const Operation write = [&](Attempt& run) {
        std::wstring name;
        {
            const Node input = CreateNode(clsid::PropertyMediaPath);
            EXPECT_EQ(input.Put(Str(WideName(source))), S_OK);
            std::string copy = index;
            run.Call(
                [&] { return input->PutData(7, LONG(copy.size()), reinterpret_cast<BYTE*>(copy.data())); });
            WriteDisturbed(run, input);
            name = input.Find(L"IDX").Value().text();
        }
        // A host opens it again: the whole index, or none.
        const Node opened = CreateNode(clsid::PropertyMediaPath);
        EXPECT_EQ(opened.Put(Str(WideName(source))), S_OK);
        EXPECT_EQ(opened.Find(L"IDX").Put(Str(name)), S_OK);
        const auto reader = opened.As<ISettingsWriter>();
        run.Call([&] { return reader->ReadExtraData(nullptr); });
        int kind = 0;
        LONG length = 0;
        BYTE* data = nullptr;
        EXPECT_EQ(opened->GetData(&kind, &length, &data), S_OK);
        run.Expect(!data || std::string(reinterpret_cast<char*>(data), size_t(length)) == index,
                   "an index that nobody has written");
        size_t drafts = 0;
        for (const auto& entry : fs::directory_iterator(BinFolder())) {
            const std::string file = Utf8Name(entry.path().filename());
            drafts += file.ends_with(".new");
            if (entry.path().extension() == ".idx") fs::remove(entry.path());
        }
        run.Expect(drafts == 0, "a draft is left");
    };
    FailEachAnew("the index cache", write);
    FailEach("the index cache", write, kFilePlans);
}

TEST_F(FailuresTest, DynamicText) {
    const Operation expand = [](Attempt& run) {
        FakeMedia media;
        const Node input = CreateNode(clsid::PropertySimple);
        const Node text = CreateNode(clsid::PropertyWatermarkText);
        input.As<ISimpleInit>()->put_Value(Str(L"C:\\in\\clip.avi").get());
        EXPECT_EQ(media.map()->InsertProperty(input.get()), S_OK);
        EXPECT_EQ(input->SetInfo(Text(L"PathToMediaFile"), Nothing().get()), S_OK);
        text.Give(media.dispatch());
        const auto dynamic = text.As<IDynamicText>();
        const Text raw(L"%sf of %of, %s of %o, %i");
        BSTR result = nullptr, key = nullptr, title = nullptr;
        run.Call([&] { return dynamic->Expand(raw, &result); });
        run.Result(Narrow(Take(result)));
        run.Call([&] { return dynamic->GetVariable(1, &key, &title); });
        run.Result(Narrow(Take(key) + L" " + Take(title)));
        text.Give(nullptr);
    };
    FailEachAnew("dynamic text", expand);
}

TEST_F(FailuresTest, LateBinding) {
    const Operation call = [](Attempt& run) {
        const Node node = CreateNode(clsid::PropertySimple);
        node.As<ISimpleInit>()->put_Value(Str(L"a value").get());
        Ref<ITypeLib> library;
        Ref<ITypeInfo> type;
        OLECHAR name[] = L"Value";
        LPOLESTR names[] = {name};
        DISPID id = 0;
        run.Call([&] { return LoadRegTypeLib(kTypeLibrary, 1, 0, 0, library.Put()); });
        if (!run.AllWell()) return;
        run.Call([&] { return library->GetTypeInfoOfGuid(kIid<IProperty>, type.Put()); });
        if (!run.AllWell()) return;
        run.Call([&] { return type->GetIDsOfNames(names, 1, &id); });
        run.Result(std::to_string(id));
        DISPPARAMS none = {};
        Value got;
        EXCEPINFO exception = {};
        run.Call([&] {
            return node->Invoke(id, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, got.Put(), &exception, nullptr);
        });
        run.Result(Narrow(got.text()));
        Value given = Str(L"another");
        DISPID put = DISPID_PROPERTYPUT;
        DISPPARAMS one = {&given.get(), &put, 1, 1};
        const HRESULT status = run.Call([&] {
            return node->Invoke(id, IID_NULL, 0, DISPATCH_PROPERTYPUT, &one, nullptr, &exception, nullptr);
        });
        if (FAILED(status)) run.Expect(node.Value() == Str(L"a value"), "a refused value isn't the old one");
        run.Result(Narrow(node.Value().text()));
        for (BSTR text : {exception.bstrSource, exception.bstrDescription, exception.bstrHelpFile})
            SysFreeString(text);
    };
    FailEachAnew("late binding", call);
}

class RegistryFailuresTest : public FailuresTest {
protected:
    using Export = HRESULT(STDAPICALLTYPE*)();
    void SetUp() override {
        FailuresTest::SetUp();
        density_ = kSparse;
        const HMODULE module = GetModuleHandleW(kModuleFile);
        do_register =
            reinterpret_cast<Export>(reinterpret_cast<void*>(GetProcAddress(module, "DllRegisterServer")));
        do_unregister =
            reinterpret_cast<Export>(reinterpret_cast<void*>(GetProcAddress(module, "DllUnregisterServer")));
        ASSERT_EQ(do_register(), S_OK);
        with = All();
        ASSERT_EQ(do_unregister(), S_OK);
        without = All();
        ASSERT_NE(with, without);
    }
    void TearDown() override {
        EXPECT_EQ(do_register(), S_OK);
        FailuresTest::TearDown();
    }
    static std::string All() { return Snapshot(HKEY_CLASSES_ROOT, L""); }
    void CheckWhole(Attempt& run) const {
        const std::string now = All();
        run.Expect(now == with || now == without, "the registry is half changed");
        run.Result(now);
    }
    Export do_register = nullptr, do_unregister = nullptr;
    std::string with, without;
};

TEST_F(RegistryFailuresTest, Registering) {
    const Operation register_it = [&](Attempt& run) {
        EXPECT_EQ(do_unregister(), S_OK);
        run.Call(do_register);
        CheckWhole(run);
    };
    FailEach("registering", register_it, kMemoryPlans);
    kAll ? FailEach("registering", register_it, kFilePlans)
         : FailEach("registering", register_it, kFewFilePlans);
}

TEST_F(RegistryFailuresTest, Unregistering) {
    const Operation unregister = [&](Attempt& run) {
        EXPECT_EQ(do_register(), S_OK);
        run.Call(do_unregister);
        const std::string now = All();
        run.Expect(now == with || now == without, "the registry is half changed");  // it tells nothing, ever
    };
    FailEach("unregistering", unregister, kMemoryPlans);
    kAll ? FailEach("unregistering", unregister, kFilePlans)
         : FailEach("unregistering", unregister, kFewFilePlans);
}

}  // namespace
}  // namespace bv::test
