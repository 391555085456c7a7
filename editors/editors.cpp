// The editor library: one export for each kind of node that has an editor, called by the node's ShowDialog.
// An editor works on the node through its interfaces, and is done when it returns. These ask in the terminal.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tuple>

#include <bvschema/host/components.h>

#include "bvhost/text.h"
#include "bvhost/value_forms.h"
#include "console.h"
#include "form.h"

namespace dlgs {
namespace {

using host::Ask;
using host::kLargestSide;
using host::OneLine;
using host::Rect;
using host::RectProblem;
using host::Size;
using host::Text;
using host::TextResult;
using host::ToRect;
using host::ToSize;
using host::ToText;
using host::Utf8;

// --- Rectangles and sizes

/// The string-table id of what is wrong with a rectangle; 0: nothing.
int Problem(const Rect& rect) {
    switch (ProblemOf(rect)) {
        case RectProblem::kBottomTooSmall:
            return 81;
        case RectProblem::kRightTooSmall:
            return 82;
        case RectProblem::kNoWidth:
            return 83;
        case RectProblem::kNoHeight:
            return 84;
        case RectProblem::kNone:
            break;
    }
    return 0;
}

Rect AskRect(Rect rect) {
    for (int tries = 0; tries < 20; ++tries) {
        rect.left = AskNumber("Left", rect.left, 0, kLargestSide);
        rect.top = AskNumber("Top", rect.top, 0, kLargestSide);
        rect.right = AskNumber("Right", rect.right, 0, kLargestSide);
        rect.bottom = AskNumber("Bottom", rect.bottom, 0, kLargestSide);
        const int problem = Problem(rect);
        if (!problem) return rect;
        Say("  " + Message(problem));
    }
    throw Cancelled();
}

/// Whether the job's input is known to have no pictures.
bool HasNoVideo(IProperty* node) {
    Ref<IDispatch> media;
    if (FAILED(node->get_MediaObject(media.Put()))) return false;
    const auto parser = media.As<IMediaParser>();
    int video = 0, audio = 0;
    return parser && SUCCEEDED(parser->get_StreamFlagA(&video)) &&
           SUCCEEDED(parser->get_StreamFlagB(&audio)) && !video && audio;
}

/// The frame size of the job's input, from the sample that its node keeps.
std::optional<Size> SourceSize(IProperty* node) {
    const auto sample = InJob(node, L"PathToMediaFile").As<ICachedSample>();
    BYTE* data = nullptr;
    LONG data_size = 0, type_size = 0;
    AM_MEDIA_TYPE* type = nullptr;
    constexpr GUID kVideoInfo = bv::GuidOf("05589F80-C356-11CE-BF01-00AA0055595A");
    constexpr ULONG kWhole = 88, kWidth = 52, kHeight = 56;  // bytes of the format, and where it has them
    if (!sample || sample->GetSample(&data, &data_size, &type, &type_size) != S_OK || !type ||
        !type->pbFormat || type->formattype != kVideoInfo || type->cbFormat < kWhole)
        return {};
    Size size;
    std::memcpy(&size.width, type->pbFormat + kWidth, sizeof size.width);
    std::memcpy(&size.height, type->pbFormat + kHeight, sizeof size.height);
    if (size.height < 0) size.height = -std::max(size.height, -kLargestSide);  // stored from the top down
    if (size.width < 1 || size.width > kLargestSide || size.height < 1 || size.height > kLargestSide)
        return {};
    return size;
}

/// Asks for "<source>" or a size. Gives whether a size was typed.
bool EditSize(Changes& changes, IProperty* node, const std::string& question, std::optional<Size> source) {
    const auto old = ToSize(TextOf(node));
    if (AskYesNo(question, !old)) {
        if (TextOf(node) != L"<source>") changes.Put(node, Value::Of(std::wstring(L"<source>")));
        return false;
    }
    Size size = old ? *old : source.value_or(Size{720, 576});
    size.width = AskNumber("Width", size.width, 1, kLargestSide);
    size.height = AskNumber("Height", size.height, 1, kLargestSide);
    changes.Put(node, Value::Of(ToText(size)));
    return true;
}

// --- The editors

void EditCrop(IProperty* node, Changes& changes) {
    if (HasNoVideo(node)) Say(Message(85));
    const auto old = ToRect(TextOf(node));
    if (!AskYesNo("Crop the frame", old.has_value())) {
        if (TextOf(node) != L"<none>") changes.Put(node, Value::Of(std::wstring(L"<none>")));
        return;
    }
    const Size source = SourceSize(node).value_or(Size{720, 576});
    changes.Put(node, Value::Of(ToText(AskRect(old.value_or(Rect{0, 0, source.width, source.height})))));
}

void EditResize(IProperty* node, Changes& changes) {
    const auto crop = InJob(node, L"Crop");
    const auto cropped = crop ? ToRect(TextOf(crop.get())) : std::nullopt;
    const auto source = SourceSize(node);
    if (cropped)
        Say(Message(90, cropped->right - cropped->left, cropped->bottom - cropped->top));
    else if (source)
        Say(Message(91, source->width, source->height));
    const bool typed = EditSize(changes, node, "Keep the frame size of the source", source);
    if (const auto mode = Below(node, L"SizeMode")) changes.Put(mode.get(), Value::Of(LONG(typed)));
    if (!typed) return;
    const Size size = ToSize(TextOf(node)).value_or(Size());
    if (size.width % 16 || size.height % 16) Say("  " + OneLine(Message(63, size.width, size.height)));
    if (const auto ratio = Below(node, L"OriginalRatio")) {
        const bool keep = AskYesNo("Keep the ratio of width and height", TextOf(ratio.get()) != L"0");
        changes.Put(ratio.get(), Value::Of(LONG(keep)));
    }
    if (const auto type = Below(node, L"ResizeType")) {
        constexpr LONG kModes = 4;
        const std::string names[kModes] = {"stretch", "crop", "letterbox", "fill"};
        Value now;
        if (FAILED(type->get_Value(now.Put())) || now.kind() != VT_I4) now = Value::Of(LONG(0));
        const LONG current = std::clamp<LONG>(now.get().lVal, 0, kModes - 1);
        for (LONG i = 0; i < kModes; ++i) Say("  " + host::Padded(names[i], 10) + Message(86 + int(i)));
        const size_t chosen = AskChoice("How it is resized", {names, names + kModes}, size_t(current));
        changes.Put(type.get(), Value::Of(LONG(chosen)));
    }
}

void EditImageSize(IProperty* node, Changes& changes) {
    EditSize(changes, node, "Keep the image's own size", {});
}

void EditText(IProperty* node, Changes& changes) {
    const auto dynamic = Ask<IDynamicText>(node);
    LONG count = 0;
    if (dynamic && SUCCEEDED(dynamic->GetVariableCount(&count))) {
        Say("Variables, to be put anywhere in the text:");
        for (LONG i = 0; i < count; ++i) {
            TextResult key, title;
            if (SUCCEEDED(dynamic->GetVariable(i, key.Put(), title.Put())))
                Say("  " + host::Padded(Utf8(key.Get()), 5) + Utf8(title.Get()));
        }
    }
    changes.Ask(node, "Text");
    const std::pair<const wchar_t*, const char*> formats[] = {
        {L"FORMAT_d", "Form of a date"}, {L"FORMAT_t", "Form of a time"}, {L"FORMAT_i", "Form of an index"}};
    for (const auto& [name, label] : formats)
        if (const auto format = Below(node, name)) changes.Ask(format.get(), label);
    TextResult expanded;
    if (dynamic && SUCCEEDED(dynamic->Expand(Text(TextOf(node)), expanded.Put())))
        Say("It would read now: " + OneLine(Utf8(expanded.Get())));
}

template <size_t N>
void AskFontText(const std::string& question, char (&field)[N]) {
    field[N - 1] = 0;
    for (int tries = 0; tries < 20; ++tries) {
        const std::wstring text = AskText(question, host::FromNarrow(field), N - 1);
        if (text.find(L';') != text.npos) {
            Say("  A font's texts can't have a semicolon.");
            continue;
        }
        const int size = WideCharToMultiByte(CP_ACP, 0, text.data(), int(text.size()), field, int(N - 1),
                                             nullptr, nullptr);
        field[size > 0 ? size : 0] = 0;
        return;
    }
    throw Cancelled();
}

void EditFont(IProperty* node, Changes& changes) {
    const auto parser = Ask<IFontStringParser>(node);
    if (!parser) return;
    FontInfo font = {"Tahoma", "Regular", "Default", 10, 0, 0};
    std::ignore = parser->GetFontInfo(&font);
    AskFontText("Font", font.FaceName);
    AskFontText("Style, such as Regular or Bold Italic", font.Style);
    constexpr int kLargestFont = 1000;
    font.Size = AskNumber("Size", std::clamp<int>(int(font.Size), 1, kLargestFont), 1, kLargestFont);
    font.Underline = AskYesNo("Underlined", font.Underline != 0);
    font.Strikeout = AskYesNo("Struck out", font.Strikeout != 0);
    AskFontText("Character set", font.Charset);
    changes.Remember(node);
    std::ignore = parser->PutFontInfo(&font);
}

std::string NotAColor(const std::wstring& text) {
    return host::IsColour(text) ? "" : "A colour is written 0xRRGGBB.";
}
std::string NoColorOrBad(const std::wstring& text) { return text.empty() ? "" : NotAColor(text); }

void EditWatermark(IProperty* node, Changes& changes) {
    if (HasNoVideo(node)) Say(Message(85));
    changes.Ask(node, "Watermark");
    if (TextOf(node) == L"0") return;
    struct Part {
        const wchar_t* name;
        const char* label;
        std::string (*valid)(const std::wstring&) = nullptr;
        void (*edit)(IProperty*, Changes&) = nullptr;
    };
    // In this order: which of those of a text and an image are asked for depends on the first.
    const Part parts[] = {
        {L"WaterMarkSourceMode", "Source"},
        {L"WaterMarkSrcTextDesc", "Text"},
        {L"WaterMarkTextColor", "Text colour", NotAColor},
        {L"WaterMarkTextFont", "Font", nullptr, EditFont},
        {L"WaterMarkSrcTextHAlign", "Horizontal align"},
        {L"WaterMarkSrcTextVAlign", "Vertical align"},
        {L"WaterMarkSrcImage", "Image file"},
        {L"WatermarkTransparentColor", "Transparent colour", NoColorOrBad},
        {L"WaterMarkLogoImageLeft", "Left of the image"},
        {L"WaterMarkLogoImageTop", "Top of the image"},
        {L"WaterMarkLogoImageSize", "Size of the image", nullptr, EditImageSize},
        {L"WaterMarkBackgroundMode", "Background"},
        {L"WaterMarkBackgroundColor", "Background colour", NotAColor},
        {L"WaterMarkFiltersAlphaBlendValue", "Transparency in percent"},
        {L"WaterMarkOrientation", "Rotation"},
    };
    for (const Part& part : parts) {
        const auto found = Below(node, part.name);
        LONG hidden = 1;
        if (!found || FAILED(found->get_IsHide(&hidden)) || hidden) continue;
        if (part.edit)
            part.edit(found.get(), changes);
        else
            changes.Ask(found.get(), part.label, part.valid);
    }
    const wchar_t* const sides[] = {L"WaterMarkLeft", L"WaterMarkTop", L"WaterMarkRight", L"WaterMarkBottom"};
    Ref<IProperty> nodes[4];
    LONG numbers[4] = {};
    for (size_t i = 0; i < 4; ++i) {
        nodes[i] = Below(node, sides[i]);
        if (!nodes[i]) return;
        Value value, number;
        if (SUCCEEDED(nodes[i]->get_Value(value.Put())) && SUCCEEDED(value.ChangeTo(VT_I4, &number)))
            numbers[i] = number.get().lVal;
    }
    Say("Area of the watermark:");
    const Rect area = AskRect({int(numbers[0]), int(numbers[1]), int(numbers[2]), int(numbers[3])});
    const int typed[] = {area.left, area.top, area.right, area.bottom};
    for (size_t i = 0; i < 4; ++i)
        if (typed[i] != numbers[i]) changes.Put(nodes[i].get(), Value::Of(LONG(typed[i])));
}

// --- Filters

std::string NameOf(IUnknown* filter) {
    const auto node = Ask<IProperty>(filter);
    TextResult title;
    if (node && SUCCEEDED(node->get_Title(title.Put())) && !title.Get().empty())
        return OneLine(Utf8(title.Get()));
    return "filter without a name";
}

/// The list as it was before the editor, put back when the changes aren't kept.
class FilterList {
public:
    FilterList(IEnumObject* list, Changes& changes) : list_(list), changes_(changes), before_(All()) {}
    FilterList(const FilterList&) = delete;
    FilterList& operator=(const FilterList&) = delete;
    ~FilterList() {
        if (changes_.kept()) return;
        for (const auto& filter : All()) list_->Remove(filter.get());
        for (const auto& filter : before_) {
            IUnknown* back = filter.get();
            list_->Add(&back);
        }
    }
    std::vector<Ref<IUnknown>> All() const {
        std::vector<Ref<IUnknown>> all;
        LONG count = 0;
        list_->Count(&count);
        for (LONG i = 0; i < count; ++i) {
            Ref<IUnknown> filter;
            if (list_->Item(i, filter.Put()) == S_OK) all.push_back(filter);
        }
        return all;
    }
    std::string Names() const {
        std::string names;
        for (const auto& filter : All()) names += (names.empty() ? "" : ", ") + NameOf(filter.get());
        return names.empty() ? "none" : names;
    }
    /// Adds by class id or removes by number; empty, or why not.
    std::string Do(const std::wstring& command) {
        const auto all = All();
        if (command.front() == L'-') {
            const long number = std::wcstol(command.c_str() + 1, nullptr, 10);
            if (number < 1 || size_t(number) > all.size()) return "There is no filter of that number.";
            list_->Remove(all[size_t(number) - 1].get());
            return {};
        }
        CLSID cls = {};
        for (const auto& offered : bv::OfferedFilters()) {
            IUnknown* added = offered.filter.get();
            if (host::SameName(host::Utf8(command), offered.label))
                return SUCCEEDED(list_->Add(&added)) ? "" : "The filter isn't added.";
        }
        if (host::SameName(command, L"size"))
            cls = bv::clsid::FrameSizeFilter;
        else if (host::SameName(command, L"crop"))
            cls = bv::clsid::CropFilter;
        else if (FAILED(CLSIDFromString(command.c_str(), &cls)))
            return "A filter is added by its name, by \"size\", \"crop\" or its class id.";
        Ref<IUnknown> added;
        return SUCCEEDED(list_->AddByCLSID(&cls, added.Put())) ? ""
                                                               : "There is no such filter on this machine.";
    }

private:
    IEnumObject* list_;
    Changes& changes_;
    std::vector<Ref<IUnknown>> before_;
};

void EditFilters(IProperty* node, Changes& changes, FilterList& filters) {
    const std::string before = filters.Names();
    for (const auto& offered : bv::OfferedFilters()) Say("  There is: " + OneLine(offered.label));
    Say("A name, \"size\", \"crop\" or a class id adds a filter, -1 removes the first, an empty line ends.");
    for (int refused = 0; refused < 20;) {
        Say("  Filters: " + filters.Names());
        const std::wstring command = AskText("Change", L"", 100);
        if (command.empty()) {
            changes.Ask(node, "Use them");
            if (filters.Names() != before) changes.Tell("Filters: " + before + " -> " + filters.Names());
            return;
        }
        const std::string why = filters.Do(command);
        if (!why.empty()) Say("  " + why);
        refused += !why.empty();
    }
    throw Cancelled();
}

// --- The frame of an editor

/// No exception leaves an editor: what isn't confirmed is taken back, and the node is as it was.
template <class Edit>
void Run(IProperty* node, const char* title, Edit edit) {
    if (!node) return;
    try {
        Changes changes;
        Say(std::string("--- ") + title + " (the end of input cancels) ---");
        edit(node, changes);
    } catch (const Cancelled&) {
        Say("\nCancelled, nothing is changed.");
    } catch (const std::exception& error) {
        Say(std::string("\nNothing is changed: ") + error.what());
    }
}

template <void (*edit)(IProperty*, Changes&)>
void Confirmed(IProperty* node, Changes& changes) {
    edit(node, changes);
    changes.Confirm();
}

}  // namespace
}  // namespace dlgs

