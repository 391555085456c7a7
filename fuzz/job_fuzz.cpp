// A whole job: any sequence of public calls, with components of somebody else that call back in the
// middle of them.
//
// The input is a list of choices, see World::Step. While a component is being called, the next choices may
// be made there.
#include <sanitizer/lsan_interface.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "com/registry_key.h"
#include "host.h"
#include "job_doubles.h"

namespace {

using namespace fuzz;
namespace fs = std::filesystem;

constexpr CLSID kForeign = bv::GuidOf("D0B1E000-0000-4000-8000-000000000001");  // nodes of somebody else
constexpr CLSID kAround = bv::GuidOf("D0B1E000-0000-4000-8000-000000000002");   // that aggregate ours
constexpr CLSID kNobody = bv::GuidOf("D0B1E000-0000-4000-8000-000000000003");

constexpr std::size_t kMostObjects = 24;
constexpr int kMostSteps = 200, kMostDepth = 4;
constexpr int kLargeTree = 12;  // what a job costs of the steps

/// The input as a source of choices; zeros when it is used up.
class Source {
public:
    Source(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}
    bool Empty() const { return at_ == end_; }
    std::uint8_t Byte() { return Empty() ? std::uint8_t(0) : *at_++; }
    std::size_t Below(std::size_t count) { return Byte() % count; }
    bool Flag() { return Byte() & 1; }
    LONG Number() {
        static constexpr LONG kEdges[] = {
            0, 1, -1, 2, 100, 511, 512, 0x7FFF, 0x10000, 0x7FFFFFFF, -0x7FFFFFFF - 1};
        const std::uint8_t byte = Byte();
        return byte < 200   ? byte % 12
               : byte < 240 ? kEdges[byte % std::size(kEdges)]
                            : LONG(Byte()) << 24 | Byte();
    }

private:
    const std::uint8_t* at_;
    const std::uint8_t* end_;
};

fs::path Temp() {
    const char* const folder = std::getenv("BV_TEST_TEMP");
    return folder ? folder : ".";
}

/// The folder's name is ASCII.
std::wstring Wide(const std::filesystem::path& path) {
    const std::string name = path.string();
    return {name.begin(), name.end()};
}

/// Names of a job's nodes.
const std::vector<std::wstring>& Names() {
    static const auto names = [] {
        std::set<std::wstring> found{L"", L"foreign", L"x"};
        const auto visit = [&](auto&& self, IUnknown* object, int depth) -> void {
            const auto node = bv::Query<IProperty>(object);
            if (!node || depth > 12) return;
            bv::Bstr name;
            if (SUCCEEDED(node->get_Name(name.Put()))) found.emplace(name.View());
            if (const auto list = node.As<IEnumProperties>()) {
                LONG count = 0;
                std::ignore = list->get_Count(&count);
                for (LONG i = 0; i < count; ++i) {
                    ComPtr<IUnknown> item;
                    if (SUCCEEDED(list->get_Item(i, item.Put()))) self(self, item.get(), depth + 1);
                }
            }
        };
        for (const CLSID& cls : {bv::clsid::PropertyMain, bv::clsid::PropertyMediaPath,
                                 bv::clsid::PropertyTimeline, bv::clsid::PropertyWatermarkRoot})
            visit(visit, fuzz::Make<IUnknown>(cls).get(), 0);
        return std::vector<std::wstring>(found.begin(), found.end());
    }();
    return names;
}

/// Class objects that give components of somebody else.
class Factory final : public IClassFactory {
public:
    Factory(REFCLSID cls, int kind) : cls_(cls), kind_(kind) {}
    STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
        Called();
        const bool known = iid == kIid<IUnknown> || iid == kIid<IClassFactory>;
        *out = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override;
    STDMETHODIMP LockServer(BOOL) override { return S_OK; }

private:
    const CLSID cls_;
    const int kind_;
};

class World {
public:
    World(const std::uint8_t* data, std::size_t size) : source_(data, size) {}
    ~World() { End(); }

    void Run() {
        Begin();
        on_call = [this] { CalledBack(); };
        while (!source_.Empty() && steps_ > 0) Step();
        on_call = nullptr;
    }

private:
    struct Held {
        ComPtr<IUnknown> object;
        unsigned
            rank;  // an object is given those of a lower one; 0: it is given to nobody, and is given nothing
    };

