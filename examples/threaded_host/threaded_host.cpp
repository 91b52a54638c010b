// A host with threads: two of them count in one document at the same time, then the host saves it and reports a
// failure.
#include <component/client/client.h>
#include <host/object.h>
#include <host/result_text.h>

#include <exception>
#include <future>
#include <iostream>

namespace {

constexpr std::uint32_t kSteps = 1000;

/// The work of one thread: adds `kSteps` to its own counter and reads that of the other thread. A store may be copied;
/// the copies refer to the same object. Returns the first failure.
arbor::Status Count(const arbor::Store store, const char* own, const char* other) {
    for (std::uint32_t step = 0; step < kSteps; ++step) {
        const auto count = store["Counters"].Get<std::uint32_t>(own).value_or(0);   // a call sees no half of a change
        if (const arbor::Status set = store["Counters"].Set(own, count + 1); !set) return set;
        const auto seen = store["Counters"].Get<std::uint32_t>(other);   // missing until that thread's first step
        if (!seen && seen.Code() != kernel::kNoSuchEntry) return seen;
    }
    return arbor::Status();
}

int Report(const char* document, const char* what, arbor::Status status) {
    std::cerr << document << ": " << what << ": " << host::Describe(status.Code()) << '\n';
    return 1;
}

int Run(const char* module, const char* document) {
    host::Kernel kernel;
    kernel.LoadModule(module);
    host::Object object(kernel);
    object.SetDocument(document);
    object.SetNumber(kernel::PropertyOpenFlags, kernel::kOpenFlagCreate);
    object.SetNumber(kernel::PropertySynchronised, 1);   // before `Ready`, which initialises the lock
    const arbor::Status loaded(object.Ready());
    if (!loaded) return Report(document, "not loaded", loaded);

    const arbor::Store store(object.Get());
    auto first = std::async(std::launch::async, Count, store, "First", "Second");
    auto second = std::async(std::launch::async, Count, store, "Second", "First");
    for (std::future<arbor::Status>* thread : {&first, &second}) {
        if (const arbor::Status counted = thread->get(); !counted) return Report(document, "not counted", counted);
    }
    for (const char* name : {"First", "Second"}) {
        std::cout << name << ' ' << store["Counters"].Get<std::uint32_t>(name).value_or(0) << '\n';
    }
    // After a failure the old document is whole, the changes are still in memory, and a later save can store them.
    const arbor::Status saved = store.Save();
    return saved ? 0 : Report(document, "not saved", saved);
}

}   // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: threaded_host DOCUMENT\n";
        return 2;
    }
    try {
        return Run(ARBOR_MODULE, argv[1]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}
