// What a module's own sources supply to its entry object: resources and string table as plain tables. The
// build makes them from the same files that the Windows build's resource compiler reads. A module may leave
// out either pair.
#pragma once

struct BvNativeResource {
    const char* type;  // a text, or a number: MAKEINTRESOURCEA
    const char* name;  // likewise
    const void* data;
    unsigned long size;
};
struct BvNativeString {
    unsigned id;
    const char* text;  // UTF-8
};

extern "C" {
extern __attribute__((visibility("hidden"))) const BvNativeResource bv_native_resources[];
extern __attribute__((visibility("hidden"))) const unsigned long bv_native_resource_count;
extern __attribute__((visibility("hidden"))) const BvNativeString bv_native_strings[];
extern __attribute__((visibility("hidden"))) const unsigned long bv_native_string_count;
}
