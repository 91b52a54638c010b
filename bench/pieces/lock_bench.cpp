// Entry to the object's lock, beside the standard library's, alone and with two readers at once.

#include "object/readers_writer_lock.h"

#include <benchmark/benchmark.h>

#include <shared_mutex>
#include <thread>

namespace {

arbor::ReadersWriterLock& ArmedLock() {
    static arbor::ReadersWriterLock lock;
    static const bool armed = [] {
        lock.Initialise();
        return lock.HasGates();
    }();
    if (!armed) std::abort();
    return lock;
}

/// The C library leaves its locks' atomic steps out until a process has had a second thread: then none would be
/// measured.
const bool kHadThreads = [] {
    std::thread([] {}).join();
    return true;
}();

constexpr std::uint32_t kSynchronised = 1;

void BM_SharedEntry(benchmark::State& state) {
    if (!kHadThreads) state.SkipWithError("no thread was ever started");
    for (auto _ : state) {
        const arbor::LockGuard guard = arbor::LockGuard::Shared(ArmedLock(), kSynchronised);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_SharedEntry)->Threads(1)->Threads(2);

void BM_ExclusiveEntry(benchmark::State& state) {
    for (auto _ : state) {
        const arbor::LockGuard guard = arbor::LockGuard::Exclusive(ArmedLock(), kSynchronised);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_ExclusiveEntry);

void BM_SharedMutex(benchmark::State& state) {
    static std::shared_mutex mutex;
    for (auto _ : state) {
        const std::shared_lock guard(mutex);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_SharedMutex)->Threads(1)->Threads(2);

}   // namespace
