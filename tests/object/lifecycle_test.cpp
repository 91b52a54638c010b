#include "store_test.h"

#include <component/kernel/properties.h>

namespace test {
namespace {

using LifecycleTest = StoreTest;

TEST_F(LifecycleTest, RootPropertiesBeforeTheTree) {
    Store s(kernel);
    char buffer[16] = "???";
    std::uint32_t count = 9;
    EXPECT_EQ(s.object.GetProperty(PropertyRootPoint, &count, buffer, sizeof buffer), kNotInitialised);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(s.object.GetProperty(PropertyRootKey, &count, buffer, 0), kDone) << "no text, no bytes";
    EXPECT_EQ(count, 0U);
    const KeyHandle none = 0;
    EXPECT_EQ(s.object.SetProperty(PropertyRootKey, &none, sizeof none), kNotInitialised);
    EXPECT_EQ(s.object.SetProperty(PropertyRootPoint, nullptr, 3), kInvalidArgument);
    EXPECT_EQ(s.object.SetRootPoint("first"), kDone);
    EXPECT_EQ(s.object.SetRootPoint("pending"), kDone) << "the second takes the first one's place";
    EXPECT_EQ(s.object.GetProperty(PropertyRootKey, &count, buffer, 7), kBufferTooSmall);
    EXPECT_EQ(count, 8U);
    EXPECT_EQ(s.object.GetProperty(PropertyRootKey, &count, nullptr, 7), kInvalidArgument);
    EXPECT_EQ(s.object.GetProperty(PropertyRootKey, &count, buffer, 8), kDone);
    EXPECT_STREQ(buffer, "pending");
    // Nothing loads, so that nothing looks the path up; the text goes with the object.
    EXPECT_EQ(s.object.Ready(), kDone);
}

TEST_F(LifecycleTest, RootPropertiesWithTheTree) {
    Store& s = MakeStore();
    const KeyHandle b = s.Make("a/b");
    char buffer[16] = {};
    std::uint32_t count = 9;
    EXPECT_EQ(s.object.SetRootPoint("a\\b"), kDone);
    EXPECT_EQ(s.object.GetProperty(PropertyRootPoint, &count, buffer, sizeof buffer), kDone);
    EXPECT_STREQ(buffer, "a\\b");
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(s.object.GetProperty(PropertyRootPoint, &count, buffer, 3), kBufferTooSmall);
    EXPECT_EQ(s.object.SetRootPoint("a/x"), kNoSuchEntry);
    KeyHandle handle = 0;
    EXPECT_EQ(s.object.GetProperty(PropertyRootKey, &count, &handle, sizeof handle), kDone);
    EXPECT_EQ(handle, b);
    EXPECT_EQ(s.object.GetProperty(PropertyRootKey, &count, &handle, 3), kBufferTooSmall);
    EXPECT_EQ(count, sizeof handle);
    handle = s.Open(nullptr) + 16;
    EXPECT_EQ(s.object.SetProperty(PropertyRootKey, &handle, sizeof handle), kNoSuchEntry);
    EXPECT_EQ(s.object.SetProperty(PropertyRootKey, &handle, 3), kInvalidArgument);
    EXPECT_EQ(s.object.SetProperty(PropertyRootKey, nullptr, sizeof handle), kInvalidArgument);
    handle = 0;
    EXPECT_EQ(s.object.SetProperty(PropertyRootKey, &handle, sizeof handle), kDone);
    EXPECT_EQ(s.Open("a/b"), b);
    EXPECT_EQ(s.object.SetRootPoint("a"), kDone);
    EXPECT_EQ(s.object.SetRootPoint(""), kDone);
    EXPECT_EQ(s.Open("a/b"), b);
}

TEST_F(LifecycleTest, TheNameIsKeptWithoutItsTerminator) {
    Store s(kernel);
    char16_t buffer[16] = u"???";
    std::uint32_t count = 9;
    EXPECT_EQ(s.object.SetName(u"Z:\\a.xml"), kDone);
    EXPECT_EQ(s.object.Name(), u"Z:\\a.xml");
    EXPECT_EQ(s.object.GetProperty(PropertyName, &count, buffer, 17), kBufferTooSmall);
    EXPECT_EQ(count, 18U);
    EXPECT_EQ(buffer[0], u'?');
    kernel.SetTraceLevel(600);
    EXPECT_EQ(s.object.SetProperty(PropertyName, buffer, 3), kInvalidArgument);
    EXPECT_EQ(s.object.SetProperty(PropertyName, nullptr, 4), kInvalidArgument);
    EXPECT_TRUE(kernel.DrainTraceLines().empty()) << "refused at the door, without a line";
    EXPECT_EQ(s.object.SetProperty(PropertyName, buffer, 0), MakeResult(0x8000005C));
    EXPECT_EQ(kernel.DrainTraceLines().size(), 1U);
    EXPECT_EQ(s.object.Name(), u"Z:\\a.xml");
    EXPECT_EQ(s.object.SetProperty(PropertyName, u"", 2), kDone);
    EXPECT_EQ(s.object.Name(), u"");
}

TEST_F(LifecycleTest, HandlersTraceTheirLines) {
    Store s(kernel);
    kernel.SetTraceLevel(600);
    const auto line = [&](ResultCode) {
        std::string text;
        for (const host::TraceLine& one : kernel.DrainTraceLines()) text += one.text.substr(0, one.text.find(": ") + 2);
        return text;
    };
    char16_t buffer[2] = {};
    std::uint32_t count = 0;
    EXPECT_EQ(line(s.object.GetProperty(PropertyRootPoint, &count, buffer, 4)), "arbor\tArbor::getRootPoint : ");
    EXPECT_EQ(line(s.object.GetProperty(PropertyRootKey, &count, buffer, 4)), "Arbor::getRootKey : ");
    EXPECT_EQ(line(s.object.SetProperty(PropertyRootKey, buffer, 4)), "arbor\tArbor::setRootKey : ");
    EXPECT_EQ(line(s.object.GetProperty(PropertyName, &count, buffer, 4)), "arbor\tArbor::getName : ");
    EXPECT_EQ(line(s.object.SetProperty(PropertyName, buffer, 2)), "arbor\tArbor::setName : ");
    EXPECT_EQ(line(s.object.SetRootPoint("x")), "arbor\tArbor::setRootPoint : ");
    EXPECT_EQ(s.object.Ready(), kDone);
    static_cast<void>(kernel.DrainTraceLines());
    EXPECT_EQ(line(s.object.SetRootPoint("x")), "Setting root to x: arbor\tArbor::setRootPoint : ");
}

TEST_F(LifecycleTest, AnObjectWhoseRootHasNoMemoryAnswersEveryCall) {
    Store s(kernel);
    kernel.FailAllocation(1);
    EXPECT_EQ(s.object.Ready(), kDone) << "the load had nothing to do";
    kernel.FailAllocation(0);
    HostObject* object = s.object.Get();
    EXPECT_EQ(s.Make("a"), kNoKey);
    EXPECT_EQ(s.code, kNoKeyThere);
    EXPECT_EQ(s.SetNumber(0, "n", tDWORD, 1U), kNoKeyThere);
    EXPECT_EQ(s.methods.Clean(object), kNotInitialised);
    EXPECT_EQ(s.methods.SetRootStr(object, "a"), kNotInitialised);
    EXPECT_EQ(s.methods.SetRootKey(object, 0), kNotInitialised);
    EXPECT_EQ(s.methods.OpenNextKey(object, nullptr, 8), kNoKeyThere);
}

}   // namespace
}   // namespace test
