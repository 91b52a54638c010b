/// The general string class: terminated text of 8, 16 or 32-bit characters, with short text stored inline. Sizes are 32
/// bits wide on every target. A member that throws leaves the string unchanged. Not thread-safe.
#pragma once

#include <component/ilk/rtl/allocator.h>
#include <component/ilk/rtl/throws.h>

#include <algorithm>
#include <compare>
#include <cstdint>
#include <functional>
#include <string_view>

namespace ilk {

template <class char_type>
class basic_string_t {
    using Traits = std::char_traits<char_type>;

public:
    using value_type = char_type;
    using view_type = std::basic_string_view<char_type>;

    static constexpr std::uint32_t npos = ~std::uint32_t{0};
    static constexpr std::uint32_t kInlineBytes = 16;
    static constexpr std::uint32_t kInlineCapacity = kInlineBytes / sizeof(char_type) - 1;
    static constexpr std::uint32_t kMaxSize = 0xFFFFFFFF / sizeof(char_type) - 1;

    basic_string_t() noexcept { Reset(); }
    explicit basic_string_t(AllocatorRef allocator) noexcept : allocator_(std::move(allocator)) { Reset(); }
    explicit basic_string_t(const char_type* text, AllocatorRef allocator = {})
        : basic_string_t(text, Traits::length(text), std::move(allocator)) {}
    explicit basic_string_t(view_type text, AllocatorRef allocator = {})
        : basic_string_t(text.data(), text.size(), std::move(allocator)) {}

    /// Throws `std::length_error` for a `length` above `kMaxSize`, before it reads `text`.
    basic_string_t(const char_type* text, std::size_t length, AllocatorRef allocator = {})
        : allocator_(std::move(allocator)) {
        Reset();
        if (length > kMaxSize) ThrowLengthError("ilk::basic_string_t constructor");
        if (length > kInlineCapacity) {
            capacity_ = static_cast<std::uint32_t>(length);
            data_ = AllocateBlock(capacity_);
        }
        Traits::copy(data_, text, length);
        SetSize(static_cast<std::uint32_t>(length));
    }

    /// Copies up to `count` characters of `source` from `position` on. Throws `std::out_of_range` for a position after
    /// its end.
    basic_string_t(const basic_string_t& source, std::size_t position, std::size_t count)
        : basic_string_t(source.CheckedRange(position, count, "ilk::basic_string_t constructor"), source.allocator_) {}

    basic_string_t(const basic_string_t& source) : basic_string_t(source.view(), source.allocator_) {}
    basic_string_t(basic_string_t&& source) noexcept { MoveFrom(source); }
    basic_string_t& operator=(const basic_string_t& source) {
        if (this != &source) basic_string_t(source).swap(*this);
        return *this;
    }
    basic_string_t& operator=(basic_string_t&& source) noexcept {
        if (this != &source) {
            FreeBlock();
            MoveFrom(source);
        }
        return *this;
    }
    ~basic_string_t() { FreeBlock(); }

