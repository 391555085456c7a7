// The texts of a watermark: variables put in, and font strings taken apart.
#include <algorithm>
#include <cstring>

#include "commands.h"
#include "exit_code.h"
#include "job_source.h"
#include "server.h"
#include "terminal.h"
#include "text.h"
#include "value_forms.h"

namespace host {
namespace {

// --- Dynamic text

/// The text node of the job's watermark, whose formats count. A job without a watermark gets one
/// for the occasion.
Ref<IDynamicText> TextNode(const Job& job, Ref<IProperty>* owner) {
    *owner = Find(job.Root(), L"WaterMarkSrcTextDesc");
    if (!*owner) {
        *owner = Create<IProperty>(bv::clsid::PropertyWatermarkText, "PropertyWatermarkText");
        Ref<IDispatch> media;
        job.Root()->get_MediaObject(media.Put());
        (*owner)->SetMediaObject(media.get());
    }
    auto text = owner->As<IDynamicText>();
    if (!text) throw Problem("the watermark's text takes no variables");
    return text;
}

std::wstring Expanded(IDynamicText* node, const std::wstring& text) {
    TextResult result;
    const HRESULT status = node->Expand(Text(text), result.Put());
    if (FAILED(status)) throw Problem("the text can't be expanded: " + Reason(status));
    return result.Get();
}

struct Variable {
    std::wstring key, title, value;
    // Nothing to put in: the key stays in the text.
    bool Missing() const { return SameName(key, value); }
};

std::vector<Variable> Variables(IDynamicText* node) {
    std::vector<Variable> variables;
    LONG count = 0;
    node->GetVariableCount(&count);
    for (LONG i = 0; i < count; ++i) {
        TextResult key, title;
        if (FAILED(node->GetVariable(i, key.Put(), title.Put()))) continue;
        variables.push_back({key.Get(), title.Get(), Expanded(node, key.Get())});
    }
    return variables;
}

const char* WhatIsMissing(const Variable& variable) {
    return variable.key.starts_with(L"%s") ? "no input; --input names one"
                                           : "no output file; --set OutputMediaName=FILE names one";
}

void ShowVariables(const std::vector<Variable>& variables) {
    std::string text = Padded("VARIABLE", 10) + Padded("MEANING", 26) + "NOW\n";
    for (const Variable& variable : variables) {
        const std::string now = variable.Missing() ? std::string("(") + WhatIsMissing(variable) + ')'
                                                   : OneLine(Utf8(variable.value));
        text += Padded(Utf8(variable.key), 10) + Padded(Utf8(variable.title), 26) + now + '\n';
    }
    Print(text);
}

std::wstring Lower(std::wstring text) {
    for (wchar_t& c : text)
        if (c >= L'A' && c <= L'Z') c = wchar_t(c - L'A' + L'a');
    return text;
}

// --- Font strings

constexpr char kUnsetText[] = "\1";  // what nobody calls a font
constexpr LONG kUnset = -0x7FFFFFFF;
constexpr size_t kMostFontBytes = 512;

/// A record in which each field says that the string doesn't name it.
FontInfo UnsetFont() {
    FontInfo font = {};
    font.Size = font.Underline = font.Strikeout = kUnset;
    for (char* text : {font.FaceName, font.Style, font.Charset}) std::strcpy(text, kUnsetText);
    return font;
}

void PrintField(const char* title, const std::string& text, bool given) {
    Print(Padded(title, 12) + text + (given ? "" : "  (by default)") + '\n');
}
/// Shows a field, and gives one that the string doesn't name its usual content. True: it is named.
bool ShowText(const char* title, char* text, const char* usual) {
    const bool given = std::strcmp(text, kUnsetText) != 0;
    if (!given) std::strcpy(text, usual);
    PrintField(title, OneLine(Utf8(FromNarrow(text))), given);
    return given;
}
bool ShowNumber(const char* title, LONG& number, LONG usual, bool is_flag) {
    const bool given = number != kUnset;
    if (!given) number = usual;
    PrintField(title, !is_flag ? std::to_string(number) : number ? "on" : "off", given);
    return given;
}

/// text: with the variables of the watermark's text, such as "%sf"; without one the variables are listed.
/// index: of the output.
int ExpandText(const JobSource& source, const std::optional<std::wstring>& text, int index) {
    const auto opened = source.OpenAndSet();
    Job& job = *opened;
    job.SetOutputIndex(index);
    Ref<IProperty> owner;
    const auto node = TextNode(job, &owner);
    const std::vector<Variable> variables = Variables(node.get());
    if (!text) {
        ShowVariables(variables);
        return kDone;
    }
    const std::wstring expanded = Expanded(node.get(), *text);
    if (expanded.empty() && !text->empty())
        throw Problem("the text is too long, or grows too long: 512 bytes at most");
    Print(Utf8(expanded) + '\n');
    for (std::wstring rest = Lower(*text); const Variable& variable : variables) {
        const size_t at = rest.find(variable.key);
        if (at == rest.npos) continue;
        // A longer variable is not the shorter one that begins like it.
        for (size_t found; (found = rest.find(variable.key)) != rest.npos;)
            rest.replace(found, variable.key.size(), L" ");
        if (variable.Missing())
            PrintError("note: " + Utf8(variable.key) + " stays: " + WhatIsMissing(variable));
    }
    return kDone;
}

/// The record that a font string stands for; without one the usual font.
int ShowFont(const std::optional<std::wstring>& text) {
    const auto node = Create<IProperty>(bv::clsid::PropertyWatermarkFont, "PropertyWatermarkFont");
    const auto parser = node.As<IFontStringParser>();
    FontInfo usual = {}, font = UnsetFont();
    if (!parser || FAILED(parser->GetFontInfo(&usual))) throw Problem("the font node reads no font strings");
    if (text && FAILED(node->put_Value(Value::Of(*text).get()))) throw Problem("the font node takes no text");
    const HRESULT status = parser->GetFontInfo(&font);
    if (FAILED(status)) throw Problem("the font string can't be read: " + Reason(status));

    bool any_given = ShowText("Font", font.FaceName, usual.FaceName);
    any_given |= ShowText("Style", font.Style, usual.Style);
    any_given |= ShowNumber("Size", font.Size, usual.Size, false);
    any_given |= ShowNumber("Underline", font.Underline, usual.Underline, true);
    any_given |= ShowNumber("Strikeout", font.Strikeout, usual.Strikeout, true);
    any_given |= ShowText("Charset", font.Charset, usual.Charset);
    Value written;
    if (SUCCEEDED(parser->PutFontInfo(&font)) && node->get_Value(written.Put()) == S_OK)
        Print(Padded("As text", 12) + OneLine(Utf8(written.AsText())) + '\n');
    if (!text) return kDone;
    if (!any_given && Utf8(*text).size() > kMostFontBytes)
        PrintError("note: nothing of the string counts, since it has more than 512 bytes");
    else
        for (const std::wstring& item : UnknownFontItems(*text))
            PrintError("note: \"" + OneLine(Utf8(item)) + "\" is no item of a font and is left out");
    return kDone;
}

}  // namespace

void AddTextCommands(CommandLine& line) {
    struct ExpandArguments {
        JobSource source;
        std::optional<std::wstring> text;
        int index = 0;
    };
    const auto arguments = std::make_shared<ExpandArguments>();
    Command expand = line.Add("expand", "Puts the values of variables into a watermark's text");
    expand.Word("TEXT", "Such as \"%s, %d\"; without it the variables are listed", &arguments->text);
    arguments->source.AddTo(&expand);
    expand.Option("--index", "N", "The number of the output, for %i", &arguments->index);
    expand.Does([arguments] { return ExpandText(arguments->source, arguments->text, arguments->index); });

    const auto text = std::make_shared<std::optional<std::wstring>>();
    const Command font = line.Add("font", "Shows what a font string says");
    font.Word("STRING", "Such as \"FONT=Arial;SIZE=12;U=ON;\"; without it the usual font", text.get());
    font.Does([text] { return ShowFont(*text); });
}

}  // namespace host