    void Begin() {
        circles_ = source_.Flag();
        Keep(fuzz::Make<IUnknown>(bv::clsid::PropertyMain));
        root_ = bv::Query<IProperty>(objects_[0].object.get());
        Keep(fuzz::Make<IUnknown>(bv::clsid::PropertyMediaPath));
        Keep(fuzz::Make<IUnknown>(bv::clsid::MediaFiles));
        files_ = objects_[2].object;
        media_.root = root_.get();
        media_.files = files_.get();
        if (source_.Flag()) std::ignore = root_->put_MediaObject(media_.dispatch());
    }

    void CalledBack() {
        if (depth_ >= kMostDepth || steps_ <= 0 || source_.Empty() || source_.Below(4) != 0) return;
        ++depth_;
        Step();
        --depth_;
    }

    // --- Choices ---------------------------------------------------------------------------------------

    void Keep(ComPtr<IUnknown> object, bool is_new = true) {
        if (!object) return;
        const unsigned rank = is_new ? ++last_rank_ : 0;
        if (objects_.size() < kMostObjects) {
            objects_.push_back({std::move(object), rank});
        } else {  // the first ones stay
            Held& place = objects_[3 + source_.Below(kMostObjects - 3)];
            std::swap(place.object, object);
            place.rank = rank;
        }
    }
    template <class I>
    void KeepFound(ComPtr<I> object) {
        Keep(bv::Query<IUnknown>(object.get()), false);
    }
    Held Any() { return objects_[source_.Below(objects_.size())]; }
    /// An object with that interface, held for the call.
    template <class I>
    ComPtr<I> Some(unsigned* rank = nullptr) {
        const std::size_t first = source_.Byte();
        for (std::size_t i = 0; i < objects_.size(); ++i) {
            const Held held = objects_[(first + i) % objects_.size()];
            if (auto found = bv::Query<I>(held.object.get())) {
                if (rank) *rank = held.rank;
                return found;
            }
        }
        return nullptr;
    }
    /// One that an object of this rank may be given.
    ComPtr<IUnknown> Given(unsigned rank) {
        const Held held = Any();
        return circles_ || (held.rank != 0 && held.rank < rank) ? held.object : nullptr;
    }
    /// One to which no reference is kept: it stays.
    template <class I>
    ComPtr<I> Above() {
        const Held held = Any();
        if (source_.Below(4) == 0) return nullptr;
        pinned_.push_back(held.object);
        return bv::Query<I>(held.object.get());
    }
    bv::Bstr Name() { return bv::Bstr(Names()[(source_.Byte() | source_.Byte() << 8) % Names().size()]); }
    bv::Bstr Words() {
        static const std::wstring kWords[] = {L"",
                                              L"12",
                                              L"-1",
                                              L"00:00:01.500",
                                              L"{SOURCE_FILE_NAME}_%i",
                                              L"%sf of %of, %s of %o, %i, %d %t",
                                              L"C:\\in\\clip.avi",
                                              L"clip",
                                              Wide(Temp() / "in.avi"),
                                              Wide(Temp()),
                                              L"a & b < c > \x416 \"d\"",
                                              L"FONT=Tahoma;STYLE=Bold;SIZE=12;",
                                              L"255,128,7",
                                              std::wstring(600, L'w'),
                                              std::wstring(5000, L'/')};
        const std::size_t choice = source_.Below(std::size(kWords) + 2);
        if (choice < std::size(kWords)) return bv::Bstr(kWords[choice]);
        std::wstring text(source_.Below(32), L'x');
        for (wchar_t& c : text) c = wchar_t(source_.Byte());
        const UINT bytes = UINT(text.size() * sizeof(wchar_t)), cut = UINT(source_.Below(16));
        bv::Bstr result;
        *result.Put() = SysAllocStringByteLen(reinterpret_cast<const char*>(text.data()),
                                              cut < 4 && cut < bytes ? bytes - cut : bytes);
        return result;
    }
    /// A class of ours or of somebody else.
    CLSID Class() {
        const std::size_t choice = source_.Byte();
        const auto table = bv::ClassTable();
        if (choice >= 224) return kForeign;
        if (choice >= 200) return kAround;
        if (choice == 199) return kNobody;
        return table[choice % table.size()].cls;
    }
    /// A new object may be a whole tree.
    CLSID ClassToMake() {
        const CLSID cls = Class();
        steps_ -= cls == bv::clsid::PropertyMain ? kLargeTree : 2;
        return cls;
    }
    /// A value, for an object of that rank.
    bv::Variant Value(unsigned rank) {
        bv::Variant value;
        switch (source_.Below(10)) {
            case 0:
            case 1:
                value.vt = VT_I4;
                value.lVal = source_.Number();
                break;
            case 2:
                value.vt = VT_I2;
                value.iVal = SHORT(source_.Number());
                break;
            case 3:
            case 4:
                value.vt = VT_BSTR;
                value.bstrVal = Words().Detach();
                break;
            case 5:
                value.vt = VT_R8;
                value.dblVal = source_.Number() * (source_.Flag() ? 1e30 : 0.01);
                break;
            case 6:
                value.vt = VT_BOOL;
                value.boolVal = source_.Flag() ? VARIANT_TRUE : VARIANT_FALSE;
                break;
            case 7:
                value.vt = VT_UNKNOWN;
                value.punkVal = Given(rank).Detach();
                break;
            case 8:
                value.vt = VT_DISPATCH;
                value.pdispVal = bv::Query<IDispatch>(Given(rank).get()).Detach();
                break;
            default:
                break;
        }
        return value;
    }

