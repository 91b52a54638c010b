/// Eight bytes of a text, compared at once, for processors without SSE2.
#pragma once

#include <component/platform/words.h>

namespace platform {

using ByteGroup = WordGroup;

}   // namespace platform
