#include "server/messages.h"

#include <bvschema/bvschema.h>

#include "com/com_ptr.h"

namespace bv {
namespace {
HINSTANCE module_instance = nullptr;
}

HINSTANCE ModuleInstance() { return module_instance; }
void SetModuleInstance(HINSTANCE instance) { module_instance = instance; }

int LoadMessage(HINSTANCE instance, int id, char (&buffer)[kTextLimit]) {
    buffer[0] = 0;
    if (id <= 0 || !FindResourceA(instance, MAKEINTRESOURCEA(WORD(id / 16 + 1)), MAKEINTRESOURCEA(6))) return 0;
    const int length = LoadStringA(instance, UINT(id), buffer, kTextLimit);
    if (length <= 0) buffer[0] = 0;
    return length > 0 ? length : 0;
}

int LoadMessageW(HINSTANCE instance, int id, wchar_t (&buffer)[kTextLimit]) {
    char narrow[kTextLimit];
    LoadMessage(instance, id, narrow);
    return ToWide(narrow, buffer, kTextLimit);
}

int ToNarrowBytes(char* buffer, std::wstring_view text, int capacity) {
    size_t plain = 0;  // most texts are ASCII, which is the same in every code page
    while (plain < text.size() && plain < size_t(capacity) && text[plain] > 0 && text[plain] < 0x80) {
        buffer[plain] = char(text[plain]);
        ++plain;
    }
    if (plain == text.size()) return int(plain);
    if (plain == size_t(capacity)) return -1;
    const auto convert = [&](DWORD flags, const char* unmapped) {
        return WideCharToMultiByte(CP_ACP, flags, text.data() + plain, int(text.size() - plain), buffer + plain,
                                   int(size_t(capacity) - plain), unmapped, nullptr);
    };
    int rest = convert(WC_NO_BEST_FIT_CHARS, "#");
    // A system whose code page is UTF-8 takes neither flag nor substitute: it has every character.
    if (rest == 0 && GetLastError() != ERROR_INSUFFICIENT_BUFFER) rest = convert(0, nullptr);
    return rest > 0 ? int(plain) + rest : -1;
}

int ToNarrowCut(char* buffer, std::wstring_view text, int capacity) {
    text = text.substr(0, size_t(capacity));  // a character has a byte at least
    for (;;) {
        if (const int length = ToNarrowBytes(buffer, text, capacity); length >= 0) return length;
        const wchar_t last = text.back();
        text.remove_suffix(1);
        // Of a pair of surrogates both go.
        if (last >= 0xDC00 && last <= 0xDFFF && !text.empty()) text.remove_suffix(1);
    }
}

int ToNarrow(char* buffer, const wchar_t* text, int capacity) {
    if (capacity <= 0) return 0;
    int length = ToNarrowBytes(buffer, text ? std::wstring_view(text) : std::wstring_view(), capacity - 1);
    if (length < 0) length = 0;
    buffer[length] = 0;
    return length;
}

int ToWide(const char* text, wchar_t* buffer, int capacity) {
    if (capacity <= 0) return 0;
    // The length that it gives counts the terminator.
    const int length = text ? MultiByteToWideChar(CP_ACP, 0, text, -1, buffer, capacity) : 0;
    if (length <= 0) {
        buffer[0] = 0;
        return 0;
    }
    return length - 1;
}

Bstr ToBstr(std::string_view text) {
    Bstr result;
    const int length =
        text.empty() ? 0 : MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), nullptr, 0);
    BSTR* out = result.Put();
    *out = SysAllocStringLen(nullptr, UINT(length));
    if (*out && length) MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), *out, length);
    return result;
}

HRESULT RaiseError(REFCLSID source, const char* text, REFIID iid, HRESULT status) {
    Bstr wide;
    if (text) wide = ToBstr(text);
    ComPtr<ICreateErrorInfo> error;
    if (SUCCEEDED(CreateErrorInfo(error.Put()))) {
        std::ignore = error->SetGUID(iid);
        LPOLESTR prog_id = nullptr;
        if (SUCCEEDED(ProgIDFromCLSID(source, &prog_id))) {
            std::ignore = error->SetSource(prog_id);
            CoTaskMemFree(prog_id);
        }
        std::ignore = error->SetDescription(wide.get());
        if (auto info = error.As<IErrorInfo>()) std::ignore = SetErrorInfo(0, info.get());
    }
    return status ? status : DISP_E_EXCEPTION;
}

HRESULT RaiseMessage(REFCLSID source, int id) {
    char text[kTextLimit];
    LoadMessage(ModuleInstance(), id, text);
    std::ignore = RaiseError(source, text, GUID_NULL, 0);
    return E_FAIL;
}

}  // namespace bv
