/// A growing byte string in which a document is built. Unlike `std::string` it doesn't clear new capacity.
///
/// It holds at most `kMaxBytes`, the limit of one file write. Beyond that, and without memory, an append throws
/// std::bad_alloc and leaves the bytes unchanged. Belongs to one thread.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace arbor::module {

class TextBuffer {
public:
    static constexpr std::size_t kMaxBytes = UINT32_MAX;

    [[nodiscard]] std::string_view View() const { return {bytes.get(), size}; }
    [[nodiscard]] std::uint32_t SizeBytes() const { return static_cast<std::uint32_t>(size); }

    /// Appends the parts in their order, with one check of the capacity.
    template <std::convertible_to<std::string_view>... Parts>
    void Append(const Parts&... parts) {
        AppendViews(std::string_view(parts)...);
    }

    void AppendRepeated(std::size_t count, char byte) {
        std::memset(PrepareWrite(count), byte, count);
        size += count;
    }

    /// Removes all bytes and keeps the capacity.
    void Clear() { size = 0; }

    /// Returns the end of the bytes with a capacity of at least `count` more. The caller writes there and reports the
    /// number of bytes to `CommitWrite`; nothing else may be called in between.
    [[nodiscard]] char* PrepareWrite(std::size_t count) {
        if (capacity - size < count) Grow(count);
        return bytes.get() + size;
    }
    void CommitWrite(std::size_t count) { size += count; }

private:
    template <class... Views>
    void AppendViews(Views... views) {
        char* out = PrepareWrite((views.size() + ...));
        ((std::memcpy(out, views.data(), views.size()), out += views.size()), ...);
        size = static_cast<std::size_t>(out - bytes.get());
    }

    struct FreeBytes {
        void operator()(char* block) const { std::free(block); }
    };

    void Grow(std::size_t count);

    std::unique_ptr<char[], FreeBytes> bytes;
    std::size_t size = 0;
    std::size_t capacity = 0;
};

}   // namespace arbor::module
