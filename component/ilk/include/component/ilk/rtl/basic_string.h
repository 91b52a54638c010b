/// The string of this system: terminated text of 8, 16 or 32-bit characters, short ones inline. Sizes are 32 bits wide
/// on every target. What throws leaves the string as it was. Not for two threads at once.
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
    static constexpr std::uint32_t kLargestSize = 0xFFFFFFFF / sizeof(char_type) - 1;

    basic_string_t() noexcept { Reset(); }
    explicit basic_string_t(AllocatorRef source) noexcept : allocator_(std::move(source)) { Reset(); }
    explicit basic_string_t(const char_type* text, AllocatorRef source = {})
        : basic_string_t(text, Traits::length(text), std::move(source)) {}
    explicit basic_string_t(view_type text, AllocatorRef source = {})
        : basic_string_t(text.data(), text.size(), std::move(source)) {}

    /// `std::length_error` for a `length` above the largest size; then `text` isn't looked at.
    basic_string_t(const char_type* text, std::size_t length, AllocatorRef source = {})
        : allocator_(std::move(source)) {
        Reset();
        if (length > kLargestSize) ThrowLengthError("ilk::basic_string_t constructor");
        if (length > kInlineCapacity) {
            capacity_ = static_cast<std::uint32_t>(length);
            data_ = NewBlock(capacity_);
        }
        Traits::copy(data_, text, length);
        SetSize(static_cast<std::uint32_t>(length));
    }

    /// The characters of `source` from `position` on, `count` at most. `std::out_of_range` for a position behind its
    /// end.
    basic_string_t(const basic_string_t& source, std::size_t position, std::size_t count)
        : basic_string_t(source.Range(position, count, "ilk::basic_string_t constructor"), source.allocator_) {}

    basic_string_t(const basic_string_t& source) : basic_string_t(source.view(), source.allocator_) {}
    basic_string_t(basic_string_t&& source) noexcept { TakeFrom(source); }
    basic_string_t& operator=(const basic_string_t& source) {
        if (this != &source) basic_string_t(source).swap(*this);
        return *this;
    }
    basic_string_t& operator=(basic_string_t&& source) noexcept {
        if (this != &source) {
            FreeBlock();
            TakeFrom(source);
        }
        return *this;
    }
    ~basic_string_t() { FreeBlock(); }

    /// Always terminated; writable up to `size()`.
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

    /// The first position at or behind `from` that holds `character`, or `npos`.
    [[nodiscard]] std::uint32_t find(char_type character, std::size_t from = 0) const noexcept {
        const std::size_t position = view().find(character, from);
        return position != view_type::npos ? static_cast<std::uint32_t>(position) : npos;
    }

    /// `text` may lie in this string, here and in the other members that take a text.
    basic_string_t& append(const char_type* text, std::size_t count) {
        if (count > capacity_ - size_) return AppendGrowing(text, count);
        Traits::copy(data_ + size_, text, count);
        SetSize(size_ + static_cast<std::uint32_t>(count));
        return *this;
    }
    basic_string_t& append(view_type text) { return append(text.data(), text.size()); }
    basic_string_t& append(const char_type* text) { return append(text, Traits::length(text)); }
    basic_string_t& append(char_type character) { return append(&character, 1); }

    /// `std::out_of_range` for a position behind the end of `source`; `count` is cut to what it has.
    basic_string_t& append(const basic_string_t& source, std::size_t position, std::size_t count) {
        return append(source.Range(position, count, "ilk::basic_string_t::append()"));
    }

    basic_string_t& insert(std::size_t position, view_type text) {
        static_cast<void>(Range(position, 0, "ilk::basic_string_t::insert()"));
        const bool own = !std::less<>()(text.data(), data_) && std::less<>()(text.data(), data_ + size_);
        const std::size_t offset = own ? static_cast<std::size_t>(text.data() - data_) : 0;
        const char_type* const before = data_;
        BlockHolder holder;
        resize_extra_at(&holder, text.size(), static_cast<std::uint32_t>(position), 0);
        char_type* const gap = data_ + position;
        if (!own || data_ != before) {
            Traits::copy(gap, text.data(), text.size());
            return *this;
        }
        // The text's part at and behind the position has moved up with the tail.
        const std::size_t head = offset < position ? std::min(text.size(), position - offset) : 0;
        Traits::copy(gap, data_ + offset, head);
        Traits::copy(gap + head, data_ + offset + head + text.size(), text.size() - head);
        return *this;
    }

    void erase(std::size_t position, std::size_t count = npos) {
        const view_type range = Range(position, count, "ilk::basic_string_t::erase()");
        const std::size_t behind = position + range.size();
        Traits::move(data_ + position, data_ + behind, size_ - behind);
        SetSize(size_ - static_cast<std::uint32_t>(range.size()));
    }

    void resize(std::size_t size, char_type fill = char_type{}) {
        if (size > size_) {
            reserve_extra(nullptr, size - size_);
            Traits::assign(data_ + size_, size - size_, fill);
        }
        SetSize(static_cast<std::uint32_t>(size));
    }

    /// Empties the text and keeps its block.
    void clear() noexcept { SetSize(0); }

    void swap(basic_string_t& other) noexcept {
        if (this == &other) return;
        basic_string_t own(std::move(*this));
        TakeFrom(other);
        other.TakeFrom(own);
    }

    /// Makes room for `extra` more characters. A `holder` gets the block that is left, which is freed otherwise.
    void reserve_extra(BlockHolder* holder, std::size_t extra) {
        if (extra <= capacity_ - size_) return;
        const std::uint32_t grown = GrownCapacity(extra, "ilk::basic_string_t::reserve_extra()");
        char_type* const block = NewBlock(grown);
        Traits::copy(block, data_, std::size_t{size_} + 1);
        MoveInto(block, grown, holder);
    }

    /// Makes the range of `count` characters at `position` longer by `extra`. What the range then holds is undefined:
    /// the caller overwrites it. `position + count` is at most `size()`.
    void resize_extra_at(BlockHolder* holder, std::size_t extra, std::uint32_t position, std::uint32_t count) {
        const std::size_t behind = std::size_t{position} + count;
        if (extra > capacity_ - size_) {
            const std::uint32_t grown = GrownCapacity(extra, "ilk::basic_string_t::resize_extra_at");
            char_type* const block = NewBlock(grown);
            Traits::copy(block, data_, position);
            Traits::copy(block + behind + extra, data_ + behind, size_ - behind);
            MoveInto(block, grown, holder);
        } else {
            Traits::move(data_ + behind + extra, data_ + behind, size_ - behind);
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

    void Reset() noexcept {
        data_ = inline_buffer_;
        capacity_ = kInlineCapacity;
        SetSize(0);
    }

    [[nodiscard]] view_type Range(std::size_t position, std::size_t count, const char* refusal) const {
        if (position > size_) ThrowOutOfRange(refusal);
        return {data_ + position, std::min(count, size_ - position)};
    }

    [[nodiscard]] std::uint32_t GrownCapacity(std::size_t extra, const char* refusal) const {
        if (extra > kLargestSize - size_) ThrowLengthError(refusal);
        const std::uint32_t doubled = capacity_ > kLargestSize / 2 ? kLargestSize : capacity_ * 2;
        return std::max(size_ + static_cast<std::uint32_t>(extra), doubled);
    }

    [[nodiscard]] char_type* NewBlock(std::uint32_t capacity) const {
        void* const block = allocator_.Alloc((std::size_t{capacity} + 1) * sizeof(char_type));
        if (block == nullptr) ThrowBadAlloc();
        return static_cast<char_type*>(block);
    }

    void FreeBlock() noexcept {
        if (!IsInline()) allocator_.Free(data_);
    }

    void MoveInto(char_type* block, std::uint32_t capacity, BlockHolder* holder) noexcept {
        if (holder != nullptr && !IsInline()) {
            holder->Hold(allocator_, data_);
        } else {
            FreeBlock();
        }
        data_ = block;
        capacity_ = capacity;
    }

    basic_string_t& AppendGrowing(const char_type* text, std::size_t count) {
        BlockHolder holder;
        reserve_extra(&holder, count);
        return append(text, count);
    }

    /// For a string that owns no block: takes over what `source` has, which becomes empty.
    void TakeFrom(basic_string_t& source) noexcept {
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

/// Negative, zero or positive, by the order of the code units; the start of a longer text comes before it.
[[nodiscard]] inline int Compare(std::string_view a, std::string_view b) noexcept { return a.compare(b); }
[[nodiscard]] inline int Compare(std::u16string_view a, std::u16string_view b) noexcept { return a.compare(b); }
[[nodiscard]] inline int Compare(std::u32string_view a, std::u32string_view b) noexcept { return a.compare(b); }

static_assert(sizeof(void*) != 4 || sizeof(basic_string_t<char>) == 32, "part of records of fixed layout");
static_assert(sizeof(void*) != 4 || sizeof(basic_string_t<char16_t>) == 32, "part of records of fixed layout");
static_assert(sizeof(void*) != 4 || sizeof(basic_string_t<char32_t>) == 32, "part of records of fixed layout");

extern template class basic_string_t<char>;
extern template class basic_string_t<char16_t>;
extern template class basic_string_t<char32_t>;

}   // namespace ilk
