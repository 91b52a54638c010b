#include <component/ilk/rtl/compact_string.h>

#include <component/ilk/rtl/allocator.h>
#include <component/ilk/rtl/throws.h>

#include <bit>
#include <cstring>

namespace ilk {
namespace {

static_assert(std::endian::native == std::endian::little, "the last byte holds the top bit of the last word");

constexpr std::size_t kHeapMark = ~(~std::size_t{0} >> 1);

/// The bytes of a block for `extra` more characters than `capacity` has, where `extra` passed the limit test.
std::uint32_t GrownBlockBytes(std::uint32_t capacity, std::uint32_t extra) {
    std::uint32_t grown = capacity;
    if (extra < capacity && capacity <= CompactString::kLargestSize / 2) {
        grown += capacity;
    } else {
        grown += std::min(extra, CompactString::kLargestSize - capacity);
    }
    return (grown + 2) & ~std::uint32_t{1};
}

}   // namespace

CompactString::CompactString(CompactString&& source) noexcept {
    std::memcpy(words_, source.words_, kBytes);
    source.SetInlineSize(0);
}

CompactString& CompactString::operator=(CompactString&& source) noexcept {
    if (this == &source) return *this;
    FreeBlock();
    std::memcpy(words_, source.words_, kBytes);
    source.SetInlineSize(0);
    return *this;
}

CompactString::~CompactString() { FreeBlock(); }

bool CompactString::TryAppend(std::string_view text) noexcept {
    if (text.empty()) return true;   // it may be null
    const std::uint32_t oldSize = size();
    if (text.size() > kLargestSize - oldSize) return false;
    const auto extra = static_cast<std::uint32_t>(text.size());
    const AllocatorRef heap;
    BlockHolder left;   // the text may lie in the old block
    if (extra > capacity() - oldSize) {
        const std::uint32_t blockBytes = GrownBlockBytes(capacity(), extra);
        char* const block = static_cast<char*>(heap.Alloc(blockBytes));
        if (block == nullptr) return false;
        std::memcpy(block, data(), oldSize);
        std::memcpy(block + oldSize, text.data(), extra);
        block[oldSize + extra] = '\0';
        if (!IsInline()) left.Hold(heap, Heap().block);
        SetHeap({block, std::size_t{oldSize} + extra, blockBytes / 2});
    } else if (IsInline()) {
        std::memmove(words_ + oldSize, text.data(), extra);
        SetInlineSize(oldSize + extra);
    } else {
        HeapForm form = Heap();
        std::memmove(form.block + oldSize, text.data(), extra);
        form.size += extra;
        form.block[form.size] = '\0';
        SetHeap(form);
    }
    return true;
}

CompactString& CompactString::append(std::string_view text) {
    if (!TryAppend(text)) ThrowBadAlloc();
    return *this;
}

const char* CompactString::data() const noexcept {
    return IsInline() ? reinterpret_cast<const char*>(words_) : Heap().block;
}

std::uint32_t CompactString::size() const noexcept {
    if (IsInline()) return kInlineCapacity - words_[kBytes - 1];
    return static_cast<std::uint32_t>(Heap().size);
}

std::uint32_t CompactString::capacity() const noexcept {
    return IsInline() ? kInlineCapacity : static_cast<std::uint32_t>(Heap().halfBlock * 2 - 1);
}

CompactString::HeapForm CompactString::Heap() const noexcept {
    HeapForm form;
    std::memcpy(&form, words_, kBytes);
    form.halfBlock &= ~kHeapMark;
    return form;
}

void CompactString::SetHeap(const HeapForm& form) noexcept {
    const HeapForm marked{form.block, form.size, form.halfBlock | kHeapMark};
    std::memcpy(words_, &marked, kBytes);
}

void CompactString::SetInlineSize(std::uint32_t size) noexcept {
    words_[size] = 0;
    words_[kBytes - 1] = static_cast<unsigned char>(kInlineCapacity - size);
}

void CompactString::FreeBlock() noexcept {
    if (!IsInline()) AllocatorRef().Free(Heap().block);
}

}   // namespace ilk
