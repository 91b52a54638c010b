/// Fixes the offsets of the fields of `Key` and `ValueEntry` on the 32-bit target, where debugger scripts and readers
/// of crash dumps rely on them. A moved field fails the build.
#pragma once

#include "tree/key.h"

#include <cstddef>

namespace arbor::module {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"   // the bases have fields; the compiler supports offsetof there

struct KeyLayout {
    static constexpr bool KeyHasFixedLayout() {
        if (sizeof(void*) != 4) return true;
        return offsetof(Key, owner) == 8 && offsetof(Key, name) == 12 && offsetof(Key, children) == 20 &&
               offsetof(Key, childIndex) == 32 && offsetof(Key, childIndex) < offsetof(Key, values) &&
               offsetof(Key, values) < offsetof(Key, valueIndex) && offsetof(Key, valueIndex) < offsetof(Key, cursor);
    }
    static constexpr bool EntryHasFixedLayout() {
        if (sizeof(void*) != 4) return true;
        return offsetof(ValueEntry, name) == 8 && offsetof(ValueEntry, hash) == 16 &&
               offsetof(ValueEntry, value) == 20 && sizeof(ValueEntry) == 24;
    }
};

#pragma GCC diagnostic pop

static_assert(KeyLayout::KeyHasFixedLayout());
static_assert(KeyLayout::EntryHasFixedLayout());

}   // namespace arbor::module
