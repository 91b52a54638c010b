/// A growing byte string that a document is built in: an append is a comparison and a copy, and room that was not
/// written yet is never cleared.
///
/// It ends at the most bytes that one write of a file takes; beyond, and where the heap has no memory, appending throws
/// `std::bad_alloc` with the bytes as they were. Belongs to one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace arbor {

class TextBuffer {
public:
    static constexpr std::size_t kMostBytes = UINT32_MAX;

    [[nodiscard]] std::string_view View() const { return {bytes.get(), size}; }
    [[nodiscard]] std::uint32_t SizeBytes() const { return static_cast<std::uint32_t>(size); }

    void Append(char byte) {
        *Room(1) = byte;
        ++size;
    }
    void Append(std::string_view text) {
        if (text.empty()) return;
        std::memcpy(Room(text.size()), text.data(), text.size());
        size += text.size();
    }
    void Append(std::size_t count, char byte) {
        std::memset(Room(count), byte, count);
        size += count;
    }

    /// Empties it; its memory stays for what comes next.
    void Clear() { size = 0; }

    /// The place behind the last byte, with at least `count` bytes to write to. `Extend` says how many were written.
    char* Room(std::size_t count) {
        if (capacity - size < count) Grow(count);
        return bytes.get() + size;
    }
    void Extend(std::size_t count) { size += count; }

private:
    void Grow(std::size_t count);

    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
    std::size_t capacity = 0;
};

}   // namespace arbor
