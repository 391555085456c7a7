// An input of a job, and its cuts.
#pragma once

#include "support/node.h"

namespace bv::test {

/// A job with one input, which is cut: 10 seconds, 25 frames a second.
class CutsTest : public JobTest {
protected:
    CutsTest() : input(CreateNode(clsid::PropertyMediaPath)) {
        EXPECT_EQ(input.Put(Str(L"a.avi")), S_OK);
        EXPECT_EQ(root.As<IMainMediaPath>()->SetMediaPath(input.get()), S_OK);
        timelines = input.Find(L"Timelines");
        cuts = timelines.As<ITimelines>();
    }

    Node Add(LONG start, LONG end) const {
        Ref<IProperty> cut;
        EXPECT_EQ(cuts->AddTimeline(start, end, cut.Put()), S_OK);
        return Node(std::move(cut));
    }
    LONG Count() const { return CountOf(cuts); }
    Node At(LONG index) const { return Node(ItemOf(cuts, index).As<IProperty>()); }
    LONGLONG Active() const {
        LONGLONG duration = -1;
        EXPECT_EQ(cuts->get_ActiveDuration(&duration), S_OK);
        return duration;
    }

    Node input;
    Node timelines;  // the node
    Ref<ITimelines> cuts;
};

/// Checks that a shown form is refused whole: status, text and source of the error object, and that
/// the value stays.
inline void ExpectFormatRefused(const Node& node, const Value& shown, const std::wstring& text,
                                const std::wstring& source = L"BVSchema.Property.1",
                                HRESULT status = E_FAIL) {
    const Value before = node.Value();
    ExpectRaised([&] { return node.PutFormat(shown); }, text, source, status);
    EXPECT_EQ(node.Value(), before);
}

}  // namespace bv::test
