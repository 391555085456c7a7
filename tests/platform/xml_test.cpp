// The XML document of the platform: what it gives of a document, and what it refuses.
#include <bvschema/bvschema.h>
#include <gtest/gtest.h>
#include <msxml.h>

#include <string>

#include "support/environment.h"
#include "support/files.h"
#include "support/names.h"
#include "support/node.h"

namespace bv::test {
namespace {

constexpr CLSID kDocument = GuidOf("2933BF90-7B36-11D2-B20E-00C04F983E60");
const IID kDocumentId = GuidOf("2933BF81-7B36-11D2-B20E-00C04F983E60");

class XmlTest : public testing::Test {
protected:
    XmlTest() {
        EXPECT_EQ(CoCreateInstance(kDocument, nullptr, CLSCTX_INPROC_SERVER, kDocumentId, document.PutVoid()),
                  S_OK);
        EXPECT_EQ(document->put_async(VARIANT_FALSE), S_OK);
        EXPECT_EQ(document->put_validateOnParse(VARIANT_FALSE), S_OK);
        EXPECT_EQ(document->put_resolveExternals(VARIANT_FALSE), S_OK);
    }
    bool LoadFile(const std::filesystem::path& path) {
        VARIANT_BOOL good = VARIANT_TRUE;
        const HRESULT status = document->load(Str(WideName(path)).get(), &good);
        EXPECT_EQ(status == S_OK, good == VARIANT_TRUE);
        return good == VARIANT_TRUE;
    }
    bool Load(const std::string& bytes) {
        const auto path = TempFolder() / "document.xml";
        WriteAll(path, bytes);
        return LoadFile(path);
    }
    Ref<IXMLDOMNode> Root() {
        Ref<IXMLDOMNode> node;
        document->get_firstChild(node.Put());
        for (DOMNodeType type = NODE_INVALID; node;) {
            node->get_nodeType(&type);
            if (type == NODE_ELEMENT) break;
            Ref<IXMLDOMNode> next;
            node->get_nextSibling(next.Put());
            node = next;
        }
        return node;
    }

