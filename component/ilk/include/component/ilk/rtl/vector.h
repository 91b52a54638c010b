/// A growing array. What throws leaves it as it was, whichever constructor threw; that doesn't hold for the move of a
/// type that can't be copied. Sizes are 32 bits wide on every target. Not for two threads at once.
#pragma once

#include <component/ilk/rtl/allocator.h>
#include <component/ilk/rtl/throws.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>

namespace ilk {

template <class T>
class vector_t {
    static_assert(alignof(T) <= 2 * sizeof(void*), "what every block is aligned to");

    /// Elements that move without throwing can be put in their places after the new ones stand.
    static constexpr bool kMovesInPlace = std::is_nothrow_move_constructible_v<T> && std::is_nothrow_swappable_v<T>;

public:
    using value_type = T;

    static constexpr std::uint32_t kLargestSize = 0xFFFFFFFF / sizeof(T);
    static constexpr std::uint32_t kLeastCapacity = 4;

    vector_t() noexcept = default;
    explicit vector_t(AllocatorRef source) noexcept : allocator_(std::move(source)) {}
    explicit vector_t(std::size_t count, AllocatorRef source = {}) : vector_t(std::move(source)) {
        if (count > kLargestSize) ThrowLengthError("construct");
        ExtendBy(count, static_cast<std::uint32_t>(count), [](T* at) { std::construct_at(at); });
    }
    vector_t(const vector_t& source) : vector_t(source.allocator_) {
        const T* from = source.begin_;
        ExtendBy(source.size(), source.size(), [&from](T* at) { std::construct_at(at, *from++); });
    }
    vector_t(vector_t&& source) noexcept { swap(source); }
    vector_t& operator=(const vector_t& source) {
        if (this != &source) vector_t(source).swap(*this);
        return *this;
    }
    vector_t& operator=(vector_t&& source) noexcept {
        vector_t(std::move(source)).swap(*this);
        return *this;
    }
    ~vector_t() { Destroy(); }

    [[nodiscard]] T* begin() noexcept { return begin_; }
    [[nodiscard]] T* end() noexcept { return end_; }
    [[nodiscard]] const T* begin() const noexcept { return begin_; }
    [[nodiscard]] const T* end() const noexcept { return end_; }
    [[nodiscard]] std::uint32_t size() const noexcept { return static_cast<std::uint32_t>(end_ - begin_); }
    [[nodiscard]] std::uint32_t capacity() const noexcept { return static_cast<std::uint32_t>(capacity_end_ - begin_); }
    [[nodiscard]] bool empty() const noexcept { return begin_ == end_; }
    [[nodiscard]] T& operator[](std::size_t index) noexcept { return begin_[index]; }
    [[nodiscard]] const T& operator[](std::size_t index) const noexcept { return begin_[index]; }

    /// Makes room for `count` elements in all.
    void reserve(std::size_t count) {
        if (count > kLargestSize) ThrowLengthError("vector::reserve");
        if (count > capacity()) InsertInNewBlock(size(), 0, static_cast<std::uint32_t>(count), [](T*) {});
    }

    /// `element` and the ranges may lie in this vector.
    void append(const T& element) {
        CheckRoom(1, "vector::append");
        ExtendBy(1, GrownCapacity(1), [&element](T* at) { std::construct_at(at, element); });
    }
    void append(T&& element) {
        CheckRoom(1, "vector::append");
        ExtendBy(1, GrownCapacity(1), [&element](T* at) { std::construct_at(at, std::move(element)); });
    }
    void append(const T* first, std::size_t count) {
        CheckRoom(count, "vector::append");
        ExtendBy(count, GrownCapacity(count), [first](T* at) mutable { std::construct_at(at, *first++); });
    }

    /// Puts copies of `count` elements from `first` on before `place`, which lies in this vector or is its end.
    void insert(const T* place, const T* first, std::size_t count) {
        InsertBy(place, count, [first](T* at) mutable { std::construct_at(at, *first++); });
    }
    void insert(const T* place, const T& element) { insert(place, &element, 1); }
    void insert(const T* place, T&& element) {
        InsertBy(place, 1, [&element](T* at) { std::construct_at(at, std::move(element)); });
    }

