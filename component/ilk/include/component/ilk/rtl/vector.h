/// A growing array. A member that throws leaves it unchanged, unless the move of a non-copyable element throws.
/// Sizes are 32 bits wide on every target. Not thread-safe.
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
    static_assert(alignof(T) <= 2 * sizeof(void*), "blocks have no stricter alignment");

    /// Whether an insertion into spare capacity may append the new elements and rotate them into position: the rotation
    /// must not throw.
    static constexpr bool kCanRotate = std::is_nothrow_move_constructible_v<T> && std::is_nothrow_swappable_v<T>;

public:
    using value_type = T;

    static constexpr std::uint32_t kMaxSize = 0xFFFFFFFF / sizeof(T);
    static constexpr std::uint32_t kMinCapacity = 4;

    vector_t() noexcept = default;
    explicit vector_t(AllocatorRef allocator) noexcept : allocator_(std::move(allocator)) {}
    explicit vector_t(std::size_t count, AllocatorRef allocator = {}) : vector_t(std::move(allocator)) {
        if (count > kMaxSize) ThrowLengthError("construct");
        AppendElements(count, static_cast<std::uint32_t>(count), [](T* at) { std::construct_at(at); });
    }
    vector_t(const vector_t& source) : vector_t(source.allocator_) {
        const T* from = source.begin_;
        AppendElements(source.size(), source.size(), [&from](T* at) { std::construct_at(at, *from++); });
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

    /// Raises the capacity to at least `count` elements.
    void reserve(std::size_t count) {
        if (count > kMaxSize) ThrowLengthError("vector::reserve");
        if (count > capacity()) InsertInNewBlock(size(), 0, static_cast<std::uint32_t>(count), [](T*) {});
    }

    /// `element` and the range may lie in this vector; that holds for `insert` too.
    void append(const T& element) { append(&element, 1); }
    void append(T&& element) {
        AppendElements(1, GrownCapacity(1, "vector::append"),
                       [&element](T* at) { std::construct_at(at, std::move(element)); });
    }
    void append(const T* first, std::size_t count) {
        AppendElements(count, GrownCapacity(count, "vector::append"),
                       [first](T* at) mutable { std::construct_at(at, *first++); });
    }

    /// Inserts copies of the `count` elements at `first` before `position`, which points into this vector or to its
    /// end.
    void insert(const T* position, const T* first, std::size_t count) {
        InsertElements(position, count, [first](T* at) mutable { std::construct_at(at, *first++); });
    }
    void insert(const T* position, const T& element) { insert(position, &element, 1); }
    void insert(const T* position, T&& element) {
        InsertElements(position, 1, [&element](T* at) { std::construct_at(at, std::move(element)); });
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
    /// Constructs elements one after another in raw memory. The destructor destroys those that weren't committed.
    class Builder {
    public:
        explicit Builder(T* at) noexcept : first(at), last(at) {}
        Builder(const Builder&) = delete;
        Builder& operator=(const Builder&) = delete;
        ~Builder() { std::destroy(first, last); }

        template <class Construct>
        void Build(std::size_t count, Construct& construct) {
            for (; count != 0; --count, ++last) construct(last);
        }
        void MoveFrom(T* from, T* to) {
            for (; from != to; ++from, ++last) std::construct_at(last, std::move_if_noexcept(*from));
        }
        /// Leaves the elements to the vector and returns the address after the last one.
        T* Commit() noexcept {
            first = last;
            return last;
        }

    private:
        T* first;
        T* last;
    };

    /// Returns the capacity for `extra` more elements; the current one if they fit. Throws `std::length_error` with
    /// `message` if the size would exceed `kMaxSize`.
    [[nodiscard]] std::uint32_t GrownCapacity(std::size_t extra, const char* message) const {
        if (extra > kMaxSize - size()) ThrowLengthError(message);
        if (extra <= static_cast<std::size_t>(capacity_end_ - end_)) return capacity();
        const std::uint32_t count = size();
        if (extra > count) return std::max(count + static_cast<std::uint32_t>(extra), kMinCapacity);
        return std::max(count > kMaxSize / 2 ? kMaxSize : count * 2, kMinCapacity);
    }

    /// Appends `extra` elements; `construct` constructs the next one at the address it gets.
    template <class Construct>
    void AppendElements(std::size_t extra, std::uint32_t capacityNeeded, Construct construct) {
        if (capacityNeeded > capacity()) return InsertInNewBlock(size(), extra, capacityNeeded, construct);
        Builder added(end_);
        added.Build(extra, construct);
        end_ = added.Commit();
    }

    /// As above, but inserts the elements before `position`.
    template <class Construct>
    void InsertElements(const T* position, std::size_t extra, Construct construct) {
        const auto index = static_cast<std::uint32_t>(position - begin_);
        const std::uint32_t capacityNeeded = GrownCapacity(extra, "vector::insert");
        if (index == size()) return AppendElements(extra, capacityNeeded, construct);
        if constexpr (kCanRotate) {
            if (capacityNeeded == capacity()) {
                T* const oldEnd = end_;
                AppendElements(extra, capacityNeeded, construct);
                std::rotate(begin_ + index, oldEnd, end_);
                return;
            }
        }
        InsertInNewBlock(index, extra, capacityNeeded, construct);
    }

    /// Constructs the new elements at their final position in a new block before it moves the old ones there: the new
    /// ones may be copies of old ones.
    template <class Construct>
    void InsertInNewBlock(std::uint32_t index, std::size_t extra, std::uint32_t capacityNeeded, Construct construct) {
        T* const block = static_cast<T*>(allocator_.Alloc(capacityNeeded * sizeof(T)));
        if (block == nullptr) ThrowBadAlloc();
        BlockHolder newBlock;
        newBlock.Hold(allocator_, block);
        Builder added(block + index), head(block), tail(block + index + extra);
        added.Build(extra, construct);
        head.MoveFrom(begin_, begin_ + index);
        tail.MoveFrom(begin_ + index, end_);
        added.Commit();
        head.Commit();
        T* const newEnd = tail.Commit();
        newBlock.Detach();
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
