/// Common to `file_faults` and `system_faults`, whose wrappers stand in for functions of the layer below: which call of
/// the program fails, and an observer of the calls that succeed.
#pragma once

#include <climits>
#include <cstdint>
#include <functional>
#include <utility>

namespace testing_support {

/// As `times`: all calls from the `nth` on. As `nth`: no call.
inline constexpr int kAllFurtherCalls = INT_MAX / 2;

/// Of the calls of the kind `call`, or of all calls if that is 0, the `nth` and those after it, `times` in all, fail
/// with `error` and do nothing; a read or write transfers `bytes` bytes first. With error 0 they report success: a
/// short read or write, or a call that does nothing.
template <class Call>
struct CallFault {
    Call call{};
    std::uint32_t error = 0;
    int nth = 1;
    int times = 1;
    std::uint32_t bytes = 0;
};

/// While it exists, the calls of its thread fail as `fault` says, and `observer` gets those that succeed. At most one
/// per thread.
template <class Call, class Event>
class CallFaults {
public:
    explicit CallFaults(const CallFault<Call>& activeFault = {.nth = kAllFurtherCalls},
                        std::function<void(const Event&)> callObserver = nullptr)
        : fault(activeFault), observer(std::move(callObserver)) {
        active = this;
    }
    ~CallFaults() { active = nullptr; }
    CallFaults(const CallFaults&) = delete;
    CallFaults& operator=(const CallFaults&) = delete;

    /// How many calls the fault has hit.
    [[nodiscard]] int Failed() const { return failed; }

    /// For the wrappers: counts the call. Returns the fault if it hits this call, otherwise null.
    static const CallFault<Call>* NextFault(Call call) {
        if (active == nullptr || (active->fault.call != Call{} && active->fault.call != call)) return nullptr;
        const int index = ++active->seen - active->fault.nth;
        if (index < 0 || index >= active->fault.times) return nullptr;
        ++active->failed;
        return &active->fault;
    }
    /// For the wrappers: passes a call that succeeded to the observer. Returns `succeeded`.
    static bool Notify(bool succeeded, const Event& event) {
        if (succeeded && active != nullptr && active->observer) active->observer(event);
        return succeeded;
    }

private:
    static inline thread_local CallFaults* active = nullptr;
    const CallFault<Call> fault;
    const std::function<void(const Event&)> observer;
    int seen = 0;
    int failed = 0;
};

}   // namespace testing_support
