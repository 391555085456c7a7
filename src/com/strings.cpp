#include "com/strings.h"

#include "com/narrow.h"

namespace bv {
namespace {
HINSTANCE module_instance = nullptr;
}

HINSTANCE ModuleInstance() { return module_instance; }
void SetModuleInstance(HINSTANCE instance) { module_instance = instance; }

int LoadMessage(HINSTANCE instance, int id, char (&buffer)[kTextLimit]) {
    buffer[0] = 0;
    if (id <= 0 || !FindResourceA(instance, MAKEINTRESOURCEA(WORD(id / 16 + 1)), MAKEINTRESOURCEA(6)))
        return 0;
    const int length = LoadStringA(instance, UINT(id), buffer, int(kTextLimit));
    if (length <= 0) buffer[0] = 0;
    return length > 0 ? length : 0;
}

int LoadMessageW(HINSTANCE instance, int id, wchar_t (&buffer)[kTextLimit]) {
    char narrow[kTextLimit];
    LoadMessage(instance, id, narrow);
    return ToWide(narrow, buffer, int(kTextLimit));
}

}  // namespace bv
