#include <bvschema/host/job.h>

#include "core.h"

namespace bv::inline host {

// --- Cuts

size_t Cuts::size() const {
    LONG count = 0;
    cuts_->get_Count(&count);
    return size_t(count);
}

Node Cuts::operator[](size_t index) const {
    Ref<IUnknown> item;
    if (FAILED(cuts_->get_Item(LONG(index), item.Put()))) return {};
    Ref<IProperty> cut = item.As<IProperty>();
    return cut ? job_->NodeOf(std::move(cut)) : Node();
}

std::vector<Node> Cuts::all() const {
    std::vector<Node> nodes;
    for (size_t i = 0; i < size(); ++i)
        if (Node cut = (*this)[i]) nodes.push_back(std::move(cut));
    return nodes;
}

namespace {

constexpr LONG kInFrames = 0, kInTime = 2;  // units of a point

HRESULT PutPoint(const Node& cut, const char* name, const CutPoint& point) {
    const Node node = cut.Find(name);
    if (!node || !node.unit_node()) return E_NOINTERFACE;
    node.unit_node().get()->put_Value(Value::Of(point.is_time() ? kInTime : kInFrames).get());
    ForgetErrors();
    return node.get()->put_Format(point.value().get());
}

}  // namespace

/// The whole list is what may change: one that isn't the job's changes without a step.
Result<> Cuts::Edit(const std::string& what, const std::function<HRESULT()>& change) const {
    const auto list = job_->ListOf(cuts_.get());
    ForgetErrors();
    const HRESULT status = list ? job_->EditList(what, *list, 0, size(), change) : change();
    if (FAILED(status)) return Refusal{status, Reason(status), node_.name(), {}};
    return {};
}

Result<Node> Cuts::Add(const CutPoint& start, const CutPoint& end) const {
    Node cut;
    const auto add = [&] {
        Ref<IProperty> made;
        if (const HRESULT status = cuts_->AddTimeline(0, 0, made.Put()); FAILED(status)) return status;
        cut = job_->NodeOf(made);
        // The end first, or the start would lie behind it.
        HRESULT status = PutPoint(Node(made.get()), "EndFrm", end);
        if (SUCCEEDED(status)) status = PutPoint(Node(made.get()), "StartFrm", start);
        if (FAILED(status)) {
            Ref<IErrorInfo> why;  // what follows may have a text of its own
            GetErrorInfo(0, why.Put());
            cuts_->RemoveTimeline(made.get());
            SetErrorInfo(0, why.get());
        }
        return status;
    };
    const auto list = job_->ListOf(cuts_.get());
    ForgetErrors();
    HRESULT status = E_FAIL;
    std::string text;
    const Result<> done = job_->Transaction("Add a cut", [&]() -> Result<> {
        status = list ? job_->EditList("Add a cut", *list, size(), 0, add) : add();
        if (FAILED(status)) return Refusal{status, Reason(status), node_.name(), start.value().text()};
        return Use(true);
    });
    if (!done) return done.error();
    return cut;
}

Result<> Cuts::Remove(const Node& cut) const {
    const auto list = job_->ListOf(cuts_.get());
    const std::vector<Node> nodes = all();
    for (size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i] != cut) continue;
        const auto remove = [&] { return cuts_->RemoveTimeline(cut.get()); };
        const HRESULT status = list ? job_->EditList("Remove a cut", *list, i, 1, remove) : remove();
        if (FAILED(status)) return Refusal{status, Reason(status), node_.name(), {}};
        return {};
    }
    return Refusal{E_INVALIDARG, "the cut isn't in the list", node_.name(), {}};
}

Result<> Cuts::Clear() const {
    return Edit("Remove all cuts", [this] {
        HRESULT status = S_OK;
        for (const Node& cut : all())
            if (const HRESULT one = cuts_->RemoveTimeline(cut.get()); FAILED(one)) status = one;
        return status;
    });
}

bool Cuts::in_use() const { return node_.value().number() == 1; }

Result<> Cuts::Use(bool use) const {
    if (in_use() == use) return {};
    return node_.Put(Value::Of(LONG(use)));
}

Result<> Cuts::Save(const std::filesystem::path& file) const {
    ForgetErrors();
    const HRESULT status = cuts_->Save(Text(std::wstring_view(FromPath(file))));
    if (FAILED(status)) return Refusal{status, Reason(status), node_.name(), PathToUtf8(file)};
    return {};
}

Result<> Cuts::Load(const std::filesystem::path& file) const {
    return Edit("Load cuts", [&] { return cuts_->Load(Text(std::wstring_view(FromPath(file)))); });
}

