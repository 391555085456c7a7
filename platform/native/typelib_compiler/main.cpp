// Compiles the source of a type library into the form that the layer reads (src/typelib_format.h).
//
//   bvtlc INPUT.idl OUTPUT.tlb     bvtlc --text INPUT.idl OUTPUT.inc (the bytes as a list of numbers)
//
// It reads the part of the interface definition language that a library of records, interfaces and classes
// needs: import lines, which it passes over; one library with importlib of the standard library; struct;
// interface with [object, uuid, dual, nonextensible, oleautomation], operations with [id, propget, propput,
// propputref, restricted, helpstring], parameters with [in, out, retval]; coclass with [default]. Types come
// before their use as a base or as part of a record. Another word is an error: what is compiled for the other
// platform must be read here in full.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "automation/typelib_format.h"
#include "oaidl.h"

namespace {

using namespace bv::typelib;

// --- What a library consists of

struct Shape {
    VARTYPE vt = VT_EMPTY;
    std::uint32_t count = 0;   // VT_CARRAY
    std::string name;          // VT_USERDEFINED
    std::vector<Shape> inner;  // VT_PTR, VT_CARRAY: one
};
struct Member {  // a field or a parameter
    std::string name;
    std::uint16_t flags = 0;
    Shape shape;
};
struct Operation {
    std::uint32_t id = 0;
    std::uint8_t kind = INVOKE_FUNC;
    std::uint16_t flags = 0;
    std::string name, help;
    Shape result;
    std::vector<Member> parameters;
};
struct Type {
    std::uint8_t kind = TKIND_RECORD;
    std::uint16_t flags = 0;
    std::string id = std::string(16, '\0');
    std::string name, help, base;
    std::vector<Member> fields;  // or the interfaces of a class, by name
    std::vector<Operation> operations;
};
struct Library {
    std::string id, name, help;
    std::uint16_t major = 0, minor = 0;
    bool imports_standard = false;
    std::vector<Type> types;
};

// --- Reading

struct Token {
    enum Kind { kEnd, kWord, kNumber, kText, kSign } kind = kEnd;
    std::string text;
    int line = 1;
};

class Lexer {
public:
    explicit Lexer(std::string text) : text_(std::move(text)) { Advance(); }

    const Token& Next() const { return next_; }
    Token Take() {
        Token taken = next_;
        Advance();
        return taken;
    }
    [[noreturn]] void Fail(const std::string& what) const {
        throw std::runtime_error("line " + std::to_string(next_.line) + ": " + what +
                                 (next_.text.empty() ? "" : ", at \"" + next_.text + "\""));
    }
    bool Accept(std::string_view text) {
        if (next_.kind == Token::kText || next_.text != text) return false;
        Advance();
        return true;
    }
    void Expect(std::string_view text) {
        if (!Accept(text)) Fail("\"" + std::string(text) + "\" is missing");
    }
    std::string Word() {
        if (next_.kind != Token::kWord) Fail("a name is missing");
        return Take().text;
    }
    std::string Text() {
        if (next_.kind != Token::kText) Fail("a text is missing");
        return Take().text;
    }
    std::uint32_t Number() {
        if (next_.kind != Token::kNumber) Fail("a number is missing");
        return static_cast<std::uint32_t>(std::stoul(Take().text, nullptr, 0));
    }
    /// What stands between the "(" that is next and the ")" after it, as it is.
    std::string Raw() {
        if (next_.text != "(") Fail("\"(\" is missing");
        const std::size_t end = text_.find(')', at_);
        if (end == std::string::npos) Fail("\")\" is missing");
        std::string raw = text_.substr(at_, end - at_);
        at_ = end + 1;
        Advance();
        return raw;
    }

private:
    void Advance() {
        SkipBlanks();
        next_ = {Token::kEnd, "", line_};
        if (at_ >= text_.size()) return;
        const std::size_t start = at_;
        const auto is_word = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
        if (text_[at_] == '"') {
            const std::size_t end = text_.find('"', at_ + 1);
            if (end == std::string::npos) Fail("a text has no end");
            next_ = {Token::kText, text_.substr(at_ + 1, end - at_ - 1), line_};
            at_ = end + 1;
        } else if (is_word(text_[at_])) {
            while (at_ < text_.size() && is_word(text_[at_])) ++at_;
            const bool number = std::isdigit(static_cast<unsigned char>(text_[start])) != 0;
            next_ = {number ? Token::kNumber : Token::kWord, text_.substr(start, at_ - start), line_};
        } else {
            next_ = {Token::kSign, text_.substr(at_++, 1), line_};
        }
    }
    void SkipBlanks() {
        while (at_ < text_.size()) {
            if (std::isspace(static_cast<unsigned char>(text_[at_]))) {
                if (text_[at_++] == '\n') ++line_;
            } else if (text_.compare(at_, 2, "//") == 0) {
                at_ = std::min(text_.find('\n', at_), text_.size());
            } else if (text_.compare(at_, 2, "/*") == 0) {
                const std::size_t end = std::min(text_.find("*/", at_), text_.size() - 2) + 2;
                line_ += static_cast<int>(std::count(text_.begin() + static_cast<std::ptrdiff_t>(at_),
                                                     text_.begin() + static_cast<std::ptrdiff_t>(end), '\n'));
                at_ = end;
            } else {
                break;
            }
        }
    }

