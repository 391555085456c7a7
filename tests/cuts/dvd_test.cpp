// The record of a DVD: copying, comparing, and the choices on their way through the settings.
#include <msxml.h>

#include <climits>
#include <cstring>

#include "support/node.h"

namespace bv::test {
namespace {

/// A record as a scanner makes it: each file has two pieces in the menu and three in the title.
struct Disc {
    explicit Disc(int files) : records(size_t(files)), vobs(size_t(files) * 5) {
        std::strcpy(info.DiscId, "DISC_1");
        info.FileCount = files;
        info.Files = records.data();
        for (size_t i = 0; i < records.size(); ++i) {
            std::snprintf(records[i].FileName, sizeof records[i].FileName, "VTS_%02d_1.VOB", int(i));
            records[i].Menu = {2, 7, 0, &vobs[i * 5], 1, 0x80, {1, 2, 3}};
            records[i].Title = {3, 8, 0, &vobs[i * 5 + 2], 2, 0xBD, {4}};
            for (DWORD k = 0; k < 5; ++k) vobs[i * 5 + k] = {{DWORD(i), k, k * 2, k * 3}, 0};
        }
    }
    BYTE* bytes() { return reinterpret_cast<BYTE*>(&info); }
    DVDInfo info = {};
    std::vector<DVDFileRecord> records;
    std::vector<DVDVobRecord> vobs;
};

class DvdTest : public testing::Test {
protected:
    HRESULT Set(Disc& disc) { return data->SetDVDInfo(disc.bytes(), 0); }
    HRESULT Equals(Disc& disc) { return data->Equal(disc.bytes(), 0); }
    DVDInfo& Own(int expected_size) {
        BYTE* bytes = nullptr;
        int size = 0;
        EXPECT_EQ(data->GetDVDInfo(&bytes, &size), S_OK);
        EXPECT_EQ(size, expected_size);
        return *reinterpret_cast<DVDInfo*>(bytes);
    }
    std::string Xml() {
        MemoryStream stream;
        EXPECT_EQ(data.As<ISettingsWriter>()->WriteXml(&stream), S_OK);
        return stream.text;
    }
    void Read(const std::string& xml) {
        constexpr CLSID kDocument = GuidOf("2933BF90-7B36-11D2-B20E-00C04F983E60");
        const IID document_id = GuidOf("2933BF81-7B36-11D2-B20E-00C04F983E60");
        Ref<IXMLDOMDocument> document;
        ASSERT_EQ(CoCreateInstance(kDocument, nullptr, CLSCTX_INPROC_SERVER, document_id, document.PutVoid()),
                  S_OK);
        VARIANT_BOOL good = VARIANT_FALSE;
        ASSERT_EQ(document->loadXML(Text(std::wstring(xml.begin(), xml.end())), &good), S_OK) << xml;
        Ref<IXMLDOMNode> root;
        ASSERT_EQ(document->get_firstChild(root.Put()), S_OK);
        EXPECT_EQ(data.As<ISettingsWriter>()->ReadExtraData(root.get()), S_OK);
    }

    NothingLeft no_leaks;
    Ref<IDVDIndexData> data = New<IDVDIndexData>(clsid::DVDIndexData);
};

TEST_F(DvdTest, ARecordIsCopiedWhole) {
    BYTE* bytes = nullptr;
    int size = 77;
    EXPECT_EQ(data->GetDVDInfo(&bytes, &size), S_FALSE);
    EXPECT_EQ(data->GetDVDIndex(&bytes, &size), S_FALSE);
    EXPECT_EQ(size, 77);
    EXPECT_EQ(Xml(), "");
    {
        Disc disc(2);
        ASSERT_EQ(Set(disc), S_OK);
    }
    DVDInfo& own = Own(40 + 2 * 464 + 10 * 20);
    EXPECT_STREQ(own.DiscId, "DISC_1");
    ASSERT_EQ(own.FileCount, 2);
    EXPECT_STREQ(own.Files[1].FileName, "VTS_01_1.VOB");
    EXPECT_EQ(own.Files[1].Title.VobCount, 3);
    EXPECT_EQ(own.Files[1].Title.Vobs[2].Words[3], 12u);
    EXPECT_EQ(own.Files[1].Menu.HostBytes[2], 3);
    EXPECT_EQ(own.Files[1].Title.AudioId, 0xBD);
    ASSERT_EQ(data->SetDVDInfo(reinterpret_cast<BYTE*>(&own), 0), S_OK);  // its own record
    EXPECT_EQ(Own(40 + 2 * 464 + 10 * 20).Files[1].Title.Vobs[2].Words[3], 12u);

    BYTE block[] = {1, 2, 3};
    EXPECT_EQ(data->SetDVDIndex(block, 3), S_OK);
    EXPECT_EQ(data->GetDVDIndex(&bytes, &size), S_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), size_t(size)), "\1\2\3");
    EXPECT_EQ(data->SetDVDIndex(bytes + 1, 2), S_OK);  // a part of its own
    EXPECT_EQ(data->GetDVDIndex(&bytes, &size), S_OK);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(bytes), size_t(size)), "\2\3");
    EXPECT_EQ(data->SetDVDIndex(nullptr, 2), E_POINTER);
    EXPECT_EQ(data->SetDVDIndex(block, -1), E_INVALIDARG);
    EXPECT_EQ(data->SetDVDInfo(nullptr, 0), E_POINTER);
}