    // --- Steps -----------------------------------------------------------------------------------------

    void Step() {
        --steps_;
        switch (source_.Below(12)) {
            case 0:
                return Make();
            case 1:
                return DropOne();
            case 2:
            case 3:
            case 4:
                return OnNode();
            case 5:
            case 6:
                return OnChildren();
            case 7:
                return OnValues();
            case 8:
                return OnJob();
            case 9:
                return OnCuts();
            case 10:
                return OnIndex();
            default:
                return OnOthers();
        }
    }

    void Make() {
        if (source_.Below(8) == 0) return StandIn();
        const std::size_t what = source_.Below(8);
        if (what < 5) {
            ComPtr<IUnknown> made;
            std::ignore = CoCreateInstance(ClassToMake(), nullptr, CLSCTX_INPROC_SERVER, kIid<IUnknown>,
                                           made.PutVoid());
            return Keep(std::move(made));
        }
        auto* node = new NodeDouble;
        ComPtr<IUnknown> held(node->unknown());
        node->Release();
        node->name = Name().View();
        if (source_.Flag()) node->children = NewList(source_.Flag());
        if (source_.Flag()) node->values = NewValues(source_.Flag());
        Keep(std::move(held));
    }
    static ComPtr<IUnknown> NewList(bool foreign) {
        auto inner = fuzz::Make<IEnumProperties>(bv::clsid::EnumProperties);
        if (!inner || !foreign) return inner.get();
        auto* list = new ListDouble(std::move(inner));
        ComPtr<IUnknown> held(list->unknown());
        list->Release();
        return held;
    }
    static ComPtr<IUnknown> NewValues(bool foreign) {
        auto inner = fuzz::Make<IListOfValues>(bv::clsid::ListOfValues);
        if (!inner || !foreign) return inner.get();
        auto* list = new ValuesDouble(std::move(inner));
        ComPtr<IUnknown> held(list->unknown());
        list->Release();
        return held;
    }
    /// Somebody else's class instead of one of ours, or of one of theirs.
    void StandIn() {
        static constexpr CLSID kOften[] = {bv::clsid::PropertySimple, bv::clsid::EnumProperties,
                                           bv::clsid::ListOfValues,   bv::clsid::ListItem,
                                           bv::clsid::PropertyLenExt, bv::clsid::PropertySimplePath};
        const CLSID cls = source_.Flag() ? kOften[source_.Below(std::size(kOften))] : Class();
        if (source_.Below(4) == 0 && !cookies_.empty()) {
            std::ignore = CoRevokeClassObject(cookies_.back());
            cookies_.pop_back();
            return;
        }
        if (cookies_.size() > 4) return;
        factories_.push_back(std::make_unique<Factory>(cls, int(source_.Below(6))));
        DWORD cookie = 0;
        if (SUCCEEDED(CoRegisterClassObject(cls, factories_.back().get(), CLSCTX_INPROC_SERVER,
                                            source_.Below(4) == 0 ? REGCLS_SINGLEUSE : REGCLS_MULTIPLEUSE,
                                            &cookie)))
            cookies_.push_back(cookie);
    }
    void DropOne() {
        if (objects_.size() <= 3) return;
        const std::size_t place = 3 + source_.Below(objects_.size() - 3);
        const ComPtr<IUnknown> gone = std::move(objects_[place].object);
        objects_.erase(objects_.begin() + std::ptrdiff_t(place));
    }