    std::string text_;
    std::size_t at_ = 0;
    int line_ = 1;
    Token next_;
};

/// What stands in brackets before a definition: each word with what follows it in parentheses.
using Attributes = std::map<std::string, std::string>;

class Parser {
public:
    explicit Parser(std::string text) : lexer_(std::move(text)) {}

    Library Parse() {
        while (lexer_.Accept("import")) {
            lexer_.Text();
            lexer_.Expect(";");
        }
        const Attributes attributes = ParseAttributes({"uuid", "version", "helpstring"});
        lexer_.Expect("library");
        library_.name = Name();
        library_.id = Id(attributes);
        library_.help = Get(attributes, "helpstring");
        const std::string version = Get(attributes, "version");
        const std::size_t point = version.find('.');
        if (point == std::string::npos) lexer_.Fail("a library has a version such as 1.0");
        library_.major = static_cast<std::uint16_t>(std::stoul(version.substr(0, point)));
        library_.minor = static_cast<std::uint16_t>(std::stoul(version.substr(point + 1)));
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) ParseItem();
        lexer_.Accept(";");
        if (lexer_.Next().kind != Token::kEnd) lexer_.Fail("nothing may follow the library");
        return std::move(library_);
    }

private:
    static std::string Get(const Attributes& attributes, const char* name) {
        const auto found = attributes.find(name);
        return found == attributes.end() ? "" : found->second;
    }

    Attributes ParseAttributes(std::initializer_list<std::string_view> known) {
        Attributes attributes;
        lexer_.Expect("[");
        do {
            const std::string word = lexer_.Word();
            if (std::find(known.begin(), known.end(), word) == known.end())
                lexer_.Fail("unknown attribute " + word);
            std::string& value = attributes[word];
            if (word == "uuid" || word == "version") {
                value = lexer_.Raw();
            } else if (word == "id") {
                lexer_.Expect("(");
                value = std::to_string(lexer_.Number());
                lexer_.Expect(")");
            } else if (word == "helpstring") {
                lexer_.Expect("(");
                value = lexer_.Text();
                lexer_.Expect(")");
            }
        } while (lexer_.Accept(","));
        lexer_.Expect("]");
        return attributes;
    }

    /// A name that is kept. The library holds each name once, without regard to case.
    std::string Name() {
        const std::string name = lexer_.Word();
        std::string folded = name;
        for (char& c : folded) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        const auto [known, added] = names_.emplace(folded, name);
        if (!added && known->second != name) lexer_.Fail(name + " was spelt " + known->second + " before");
        return name;
    }

    /// The 16 bytes of an id, fields in little endian.
    std::string Id(const Attributes& attributes) {
        const std::string text = Get(attributes, "uuid");
        std::string digits;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
            if (dash ? text[i] != '-' : !std::isxdigit(static_cast<unsigned char>(text[i])))
                lexer_.Fail("bad id " + text);
            if (!dash) digits += text[i];
        }
        if (digits.size() != 32) lexer_.Fail("an id is missing");
        constexpr int kOrder[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
        std::string bytes;
        for (const int i : kOrder)
            bytes +=
                static_cast<char>(std::stoul(digits.substr(static_cast<std::size_t>(i) * 2, 2), nullptr, 16));
        return bytes;
    }

    void ParseItem() {
        if (lexer_.Accept("importlib")) {
            lexer_.Expect("(");
            lexer_.Text();
            lexer_.Expect(")");
            lexer_.Expect(";");
            library_.imports_standard = true;
        } else if (lexer_.Accept("interface")) {
            lexer_.Word();  // it is defined further on
            lexer_.Expect(";");
        } else if (lexer_.Accept("struct")) {
            ParseRecord();
        } else {
            const Attributes attributes =
                ParseAttributes({"object", "uuid", "dual", "nonextensible", "oleautomation", "helpstring"});
            if (lexer_.Accept("interface"))
                ParseInterface(attributes);
            else if (lexer_.Accept("coclass"))
                ParseClass(attributes);
            else
                lexer_.Fail("no such definition");
        }
    }

