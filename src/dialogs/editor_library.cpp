#include "dialogs/editor_library.h"

#include "com/strings.h"
#include "dialogs/dialogs.h"

namespace bv {
namespace {

void ShowError(int id) {
    char text[kTextLimit];
    LoadMessage(ModuleInstance(), id, text);
    Dialogs().error_box(text);
}

}  // namespace

HRESULT RunEditor(const char* editor, IProperty* node, const char* library_name) {
    const HMODULE library = LoadLibraryA(library_name);
    if (!library) {
        ShowError(msg::kNoEditors);
        return S_FALSE;
    }
    using Editor = void(STDAPICALLTYPE*)(IProperty*);
    const auto run = reinterpret_cast<Editor>(reinterpret_cast<void*>(GetProcAddress(library, editor)));
    if (run)
        run(node);
    else
        ShowError(msg::kNoEditor);
    FreeLibrary(library);
    return run ? S_OK : S_FALSE;
}

}  // namespace bv
