// The server among other libraries' trees: the same work as they do, through the interfaces that a host has.
// Built when BV_PEERS names the folder with their bench.h.
#include <bench.h>

#include <memory>
#include <pugixml.hpp>
#include <vector>

#include "server.h"

namespace {

using namespace bv::bench;
using bv::clsid::PropertySimple;

/// A row of a tree, with its texts as the interfaces take them.
struct Row {
    explicit Row(const tree::Row& source)
        : row(source),
          // The class of the one with the hook is the server's own.
          cls(std::string_view(source.name) == "Mode" ? bv::clsid::PropertyOutputMode : PropertySimple),
          name(source.name),
          title(source.title),
          text(source.text) {
        for (const auto& entry : source.list) labels.push_back(std::make_unique<Text>(entry.label));
    }
    VARIANT Value() const {
        VARIANT value = Number(row.number);
        if (row.kind == tree::Kind::text) {
            value.vt = VT_BSTR;
            value.bstrVal = text;
        }
        return value;
    }
    const tree::Row& row;
    const CLSID cls;
    Text name, title, text;
    std::vector<std::unique_ptr<Text>> labels;
};

template <const tree::Tree& T>
const std::vector<std::unique_ptr<Row>>& Rows() {
    static const auto rows = [] {
        std::vector<std::unique_ptr<Row>> made;
        for (const tree::Row& row : T.rows) made.push_back(std::make_unique<Row>(row));
        return made;
    }();
    return rows;
}

void SetUp(IProperty* node, const Row& row) {
    Ref<ISimpleInit> setup;
    if (node->QueryInterface(bv::kIid<ISimpleInit>, setup.PutVoid()) != S_OK) return;  // it brings its own
    setup->SetTitle(row.title);
    if (row.row.desc) setup->put_DescriptionID(row.row.desc);
    for (size_t i = 0; i < row.labels.size(); ++i)
        setup->AddItem(*row.labels[i], Number(row.row.list[i].value));
    if (row.row.kind != tree::Kind::none) setup->put_Value(row.Value());
    if (row.row.hidden) setup->put_IsHide(1);
}

/// The whole tree of generic nodes, each by its own creation call.
template <const tree::Tree& T>
IProperty* Build() {
    const auto& rows = Rows<T>();
    IProperty* nodes[64] = {};
    IEnumProperties* children[64] = {};
    Ref<IProperty> root;
    Create(PropertySimple, root);
    VARIANT no_parent;
    VariantInit(&no_parent);
    root->SetInfo(rows[0]->name, no_parent);
    SetUp(root.get(), *rows[0]);
    nodes[0] = root.get();
    for (size_t i = 1; i < rows.size(); ++i) {
        const size_t above = size_t(T.links[i].parent);
        CLSID cls = rows[i]->cls;
        if (rows[i]->row.ext) {
            Ref<ISimpleInit> setup;
            Ask(nodes[above], setup);
            setup->SetExtensionClass(&cls);
            nodes[above]->get_Extension(&nodes[i]);
        } else {
            if (!children[above])
                nodes[above]->QueryInterface(bv::kIid<IEnumProperties>,
                                             reinterpret_cast<void**>(&children[above]));
            children[above]->InsertProperty(rows[i]->name, &cls, &nodes[i]);
        }
        SetUp(nodes[i], *rows[i]);
        nodes[i]->Release();  // its parent holds it
    }
    for (IEnumProperties* list : children)
        if (list) list->Release();
    root->AddRef();
    return root.get();
}

struct BvSchema {
    struct JobData {
        IProperty* root = nullptr;
        Ref<IMap> media;
    };
    using Job = JobData*;
    struct CutData {
        std::vector<IProperty*> cuts;
    };
    using Cuts = CutData*;
    static constexpr bool same_text = true;