    void OnNode() {
        unsigned rank = 0;
        const auto node = Some<IProperty>(&rank);
        if (!node) return;
        LONG flag = 0;
        int number = 0;
        GUID id = {};
        bv::Bstr text;
        bv::Variant value;
        ComPtr<IProperty> found;
        ComPtr<IDispatch> object;
        switch (source_.Below(32)) {
            case 0:
                std::ignore = node->get_Name(text.Put());
                break;
            case 1:
                std::ignore = node->get_Type(&flag), node->get_IsHide(&flag), node->get_IsDisabled(&flag);
                break;
            case 2:
                std::ignore = node->put_IsHide(source_.Number());
                break;
            case 3:
                std::ignore = node->put_IsDisabled(source_.Number());
                break;
            case 4:
                std::ignore = node->get_Description(text.Put());
                break;
            case 5:
                std::ignore = node->put_Description(Words().get());
                break;
            case 6:
                std::ignore = node->get_Title(text.Put());
                break;
            case 7:
                if (node->get_Value(value.Put()) == S_OK &&
                    (value.vt == VT_DISPATCH || value.vt == VT_UNKNOWN))
                    Keep(value.punkVal, false);
                break;
            case 8:
            case 9:
            case 10:
                std::ignore = node->put_Value(Value(rank));
                break;
            case 11:
            case 12:
                if (node->FindProperty(Name().get(), found.Put()) == S_OK) KeepFound(found);
                break;
            case 13:
                if (node->get_MediaObject(object.Put()) == S_OK) flag = 1;
                break;
            case 14:
            case 15:
                std::ignore = node->put_MediaObject(AnyMedia());
                break;
            case 16:
                if (node->get_Parent(object.Put()) == S_OK) KeepFound(object);
                break;
            case 17:
                std::ignore = node->put_Parent(Above<IDispatch>().get());
                break;
            case 18:
                if (node->get_Extension(found.Put()) == S_OK) KeepFound(found);
                break;
            case 19:
                std::ignore = node->InitDefault();
                break;
            case 20:
                std::ignore = node->get_Active(&flag), node->put_Active(source_.Number());
                break;
            case 21:
                std::ignore = node->Hide(source_.Number());
                break;
            case 22:
                std::ignore = node->Disabled(source_.Number());
                break;
            case 23:
                std::ignore = node->get_Format(value.Put());
                break;
            case 24:
                std::ignore = node->put_Format(Value(rank));
                break;
            case 25: {
                BYTE block[64] = {1, 2, 3};
                BYTE* data = nullptr;
                std::ignore = node->PutData(int(source_.Number()), LONG(source_.Below(sizeof block)), block);
                std::ignore = node->GetData(&number, &flag, &data);
                wrote_data_ = true;
                break;
            }
            case 26: {
                bv::Variant above;
                if (source_.Flag()) above = bv::Variant(Above<IDispatch>().get());
                std::ignore = node->SetInfo(Name().get(), above);
                break;
            }
            case 27:
                std::ignore = node->BeforeCombo(), node->get_ClassID(&id);
                break;
            case 28:
                std::ignore = node->SetMediaObject(AnyMedia()), node->get_ValueType(&number);
                break;
            case 29:
                std::ignore = node->put_DescriptionID(int(source_.Number()));
                break;
            case 30:
                std::ignore = node->PutExData(bv::Query<IDispatch>(Given(rank).get()).get());
                break;
            default:
                if (node->GetExData(object.Put()) == S_OK) KeepFound(object);
                break;
        }
    }
    IDispatch* AnyMedia() {
        const std::size_t choice = source_.Below(4);
        return choice == 0 ? nullptr : choice == 1 ? other_media_.dispatch() : media_.dispatch();
    }

    void OnChildren() {
        unsigned rank = 0;
        const auto list = Some<IEnumProperties>(&rank);
        if (!list) return;
        LONG count = 0;
        ComPtr<IUnknown> item;
        ComPtr<IProperty> node;
        switch (source_.Below(12)) {
            case 0:
            case 1: {
                std::ignore = list->get_Count(&count);
                if (list->get_Item(source_.Number(), item.Put()) == S_OK) Keep(item, false);
                break;
            }
            case 2:
            case 3: {
                CLSID cls = ClassToMake();
                if (SUCCEEDED(list->InsertProperty(Name().get(), &cls, node.Put()))) KeepFound(node);
                break;
            }
            case 4: {
                CLSID cls = ClassToMake();
                std::ignore = list->AddProperty(Name().get(), &cls, Above<IDispatch>().get(),
                                                source_.Flag() ? node.Put() : nullptr);
                break;
            }
            case 5:
            case 6:
                if (list->FindProperty(Name().get(), Above<IProperty>().get(), node.Put()) == S_OK)
                    KeepFound(node);
                break;
            case 7:
                std::ignore = list->InitProperty(AnyMedia());
                break;
            case 8:
            case 9:
                std::ignore = list->RemoveByName(Name().get(), nullptr);
                break;
            case 10:
                std::ignore = list->PutParent(Above<IProperty>().get());
                break;
            default:
                if (const auto given = Given(rank))
                    std::ignore = list->AddObject(Name().get(), Above<IUnknown>().get(), given.get());
                break;
        }
    }

