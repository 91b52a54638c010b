/// Runs the lock's algorithm in every interleaving of three threads. For each step, a thread's call runs again from its
/// start: it replays the recorded results of its operations, performs the next one, and ends by an exception.
#pragma once

#include "object/lock_algorithm.h"

#include <array>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>

namespace test {
struct Stop {};
inline struct {
    std::string results;   // of the call's operations
    std::size_t replayed;
    bool stepped;
} run;

/// A number in the simulated memory. Each access is an addition.
struct Count {
    int value = 0;
    int Add(int amount, bool blocked = false) {
        if (run.replayed == run.results.size()) {
            if (run.stepped || blocked) throw Stop();
            run.stepped = true;
            run.results += static_cast<char>(std::exchange(value, value + amount));
        }
        return static_cast<signed char>(run.results[run.replayed++]);
    }
    operator int() { return Add(0); }
    void operator=(int desired) { Add(desired - value); }
    void operator++() { Add(1); }
    void operator--() { Add(-1); }
    int fetch_sub(int amount) { return Add(-amount); }
    void store(int desired, std::memory_order) { Add(desired - value); }
    bool compare_exchange_weak(int& expected, int desired) { return compare_exchange_strong(expected, desired); }
    bool compare_exchange_strong(int& expected, int desired) {
        const int found = Add(value == expected ? desired - value : 0);
        return found == std::exchange(expected, found);
    }
};

struct SimulatedSystem {
    using Section = Count;
    using Gate = Count;
    using GuardedCount = Count;
    using AtomicCount = Count;
    static void Enter(Count& section) { section.Add(1, section.value != 0); }
    static void Leave(Count& section) { section.Add(-1); }
    static void Wait(Count& gate) { gate.Add(-1, gate.value == 0); }
    static void Open(Count& gate, int threads) { gate.Add(threads); }
};

/// The lock's three counts, then the permits of its gates and the state of its section.
using Counts = std::array<int, 6>;

struct SimulatedLock : arbor::module::LockAlgorithm<SimulatedSystem> {
    SimulatedLock() : LockAlgorithm(Count{}, Count{}) {}
    [[nodiscard]] Counts Values() const {
        return {active.value,      readersWaiting.value, writersWaiting.value,
                readersGate.value, writersGate.value,    section.value};
    }
};

/// The counts after a release or an entry that is indivisible.
inline std::optional<Counts> After(Counts counts, bool releases, bool writes) {
    auto& [active, readersWaiting, writersWaiting, readersGate, writersGate, section] = counts;
    if (!releases && writes) active == 0 ? --active : ++writersWaiting;
    if (!releases && !writes) active >= 0 ? ++active : ++readersWaiting;
    if (releases) active += active < 1 ? 1 : -1;
    if (active == 0 && writersWaiting > 0) return Counts{-1, readersWaiting, writersWaiting - 1};
    if (active == 0) active = std::exchange(readersWaiting, 0);
    return counts;
}

/// Explores `Lock`, a `SimulatedLock`, with three threads, of which the first ones write.
template <class Lock>
class LockExplorer {
public:
    LockExplorer(std::size_t writerCount, int entries) : writers(writerCount) { Visit({entries}); }
    std::set<std::string> faults;   // "exclusion", "lost wake-up", "counts", "order"; none is followed past its first

private:
    static constexpr std::size_t kThreads = 3;
    using Calls = std::array<std::string, kThreads>;   // recorded results of the calls in progress
    struct State {
        int entries;   // of all threads together
        Lock lock{};
        std::string places = "ooo";   // of each thread: 'o' outside, 'w' entering, 'i' inside, 'l' leaving
        Calls calls{};
        bool atRest = false;                // each call in progress waits
        std::optional<Counts> expected{};   // at the next rest, if one call began since the last
    };

    void Visit(State state) {
        if (!seen.emplace(state.entries, state.lock.Values(), state.places, state.calls, state.expected).second) return;
        state.atRest = true;
        for (std::size_t thread = 0; thread < kThreads; ++thread) {
            if (!state.calls[thread].empty() && Step(state, thread)) state.atRest = false;
        }
        const std::string fault = state.atRest ? FaultAtRest(state) : "";
        if (!fault.empty()) return void(faults.insert(fault));
        for (std::size_t thread = 0; thread < kThreads; ++thread) {
            if (state.calls[thread].empty()) Step(state, thread);
        }
    }

    /// Performs one operation of `thread` and visits the state after it. False if the thread can't go on.
    bool Step(State state, std::size_t thread) {
        char& place = state.places[thread];
        std::string& call = state.calls[thread];
        const bool writes = thread < writers;
        if (place == 'o' && state.entries-- == 0) return false;
        if (call.empty()) {
            place = place == 'o' ? 'w' : 'l';
            state.expected = state.atRest ? After(state.lock.Values(), place == 'l', writes) : std::nullopt;
        }
        run = {call, 0, false};
        try {
            place == 'l' ? state.lock.Release() : writes ? state.lock.EnterExclusive() : state.lock.EnterShared();
            place = place == 'l' ? 'o' : 'i';
            call.clear();
        } catch (const Stop&) {
            if (!run.stepped) return false;   // blocked
            call = run.results;
        }
        const std::size_t first = state.places.find('i');
        first < writers&& first != state.places.rfind('i') ? void(faults.insert("exclusion")) : Visit(std::move(state));
        return true;
    }

    [[nodiscard]] std::string FaultAtRest(const State& state) const {
        Counts counts{};
        for (std::size_t thread = 0; thread < kThreads; ++thread) {
            if (state.places[thread] == 'i') counts[0] += thread < writers ? -1 : 1;
            if (state.places[thread] == 'w') ++counts[thread < writers ? 2 : 1];
        }
        if (counts[0] == 0 && counts[1] + counts[2] > 0) return "lost wake-up";
        if (state.lock.Values() != counts) return "counts";
        return state.expected.value_or(counts) == counts ? "" : "order";
    }

    std::size_t writers;
    std::set<std::tuple<int, Counts, std::string, Calls, std::optional<Counts>>> seen;
};

}   // namespace test
