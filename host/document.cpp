#include <bvschema/host/document.h>

#include <algorithm>
#include <cstring>
#include <fstream>

#include "disk.h"
#include "document_xml.h"

namespace bv::inline host {
namespace {

constexpr const char* kTooLong = "settings have at most 16 MB";

class Reader {
public:
    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    Element Document() {
        SkipBlanks();
        Element root = ReadElement(1);
        SkipBlanks();
        if (!rest_.empty()) Fail("text after the last element");
        return root;
    }

private:
    [[noreturn]] void Fail(const std::string& what) const {
        throw Error("line " + std::to_string(line_) + ": " + OneLine(what));
    }

    static bool IsNameByte(char c) { return !IsBlank(c) && !std::strchr("<>='\"/&", c); }  // nor NUL
    static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

    void Skip(size_t count) {
        line_ += size_t(std::count(rest_.begin(), rest_.begin() + std::ptrdiff_t(count), '\n'));
        rest_.remove_prefix(count);
    }
    void SkipBlanks() {
        size_t count = 0;
        while (count < rest_.size() && IsBlank(rest_[count])) ++count;
        Skip(count);
    }
    bool SkipIf(std::string_view text) {
        if (!rest_.starts_with(text)) return false;
        Skip(text.size());
        return true;
    }

    std::string ReadName(const char* what) {
        size_t length = 0;
        while (length < rest_.size() && IsNameByte(rest_[length])) ++length;
        if (length == 0) Fail(std::string("here should stand the name of ") + what);
        const std::string name(rest_.substr(0, length));
        Skip(length);
        return name;
    }

    std::string ReadText() {
        const char quote = rest_.empty() ? '\0' : rest_[0];
        if (quote != '\'' && quote != '"') Fail("a value stands in quotes");
        const size_t end = rest_.find(quote, 1);
        if (end == rest_.npos) Fail("a value without its closing quote");
        const std::string_view raw = rest_.substr(1, end - 1);
        std::string text;
        for (size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] == '<') Fail("\"<\" inside a value");
            text += raw[i] == '&' ? ReadEntity(raw, &i) : raw[i];
        }
        Skip(end + 1);
        return NarrowToUtf8(text);
    }

