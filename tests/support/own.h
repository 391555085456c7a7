// Objects of the test program's own code, which the built module knows nothing of.
#pragma once

#include "module/class_table.h"
#include "support/node.h"

namespace bv::test {

template <class I>
Ref<I> NewOwn(REFCLSID cls) {
    Ref<I> object;
    for (const ClassEntry& entry : ClassTable())
        if (entry.cls == cls) {
            EXPECT_EQ(entry.create(nullptr, kIid<I>, object.PutVoid()), S_OK);
        }
    return object;
}

}  // namespace bv::test