    /// The characters and a terminator; `size()` characters may be written.
    [[nodiscard]] char_type* data() noexcept { return data_; }
    [[nodiscard]] const char_type* data() const noexcept { return data_; }
    [[nodiscard]] std::uint32_t size() const noexcept { return size_; }
    [[nodiscard]] std::uint32_t capacity() const noexcept { return capacity_; }
    [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
    [[nodiscard]] view_type view() const noexcept { return {data_, size_}; }
    operator view_type() const noexcept { return view(); }
    [[nodiscard]] char_type* begin() noexcept { return data_; }
    [[nodiscard]] char_type* end() noexcept { return data_ + size_; }
    [[nodiscard]] const char_type* begin() const noexcept { return data_; }
    [[nodiscard]] const char_type* end() const noexcept { return data_ + size_; }
    [[nodiscard]] char_type& operator[](std::size_t index) noexcept { return data_[index]; }
    [[nodiscard]] char_type operator[](std::size_t index) const noexcept { return data_[index]; }

    [[nodiscard]] basic_string_t substr(std::size_t position, std::size_t count = npos) const {
        return basic_string_t(*this, position, count);
    }

    /// Returns the first position of `character` that isn't before `from`, or `npos`.
    [[nodiscard]] std::uint32_t find(char_type character, std::size_t from = 0) const noexcept {
        const std::size_t position = view().find(character, from);
        return position != view_type::npos ? static_cast<std::uint32_t>(position) : npos;
    }

    /// `text` may be a part of this string, here and in every other member that takes text.
    basic_string_t& append(const char_type* text, std::size_t count) {
        if (count > capacity_ - size_) return AppendGrowing(text, count);
        Traits::copy(data_ + size_, text, count);
        SetSize(size_ + static_cast<std::uint32_t>(count));
        return *this;
    }
    basic_string_t& append(view_type text) { return append(text.data(), text.size()); }
    basic_string_t& append(const char_type* text) { return append(text, Traits::length(text)); }
    basic_string_t& append(char_type character) { return append(&character, 1); }

    /// Appends up to `count` characters of `source` from `position` on. Throws `std::out_of_range` for a position after
    /// its end.
    basic_string_t& append(const basic_string_t& source, std::size_t position, std::size_t count) {
        return append(source.CheckedRange(position, count, "ilk::basic_string_t::append()"));
    }

    basic_string_t& insert(std::size_t position, view_type text) {
        static_cast<void>(CheckedRange(position, 0, "ilk::basic_string_t::insert()"));
        const bool isInside = !std::less<>()(text.data(), data_) && std::less<>()(text.data(), data_ + size_);
        const std::size_t offset = isInside ? static_cast<std::size_t>(text.data() - data_) : 0;
        const char_type* const oldData = data_;
        BlockHolder oldBlock;
        resize_extra_at(&oldBlock, text.size(), static_cast<std::uint32_t>(position), 0);
        char_type* const gap = data_ + position;
        if (!isInside || data_ != oldData) {
            Traits::copy(gap, text.data(), text.size());
            return *this;
        }
        // `text` lies in this block: its part before `position` is in place, the rest has moved up by `text.size()`.
        const std::size_t head = offset < position ? std::min(text.size(), position - offset) : 0;
        Traits::copy(gap, data_ + offset, head);
        Traits::copy(gap + head, data_ + offset + head + text.size(), text.size() - head);
        return *this;
    }

    void erase(std::size_t position, std::size_t count = npos) {
        const view_type range = CheckedRange(position, count, "ilk::basic_string_t::erase()");
        const std::size_t rangeEnd = position + range.size();
        Traits::move(data_ + position, data_ + rangeEnd, size_ - rangeEnd);
        SetSize(size_ - static_cast<std::uint32_t>(range.size()));
    }

    void resize(std::size_t size, char_type fill = char_type{}) {
        if (size > size_) {
            reserve_extra(nullptr, size - size_);
            Traits::assign(data_ + size_, size - size_, fill);
        }
        SetSize(static_cast<std::uint32_t>(size));
    }

    /// Empties the string and keeps its block.
    void clear() noexcept { SetSize(0); }

    void swap(basic_string_t& other) noexcept {
        if (this == &other) return;
        basic_string_t old(std::move(*this));
        MoveFrom(other);
        other.MoveFrom(old);
    }

    /// Raises the capacity so that `extra` more characters fit. If the text moves to a new block, the old one goes to
    /// `holder`, or is freed if `holder` is null.
    void reserve_extra(BlockHolder* holder, std::size_t extra) {
        if (extra <= capacity_ - size_) return;
        const std::uint32_t grown = GrownCapacity(extra, "ilk::basic_string_t::reserve_extra()");
        char_type* const block = AllocateBlock(grown);
        Traits::copy(block, data_, std::size_t{size_} + 1);
        ReplaceBlock(block, grown, holder);
    }

    /// Lengthens the range of `count` characters at `position` by `extra`; `holder` as above. The range's contents are
    /// undefined afterwards: the caller overwrites them. `position + count` must not exceed `size()`.
    void resize_extra_at(BlockHolder* holder, std::size_t extra, std::uint32_t position, std::uint32_t count) {
        const std::size_t rangeEnd = std::size_t{position} + count;
        if (extra > capacity_ - size_) {
            const std::uint32_t grown = GrownCapacity(extra, "ilk::basic_string_t::resize_extra_at");
            char_type* const block = AllocateBlock(grown);
            Traits::copy(block, data_, position);
            Traits::copy(block + rangeEnd + extra, data_ + rangeEnd, size_ - rangeEnd);
            ReplaceBlock(block, grown, holder);
        } else {
            Traits::move(data_ + rangeEnd + extra, data_ + rangeEnd, size_ - rangeEnd);
        }
        SetSize(size_ + static_cast<std::uint32_t>(extra));
    }

    friend bool operator==(const basic_string_t& a, const basic_string_t& b) noexcept { return a.view() == b.view(); }
    friend bool operator==(const basic_string_t& a, view_type b) noexcept { return a.view() == b; }
    friend auto operator<=>(const basic_string_t& a, const basic_string_t& b) noexcept { return a.view() <=> b.view(); }
    friend auto operator<=>(const basic_string_t& a, view_type b) noexcept { return a.view() <=> b; }

private:
    [[nodiscard]] bool IsInline() const noexcept { return data_ == inline_buffer_; }

    void SetSize(std::uint32_t size) noexcept {
        size_ = size;
        data_[size] = char_type{};
    }

    /// Makes the string empty and inline without freeing a block.
    void Reset() noexcept {
        data_ = inline_buffer_;
        capacity_ = kInlineCapacity;
        SetSize(0);
    }

    [[nodiscard]] view_type CheckedRange(std::size_t position, std::size_t count, const char* message) const {
        if (position > size_) ThrowOutOfRange(message);
        return {data_ + position, std::min(count, size_ - position)};
    }

    /// Returns the capacity for `extra` more characters. Throws `std::length_error` with `message` if the size would
    /// exceed `kMaxSize`.
    [[nodiscard]] std::uint32_t GrownCapacity(std::size_t extra, const char* message) const {
        if (extra > kMaxSize - size_) ThrowLengthError(message);
        const std::uint32_t doubled = capacity_ > kMaxSize / 2 ? kMaxSize : capacity_ * 2;
        return std::max(size_ + static_cast<std::uint32_t>(extra), doubled);
    }

    [[nodiscard]] char_type* AllocateBlock(std::uint32_t capacity) const {
        void* const block = allocator_.Alloc((std::size_t{capacity} + 1) * sizeof(char_type));
        if (block == nullptr) ThrowBadAlloc();
        return static_cast<char_type*>(block);
    }

    void FreeBlock() noexcept {
        if (!IsInline()) allocator_.Free(data_);
    }

    /// Replaces the string's block by `block`, which contains the text already. The old block goes to `holder` as in
    /// `reserve_extra`.
    void ReplaceBlock(char_type* block, std::uint32_t capacity, BlockHolder* holder) noexcept {
        if (holder != nullptr && !IsInline()) {
            holder->Hold(allocator_, data_);
        } else {
            FreeBlock();
        }
        data_ = block;
        capacity_ = capacity;
    }

    basic_string_t& AppendGrowing(const char_type* text, std::size_t count) {
        BlockHolder oldBlock;
        reserve_extra(&oldBlock, count);
        return append(text, count);
    }

    /// Moves the text and the allocator of `source` here and empties `source`. This string must own no block.
    void MoveFrom(basic_string_t& source) noexcept {
        allocator_ = std::move(source.allocator_);
        size_ = source.size_;
        capacity_ = source.capacity_;
        if (source.IsInline()) {
            Traits::copy(inline_buffer_, source.inline_buffer_, std::size_t{size_} + 1);
            data_ = inline_buffer_;
        } else {
            data_ = source.data_;
        }
        source.Reset();
    }

    char_type* data_;
    std::uint32_t size_;
    std::uint32_t capacity_;
    AllocatorRef allocator_;
    char_type inline_buffer_[kInlineBytes / sizeof(char_type)];
};

/// Returns a negative number, zero or a positive number, by the order of the code units; a prefix comes first.
[[nodiscard]] inline int Compare(std::string_view a, std::string_view b) noexcept { return a.compare(b); }
[[nodiscard]] inline int Compare(std::u16string_view a, std::u16string_view b) noexcept { return a.compare(b); }
[[nodiscard]] inline int Compare(std::u32string_view a, std::u32string_view b) noexcept { return a.compare(b); }

static_assert(sizeof(void*) != 4 || sizeof(basic_string_t<char>) == 32, "other modules share records that contain it");
static_assert(sizeof(void*) != 4 || sizeof(basic_string_t<char16_t>) == 32,
              "other modules share records that contain it");
static_assert(sizeof(void*) != 4 || sizeof(basic_string_t<char32_t>) == 32,
              "other modules share records that contain it");

extern template class basic_string_t<char>;
extern template class basic_string_t<char16_t>;
extern template class basic_string_t<char32_t>;

}   // namespace ilk