    void OnValues() {
        unsigned rank = 0;
        bv::Bstr text;
        if (source_.Below(6) == 0) {
            const auto entry = Some<IListItem>(&rank);
            if (!entry) return;
            bv::Variant value;
            std::ignore = entry->SetInfo(Words().get(), Value(rank));
            std::ignore = entry->get_Value(value.Put()), entry->get_Title(text.Put());
            return;
        }
        const auto list = Some<IListOfValues>(&rank);
        if (!list) return;
        LONG count = 0;
        ComPtr<IUnknown> item;
        switch (source_.Below(10)) {
            case 0:
            case 1:
                std::ignore = list->get_Count(&count);
                if (list->get_Item(source_.Number(), item.Put()) == S_OK) Keep(item, false);
                break;
            case 2:
                std::ignore = list->get_Text(Value(rank), text.Put());
                break;
            case 3:
                std::ignore = list->AddNew(Words().get(), Value(rank));
                break;
            case 4:
            case 5: {
                CLSID cls = ClassToMake();
                std::ignore = source_.Flag() ? list->AddObject(&cls) : list->AddObject2(Words().get(), &cls);
                break;
            }
            case 6:
            case 7:
                std::ignore = list->AddItem(Words().get(), Value(rank));
                break;
            case 8:
                std::ignore = list->Clear();
                break;
            default:
                std::ignore = list->RemoveByID(int(source_.Number()));
                break;
        }
    }

    void OnJob() {
        unsigned rank = 0;
        ComPtr<IProperty> node;
        switch (source_.Below(12)) {
            case 0:
                if (const auto main = Some<IMainMediaPath>())
                    std::ignore = main->SetMediaPath(Above<IProperty>().get());
                break;
            case 1:
            case 2:
                if (const auto writer = Some<ISettingsWriter>()) {
                    ComPtr<ISequentialStream> stream(new StreamDouble);
                    stream->Release();
                    std::ignore = writer->WriteXml(stream.get());
                    wrote_ = true;
                }
                break;
            case 3:
                if (const auto writer = Some<ISettingsWriter>())
                    std::ignore = writer->ReadExtraData(source_.Flag() ? Any().object.get() : nullptr);
                break;
            case 4:
                if (const auto files = Some<IMediaFiles>()) std::ignore = files->Insert(Words().get());
                break;
            case 5:
                if (const auto files = Some<IMediaFiles>())
                    std::ignore = files->RemoveItem(Some<IProperty>().get());
                break;
            case 6:
                if (const auto files = Some<IMediaFiles>())
                    std::ignore = files->Move(Some<IProperty>().get(), int(source_.Number()));
                break;
            case 7:
                if (const auto files = Some<IMediaFiles>())
                    if (files->GetTopMedia(node.Put()) == S_OK) KeepFound(node);
                break;
            case 8:
                if (const auto list = Some<ICollection>()) {
                    ComPtr<IUnknown> item;
                    if (list->get_Item(source_.Number(), item.Put()) == S_OK) Keep(item, false);
                }
                break;
            case 9: {  // the media object tells something else
                Media& media = source_.Flag() ? media_ : other_media_;
                media.duration = LONGLONG(source_.Number()) * (source_.Flag() ? 1 : 10000000);
                media.time_per_frame = LONGLONG(source_.Number()) * (source_.Flag() ? 1 : 40000);
                media.flag_a = source_.Flag(), media.flag_b = source_.Flag(), media.still = source_.Flag();
                media.output_name = Words().View();
                media.has_map = source_.Below(4) != 0, media.has_parser = source_.Below(4) != 0;
                media.has_media_object = source_.Below(4) != 0;
                break;
            }
            case 10:
                if (const auto init = Some<ISimpleInit>(&rank)) OnSimple(init.get(), rank);
                break;
            default:
                if (const auto state = Some<IMediaOpenState>()) {
                    LONG set = 0;
                    bv::Bstr text;
                    std::ignore = state->SetState(source_.Number(), Words().get());
                    std::ignore = state->get_StateSet(&set), state->get_IsGood(&set);
                    std::ignore = state->GetState(&set, text.Put());
                }
                break;
        }
    }
    void OnSimple(ISimpleInit* init, unsigned rank) {
        CLSID cls = Class();
        switch (source_.Below(10)) {
            case 0:
                std::ignore = init->SetType(source_.Number());
                break;
            case 1:
                std::ignore = init->SetTitle(Words().get());
                break;
            case 2:
                std::ignore = init->put_Value(Value(rank));
                break;
            case 3:
                std::ignore = init->SetPathExtension(Words().get());
                break;
            case 4:
                std::ignore = init->AddItem(Words().get(), Value(rank));
                break;
            case 5:
                std::ignore = init->AddObject(&cls);
                break;
            case 6:
                std::ignore = init->AddObject2(Words().get(), &cls);
                break;
            case 7:
                std::ignore = init->SelectItem(source_.Number());
                break;
            case 8:
                std::ignore = init->SetExtensionClass(&cls);
                break;
            default:
                std::ignore = init->put_Parent(Above<IDispatch>().get());
                break;
        }
    }