    void ParseRecord() {
        Type type;
        type.name = Name();
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) {
            Member field;
            field.shape = ParseShape();
            field.name = Name();
            if (lexer_.Accept("[")) {
                Shape array;
                array.vt = VT_CARRAY;
                array.count = lexer_.Number();
                array.inner.push_back(std::move(field.shape));
                field.shape = std::move(array);
                lexer_.Expect("]");
            }
            lexer_.Expect(";");
            type.fields.push_back(std::move(field));
        }
        lexer_.Expect(";");
        library_.types.push_back(std::move(type));
    }

    void ParseInterface(const Attributes& attributes) {
        Type type;
        const bool dual = attributes.contains("dual");
        type.kind = TKIND_INTERFACE;
        type.id = Id(attributes);
        type.help = Get(attributes, "helpstring");
        if (dual) type.flags |= TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE;
        if (attributes.contains("oleautomation")) type.flags |= TYPEFLAG_FOLEAUTOMATION;
        if (attributes.contains("nonextensible")) type.flags |= TYPEFLAG_FNONEXTENSIBLE;
        type.name = Name();
        if (lexer_.Accept(":")) type.base = lexer_.Word();
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) type.operations.push_back(ParseOperation());
        lexer_.Accept(";");
        library_.types.push_back(std::move(type));
    }

    Operation ParseOperation() {
        const Attributes attributes =
            ParseAttributes({"id", "propget", "propput", "propputref", "restricted", "helpstring"});
        if (!attributes.contains("id")) lexer_.Fail("an operation has an id");
        Operation operation;
        operation.id = static_cast<std::uint32_t>(std::stoul(attributes.at("id")));
        if (attributes.contains("propget")) operation.kind = INVOKE_PROPERTYGET;
        if (attributes.contains("propput")) operation.kind = INVOKE_PROPERTYPUT;
        if (attributes.contains("propputref")) operation.kind = INVOKE_PROPERTYPUTREF;
        if (attributes.contains("restricted")) operation.flags |= FUNCFLAG_FRESTRICTED;
        operation.help = Get(attributes, "helpstring");
        operation.result = ParseShape();
        operation.name = Name();
        lexer_.Expect("(");
        while (!lexer_.Accept(")")) {
            if (!operation.parameters.empty()) lexer_.Expect(",");
            const Attributes words = ParseAttributes({"in", "out", "retval"});
            Member parameter;
            if (words.contains("in")) parameter.flags |= PARAMFLAG_FIN;
            if (words.contains("out")) parameter.flags |= PARAMFLAG_FOUT;
            if (words.contains("retval")) parameter.flags |= PARAMFLAG_FRETVAL;
            parameter.shape = ParseShape();
            parameter.name = Name();
            operation.parameters.push_back(std::move(parameter));
        }
        lexer_.Expect(";");
        const bool is_put = operation.kind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF);
        if (is_put && operation.parameters.empty()) lexer_.Fail("a write has a value");
        return operation;
    }

    void ParseClass(const Attributes& attributes) {
        Type type;
        type.kind = TKIND_COCLASS;
        type.flags = TYPEFLAG_FCANCREATE;
        type.id = Id(attributes);
        type.help = Get(attributes, "helpstring");
        type.name = Name();
        lexer_.Expect("{");
        while (!lexer_.Accept("}")) {
            Member entry;
            if (lexer_.Next().text == "[" && ParseAttributes({"default"}).contains("default"))
                entry.flags = IMPLTYPEFLAG_FDEFAULT;
            lexer_.Expect("interface");
            entry.name = lexer_.Word();
            lexer_.Expect(";");
            type.fields.push_back(std::move(entry));
        }
        lexer_.Accept(";");
        library_.types.push_back(std::move(type));
    }

    Shape ParseShape() {
        struct Simple {
            const char* name;
            VARTYPE vt;
        };
        // A number as wide as a pointer is what the compiler itself was built for:
        // it runs where the module does.
        static constexpr Simple kSimple[] = {
            {"void", VT_VOID},
            {"char", VT_I1},
            {"short", VT_I2},
            {"long", VT_I4},
            {"int", VT_INT},
            {"hyper", VT_I8},
            {"float", VT_R4},
            {"double", VT_R8},
            {"BSTR", VT_BSTR},
            {"VARIANT", VT_VARIANT},
            {"HRESULT", VT_HRESULT},
            {"VARIANT_BOOL", VT_BOOL},
            {"LONG_PTR", sizeof(LONG_PTR) == 8 ? VT_I8 : VT_I4},
        };
        static constexpr Simple kUnsigned[] = {
            {"char", VT_UI1}, {"short", VT_UI2}, {"long", VT_UI4}, {"int", VT_UINT}, {"hyper", VT_UI8}};
        Shape shape;
        if (lexer_.Accept("unsigned")) {
            const std::string word = lexer_.Word();
            for (const Simple& simple : kUnsigned)
                if (word == simple.name) shape.vt = simple.vt;
            if (shape.vt == VT_EMPTY) lexer_.Fail("no such number: unsigned " + word);
        } else {
            lexer_.Accept("struct");
            const std::string word = lexer_.Word();
            for (const Simple& simple : kSimple)
                if (word == simple.name) shape.vt = simple.vt;
            // A pointer to one of these two is a kind of its own.
            if ((word == "IDispatch" || word == "IUnknown") && lexer_.Accept("*"))
                shape.vt = word == "IDispatch" ? VT_DISPATCH : VT_UNKNOWN;
            if (shape.vt == VT_EMPTY) {
                shape.vt = VT_USERDEFINED;
                shape.name = word;
            }
        }
        while (lexer_.Accept("*")) {
            Shape pointer;
            pointer.vt = VT_PTR;
            pointer.inner.push_back(std::move(shape));
            shape = std::move(pointer);
        }
        return shape;
    }

    Lexer lexer_;
    Library library_;
    std::map<std::string, std::string> names_;  // upper case, as spelt
};