    Ref<IXMLDOMDocument> document;
};

std::wstring NameOf(IXMLDOMNode* node) {
    BSTR name = nullptr;
    EXPECT_EQ(node->get_nodeName(&name), S_OK);
    return Take(name);
}
std::wstring TextOf(IXMLDOMNode* node) {
    BSTR text = nullptr;
    EXPECT_EQ(node->get_text(&text), S_OK);
    return Take(text);
}

/// name(attribute=text ...)[children]
std::wstring Outline(IXMLDOMNode* node) {
    std::wstring outline = NameOf(node);
    Ref<IXMLDOMNamedNodeMap> attributes;
    if (node->get_attributes(attributes.Put()) == S_OK) {
        LONG count = 0;
        EXPECT_EQ(attributes->get_length(&count), S_OK);
        for (LONG i = 0; i < count; ++i) {
            Ref<IXMLDOMNode> by_place, by_order;
            EXPECT_EQ(attributes->get_item(i, by_place.Put()), S_OK);
            EXPECT_EQ(attributes->nextNode(by_order.Put()), S_OK);
            EXPECT_EQ(NameOf(by_place.get()), NameOf(by_order.get()));
            outline += L"(" + NameOf(by_place.get()) + L"=" + TextOf(by_place.get()) + L")";
        }
        Ref<IXMLDOMNode> past;
        EXPECT_EQ(attributes->get_item(count, past.Put()), S_FALSE);
        EXPECT_EQ(attributes->nextNode(past.Put()), S_FALSE);
        EXPECT_FALSE(past);
    }
    Ref<IXMLDOMNodeList> children;
    EXPECT_EQ(node->get_childNodes(children.Put()), S_OK);
    LONG count = 0;
    EXPECT_EQ(children->get_length(&count), S_OK);
    Ref<IXMLDOMNode> child;
    node->get_firstChild(child.Put());
    for (LONG i = 0; i < count; ++i) {
        Ref<IXMLDOMNode> item, next;
        EXPECT_EQ(children->get_item(i, item.Put()), S_OK);
        EXPECT_EQ(NameOf(item.get()), NameOf(child.get()));
        outline += L"[" + Outline(item.get()) + L"]";
        child->get_nextSibling(next.Put());
        child = next;
    }
    EXPECT_FALSE(child);
    return outline;
}

TEST_F(XmlTest, GivesWhatADocumentHolds) {
    ASSERT_TRUE(
        Load("<?xml version=\"1.0\"?>\r\n<!-- a comment -->\n<a b='&lt;&amp;&gt;&apos;&quot;&#65;&#x42;' "
             "c=\"x\ny\">\n"
             "  <b></b>text<c d=''/><![CDATA[<&]]> \n</a>\n"));
    ASSERT_TRUE(Root());
    EXPECT_EQ(Outline(Root().get()), L"a(b=<&>'\"AB)(c=x y)[b][#text][c(d=)][#cdata-section]");
    EXPECT_EQ(TextOf(Root().get()), L"text<&");
    // What was loaded stays as long as a node of it.
    const Ref<IXMLDOMNode> root = Root();
    ASSERT_FALSE(Load("<a>"));
    EXPECT_FALSE(Root());
    EXPECT_EQ(NameOf(root.get()), L"a");
    VARIANT_BOOL good = VARIANT_FALSE;
    EXPECT_EQ(document->loadXML(Text(L"<n\x416 v='\x4E2D\xE9'/>"), &good), S_OK);
    EXPECT_EQ(Outline(Root().get()), L"n\x416(v=\x4E2D\xE9)");
    root->get_childNodes(nullptr);
}

TEST_F(XmlTest, ReadsEncodings) {
    const std::wstring expected = L"a(v=\x416)";
    const std::string utf16 = {'\xFF', '\xFE', '<', 0,      'a',    0,    ' ', 0,   'v', 0,   '=',
                               0,      '\'',   0,   '\x16', '\x04', '\'', 0,   '/', 0,   '>', 0};
    std::string swapped = utf16;
    for (size_t i = 0; i < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
    for (const std::string& bytes :
         {std::string("<a v='\xD0\x96'/>"), std::string("\xEF\xBB\xBF<a v='\xD0\x96'/>"),
          std::string("<?xml version='1.0' encoding='UTF-8'?><a v='\xD0\x96'/>"),
          std::string("<?xml version=\"1.0\" encoding=\"Windows-1251\" ?><a v='\xC6'/>"), utf16, swapped}) {
        EXPECT_TRUE(Load(bytes)) << bytes;
        if (Root()) {
            EXPECT_EQ(Outline(Root().get()), expected);
        }
    }
    for (const std::string& bytes :
         {std::string("<a v='\xC6'/>"),
          std::string("<?xml version='1.0' encoding='none-such'?><a v='\xC6'/>"),
          std::string("<?xml version='1.0' encoding='UTF-8'?><a v='\xC6'/>"), utf16.substr(0, 13)})
        EXPECT_FALSE(Load(bytes)) << bytes;
}

TEST_F(XmlTest, RefusesWhatIsNoDocument) {
    std::string deep, deeper;
    for (int i = 0; i < 100; ++i) deep = "<a>" + deep + "</a>";
    for (int i = 0; i < 100000; ++i) deeper += "<a>";
    for (int i = 0; i < 100000; ++i) deeper += "</a>";
    EXPECT_TRUE(Load(deep));
    std::string wide = "<a";
    for (int i = 0; i < 20000; ++i) wide += " n" + std::to_string(i) + "='1'";
    EXPECT_TRUE(Load(wide + "/>"));
    for (const std::string& bytes : {std::string(),
                                     std::string(" \n"),
                                     std::string("text"),
                                     std::string("<a/><b/>"),
                                     std::string("<a/>text"),
                                     std::string("text<a/>"),
                                     std::string("<a b='1' b='2'/>"),
                                     wide + " n77='1'/>",
                                     std::string("<a><b></a></b>"),
                                     std::string("<a>"),
                                     std::string("<a/></a>"),
                                     std::string("<a b=1/>"),
                                     std::string("<a>&none;</a>"),
                                     std::string("<a>&#0;</a>"),
                                     std::string("<a>&</a>"),
                                     std::string("<a b='&#xD800;'/>"),
                                     std::string("<a>\0</a>", 8),
                                     deeper,
                                     std::string("<!-- only -->"),
                                     std::string("<a/><?xml version='1.0'?>"),
                                     std::string("\x7F"
                                                 "ELF\0\0",
                                                 6)})
        EXPECT_FALSE(Load(bytes)) << bytes.substr(0, 60);
    EXPECT_TRUE(Load("<a><!-- & &none; --><![CDATA[&]]><?p &?></a>"));
    EXPECT_FALSE(LoadFile(TempFolder()));
    EXPECT_FALSE(LoadFile(TempFolder() / "missing.xml"));
    VARIANT_BOOL good = VARIANT_TRUE;
    EXPECT_NE(document->load(I4(1).get(), &good), S_OK);
    EXPECT_NE(document->loadXML(Text(L"<a"), &good), S_OK);
    EXPECT_EQ(good, VARIANT_FALSE);
}

}  // namespace
}  // namespace bv::test