    char ReadEntity(std::string_view raw, size_t* at) const {
        struct Entity {
            std::string_view text;
            char character;
        };
        constexpr Entity kEntities[] = {
            {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&apos;", '\''}, {"&quot;", '"'}};
        for (const Entity& entity : kEntities) {
            if (!raw.substr(*at).starts_with(entity.text)) continue;
            *at += entity.text.size() - 1;
            return entity.character;
        }
        Fail("an unknown \"&...;\" in a value");
    }

    VARTYPE ReadKind() {
        const std::string text = ReadText();
        VARTYPE kind = 0;
        if (text.empty() || text.size() > 4) Fail("a type is a number");
        for (const char c : text) {
            if (c < '0' || c > '9') Fail("a type is a number");
            kind = VARTYPE(kind * 10 + (c - '0'));
        }
        return kind;
    }

    Element ReadElement(size_t depth) {
        if (depth > kDeepestElement) Fail("elements lie more than 64 deep");
        if (!SkipIf("<")) Fail("here should stand an element");
        Element element;
        element.line = line_;
        const std::string name = ReadName("an element");
        element.name = NarrowToUtf8(name);
        // They are kept by an object that wants the record of a fresh scan before it writes them again.
        if (name == "DVDEXT") Fail(kNoDiscs);

        std::optional<std::string> value, unit;
        std::optional<VARTYPE> value_kind, unit_kind;
        for (SkipBlanks(); !SkipIf(">"); SkipBlanks()) {
            const std::string attribute = ReadName("an attribute");
            if (!SkipIf("=")) Fail("an attribute without a value");
            if (attribute == "value" && !value)
                value = ReadText();
            else if (attribute == "type" && !value_kind)
                value_kind = ReadKind();
            else if (attribute == "ext" && !unit)
                unit = ReadText();
            else if (attribute == "extType" && !unit_kind)
                unit_kind = ReadKind();
            else
                Fail("the attribute " + attribute + " is unknown or stands here twice");
        }
        if (!value != !value_kind || !unit != !unit_kind) Fail("a value stands with its type, or not at all");
        if (value) element.value = {*value, *value_kind};
        if (unit) element.unit = {*unit, *unit_kind};

        for (SkipBlanks(); !SkipIf("</"); SkipBlanks()) {
            if (rest_.empty()) Fail("the file ends inside of " + name);
            element.children.push_back(ReadElement(depth + 1));
        }
        if (ReadName("the element that ends here") != name) Fail("here should end " + name);
        SkipBlanks();
        if (!SkipIf(">")) Fail("the end of " + name + " isn't closed");
        return element;
    }

    std::string_view rest_;
    size_t line_ = 1;
};

}  // namespace

// The rule of the tree's own files comes first: it knows names that XML doesn't, and says what is wrong where.
Element ParseSettings(std::string_view bytes) {
    std::string problem;
    try {
        return Reader(bytes).Document();
    } catch (const Error& own) {
        problem = own.what();
    }
    if (auto element = ReadXml(bytes)) return *std::move(element);
    for (const char* foreign : {"<?", "<!", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"})
        if (bytes.starts_with(foreign)) throw Error("this is no well-formed XML");
    throw Error(problem);
}

std::string ReadWhole(std::FILE* stream) {
    std::string bytes;
    char part[1 << 16];
    for (size_t count; (count = std::fread(part, 1, sizeof part, stream)) > 0;) {
        bytes.append(part, count);
        if (bytes.size() > kLargestDocument) throw Error(kTooLong);
    }
    if (std::ferror(stream)) throw Error("it can't be read");
    return bytes;
}

std::string ReadWhole(const std::filesystem::path& file) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) throw Error("there is no such file");
    if (!std::filesystem::is_regular_file(file, error)) throw Error("this is no file");
    if (std::filesystem::file_size(file, error) > kLargestDocument) throw Error(kTooLong);
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(stream), {});
    if (!stream.is_open() || stream.bad()) throw Error("it can't be read");
    return bytes;
}

void ReplaceFile(const std::filesystem::path& file,
                 const std::function<void(const std::filesystem::path&)>& write) {
    namespace fs = std::filesystem;
    std::error_code error;
    if (fs::exists(file, error) && !fs::is_regular_file(file, error)) return write(file);
    fs::path target = fs::weakly_canonical(file, error);  // a link stays one
    if (error) target = file;
    fs::path draft = target;
    draft += ".part";
    try {
        write(draft);
        if (const fs::file_status before = fs::status(target, error); fs::exists(before))
            fs::permissions(draft, before.permissions(), error);
        BringToDisk(draft);
        fs::rename(draft, target);
        BringFolderToDisk(target.parent_path());
    } catch (const std::exception& problem) {
        fs::remove(draft, error);
        if (dynamic_cast<const Error*>(&problem)) throw;
        throw Error(OneLine(PathToUtf8(file)) + " can't be written");
    }
}

void WriteWhole(const std::filesystem::path& file, std::string_view bytes) {
    ReplaceFile(file, [&](const std::filesystem::path& path) {
        std::ofstream stream(path, std::ios::binary | std::ios::trunc);
        stream.write(bytes.data(), std::streamsize(bytes.size()));
        stream.close();
        if (!stream) throw Error(OneLine(PathToUtf8(file)) + " can't be written");
    });
}

std::optional<Value> Element::Stored::Restored() const {
    // Not objects, references and kinds that have no text.
    if (!IsWhole(kind) && !(kind >= VT_R4 && kind <= VT_BSTR) && kind != VT_BOOL && kind != VT_DECIMAL)
        return {};
    Value value;
    if (FAILED(Value(text).ChangeTo(kind, &value))) return {};
    return value;
}

}  // namespace bv::inline host