TEST_F(DvdTest, TheSameDiscIsKnownWhateverWasChosen) {
    Disc disc(2), other(2);
    EXPECT_EQ(Equals(disc), S_FALSE);
    ASSERT_EQ(Set(disc), S_OK);
    EXPECT_EQ(Equals(other), S_OK);
    other.records[1].Exclude = other.records[0].Menu.Exclude = other.vobs[0].Exclude = 1;
    other.records[1].Title.AudioId = 1;
    other.vobs[2].Words[0] = 99;  // a piece of a title
    EXPECT_EQ(Equals(other), S_OK);
    const auto differs = [&](auto change) {
        Disc changed(2);
        change(changed);
        EXPECT_EQ(Equals(changed), S_FALSE);
    };
    for (int word : {0, 1, 2, 3}) differs([&](Disc& d) { d.vobs[6].Words[word] ^= 1; });
    differs([](Disc& d) { d.info.DiscId[5] = '2'; });
    differs([](Disc& d) { d.records[1].FileName[0] = 'v'; });
    differs([](Disc& d) { d.info.FileCount = 1; });
    differs([](Disc& d) { d.records[0].Menu.VobCount = 1; });
    differs([](Disc& d) { d.records[0].Title.VobCount = 2; });
    differs([](Disc& d) { d.records[0].Menu.Vobs = nullptr; });
    differs([](Disc& d) { d.info.Files = nullptr; });
    EXPECT_EQ(data->Equal(nullptr, 0), E_POINTER);
}

TEST_F(DvdTest, CountsThatAreNoneDoNoHarm) {
    for (const LONG count : {-1, INT_MIN, INT_MAX}) {
        Disc disc(1);
        disc.info = {"none", count, nullptr};
        EXPECT_EQ(Set(disc), S_OK);
        EXPECT_EQ(Own(40).FileCount, 0);
        Disc parts(1);
        parts.records[0].Menu.VobCount = count;
        parts.records[0].Menu.Vobs = nullptr;
        EXPECT_EQ(Set(parts), S_OK);
        EXPECT_EQ(Own(40 + 464 + 3 * 20).Files[0].Menu.VobCount, 0);
        EXPECT_EQ(Equals(parts), S_FALSE);
    }
    Disc huge(1);
    huge.records[0].Title.VobCount = INT_MAX;
    EXPECT_EQ(Set(huge), E_INVALIDARG);
    huge.info.FileCount = INT_MAX;
    EXPECT_EQ(Set(huge), E_INVALIDARG);
    EXPECT_EQ(Own(40 + 464 + 3 * 20).FileCount, 1);
    Disc open(1);  // texts without an end
    std::memset(open.info.DiscId, 'x', sizeof open.info.DiscId);
    std::memset(open.records[0].FileName, 'x', sizeof open.records[0].FileName);
    EXPECT_EQ(Set(open), S_OK);
    EXPECT_EQ(Equals(open), S_OK);
}

TEST_F(DvdTest, ChoicesComeBackOverAFreshScan) {
    Disc disc(2);
    disc.records[0].Exclude = 1;
    disc.records[1].Menu.Exclude = -5;
    disc.records[1].Title.AudioId = 255;
    disc.vobs[9].Exclude = 2;
    ASSERT_EQ(Set(disc), S_OK);
    const std::string xml =
        "<DVDEXT><DVDFILE EXCLUDE=\"1\"><MENU EXCLUDE=\"0\" AUDIOID=\"128\"><VOB EXCLUDE=\"0\"></VOB><VOB "
        "EXCLUDE=\"0\"></VOB>"
        "</MENU><TITLE EXCLUDE=\"0\" AUDIOID=\"189\"><VOB EXCLUDE=\"0\"></VOB><VOB EXCLUDE=\"0\"></VOB><VOB "
        "EXCLUDE=\"0\">"
        "</VOB></TITLE></DVDFILE><DVDFILE EXCLUDE=\"0\"><MENU EXCLUDE=\"-5\" AUDIOID=\"128\"><VOB "
        "EXCLUDE=\"0\"></VOB>"
        "<VOB EXCLUDE=\"0\"></VOB></MENU><TITLE EXCLUDE=\"0\" AUDIOID=\"255\"><VOB EXCLUDE=\"0\"></VOB><VOB "
        "EXCLUDE=\"0\">"
        "</VOB><VOB EXCLUDE=\"2\"></VOB></TITLE></DVDFILE></DVDEXT>";
    EXPECT_EQ(Xml(), xml);

    Disc fresh(2);
    Read(xml);
    EXPECT_EQ(Xml(), xml);
    ASSERT_EQ(Set(fresh), S_OK);
    EXPECT_EQ(Xml(), xml);
    EXPECT_EQ(Own(40 + 2 * 464 + 10 * 20).Files[1].Title.HostByte, 2);
    ASSERT_EQ(Set(fresh), S_OK);  // the choices were used up
    EXPECT_EQ(Own(40 + 2 * 464 + 10 * 20).Files[0].Exclude, 0);

    Disc none(0);
    ASSERT_EQ(Set(none), S_OK);
    EXPECT_EQ(Xml(), "<DVDEXT></DVDEXT>");
    Disc marked(1);
    marked.vobs[0].Words[2] = 0xFFFFFFFF;
    marked.records[0].Exclude = 1;
    ASSERT_EQ(Set(marked), S_OK);
    const std::string shorter = Xml();
    EXPECT_NE(shorter.find("AUDIOID=\"128\"><VOB EXCLUDE=\"0\"></VOB></MENU>"), std::string::npos) << shorter;
    Read(shorter);
    marked.records[0].Exclude = 0;
    ASSERT_EQ(Set(marked), S_OK);  // a piece is missing: the choices don't fit
    EXPECT_EQ(Own(40 + 464 + 5 * 20).Files[0].Exclude, 0);
}

