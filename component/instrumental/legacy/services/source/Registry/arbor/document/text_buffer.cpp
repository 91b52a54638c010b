#include "document/text_buffer.h"

#include <algorithm>
#include <new>

namespace arbor {

void TextBuffer::Grow(std::size_t count) {
    constexpr std::size_t kFirstBytes = 16 * 1024;
    // Up to here the room that stays unused costs addresses and no memory; what is copied on the way costs time.
    constexpr std::size_t kFewBytes = 16 * 1024 * 1024;
    if (kMostBytes - size < count) throw std::bad_alloc();
    const std::size_t larger = capacity < kFewBytes ? capacity * 4 : std::min(capacity, kMostBytes / 2) * 2 + 1;
    const std::size_t wanted = std::max({kFirstBytes, larger, size + count});
    auto grown = std::make_unique_for_overwrite<char[]>(wanted);
    if (size != 0) std::memcpy(grown.get(), bytes.get(), size);
    bytes = std::move(grown);
    capacity = wanted;
}

}   // namespace arbor
