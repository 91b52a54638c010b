/// A terminated narrow string in three machine words, for records whose texts are mostly empty or short: up to 11
/// characters on 32-bit targets and 23 on 64-bit ones are stored in the words, longer text on the process heap. A
/// string that was moved from is empty. Not thread-safe.
#pragma once

#include <component/platform/types.h>

#include <string_view>

namespace ilk {

class CompactString {
public:
    using value_type = char;

    static constexpr std::size_t kBytes = 3 * sizeof(void*);
    static constexpr std::uint32_t kInlineCapacity = kBytes - 1;
    static constexpr std::uint32_t kMaxSize = 0xFFFFFFFD;

    CompactString() noexcept { SetInlineSize(0); }
    CompactString(CompactString&& source) noexcept;
    CompactString& operator=(CompactString&& source) noexcept;
    ~CompactString();

    /// Appends `text`, which may lie in this string. Returns false and appends nothing if the result would be too long
    /// or there is no memory.
    [[nodiscard]] bool TryAppend(std::string_view text) noexcept;

    /// As `TryAppend`, but throws `std::bad_alloc` on failure.
    CompactString& append(std::string_view text);
    CompactString& append(char character) { return append(std::string_view(&character, 1)); }

    [[nodiscard]] const char* data() const noexcept;
    [[nodiscard]] std::uint32_t size() const noexcept;
    [[nodiscard]] std::uint32_t capacity() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] std::string_view view() const noexcept { return {data(), size()}; }

private:
    /// The contents of the words while the text is on the heap. The top bit of `halfBlock`, which lies in the last
    /// byte, is set then. While the text is inline, the last byte holds the number of free characters, which is below
    /// 0x80; in a full string it is 0 and serves as the terminator.
    struct HeapForm {
        char* block;
        std::size_t size;
        std::size_t halfBlock;   // half the block's size in bytes
    };

    [[nodiscard]] bool IsInline() const noexcept { return (words_[kBytes - 1] & 0x80) == 0; }
    [[nodiscard]] HeapForm Heap() const noexcept;
    void SetHeap(const HeapForm& form) noexcept;   // sets the top bit of `halfBlock`; `Heap` clears it
    void SetInlineSize(std::uint32_t size) noexcept;
    void FreeBlock() noexcept;

    alignas(void*) unsigned char words_[kBytes];
};

static_assert(sizeof(CompactString) == 3 * sizeof(void*));

}   // namespace ilk