TEST_F(DvdTest, DamagedChoicesAreNone) {
    const std::string vob = "<v a='3'/>", part = "<p a='1' b='257'>" + vob + vob + "</p>";
    const std::string title = "<p a='1' b='2'>" + vob + vob + vob + "</p>";
    Read("<x><file q='4'>" + part + title + "<more/></file></x>");  // by place, not by name
    Disc disc(1);
    ASSERT_EQ(Set(disc), S_OK);
    const DVDFileRecord& file = Own(40 + 464 + 5 * 20).Files[0];
    EXPECT_EQ(file.Exclude, 4);
    EXPECT_EQ(file.Menu.AudioId, 1);
    EXPECT_EQ(file.Title.Vobs[2].Exclude, 3);
    for (const std::string& inside :
         {std::string("<f>") + part + title + "</f>", "<f a='x'>" + part + title + "</f>",
          "<f a='4'>" + part + "</f>", std::string("<f a='4'/>"), "<f a='4'>" + title + title + "</f>",
          "<f a='4'><p a='1'/>" + title + "</f>",
          "<f a='4'>" + part + "<p a='1' b='2'>" + vob + vob + "<v/></p></f>",
          "<f a='4'>" + part + title + "</f><f a='4'>" + part + title + "</f>",
          "<f a='99999999999'>" + part + title + "</f>", std::string("text"), std::string()}) {
        Read("<x><f a='4'>" + part + title + "</f></x>");
        Read("<x>" + inside + "</x>");
        ASSERT_EQ(Set(disc), S_OK);
        EXPECT_EQ(Own(40 + 464 + 5 * 20).Files[0].Exclude, 0) << inside;
    }
    Read("<x><f a='4'>" + part + title + "</f></x>");
    EXPECT_EQ(data.As<ISettingsWriter>()->ReadExtraData(data.get()), S_OK);  // no XML at all
    EXPECT_EQ(data.As<ISettingsWriter>()->ReadExtraData(nullptr), S_OK);
    ASSERT_EQ(Set(disc), S_OK);
    EXPECT_EQ(Own(40 + 464 + 5 * 20).Files[0].Exclude, 0);
}

TEST_F(DvdTest, ChoicesForMoreFilesThanADiscMayHaveAreNone) {
    const std::string file = "<f a='4'><p a='1' b='2'/><p a='1' b='2'/></f>";
    for (const size_t count : {10000u, 10001u}) {
        std::string files;
        for (size_t i = 0; i < count; ++i) files += file;
        Read("<x>" + files + "</x>");
        Disc disc(0);
        std::vector<DVDFileRecord> records(count);
        disc.info.FileCount = LONG(count);
        disc.info.Files = records.data();
        ASSERT_EQ(Set(disc), count <= 10000 ? S_OK : E_INVALIDARG);
        EXPECT_EQ(Own(40 + 464 * 10000).Files[9999].Exclude, 4) << count;
    }
}

TEST_F(DvdTest, ANodeWritesItsDisc) {
    const Node input = CreateNode(clsid::PropertyMediaPath);
    Disc none(0);
    ASSERT_EQ(Set(none), S_OK);
    ASSERT_EQ(input->PutExData(data.get()), S_OK);
    EXPECT_NE(input.Xml().find("</IDX>\n<DVDEXT></DVDEXT></PathToMediaFile>\n"), std::string::npos)
        << input.Xml();
    BYTE block[] = {1};
    ASSERT_EQ(input->PutData(1, 1, block), S_OK);  // the one drops the other
    Ref<IDispatch> extra;
    EXPECT_EQ(input->GetExData(extra.Put()), E_FAIL);
}

}  // namespace
}  // namespace bv::test
