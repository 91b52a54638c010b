// Entry to the object's lock, beside the standard library's, and reads behind it; alone and with two readers at once.

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

arbor::module::ReadersWriterLock& ArmedLock() {
    static arbor::module::ReadersWriterLock lock;
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
        const arbor::module::LockGuard guard = arbor::module::LockGuard::Shared(ArmedLock(), kSynchronised);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_SharedEntry)->Threads(1)->Threads(2);

void BM_ExclusiveEntry(benchmark::State& state) {
    for (auto _ : state) {
        const arbor::module::LockGuard guard = arbor::module::LockGuard::Exclusive(ArmedLock(), kSynchronised);
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

/// An object with one number, which lives as long as the program's host.
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
        if (bench::SharedHost().Interface() == nullptr) bench::SharedHost().Start(&ModuleEntry);
    }
};

void BM_SharedRead(benchmark::State& state) {
    static const LockedNumber number;
    if (!kHadThreads || !number.ready) state.SkipWithError("the object isn't there");
    for (auto _ : state) benchmark::DoNotOptimize(number.key.Get<std::uint32_t>("Port"));
}
BENCHMARK(BM_SharedRead)->Threads(1)->Threads(2);

}   // namespace
