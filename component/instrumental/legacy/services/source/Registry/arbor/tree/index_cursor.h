/// A list's last visited place, so that enumeration by index costs a step and not a walk, in either direction.
///
/// Finding a place is a read to its callers and happens under shared entry, while it moves the cursor: one reader at a
/// time claims the cursor by an atomic byte. Another reader that finds it claimed for long walks from an end of the
/// list instead, with the same result. Everything that changes the list clears the cursor under exclusive entry.
#pragma once

#include <atomic>
#include <cstdint>

namespace arbor::module {

template <class List>
class IndexCursor {
public:
    using Element = typename List::value_type;

    void Clear() { valid.store(kEmpty, std::memory_order_relaxed); }

    /// The element at the place `wanted` of `list`, or null behind the last; a miss leaves the cursor as it was.
    Element* Find(List& list, std::uint32_t wanted) {
        if (wanted >= list.size()) return nullptr;
        const std::uint8_t state = Claim();
        Walk walk = FromNearestEnd(list, wanted);
        if (state == kSet) walk.StartHereIfNearer(position, index, wanted);
        Element& found = walk.Finish(list);
        if (state != kClaimed) {
            position = &found;
            index = wanted;
            valid.store(kSet, std::memory_order_release);
        }
        return &found;
    }

private:
    static constexpr std::uint8_t kEmpty = 0;
    static constexpr std::uint8_t kSet = 1;
    static constexpr std::uint8_t kClaimed = 2;
    static constexpr int kClaimTries = 64;   // a claim is a step or two in an enumeration

    struct Walk {
        Element* start;
        std::int64_t steps;   // forward, or backward when negative

        void StartHereIfNearer(Element* place, std::uint32_t placeIndex, std::uint32_t wanted) {
            const std::int64_t distance = std::int64_t{wanted} - std::int64_t{placeIndex};
            if ((distance < 0 ? -distance : distance) >= (steps < 0 ? -steps : steps)) return;
            start = place;
            steps = distance;
        }

        Element& Finish(List& list) {
            auto at = list.iterator_to(*start);
            for (; steps > 0; --steps) ++at;
            for (; steps < 0; ++steps) --at;
            return *at;
        }
    };

    static Walk FromNearestEnd(List& list, std::uint32_t wanted) {
        const std::int64_t fromBack = static_cast<std::int64_t>(list.size()) - 1 - wanted;
        if (wanted <= fromBack) return {&list.front(), wanted};
        return {&list.back(), -fromBack};
    }

    std::uint8_t Claim() {
        std::uint8_t state = kClaimed;
        for (int i = 0; i < kClaimTries && state == kClaimed; ++i) {
            state = valid.exchange(kClaimed, std::memory_order_acquire);
        }
        return state;
    }

    Element* position = nullptr;
    std::uint32_t index = 0;
    std::atomic<std::uint8_t> valid{kEmpty};
};

}   // namespace arbor::module
