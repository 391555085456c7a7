#include "tree/property_base.h"

namespace bv {
namespace {

constexpr NodeDecl kPoints[] = {
    {.name = names::kStartFrm, .cls = clsid::PropertyTimelineStartPoint},
    {.name = names::kEndFrm, .cls = clsid::PropertyTimelineEndPoint},
    {.name = L"EndFrmAsRelation", .type = style::kEdit, .value = I4(0)},  // the host's
};
constexpr NodeDecl kChildren[] = {
    {.name = L"points",
     .title = L"Timeline",
     .type = style::kGroup | style::kHeading,
     .help = L"Interval: lenght = 10c",  // sic; replaced by the length text
     .children = kPoints},
    {.name = L"TimelineOutput", .cls = clsid::PropertyTimelineOutput},
};
constexpr NodeDecl kTimeline = {
    .name = names::kTimeline, .cls = clsid::PropertyTimeline, .children = kChildren};

/// One interval of a source, with an output rule of its own.
class PropertyTimeline : public PropertyBase {
public:
    PropertyTimeline() : PropertyBase(kTimeline) {}
};

// Nothing in the tree has it; a host may create it by its class id.
constexpr NodeDecl kWidth = {
    .name = L"TimelineWidth", .cls = clsid::PropertyTimelineWidth, .title = L"Width", .type = style::kEdit};

class PropertyTimelineWidth : public PropertyBase {
public:
    PropertyTimelineWidth() : PropertyBase(kWidth) {}
};

}  // namespace
BV_CREATOR(PropertyTimeline)
BV_CREATOR(PropertyTimelineWidth)
}  // namespace bv
