/// Narrow text in three machine words, for records that mostly hold none or a short one: 11 characters fit into the
/// words on 32 bits, 23 on 64. Terminated. Longer text lies on the process heap. Not for two threads at once.
#pragma once

#include <component/platform/types.h>

#include <string_view>

namespace ilk {

class CompactString {
public:
    using value_type = char;

    static constexpr std::size_t kBytes = 3 * sizeof(void*);
    static constexpr std::uint32_t kInlineCapacity = kBytes - 1;
    static constexpr std::uint32_t kLargestSize = 0xFFFFFFFD;

    CompactString() noexcept { SetInlineSize(0); }
    CompactString(CompactString&& source) noexcept;
    CompactString& operator=(CompactString&& source) noexcept;
    ~CompactString();

    /// Appends `text`, which may lie in this string. False, and nothing appended, if there is no room.
    [[nodiscard]] bool TryAppend(std::string_view text) noexcept;

    /// `TryAppend` that throws `std::bad_alloc` in the place of false.
    CompactString& append(std::string_view text);
    CompactString& append(char character) { return append(std::string_view(&character, 1)); }

    [[nodiscard]] const char* data() const noexcept;
    [[nodiscard]] std::uint32_t size() const noexcept;
    [[nodiscard]] std::uint32_t capacity() const noexcept;
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    [[nodiscard]] std::string_view view() const noexcept { return {data(), size()}; }

private:
    /// What the words hold once the text is on the heap. The top bit of `halfBlock` lies in the last byte, which is
    /// below 0x80 for a text inside the words: there it is the number of free characters, and so the terminator of a
    /// full text.
    struct HeapForm {
        char* block;
        std::size_t size;
        std::size_t halfBlock;
    };

    [[nodiscard]] bool IsInline() const noexcept { return (words_[kBytes - 1] & 0x80) == 0; }
    [[nodiscard]] HeapForm Heap() const noexcept;
    void SetHeap(const HeapForm& form) noexcept;
    void SetInlineSize(std::uint32_t size) noexcept;
    void FreeBlock() noexcept;

    alignas(void*) unsigned char words_[kBytes];
};

static_assert(sizeof(CompactString) == 3 * sizeof(void*));

}   // namespace ilk
