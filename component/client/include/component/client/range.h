/// Ranges that read as they are walked: the iterator that they share, and the values of a key.
#pragma once

#include <component/client/value.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <utility>

namespace arbor {

/// The end of a range that reads as it walks, and the walk of a range-based `for` over it.
template <class Range>
class Walk {
public:
    class Iterator {
    public:
        using difference_type = std::ptrdiff_t;

        explicit Iterator(Range& walked) : range(&walked) {}

        [[nodiscard]] const auto& operator*() const { return range->Current(); }
        Iterator& operator++() {
            range->Advance();
            return *this;
        }
        void operator++(int) { range->Advance(); }
        [[nodiscard]] bool operator==(std::default_sentinel_t) const { return range->AtEnd(); }

    private:
        Range* range;
    };

    [[nodiscard]] Iterator begin() { return Iterator(static_cast<Range&>(*this)); }
    [[nodiscard]] std::default_sentinel_t end() const { return {}; }

    [[nodiscard]] bool AtEnd() const { return ended; }
    /// A failure that ended the walk before its time, or kept it from starting; a success otherwise.
    [[nodiscard]] Status Outcome() const { return outcome; }

protected:
    void End(Status with) {
        ended = true;
        outcome = with;
    }

private:
    bool ended = false;
    Status outcome{};
};

/// The values of a key in their order, read as the walk goes; for one walk. What is added or deleted on the way moves
/// the indexes of what follows.
class ValueRange : public Walk<ValueRange> {
public:
    /// Walks nothing if `opened` is a failure.
    ValueRange(HostObject* object, KeyHandle key, Status opened) {
        value.place = {object, key, 0};
        opened ? ReadName() : End(opened);
    }

    [[nodiscard]] const Value& Current() const { return value; }
    void Advance() {
        ++value.place.index;
        ReadName();
    }

private:
    void ReadName() {
        const detail::ByIndex& place = value.place;
        auto name = detail::ReadWhole<std::string>([&](std::uint32_t* count, char* buffer, std::uint32_t size) {
            return kernel::Registry(place.object)
                .GetValueNameByIndex(place.object, count, place.key, place.index, buffer, size);
        });
        if (!name || name->empty()) return End(name);   // a name is never without its terminator
        value.name = *std::move(name);
        value.name.pop_back();
    }

    Value value;
};

}   // namespace arbor
