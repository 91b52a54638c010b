/// An allocator that counts what it gives out and can be told to fail.
#pragma once

#include <component/ilk/rtl/allocator.h>

#include <cstdlib>
#include <string>

namespace ilk_test {

class CountingAllocator final : public ilk::Allocator {
public:
    void AddReference() override { ++references; }
    void ReleaseReference() override { --references; }
    void Reserved2() override {}
    [[gnu::noinline]] void* Alloc(std::size_t sizeBytes) override {   // a path with a silly size warns once inlined
        if (failFromNow) return nullptr;
        ++blocks;
        lastSizeBytes = sizeBytes;
        return std::malloc(sizeBytes);
    }
    void Reserved4() override {}
    void Free(void* block) override {
        --blocks;
        std::free(block);
    }

    int references = 0;
    int blocks = 0;
    std::size_t lastSizeBytes = 0;
    bool failFromNow = false;
};

/// The message of the `Exception` that `act` throws; empty if it throws none.
template <class Exception, class Act>
std::string MessageOf(Act act) {
    try {
        act();
    } catch (const Exception& e) {
        return e.what();
    }
    return {};
}

}   // namespace ilk_test
