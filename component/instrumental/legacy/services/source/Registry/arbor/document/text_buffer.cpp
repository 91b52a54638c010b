// The growth of the text buffer.

#include "document/text_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace arbor::module {

void TextBuffer::Grow(std::size_t count) {
    constexpr std::size_t kMinBytes = 16 * 1024;
    // Up to this capacity growth is by four: unused pages cost address space but no memory, while copies cost time.
    constexpr std::size_t kFastGrowthBytes = 16 * 1024 * 1024;
    if (kMaxBytes - size < count) throw std::bad_alloc();
    const std::size_t larger = capacity < kFastGrowthBytes ? capacity * 4 : std::min(capacity, kMaxBytes / 2) * 2 + 1;
    const std::size_t wanted = std::max({kMinBytes, larger, size + count});
    // The C library extends a large block without a copy, so that its bytes don't exist twice.
    void* const grown = std::realloc(bytes.get(), wanted);
    if (grown == nullptr) throw std::bad_alloc();
    static_cast<void>(bytes.release());   // `realloc` has freed it or extended it
    bytes.reset(static_cast<char*>(grown));
    capacity = wanted;
}

}   // namespace arbor::module