#define BV_EDITOR extern "C" __attribute__((visibility("default"))) void STDAPICALLTYPE

BV_EDITOR CropEditor(IProperty* node) { dlgs::Run(node, "Crop", dlgs::Confirmed<dlgs::EditCrop>); }
BV_EDITOR ResizeEditor(IProperty* node) { dlgs::Run(node, "Frame size", dlgs::Confirmed<dlgs::EditResize>); }
BV_EDITOR WaterMarkEditor(IProperty* node) {
    dlgs::Run(node, "Watermark", dlgs::Confirmed<dlgs::EditWatermark>);
}
BV_EDITOR LogoTextEditor(IProperty* node) { dlgs::Run(node, "Text", dlgs::Confirmed<dlgs::EditText>); }
BV_EDITOR FontEditor(IProperty* node) { dlgs::Run(node, "Font", dlgs::Confirmed<dlgs::EditFont>); }
BV_EDITOR ImageSize(IProperty* node) { dlgs::Run(node, "Image size", dlgs::Confirmed<dlgs::EditImageSize>); }
BV_EDITOR Filters(IProperty* node) {
    dlgs::Run(node, "Filters", [](IProperty* edited, dlgs::Changes& changes) {
        const auto list = host::Ask<IEnumObject>(edited);
        if (!list) return;
        dlgs::FilterList filters(list.get(), changes);
        dlgs::EditFilters(edited, changes, filters);
        changes.Confirm();
    });
}
