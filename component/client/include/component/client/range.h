/// Ranges that read one element at a time: their common base class, and the range of a key's values.
#pragma once

#include <component/client/value.h>

#include <concepts>
#include <cstddef>
#include <iterator>
#include <new>
#include <span>
#include <string>
#include <utility>

namespace arbor {

/// Marks the client's ranges.
class SinglePassBase {};

/// Base class of a range for a single pass, by a range-based `for`, a standard algorithm or a view: it is a
/// `std::ranges::input_range` of `Element`s. `Range` has `Current`, the element, and `Advance`, which reads the next
/// one or calls `End`. An iterator refers to the range, which must not be moved then. As that of other such ranges,
/// `begin` isn't `const`: a `const` range can't be iterated.
template <class Range, class Element>
class SinglePass : public SinglePassBase {
public:
    class Iterator {
    public:
        using difference_type = std::ptrdiff_t;
        using value_type = Element;
        using iterator_concept = std::input_iterator_tag;

        Iterator() = default;
        explicit Iterator(Range& owner) : range(&owner) {}

        [[nodiscard]] const Element& operator*() const { return range->Current(); }
        [[nodiscard]] const Element* operator->() const { return &range->Current(); }
        Iterator& operator++() {
            range->Advance();
            return *this;
        }
        void operator++(int) { range->Advance(); }
        [[nodiscard]] bool operator==(std::default_sentinel_t) const { return range->AtEnd(); }

    private:
        Range* range = nullptr;
    };

    [[nodiscard]] Iterator begin() { return Iterator(static_cast<Range&>(*this)); }
    [[nodiscard]] std::default_sentinel_t end() const { return {}; }

    [[nodiscard]] bool AtEnd() const { return ended; }
    /// The failure that prevented the enumeration or ended it early; otherwise a success.
    [[nodiscard]] Status Outcome() const { return outcome; }

protected:
    void End(Status result) {
        ended = true;
        outcome = result;
    }

private:
    bool ended = false;
    Status outcome{};
};

/// The values of a key in their order, for a single pass. If a value is deleted that the pass has already reached, the
/// following ones move to lower indexes and the pass skips one.
class ValueRange : public SinglePass<ValueRange, Value> {
public:
    /// Empty if `key` is a failure, which `Outcome` then returns.
    explicit ValueRange(const detail::KeyAddress& key) {
        value.slot.key = key;
        ReadName();
    }

    [[nodiscard]] const Value& Current() const { return value; }
    void Advance() {
        ++value.slot.index;
        ReadName();
    }

private:
    void ReadName() {
        const auto read = [&](std::uint32_t* count, char* buffer, std::uint32_t size) {
            return value.slot.key.Call<&kernel::Registry::GetValueNameByIndex>(count, value.slot.key.handle,
                                                                               value.slot.index, buffer, size);
        };
        char first[256];
        std::uint32_t count = 0;
        const ResultCode code = read(&count, first, sizeof first);
        if (code == kernel::kBufferTooSmall) return ReadLongName(read);
        if (kernel::IsFailure(code) || count == 0)
            return End(Status(code));   // 0 bytes, without even a terminator: no such value
        try {
            value.name.assign(first, count - 1);
        } catch (const std::bad_alloc&) {
            End(Status(kernel::kOutOfMemory));
        }
    }

    template <class Read>
    [[gnu::noinline]] void ReadLongName(Read read) {
        auto name = detail::WithoutTerminator(detail::ReadWhole<std::string>(read));
        if (!name) return End(name);
        value.name = *std::move(name);
    }

    Value value;
};

}   // namespace arbor

/// The client's ranges are views: cheap to move, and a pipeline of views holds them itself.
template <class Range>
requires std::derived_from<Range, arbor::SinglePassBase>
inline constexpr bool std::ranges::enable_view<Range> = true;
