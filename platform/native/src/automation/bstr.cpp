// BSTR: the byte count in the 4 bytes before the first character, which stands 16-aligned as malloc gives it.
#include <cstdlib>

#include "oleauto.h"

namespace {

constexpr std::size_t kHead = 16;  // keeps the characters aligned; its last 4 bytes are the count

char* HeadOf(BSTR text) { return reinterpret_cast<char*>(text) - kHead; }
char* CountOf(BSTR text) { return reinterpret_cast<char*>(text) - sizeof(std::uint32_t); }

/// Room for so many bytes and a NUL character behind the last one that has begun, zero from the bytes' end
/// on. Null for no memory or a count that 4 bytes can't hold.
BSTR Allocate(std::size_t bytes) {
    if (bytes > 0x7FFFFFFF) return nullptr;
    const std::size_t characters = (bytes + sizeof(OLECHAR) - 1) / sizeof(OLECHAR) + 1;
    char* head = static_cast<char*>(std::malloc(kHead + characters * sizeof(OLECHAR)));
    if (!head) return nullptr;
    const auto count = static_cast<std::uint32_t>(bytes);
    std::memcpy(head + kHead - sizeof count, &count, sizeof count);
    std::memset(head + kHead + bytes, 0, characters * sizeof(OLECHAR) - bytes);
    return reinterpret_cast<BSTR>(head + kHead);
}

BSTR CopyOf(const void* source, std::size_t bytes) {
    BSTR result = Allocate(bytes);
    if (result && source) std::memcpy(result, source, bytes);
    return result;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
    return text ? CopyOf(text, std::wcslen(text) * sizeof(OLECHAR)) : nullptr;
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
    return CopyOf(text, std::size_t{length} * sizeof(OLECHAR));
}

BSTR SysAllocStringByteLen(LPCSTR bytes, UINT length) { return CopyOf(bytes, length); }

void SysFreeString(BSTR text) {
    if (text) std::free(HeadOf(text));
}

UINT SysStringByteLen(BSTR text) {
    std::uint32_t count = 0;
    if (text) std::memcpy(&count, CountOf(text), sizeof count);
    return count;
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / sizeof(OLECHAR); }