    void OnCuts() {
        const auto cuts = Some<ITimelines>();
        if (!cuts) {
            KeepFound(fuzz::Make<IProperty>(source_.Flag() ? bv::clsid::PropertyTimelines
                                                           : bv::clsid::PropertyMediaPath));
            return;
        }
        static const bv::Bstr files[] = {bv::Bstr(Wide(Temp() / "a.tlc")), bv::Bstr(Wide(Temp() / "b.tlc")),
                                         bv::Bstr(Wide(Temp() / "none" / "c.tlc"))};
        const bv::Bstr& file = files[source_.Below(std::size(files))];
        ComPtr<IProperty> cut;
        LONGLONG duration = 0;
        switch (source_.Below(8)) {
            case 0:
            case 1:
                if (SUCCEEDED(cuts->AddTimeline(source_.Number(), source_.Number(),
                                                source_.Flag() ? cut.Put() : nullptr)))
                    KeepFound(cut);
                break;
            case 2:
                std::ignore = cuts->RemoveTimeline(Some<IProperty>().get());
                break;
            case 3:
                std::ignore = cuts->Save(file.get());
                break;
            case 4:
                std::ignore = cuts->Load(file.get());
                break;
            case 5:
                std::ignore = cuts->SetMediaObject(bv::Query<IMediaObject>(AnyMedia()).get());
                break;
            case 6:
                std::ignore = cuts->get_ActiveDuration(&duration);
                break;
            default:
                if (const auto reach = cuts.As<ICutFileReach>())
                    std::ignore = reach->put_WholeJob(source_.Number());
                break;
        }
    }

    void OnIndex() {
        unsigned rank = ~0u;
        const auto map = source_.Flag() ? bv::Query<IMap>(media_.map().get()) : Some<IMap>(&rank);
        if (!map) return;
        ComPtr<IProperty> node;
        bv::Variant value;
        switch (source_.Below(7)) {
            case 0:
            case 1:
                if (map->get_Property(Name().get(), Above<IProperty>().get(), node.Put()) == S_OK)
                    KeepFound(node);
                break;
            case 2:
                std::ignore = map->get_PropertyVal(Name().get(), nullptr, value.Put());
                break;
            case 3:
                std::ignore = map->put_PropertyVal(Name().get(), nullptr, Value(0));
                break;
            case 4:
                std::ignore = map->RemoveProperties(Name().get(), nullptr);
                break;
            case 5:
                std::ignore = map->InitDefault();
                break;
            default:
                if (const auto given = Given(rank)) std::ignore = map->InsertProperty(given.get());
                break;
        }
    }

