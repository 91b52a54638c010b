// The string of three machine words: switching between its inline and its heap form.

#include <component/ilk/rtl/compact_string.h>

#include <component/ilk/rtl/allocator.h>
#include <component/ilk/rtl/throws.h>

#include <bit>
#include <cstring>

namespace ilk {
namespace {

static_assert(std::endian::native == std::endian::little, "the top bit of the last word must lie in the last byte");

/// The top bit of `HeapForm::halfBlock`.
constexpr std::size_t kHeapBit = ~(~std::size_t{0} >> 1);

/// Returns the size in bytes, an even number, of a block for `extra` more characters than `capacity`. It doubles the
/// capacity unless `extra` needs more, within `kMaxSize`.
std::uint32_t GrownBlockBytes(std::uint32_t capacity, std::uint32_t extra) {
    const bool doubles = extra < capacity && capacity <= CompactString::kMaxSize / 2;
    const std::uint32_t grown = capacity + (doubles ? capacity : std::min(extra, CompactString::kMaxSize - capacity));
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
    if (text.empty()) return true;   // its pointer may be null
    const std::uint32_t oldSize = size();
    if (text.size() > kMaxSize - oldSize) return false;
    const auto extra = static_cast<std::uint32_t>(text.size());
    const AllocatorRef heap;
    BlockHolder oldBlock;   // `text` may lie in it
    if (extra > capacity() - oldSize) {
        const std::uint32_t blockBytes = GrownBlockBytes(capacity(), extra);
        char* const block = static_cast<char*>(heap.Alloc(blockBytes));
        if (block == nullptr) return false;
        std::memcpy(block, data(), oldSize);
        std::memcpy(block + oldSize, text.data(), extra);
        block[oldSize + extra] = '\0';
        if (!IsInline()) oldBlock.Hold(heap, Heap().block);
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
    form.halfBlock &= ~kHeapBit;
    return form;
}

void CompactString::SetHeap(const HeapForm& form) noexcept {
    const HeapForm stored{form.block, form.size, form.halfBlock | kHeapBit};
    std::memcpy(words_, &stored, kBytes);
}

void CompactString::SetInlineSize(std::uint32_t size) noexcept {
    words_[size] = 0;
    words_[kBytes - 1] = static_cast<unsigned char>(kInlineCapacity - size);
}

void CompactString::FreeBlock() noexcept {
    if (!IsInline()) AllocatorRef().Free(Heap().block);
}

}   // namespace ilk
