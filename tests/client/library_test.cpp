// What the client shares with parts of the standard library that clang 14 can't use: it refuses the views of libstdc++
// for any range, and doesn't have std::expected. Compiled as C++23.

#include "support/store.h"

#include <component/client/client.h>

#include <expected>
#include <ranges>

#include <gmock/gmock.h>

namespace {

TEST(LibraryTest, RangesOfTheClientAreFilteredAndTransformed) {
    host::Kernel kernel;
    kernel.LoadModule(test::ModulePath());
    host::Object object(kernel);
    ASSERT_EQ(object.Ready(), kernel::kDone);
    const arbor::Store store(object.Get());
    for (const char* name : {"a", "b", "c"}) ASSERT_TRUE(store["keys"].Set(name, 1) && store["keys"][name].Make());
    auto names = store["keys"].Keys() | std::views::transform([](const arbor::Key& key) { return *key.Name(); });
    std::string joined;
    for (const std::string& name : names) joined += name;
    auto late =
        store["keys"].Values() | std::views::filter([](const arbor::Value& value) { return value.Index() > 0; });
    for (const arbor::Value& value : late) joined += value.Name();
    EXPECT_EQ(joined, "abcbc");
}

TEST(LibraryTest, AResultConvertsToExpected) {
    const std::expected<int, arbor::ResultCode> value = arbor::Result<int>(7);
    EXPECT_EQ(value.value(), 7);
    const std::expected<bool, arbor::ResultCode> falseValue = arbor::Result<bool>(false);
    EXPECT_FALSE(falseValue.value());
    const std::expected<std::string, arbor::ResultCode> failure = arbor::Key().Get<std::string>("x");
    EXPECT_EQ(failure.error(), kernel::kNoKeyThere);
}

}   // namespace