    void OnOthers() {
        unsigned rank = 0;
        ComPtr<IUnknown> object;
        LONG number = 0;
        bv::Bstr text;
        switch (source_.Below(10)) {
            case 0:
            case 1:
            case 2:
                if (const auto list = Some<IEnumObject>(&rank))
                    OnFilters(list.get(), rank);
                else
                    Keep(fuzz::Make<IUnknown>(bv::clsid::LiveTimeFilters));
                break;
            case 3:
                if (const auto action = Some<IActionImplInit>()) {
                    CLSID cls = ClassToMake();
                    std::ignore = action->Init(Name().get(), Words().get(), Words().get(), &cls);
                }
                break;
            case 4:
                if (const auto filter = Some<IFilterImplInit>()) {
                    CLSID cls = ClassToMake();
                    std::ignore = filter->Init(Name().get(), &cls);
                }
                break;
            case 5:
                if (const auto dynamic = Some<IDynamicText>())
                    std::ignore = dynamic->Expand(Words().get(), text.Put());
                break;
            case 6: {
                const auto mapper = fuzz::Make<IBVFilterMapper>(bv::clsid::BVFilterMapper);
                GUID category = bv::category::Filters, item = Class();
                if (const auto list = Some<IListOfValues>(); mapper && list)
                    std::ignore = mapper->Init(&category, source_.Flag() ? &item : nullptr, list.get());
                break;
            }
            case 7:
                if (const auto sample = Some<ICachedSample>(&rank)) {
                    BYTE bytes[16] = {};
                    AM_MEDIA_TYPE type = {};
                    type.pUnk = Given(rank).get();
                    type.pbFormat = bytes;
                    type.cbFormat = ULONG(source_.Below(sizeof bytes));
                    std::ignore =
                        sample->PutSample(bytes, LONG(source_.Below(sizeof bytes)), &type, sizeof type);
                    BYTE* data = nullptr;
                    AM_MEDIA_TYPE* kept = nullptr;
                    LONG size = 0;
                    std::ignore = sample->GetSample(&data, &number, &kept, &size);
                }
                break;
            case 8:
                if (const auto type = Some<IAMMediaType>(&rank)) {
                    BYTE bytes[18] = {1, 0, 2};
                    _AMMediaType given = {};
                    given.pUnk = Given(rank).get();
                    given.pbFormat = bytes;
                    given.cbFormat = ULONG(source_.Below(sizeof bytes + 1));
                    std::ignore = type->SetMedia(&given), type->get_Description(text.Put());
                }
                break;
            default:
                if (const auto font = Some<IFontStringParser>()) {
                    FontInfo info = {};
                    std::ignore = font->GetFontInfo(&info), font->PutFontInfo(&info);
                }
                break;
        }
    }
    void OnFilters(IEnumObject* list, unsigned rank) {
        ComPtr<IUnknown> object;
        LONG count = 0;
        switch (source_.Below(6)) {
            case 0:
                std::ignore = list->Count(&count);
                if (list->Item(source_.Number(), object.Put()) == S_OK) Keep(object, false);
                break;
            case 1:
                std::ignore = list->Remove(Any().object.get());
                break;
            case 2:
            case 3: {
                object = Given(rank);
                IUnknown* given = object.get();
                std::ignore = list->Add(&given);
                break;
            }
            case 4:
                std::ignore = list->SetMediaObject(AnyMedia());
                break;
            default: {
                CLSID cls = ClassToMake();
                if (SUCCEEDED(list->AddByCLSID(&cls, object.Put()))) Keep(object, false);
                break;
            }
        }
    }

    // --- The end ---------------------------------------------------------------------------------------

    /// Opens the circles that objects stand in, as far as they are known.
    static void Empty(IUnknown* object) {
        if (const auto node = bv::Query<IProperty>(object)) {
            std::ignore = node->put_MediaObject(nullptr), node->put_Value(bv::Variant()),
            node->PutExData(nullptr);
        }
        if (const auto list = bv::Query<IListOfValues>(object)) std::ignore = list->Clear();
        if (const auto list = bv::Query<IEnumObject>(object)) {
            std::ignore = list->SetMediaObject(nullptr);
            ComPtr<IUnknown> item;
            while (list->Item(0, item.Put()) == S_OK && list->Remove(item.get()) == S_OK) {
            }
        }
        if (const auto cuts = bv::Query<ITimelines>(object)) std::ignore = cuts->SetMediaObject(nullptr);
        if (const auto list = bv::Query<IEnumProperties>(object)) {
            for (LONG place = 0, count = 0; list->get_Count(&count) == S_OK && place < count;) {
                ComPtr<IUnknown> item;
                bv::Bstr name;
                LONG left = 0;
                std::ignore = list->get_Item(place, item.Put());
                const auto child = bv::Query<IProperty>(item.get());
                if (child) std::ignore = child->get_Name(name.Put()), list->RemoveByName(name.get(), nullptr);
                if (list->get_Count(&left) != S_OK || left >= count) ++place;
            }
        }
        if (const auto map = bv::Query<IMap>(object)) EmptyIndex(map.get());
    }
    static void EmptyIndex(IMap* map) {
        for (const std::wstring& name : Names())
            for (int i = 0; i < 4; ++i) std::ignore = map->RemoveProperties(bv::Bstr(name).get(), nullptr);
    }

    void End() {
        for (const DWORD cookie : cookies_) std::ignore = CoRevokeClassObject(cookie);
        if (circles_)
            for (const Held& held : objects_) Empty(held.object.get());
        if (circles_)
            for (const auto& object : pinned_) Empty(object.get());
        for (IDispatch* media : {media_.dispatch(), other_media_.dispatch()})
            if (const auto map = bv::Query<IMap>(media)) EmptyIndex(map.get());
        objects_.clear();
        root_.Reset();
        media_.root = nullptr;
        files_.Reset();
        media_.files = nullptr;
        pinned_.clear();
        SetErrorInfo(0, nullptr);
        if (wrote_ && wrote_data_) RemoveIndexFiles();
    }
    /// Those of sources' indices lie beside the program.
    static void RemoveIndexFiles() {
        std::error_code error;
        for (const auto& entry :
             fs::directory_iterator(fs::read_symlink("/proc/self/exe").parent_path(), error))
            if (entry.path().extension() == ".idx") fs::remove(entry.path(), error);
    }

