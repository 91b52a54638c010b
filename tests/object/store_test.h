/// The fixture of the tests that go through the module's file.
#pragma once

#include "support/store.h"

#include <filesystem>

namespace test {

class StoreTest : public testing::Test {
protected:
    /// A block that is left tells of itself where each is watched, which costs; else it's counted.
    explicit StoreTest(host::BlockTracking blocks = host::BlockTracking::Each) : kernel({.blocks = blocks}) {
        kernel.LoadModule(ModulePath());
    }

    ~StoreTest() override {
        store.reset();
        EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport();
    }

    /// A ready object without a document.
    Store& MakeStore(bool synchronised = false) {
        store = std::make_unique<Store>(kernel);
        EXPECT_EQ(store->object.SetNumber(PropertySynchronised, synchronised ? 1 : 0), kDone);
        EXPECT_EQ(store->object.Ready(), kDone);
        return *store;
    }

    host::Kernel kernel;
    std::unique_ptr<Store> store;
};

}   // namespace test
