/// Calls that fail where a test asks for it, and what is told of those that don't: what the linker puts between a
/// program and the layer below has in common.
#pragma once

#include <climits>
#include <cstdint>
#include <functional>
#include <utility>

namespace testing_support {

inline constexpr int kFromThereOn = INT_MAX / 2;

/// `times` calls of one kind in turn, the first of them the `nth`, fail with `error` and change nothing; but a read or
/// a write moves `bytes` first. With error 0 it succeeds all the same: a short one, or a call that only says it was
/// done. The kind 0 is any.
template <class Call>
struct CallFault {
    Call call{};
    std::uint32_t error = 0;
    int nth = 1;
    int times = 1;
    std::uint32_t bytes = 0;
};

/// While it lives, the calls of its thread fail by the order, and the watcher sees those that succeed. One at a time.
template <class Call, class Event>
class CallFaults {
public:
    explicit CallFaults(const CallFault<Call>& order = {.nth = kFromThereOn},
                        std::function<void(const Event&)> watcher = nullptr)
        : fault(order), watch(std::move(watcher)) {
        active = this;
    }
    ~CallFaults() { active = nullptr; }
    CallFaults(const CallFaults&) = delete;
    CallFaults& operator=(const CallFaults&) = delete;

    /// Calls that failed by order.
    [[nodiscard]] int Failed() const { return failed; }

    /// For the calls themselves: the order if this one is to fail, else null.
    static const CallFault<Call>* Take(Call call) {
        if (active == nullptr || (active->fault.call != Call{} && active->fault.call != call)) return nullptr;
        const int place = ++active->seen - active->fault.nth;
        if (place < 0 || place >= active->fault.times) return nullptr;
        ++active->failed;
        return &active->fault;
    }
    /// Gives back whether the call succeeded.
    static bool Tell(bool succeeded, const Event& event) {
        if (succeeded && active != nullptr && active->watch) active->watch(event);
        return succeeded;
    }

private:
    static inline thread_local CallFaults* active = nullptr;
    const CallFault<Call> fault;
    const std::function<void(const Event&)> watch;
    int seen = 0;
    int failed = 0;
};

}   // namespace testing_support
