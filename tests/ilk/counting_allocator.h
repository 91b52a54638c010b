/// An allocator that counts its blocks and references and fails on request, and a helper for messages of exceptions.
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
    [[gnu::noinline]] void* Alloc(std::size_t sizeBytes) override {   // inlined, GCC warns about an impossible size
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

/// Returns the message of the `Exception` that `act` throws; empty if it throws none.
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