Result<LONGLONG> Cuts::Duration() const {
    LONGLONG duration = 0;
    ForgetErrors();
    const HRESULT status = cuts_->get_ActiveDuration(&duration);
    if (FAILED(status)) return Refusal{status, Reason(status), node_.name(), {}};
    return duration;
}

// --- Inputs

std::filesystem::path Input::path() const { return ToPath(node_.value().AsText()); }
const MediaInfo& Input::info() const { return job_->InfoOf(node_.get()); }
Cuts Input::cuts() const { return job_->CutsOf(node_); }

std::string Input::problem() const {
    const auto open_state = Ask<IMediaOpenState>(node_.get());
    LONG set = 0, state = 0;
    TextResult text;
    if (path().empty()) return "no file is chosen";
    if (!open_state || FAILED(open_state->get_StateSet(&set)) || !set) return {};
    if (FAILED(open_state->GetState(&state, text.Put())) || state == 1) return {};
    const std::string why = OneLine(text.Utf8());
    return why.empty() ? "it can't be opened" : why;
}

// --- The job

Subscription::~Subscription() {
    if (const auto job = job_.lock()) job->Unsubscribe(id_);
}
Subscription& Subscription::operator=(Subscription&& other) noexcept {
    std::swap(job_, other.job_);
    std::swap(id_, other.id_);
    return *this;
}

TransactionScope::~TransactionScope() {
    try {
        TakeBack();
    } catch (...) {  // memory has ended: what can't be taken back stays
    }
}
void TransactionScope::Keep() {
    if (const auto job = std::exchange(job_, nullptr)) job->EndTransaction(true);
}
void TransactionScope::TakeBack() {
    if (const auto job = std::exchange(job_, nullptr)) job->EndTransaction(false);
}

Job Job::Create(JobOptions options) { return Job(std::make_shared<JobCore>(std::move(options))); }

Job Job::Parse(std::string_view document, JobOptions options) {
    const Element element = ParseSettings(document);
    Job job = Create(std::move(options));
    job.core_->Restore(element);
    return job;
}

Job Job::Load(const std::filesystem::path& file, JobOptions options) {
    try {
        return Parse(ReadWhole(file), std::move(options));
    } catch (const Error& error) {
        throw Error(error.status(), OneLine(PathToUtf8(file)) + ": " + error.what());
    }
}

Node Job::Root() const { return core_->NodeOf(Ref<IProperty>(core_->root())); }
Node Job::operator[](std::string_view name) const { return core_->Find(name); }

Input Job::AddInput(const std::filesystem::path& path) { return core_->InputOf(core_->AddInput(path)); }

std::vector<Input> Job::Inputs() const {
    std::vector<Input> inputs;
    for (size_t i = 0; i < core_->InputCount(); ++i) inputs.push_back(core_->InputOf(i));
    return inputs;
}

Result<> Job::RemoveInput(const Input& input) { return core_->RemoveInput(input.node().get()); }
Result<> Job::MoveInput(const Input& input, int by) { return core_->MoveInput(input.node().get(), by); }
Result<> Job::Select(const Input& input) { return core_->Select(input.node().get()); }

std::string Job::Xml() const { return core_->Xml(); }

Result<> Job::Save(const std::filesystem::path& file) const try {
    WriteWhole(file, Xml());
    return {};
} catch (const Error& error) {
    return Refusal{error.status(), error.what(), {}, PathToUtf8(file)};
}

const LoadReport& Job::report() const { return core_->report; }

Subscription Job::Subscribe(std::function<void(const Change&)> callback) {
    return {core_, core_->Subscribe(std::move(callback))};
}
void Job::Refresh() { core_->Refresh(); }
Result<> Job::Transaction(const std::string& name, const std::function<Result<>()>& changes) {
    return core_->Transaction(name, changes);
}
TransactionScope Job::Begin(const std::string& name) {
    core_->BeginTransaction(name);
    return TransactionScope(core_);
}
std::vector<Refusal> Job::TakeRefusals() { return std::exchange(core_->refusals, {}); }

std::string Job::undo_name() const {
    return core_->undo().empty() ? std::string() : core_->undo().back().name;
}
std::string Job::redo_name() const {
    return core_->redo().empty() ? std::string() : core_->redo().back().name;
}
bool Job::Undo() { return core_->Undo(); }
bool Job::Redo() { return core_->Redo(); }
MediaObject* Job::media() const { return core_->media(); }

}  // namespace bv::inline host
