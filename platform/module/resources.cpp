// The resources of a module, from the lists that bv_add_resources puts on the include path, as the tables
// that the platform layer reads.
#include <bvschema/platform.h>
//
#include <bvschema/native/bv_native_resources.h>

namespace {

#if __has_include(<typelib.bytes>)
constexpr unsigned char kTypelib[] = {
#include <typelib.bytes>
};
#endif

}  // namespace

#define BV_STRING(id, text) {id, text},
const BvNativeString bv_native_strings[] = {
#include <strings.def>
    {0, nullptr},
};
const unsigned long bv_native_string_count = sizeof bv_native_strings / sizeof *bv_native_strings - 1;

#define BV_SCRIPT(number, text) {"REGISTRY", MAKEINTRESOURCEA(number), text, sizeof text - 1},
#define BV_TYPELIB(file) {"TYPELIB", MAKEINTRESOURCEA(1), kTypelib, sizeof kTypelib},
const BvNativeResource bv_native_resources[] = {
#include <resources.inc>
    {nullptr, nullptr, nullptr, 0},
};
const unsigned long bv_native_resource_count = sizeof bv_native_resources / sizeof *bv_native_resources - 1;
