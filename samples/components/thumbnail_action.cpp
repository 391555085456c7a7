// An action: a further job for each file that was written. Its settings hang in the job's tree below
// its check box.
#include "classes.h"
#include "settings.h"

namespace sample {
namespace {

constexpr Choice kFrames[] = {{L"First frame", 1}, {L"Middle of the file", 2}, {L"At a fixed time", 3}};
constexpr Setting kSettings[] = {
    {.name = L"ThumbnailFrame",
     .title = L"Frame",
     .style = kList,
     .value = 1,
     .choices = kFrames,
     .description = L"Which frame becomes the picture."},
    {.name = L"ThumbnailTime",
     .title = L"Time",
     .style = kEdit | kNotNegative,
     .value = 10,
     .unit = L"s",
     .description = L"Where the frame is taken when the time is fixed."},
    {.name = L"ThumbnailWidth",
     .title = L"Width",
     .style = kEdit | kNotNegative,
     .value = 320,
     .unit = L"pixels",
     .description = L"The height follows from the shape of the frame."},
};
constexpr Setting kRoot = {.name = L"Thumbnail", .title = L"Thumbnail", .children = kSettings};

class ThumbnailAction final : public Component<IActionObject> {
public:
    HRESULT Build() {
        const HRESULT status = AggregateNode(bv::clsid::PropertySimple);
        return FAILED(status) ? status : SetUp(this, kRoot);
    }
};

}  // namespace

HRESULT CreateThumbnailAction(REFIID iid, void** out) {
    return Component<IActionObject>::Create<ThumbnailAction>(iid, out);
}

}  // namespace sample
