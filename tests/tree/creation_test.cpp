// What a tree is made of when somebody else stands for a class of the module, comes and goes.
#include <memory>
#include <thread>

#include "support/doubles.h"
#include "support/registry.h"

namespace bv::test {
namespace {

/// Stands for a class and refuses, counting; a creation that it serves shows.
struct Refusing {
    explicit Refusing(REFCLSID cls)
        : object(cls, [this](IUnknown*, REFIID, void**) { return ++asked, E_ABORT; }) {}
    int asked = 0;
    ClassDouble object;
};

TEST(CreationTest, WhoStandsForAClassServesTheNextCreation) {
    NothingLeft no_leaks;
    const Node parent = CreateNode(clsid::PropertySimple);
    for (int round = 0; round < 2; ++round) {  // the second time the class has been created both ways before
        ASSERT_EQ(InsertChild(parent, clsid::PropertyLenExt), S_OK);
        {
            Refusing stand_in(clsid::PropertyLenExt);
            EXPECT_EQ(InsertChild(parent, clsid::PropertyLenExt), E_ABORT);
            EXPECT_EQ(InsertChild(parent, clsid::PropertySize), S_OK) << "another class";
            EXPECT_EQ(stand_in.asked, 1);
        }
        EXPECT_EQ(InsertChild(parent, clsid::PropertyLenExt), S_OK);
    }
    {  // what every node holds: a node without a value list isn't made
        Refusing stand_in(clsid::ListOfValues);
        EXPECT_EQ(InsertChild(parent, clsid::PropertyLenExt), E_ABORT);
        EXPECT_EQ(stand_in.asked, 1);
    }
}

TEST(CreationTest, AComponentMayChangeWhatTheRestOfTheJobIsMadeOf) {
    const CLSID format_id = kNoClass;
    const TestKey category(HKEY_CLASSES_ROOT,
                           L"CLSID\\" + TextOf(category::Root) + L"\\" + TextOf(category::OutputFormats));
    category.Put(TextOf(format_id), nullptr, L"A format");
    NothingLeft no_leaks;
    std::unique_ptr<Refusing> stand_in;
    const ClassDouble format(format_id, [&stand_in](IUnknown*, REFIID, void**) {
        if (stand_in)
            stand_in.reset();
        else
            stand_in = std::make_unique<Refusing>(clsid::PropertyOutput);
        return E_ABORT;
    });
    // The formats come first; then the settings that all of them share, which hold the output's.
    for (int round = 0; round < 2; ++round) {
        const Node without = CreateNode(clsid::PropertyMain);
        FakeMedia media;
        without.Give(media.dispatch());
        EXPECT_FALSE(without.Find(L"Output")) << "refused within the creation that began before";
        ASSERT_TRUE(stand_in);
        EXPECT_EQ(stand_in->asked, 1);
        without.Give(nullptr);
        const Node with = CreateNode(clsid::PropertyMain);
        with.Give(media.dispatch());
        EXPECT_TRUE(with.Find(L"Output"));
        with.Give(nullptr);
    }
}

TEST(CreationTest, AThreadThatMayNotCreateGetsNoChild) {
    const Node parent = CreateNode(clsid::PropertySimple);
    ASSERT_EQ(InsertChild(parent, clsid::PropertySimple), S_OK);
    std::thread([&] { EXPECT_EQ(InsertChild(parent, clsid::PropertySimple), CO_E_NOTINITIALIZED); }).join();
}

}  // namespace
}  // namespace bv::test
