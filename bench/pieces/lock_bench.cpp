// Acquiring the object's lock, beside the standard library's, and reads under the lock; by one thread and by two.

#include "object/readers_writer_lock.h"
#include "object/registration.h"
#include "pieces.h"

#include <component/client/client.h>
#include <component/kernel/properties.h>
#include <host/object.h>

#include <benchmark/benchmark.h>

#include <shared_mutex>
#include <thread>

namespace {

arbor::module::ReadersWriterLock& InitialisedLock() {
    static arbor::module::ReadersWriterLock lock;
    static const bool initialised = [] {
        lock.Initialise();
        return lock.HasGates();
    }();
    if (!initialised) std::abort();
    return lock;
}

/// The C library's locks skip their atomic operations until the process has started a second thread. They are to be
/// measured with them.
const bool kHadThreads = [] {
    std::thread([] {}).join();
    return true;
}();

constexpr std::uint32_t kSynchronised = 1;

void BM_SharedEntry(benchmark::State& state) {
    if (!kHadThreads) state.SkipWithError("no thread was ever started");
    for (auto _ : state) {
        const arbor::module::LockGuard guard(InitialisedLock(), kSynchronised, arbor::module::LockMode::Shared);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_SharedEntry)->Threads(1)->Threads(2);

void BM_ExclusiveEntry(benchmark::State& state) {
    for (auto _ : state) {
        const arbor::module::LockGuard guard(InitialisedLock(), kSynchronised, arbor::module::LockMode::Exclusive);
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

/// A synchronised object with one number.
class LockedNumber {
public:
    LockedNumber() : object((Start(), bench::SharedHost())) {
        ready = kernel::IsSuccess(object.SetNumber(kernel::PropertySynchronised, 1)) &&
                kernel::IsSuccess(object.Ready()) && arbor::Store(object.Get())["Network/Proxy"].Set("Port", 8080u);
        key = *arbor::Store(object.Get()).Open("Network/Proxy");
    }

    host::Object object;
    arbor::Key key{};
    bool ready = false;

private:
    static void Start() {
        if (bench::SharedHost().LastRegistration() == nullptr) bench::SharedHost().Start(&ModuleEntry);
    }
};

void BM_SharedRead(benchmark::State& state) {
    static const LockedNumber number;
    if (!kHadThreads || !number.ready) state.SkipWithError("the object isn't ready");
    for (auto _ : state) benchmark::DoNotOptimize(number.key.Get<std::uint32_t>("Port"));
}
BENCHMARK(BM_SharedRead)->Threads(1)->Threads(2);

}   // namespace