    void clear() noexcept {
        std::destroy(begin_, end_);
        end_ = begin_;
    }

    void swap(vector_t& other) noexcept {
        std::swap(begin_, other.begin_);
        std::swap(end_, other.end_);
        std::swap(capacity_end_, other.capacity_end_);
        std::swap(allocator_, other.allocator_);
    }

private:
    /// Elements that are being built one behind the other; destroys them if it dies before they are kept.
    class Builder {
    public:
        explicit Builder(T* at) noexcept : first(at), last(at) {}
        Builder(const Builder&) = delete;
        Builder& operator=(const Builder&) = delete;
        ~Builder() { std::destroy(first, last); }

        template <class Make>
        void Build(std::size_t count, Make& make) {
            for (; count != 0; --count, ++last) make(last);
        }
        void MoveFrom(T* from, T* to) {
            for (; from != to; ++from, ++last) std::construct_at(last, std::move_if_noexcept(*from));
        }
        T* Keep() noexcept {
            first = last;
            return last;
        }

    private:
        T* first;
        T* last;
    };

    void CheckRoom(std::size_t extra, const char* refusal) const {
        if (extra > kLargestSize - size()) ThrowLengthError(refusal);
    }

    /// The capacity for `extra` more elements, which have passed `CheckRoom`; the present one if they fit.
    [[nodiscard]] std::uint32_t GrownCapacity(std::size_t extra) const noexcept {
        if (extra <= static_cast<std::size_t>(capacity_end_ - end_)) return capacity();
        const std::uint32_t count = size();
        if (extra > count) return std::max(count + static_cast<std::uint32_t>(extra), kLeastCapacity);
        return std::max(count > kLargestSize / 2 ? kLargestSize : count * 2, kLeastCapacity);
    }

    template <class Make>
    void ExtendBy(std::size_t extra, std::uint32_t capacityNeeded, Make make) {
        if (capacityNeeded > capacity()) return InsertInNewBlock(size(), extra, capacityNeeded, make);
        Builder added(end_);
        added.Build(extra, make);
        end_ = added.Keep();
    }

    template <class Make>
    void InsertBy(const T* place, std::size_t extra, Make make) {
        CheckRoom(extra, "vector::insert");
        const auto index = static_cast<std::uint32_t>(place - begin_);
        const std::uint32_t capacityNeeded = GrownCapacity(extra);
        if (index == size()) return ExtendBy(extra, capacityNeeded, make);
        if constexpr (kMovesInPlace) {
            if (capacityNeeded == capacity()) {
                T* const oldEnd = end_;
                ExtendBy(extra, capacityNeeded, make);
                std::rotate(begin_ + index, oldEnd, end_);
                return;
            }
        }
        InsertInNewBlock(index, extra, capacityNeeded, make);
    }

    /// Builds the new elements first, where they belong in a new block, and then moves the old ones around them.
    template <class Make>
    void InsertInNewBlock(std::uint32_t index, std::size_t extra, std::uint32_t capacityNeeded, Make make) {
        T* const block = static_cast<T*>(allocator_.Alloc(capacityNeeded * sizeof(T)));
        if (block == nullptr) ThrowBadAlloc();
        BlockHolder holder;
        holder.Hold(allocator_, block);
        Builder added(block + index), head(block), tail(block + index + extra);
        added.Build(extra, make);
        head.MoveFrom(begin_, begin_ + index);
        tail.MoveFrom(begin_ + index, end_);
        added.Keep();
        head.Keep();
        T* const newEnd = tail.Keep();
        holder.Drop();
        Destroy();
        begin_ = block;
        end_ = newEnd;
        capacity_end_ = block + capacityNeeded;
    }

    void Destroy() noexcept {
        std::destroy(begin_, end_);
        if (begin_ != nullptr) allocator_.Free(begin_);
    }

    T* begin_ = nullptr;
    T* end_ = nullptr;
    T* capacity_end_ = nullptr;
    AllocatorRef allocator_;
};

}   // namespace ilk