    static Job create_job() { return new JobData{Build<tree::job>(), {}}; }
    static void free_job(Job job) {
        if (job->media.get()) job->root->put_MediaObject(nullptr);
        job->root->Release();
        delete job;
    }
    /// The index comes when somebody searches: a host gives its media object once, after creation.
    static void NeedIndex(Job job) {
        if (job->media.get()) return;
        Create(bv::clsid::Map, job->media);
        job->root->put_MediaObject(job->media.get());
    }
    static IProperty* Find(Job job, BSTR name) {
        NeedIndex(job);
        IProperty* found = nullptr;
        if (job->root->FindProperty(name, &found) == S_OK) found->Release();
        return found;
    }
    static IProperty* find(Job job) {
        static const Text name(tree::last_name);
        return Find(job, name);
    }
    static void set_mode(Job job, int value) {
        static const Text name("Mode");
        Find(job, name)->put_Value(Number(value));
    }
    static bool hidden(Job job, const char* name) {
        LONG flag = 0;
        Find(job, Text(name))->get_IsHide(&flag);
        return flag != 0;
    }

    static Cuts make_cuts(int n) {
        auto* cuts = new CutData;
        static const Text names[] = {Text("StartFrm"), Text("EndFrm"), Text("TimelineOutputMode")};
        for (int i = 0; i < n; ++i) {
            IProperty* cut = Build<tree::cut>();
            const auto values = tree::cut_values(i);
            for (size_t k = 0; k < 3; ++k) {
                Ref<IProperty> node;
                cut->FindProperty(names[k], node.Put());
                node->put_Value(Number(values[k].value));
            }
            cuts->cuts.push_back(cut);
        }
        return cuts;
    }
    static void free_cuts(Cuts cuts) {
        for (IProperty* cut : cuts->cuts) cut->Release();
        delete cuts;
    }
    template <class F>
    static void write(Cuts cuts, F use) {
        MemoryStream stream;
        stream.text.reserve(32 + 600 * cuts->cuts.size());
        stream.text = "<Timelines>";
        for (IProperty* cut : cuts->cuts) {
            Ref<ISettingsWriter> writer;
            Ask(cut, writer);
            writer->WriteXml(&stream);
        }
        use(std::string_view(stream.text += "</Timelines>"));
    }
    /// As a host reads settings: each value to the node of that name, in the kind that stands beside it.
    static void Read(IProperty* cut, const pugi::xml_node& element) {
        for (const pugi::xml_node& below : element.children()) {
            Ref<IProperty> node;
            if (cut->FindProperty(CallText(below.name()), node.Put()) == S_OK && below.attribute("type")) {
                Put(node.get(), below.attribute("value"), below.attribute("type"));
                Ref<IProperty> unit;
                if (below.attribute("extType") && node->get_Extension(unit.Put()) == S_OK)
                    Put(unit.get(), below.attribute("ext"), below.attribute("extType"));
            }
            Read(cut, below);
        }
    }
    static void Put(IProperty* node, const pugi::xml_attribute& value, const pugi::xml_attribute& kind) {
        CallText text(value.value());
        VARIANT given = Number(0), changed = Number(0);
        given.vt = VT_BSTR;
        given.bstrVal = text;
        if (kind.as_int() == VT_BSTR) {
            node->put_Value(given);
            return;
        }
        changed.vt = VT_EMPTY;
        if (VariantChangeType(&changed, &given, 0, VARTYPE(kind.as_int())) == S_OK) node->put_Value(changed);
        VariantClear(&changed);
    }
    static Cuts load_cuts(std::string_view text) {
        auto* cuts = new CutData;
        pugi::xml_document document;
        Need(bool(document.load_buffer(text.data(), text.size())), "a document");
        for (const pugi::xml_node& element : document.document_element().children()) {
            cuts->cuts.push_back(Build<tree::cut>());
            Read(cuts->cuts.back(), element);
        }
        return cuts;
    }
    static int last_end(Cuts cuts) {
        Ref<IProperty> end;
        VARIANT value;
        if (cuts->cuts.back()->FindProperty(Text("EndFrm"), end.Put()) != S_OK ||
            end->get_Value(&value) != S_OK)
            return 0;
        return value.lVal;
    }
};

}  // namespace

int main(int argc, char** argv) {
    const Server server;
    Cases<BvSchema>::check();
    return Cases<BvSchema>::run(argc, argv);
}