// --- Writing

class Writer {
public:
    explicit Writer(const Library& library) : library_(library) {}

    std::string Write() {
        bytes_.assign(std::begin(kMagic), std::end(kMagic));
        Number(kFormat, 2);
        bytes_ += library_.id;
        Number(library_.major, 2);
        Number(library_.minor, 2);
        Text(library_.name);
        Text(library_.help);
        Number(library_.types.size(), 2);
        for (const Type& type : library_.types) WriteType(type);
        return std::move(bytes_);
    }

private:
    void WriteType(const Type& type) {
        Number(type.kind, 1);
        Number(type.flags, 2);
        bytes_ += type.id;
        Text(type.name);
        Text(type.help);
        if (type.kind == TKIND_INTERFACE) Number(type.base.empty() ? kNoType : Find(type.base), 2);
        Number(type.kind == TKIND_INTERFACE ? type.operations.size() : type.fields.size(), 2);
        for (const Member& field : type.fields) {
            if (type.kind == TKIND_COCLASS) {
                Number(Find(field.name), 2);
                Number(field.flags, 2);
            } else {
                Text(field.name);
                WriteShape(field.shape);
            }
        }
        for (const Operation& operation : type.operations) {
            Number(operation.id, 4);
            Number(operation.kind, 1);
            Number(operation.flags, 2);
            Text(operation.name);
            Text(operation.help);
            WriteShape(operation.result);
            Number(operation.parameters.size(), 1);
            for (const Member& parameter : operation.parameters) {
                Text(parameter.name);
                Number(parameter.flags, 2);
                WriteShape(parameter.shape);
            }
        }
    }
    void WriteShape(const Shape& shape) {
        Number(shape.vt, 1);
        if (shape.vt == VT_CARRAY) Number(shape.count, 4);
        if (shape.vt == VT_USERDEFINED) Number(Find(shape.name), 2);
        for (const Shape& inner : shape.inner) WriteShape(inner);
    }
    std::uint16_t Find(const std::string& name) const {
        for (std::size_t i = 0; i < library_.types.size(); ++i)
            if (library_.types[i].name == name) return static_cast<std::uint16_t>(i);
        for (std::size_t i = 0; library_.imports_standard && i < std::size(kStandardNames); ++i)
            if (name == kStandardNames[i]) return static_cast<std::uint16_t>(kStandard | i);
        throw std::runtime_error("no such type: " + name);
    }
    void Number(std::size_t number, int size) {
        for (int i = 0; i < size; ++i) bytes_ += static_cast<char>(number >> (8 * i));
        if (size < 8 && number >> (8 * size)) throw std::runtime_error("a number is too large");
    }
    void Text(const std::string& text) {
        Number(text.size(), 2);
        bytes_ += text;
    }

    const Library& library_;
    std::string bytes_;
};

int Compile(const char* input, const char* output, bool as_text) try {
    std::ifstream source(input, std::ios::binary);
    if (!source) throw std::runtime_error("the file can't be read");
    const Library library = Parser(std::string(std::istreambuf_iterator<char>(source), {})).Parse();
    const std::string bytes = Writer(library).Write();
    std::ofstream target(output, std::ios::binary);
    if (as_text) {
        for (const char byte : bytes) target << int(static_cast<unsigned char>(byte)) << ",\n";
    } else {
        target << bytes;
    }
    if (!target.flush()) throw std::runtime_error(std::string(output) + " can't be written");
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", input, error.what());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const bool as_text = argc == 4 && std::string_view(argv[1]) == "--text";
    if (argc != 3 && !as_text) {
        std::fputs("bvtlc [--text] INPUT.idl OUTPUT\n", stderr);
        return 2;
    }
    return Compile(argv[argc - 2], argv[argc - 1], as_text);
}