    Source source_;
    int steps_ = kMostSteps, depth_ = 0;
    unsigned last_rank_ = 0;
    bool circles_ = false, wrote_ = false, wrote_data_ = false;
    Media media_, other_media_;  // they outlive all nodes
    std::vector<std::unique_ptr<Factory>> factories_;
    std::vector<DWORD> cookies_;
    std::vector<ComPtr<IUnknown>> pinned_;
    std::vector<Held> objects_;
    ComPtr<IProperty> root_;
    ComPtr<IUnknown> files_;
};

STDMETHODIMP Factory::CreateInstance(IUnknown* outer, REFIID iid, void** out) {
    Called();
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    const auto give = [&](auto* object) {
        const HRESULT status = object->QueryInterface(iid, out);
        object->Release();
        return status;
    };
    switch (kind_) {
        case 0:
            return E_OUTOFMEMORY;
        case 1:
        case 2: {
            const bool known = bv::FindClass(cls_);
            ComPtr<IClassFactory> factory;
            if (FAILED(bv::GetClassObject(known ? cls_ : bv::clsid::PropertySimple, kIid<IClassFactory>,
                                          factory.PutVoid())))
                return E_FAIL;
            auto* around = new Around(kind_ == 2);
            const HRESULT status = around->Make(factory.get());
            if (SUCCEEDED(status)) return give(around);
            around->Release();
            return status;
        }
        default:
            break;
    }
    if (cls_ == bv::clsid::ListItem) return give(new EntryDouble);
    if (cls_ == bv::clsid::EnumProperties || cls_ == bv::clsid::ListOfValues) {
        ComPtr<IClassFactory> factory;
        if (FAILED(bv::GetClassObject(cls_, kIid<IClassFactory>, factory.PutVoid()))) return E_FAIL;
        if (cls_ == bv::clsid::EnumProperties) {
            ComPtr<IEnumProperties> inner;
            std::ignore = factory->CreateInstance(nullptr, kIid<IEnumProperties>, inner.PutVoid());
            return inner ? give(new ListDouble(std::move(inner))) : E_FAIL;
        }
        ComPtr<IListOfValues> inner;
        std::ignore = factory->CreateInstance(nullptr, kIid<IListOfValues>, inner.PutVoid());
        return inner ? give(new ValuesDouble(std::move(inner))) : E_FAIL;
    }
    return give(new NodeDouble);
}

void WriteKey(const std::wstring& path, const wchar_t* name, const std::wstring& text) {
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
        std::abort();
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   DWORD((text.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
}
std::wstring TextOf(REFGUID id) {
    wchar_t text[40];
    return StringFromGUID2(id, text, 40) ? text : L"";
}

/// Formats, actions and filters of somebody else, in this run's registry and among its classes.
struct Components {
    Components() {
        std::ofstream(Temp() / "in.avi") << std::string(1000, 's');
        StartServer();
        Names();
        DWORD cookie = 0;
        for (Factory* factory : {&foreign, &around})
            if (FAILED(CoRegisterClassObject(factory == &foreign ? kForeign : kAround, factory,
                                             CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie)))
                std::abort();
        const std::wstring root = L"CLSID\\" + TextOf(bv::category::Root) + L"\\";
        for (const GUID& category : {bv::category::OutputFormats, bv::category::Actions})
            for (const CLSID& cls : {kForeign, kAround, bv::clsid::PropertyCommon, bv::clsid::PropertyAction})
                WriteKey(root + TextOf(category) + L"\\" + TextOf(cls), nullptr, L"A component");
        for (const CLSID& cls : {kForeign, kAround}) {
            const std::wstring path =
                L"CLSID\\" + TextOf(bv::category::Filters) + L"\\Instance\\" + TextOf(cls);
            WriteKey(path, L"CLSID", TextOf(cls));
            WriteKey(path, L"FriendlyName", L"A filter");
        }
    }
    Factory foreign{kForeign, 3}, around{kAround, 2};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Components components;
    // What is held in a circle may stay.
    const bool circles = size > 0 && data[0] & 1;
    if (circles) __lsan_disable();
    {
        World world(data, size);
        world.Run();
    }
    if (circles) __lsan_enable();
    return 0;
}
