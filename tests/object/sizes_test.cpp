#include "store_test.h"

#include "support/small_stack.h"

#include <host/io_object.h>

#include <ctime>

namespace test {
namespace {

class SizesTest : public StoreTest {
protected:
    SizesTest() : StoreTest(host::BlockTracking::Count) {}
};

std::string Chain(std::size_t levels) {
    std::string path;
    for (std::size_t i = 0; i < levels; ++i) path += "k\\";
    path.pop_back();
    return path;
}

// With 2.6 bytes of stack a level, any recursion along the tree overflows.
TEST_F(SizesTest, AHundredThousandLevelsTakeNoStack) {
    const std::string path = Chain(100'000);
    testing_support::RunOnSmallStack([&] {
        Store& s = MakeStore();
        const KeyHandle deepest = s.Make(path.c_str());
        EXPECT_EQ(s.code, kKeyCreated);
        EXPECT_EQ(s.Open(path.c_str()), deepest);
        std::string name(path.size() + 1, '\0');
        std::uint32_t length = 0;
        const auto room = static_cast<std::uint32_t>(name.size());
        EXPECT_EQ(s.methods.GetKeyName(s.object.Get(), &length, deepest, name.data(), room, 1), kDone);
        EXPECT_EQ(name.substr(0, length), path);
        EXPECT_EQ(s.methods.SetRootKey(s.object.Get(), deepest), kDone);
        EXPECT_EQ(s.methods.SetRootKey(s.object.Get(), 0), kDone);
        EXPECT_EQ(s.methods.Clean(s.object.Get()), kDone);
        EXPECT_EQ(s.KeyCount(), 0U);
        s.Make(path.c_str());
        store.reset();   // with all the levels in place
    });
}

// A line is indented by its level: a deeper chain's document would grow with the square of its depth.
TEST_F(SizesTest, ADeepTreeIsCopiedAndSavedOnASmallStack) {
    constexpr std::size_t kLevels = 2048;
    host::MemoryIo io(kernel);
    testing_support::RunOnSmallStack([&] {
        Store& s = MakeStore();
        s.Make(Chain(kLevels).c_str());
        Store copy(kernel);
        EXPECT_EQ(copy.object.SetIoObject(io.Get()), kDone);
        EXPECT_EQ(copy.object.Ready(), kDone);
        EXPECT_EQ(s.methods.CopyKey(s.object.Get(), 0, copy.object.Get(), 0), kDone);
        EXPECT_EQ(copy.Save(), kDone);
        Store loaded(kernel);
        EXPECT_EQ(loaded.object.SetIoObject(io.Get()), kDone);
        EXPECT_EQ(loaded.object.Ready(), kDone);
        EXPECT_NE(loaded.Open(Chain(kLevels).c_str()), kNoKey);
        copy.Make(Chain(kLevels + 1).c_str());
        EXPECT_EQ(copy.Save(), kDone) << "deeper than what loads, and saved all the same";
    });
}

/// Fills a key with `count` children and `count` values, lists both in both directions and deletes all of them one by
/// one: a step's cost mustn't grow with the count. The seconds of the processor that it took.
double RunThroughAWideKey(Store& s, std::uint32_t count) {
    const std::clock_t begin = std::clock();
    HostObject* object = s.object.Get();
    const auto nameOf = [](std::uint32_t i) { return "n" + std::to_string(i); };
    for (std::uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(s.methods.OpenKey(object, nullptr, 0, nameOf(i).c_str(), 1), kKeyCreated);
        EXPECT_EQ(s.methods.SetValue(object, 0, nameOf(i).c_str(), tDWORD, &i, sizeof i, 1), kDone);
    }
    const auto look = [&](std::uint32_t i) {
        char key[16];
        char value[16];
        std::uint32_t number = ~i;
        std::uint32_t size = 0;
        EXPECT_EQ(s.methods.GetKeyNameByIndex(object, &size, 0, i, key, sizeof key, 0), kDone);
        EXPECT_EQ(s.methods.GetValueNameByIndex(object, &size, 0, i, value, sizeof value), kDone);
        EXPECT_EQ(s.methods.GetValueByIndex(object, &size, 0, i, nullptr, &number, sizeof number), kDone);
        EXPECT_EQ(number, i);
        EXPECT_EQ(key, nameOf(i));
        EXPECT_EQ(value, nameOf(i));
    };
    for (std::uint32_t i = 0; i < count; ++i) look(i);
    for (std::uint32_t i = count; i-- != 0;) look(i);
    for (std::uint32_t i = 0; i < count; ++i) {
        const bool byName = i % 2 == 0;   // the first that is left by its name, the last by its place
        const std::string name = nameOf(i / 2);
        const std::uint32_t last = count - i - 1;
        EXPECT_EQ(byName ? s.methods.DeleteKey(object, 0, name.c_str()) : s.methods.DeleteKeyByInd(object, 0, last),
                  kDone);
        EXPECT_EQ(byName ? s.methods.DeleteValue(object, 0, name.c_str()) : s.methods.DeleteValueByInd(object, 0, last),
                  kDone);
    }
    EXPECT_EQ(s.KeyCount() + s.ValueCount(), 0U);
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

TEST_F(SizesTest, AWideKeyCostsNoMoreAStepThanASmallOne) {
    Store& s = MakeStore();
    constexpr std::uint32_t kMany = 200'000;
    constexpr std::uint32_t kFew = kMany / 20;
    // What grows with the square takes 400 times as long; a machine that is busy elsewhere can spoil one look, not
    // three.
    bool linear = false;
    for (int look = 0; look < 3 && !linear; ++look) {
        const double few = RunThroughAWideKey(s, kFew);
        linear = RunThroughAWideKey(s, kMany) < 100 * few;
    }
    EXPECT_TRUE(linear);
}

}   // namespace
}   // namespace test
