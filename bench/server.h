// A host of the module that lies beside the program, registered in a registry of its own.
#pragma once

#include <bvschema/bvschema.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "support/memory_stream.h"
#include "support/ref.h"

namespace bv::bench {

using test::MemoryStream;
using test::Ref;

inline void Need(bool ok, const char* what) {
    if (ok) return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::exit(1);
}

template <class I>
void Create(REFCLSID cls, Ref<I>& out) {
    Need(CoCreateInstance(cls, nullptr, CLSCTX_INPROC_SERVER, kIid<I>, out.PutVoid()) == S_OK, "a creation");
}
template <class I>
void Ask(IUnknown* object, Ref<I>& out) {
    Need(object->QueryInterface(kIid<I>, out.PutVoid()) == S_OK, "an interface");
}

/// A BSTR made once.
class Text {
public:
    explicit Text(const char* ascii) {
        const size_t length = std::strlen(ascii);
        text_ = SysAllocStringLen(nullptr, UINT(length));
        std::copy(ascii, ascii + length, text_);
    }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    ~Text() { SysFreeString(text_); }
    operator BSTR() const { return text_; }  // NOLINT

private:
    BSTR text_;
};

/// A BSTR for one call, without a block of its own if it is short: its length stands before its characters.
class CallText {
public:
    explicit CallText(const char* ascii) {
        const size_t length = std::strlen(ascii);
        if (length >= std::size(text_)) {
            long_ = std::make_unique<Text>(ascii);
            return;
        }
        bytes_ = std::uint32_t(length * sizeof *text_);
        *std::copy(ascii, ascii + length, text_) = 0;
    }
    CallText(const CallText&) = delete;
    CallText& operator=(const CallText&) = delete;
    operator BSTR() { return long_ ? BSTR(*long_) : text_; }  // NOLINT

private:
    std::unique_ptr<Text> long_;
    alignas(8) std::uint32_t before_ = 0;  // so that the length ends where the characters begin
    std::uint32_t bytes_ = 0;
    wchar_t text_[64];
};

inline VARIANT Number(LONG number) {
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

/// Calls an operation of a module that lies beside the program.
inline void CallModule(const char* file, const char* operation) {
    const auto program = std::filesystem::read_symlink("/proc/self/exe");
    HMODULE const loaded = LoadLibraryA((program.parent_path() / file).c_str());
    Need(loaded != nullptr, file);
    const auto call =
        reinterpret_cast<HRESULT (*)()>(reinterpret_cast<void*>(GetProcAddress(loaded, operation)));
    Need(call && call() == S_OK, operation);
    FreeLibrary(loaded);
}

/// To be made at the begin of main.
class Server {
public:
    Server() {
        namespace fs = std::filesystem;
        std::string folder = (fs::temp_directory_path() / "bvbench.XXXXXX").string();
        Need(mkdtemp(folder.data()) != nullptr, "a folder for the registry");
        folder_ = folder;
        setenv("BV_REGISTRY", (folder_ / "registry.db").c_str(), 1);
        Need(CoInitialize(nullptr) >= 0, "CoInitialize");
        CallModule("BVSchema.so", "DllRegisterServer");
    }
    ~Server() {
        CoUninitialize();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Server(const Server&) = delete;

private:
    std::filesystem::path folder_;
};

}  // namespace bv::bench
