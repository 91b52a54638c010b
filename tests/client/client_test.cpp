// Tests of the typed client: types, failures, enumeration, saving and the number of allocations.

#include "support/store.h"

#include <component/client/client.h>
#include <host/io_object.h>

#include <cstdlib>
#include <functional>
#include <limits>
#include <new>

#include <gmock/gmock.h>

namespace {

std::size_t allocations = 0;

void* Allocate(std::size_t size) {
    ++allocations;
    return std::malloc(size != 0 ? size : 1);
}

// Out of line: if it is inlined, the compiler warns that `free` doesn't match `operator new`.
[[gnu::noinline]] void Free(void* block) { std::free(block); }

}   // namespace

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { Free(block); }
void operator delete[](void* block) noexcept { Free(block); }
void operator delete(void* block, std::size_t) noexcept { Free(block); }
void operator delete[](void* block, std::size_t) noexcept { Free(block); }

namespace {

using testing::ElementsAre;

class ClientTest : public testing::Test {
protected:
    ClientTest() {
        kernel.LoadModule(test::ModulePath());
        object = std::make_unique<host::Object>(kernel);
        EXPECT_EQ(object->SetIoObject(io.Get()), kernel::kDone);
        EXPECT_EQ(object->Ready(), kernel::kDone);
    }
    ~ClientTest() override {
        object.reset();
        EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport();
    }

    host::Kernel kernel;
    host::MemoryIo io{kernel};
    std::unique_ptr<host::Object> object;
};

template <class T>
void ExpectRoundTrip(arbor::Store store, T value, kernel::TypeCode type) {
    SCOPED_TRACE(type);
    const std::string name = "v" + std::to_string(type);
    EXPECT_TRUE(store["a/b"].Set(name, value));
    const auto read = store["A\\B"].Get<T>(name);
    EXPECT_TRUE(read && *read == value);
    EXPECT_EQ(*store.Open("a/b")->Type(name), type);
}

TEST_F(ClientTest, EachTypeIsReadAsItWasWritten) {
    const arbor::Store store(object->Get());
    ExpectRoundTrip<bool>(store, true, kernel::tBOOL);
    ExpectRoundTrip<char>(store, 'x', kernel::tCHAR);
    ExpectRoundTrip<std::uint8_t>(store, 255, kernel::tBYTE);
    ExpectRoundTrip<std::int8_t>(store, -128, kernel::tSBYTE);
    ExpectRoundTrip<std::uint16_t>(store, 65535, kernel::tWORD);
    ExpectRoundTrip<std::int16_t>(store, -5, kernel::tSHORT);
    ExpectRoundTrip(store, 0xFFFFFFFFu, kernel::tDWORD);
    ExpectRoundTrip(store, -7, kernel::tINT);   // negative, as the code of a failure is
    ExpectRoundTrip<unsigned long long>(store, std::numeric_limits<std::uint64_t>::max(), kernel::tQWORD);
    ExpectRoundTrip<long long>(store, std::numeric_limits<std::int64_t>::min(), kernel::tLONGLONG);
    ExpectRoundTrip(store, -1.5, kernel::tDOUBLE);
    for (const std::size_t length : {0U, 1U, 127U, 128U, 129U, 254U, 255U, 256U, 257U, 1000U}) {
        SCOPED_TRACE(length);
        ExpectRoundTrip(store, std::string(length, 'n'), kernel::tSTRING);
        ExpectRoundTrip(store, std::u16string(length, u'\u00e4'), kernel::tWSTRING);
        const arbor::Blob blob(length, std::byte{0xA5});
        ExpectRoundTrip(store, blob, kernel::tBINARY);
        std::string digits;
        for (std::size_t i = 0; i < length; ++i) digits += "A5";
        EXPECT_EQ(*store["a/b"].Get<std::string>("v48"), digits);
    }
}

TEST_F(ClientTest, AFailureHasItsCodeAndTextAndNoValue) {
    const arbor::Store store(object->Get());
    ASSERT_TRUE(store["key"].Set("text", "many"));
    const auto missingKey = store["none"].Get<int>("v");
    EXPECT_EQ(missingKey.Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missingKey.Text(), "no such key or value");
    EXPECT_EQ(missingKey.ValueOr(5), 5);
    EXPECT_EQ(store["key"].Get<std::string>("v").Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(store["key"].Get<int>("text").Code(), kernel::kInvalidArgument);
    EXPECT_EQ(*store["key"].Get<int>("text"), 0);
    EXPECT_EQ(store["none"].Values().Outcome().Code(), kernel::kNoSuchEntry);
    EXPECT_TRUE(store["none"].Keys().AtEnd());
    EXPECT_FALSE(store.Open("none"));   // reads create no key
}

TEST_F(ClientTest, EnumerationsKeepTheOrderAndNamesOfAnyLength) {
    const arbor::Store store(object->Get());
    const std::string longName(300, 'n');
    const arbor::Key top = *store.Make("top");
    ASSERT_TRUE(top.Set("", 1u) && top.Set(longName, "text") && top.Set("c", u"wide"));
    for (const char* name : {"x/deep", "y", "z"}) ASSERT_TRUE(top.Make(name));
    std::vector<std::string> seen;
    for (const arbor::Value& value : store["top"].Values()) {
        seen.push_back(value.Name() + ":" + std::to_string(value.Type()) + "=" + *value.Get<std::string>());
    }
    EXPECT_THAT(seen, ElementsAre(":4=1", longName + ":9=text", "c:10=wide"));
    seen.clear();
    for (const arbor::Key& key : store["top"].Keys()) seen.push_back(*key.Name() + " " + *key.Path());
    EXPECT_THAT(seen, ElementsAre("x top\\x", "y top\\y", "z top\\z"));
    EXPECT_TRUE(top.RemoveKey("x") && top.Remove("c") && !top.Remove("c"));
    EXPECT_FALSE(top.Open("x/deep"));
}

TEST_F(ClientTest, ANewKeyWithoutValuesIsSaved) {
    const arbor::Store store(object->Get());
    ASSERT_TRUE(store.Make("a") && store.Save());
    ASSERT_TRUE(store.Make("a/b") && store.Save());   // "a" exists, "b" is new
    EXPECT_EQ(io.WriteCount(), 2U);
    EXPECT_THAT(io.Content(), testing::HasSubstr("name=\"b\""));
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(io.WriteCount(), 2U);
}

TEST_F(ClientTest, ScalarsAndShortTextsAllocateNoMemory) {
    const arbor::Store store(object->Get());
    const arbor::Key key = *store.Make("a");
    static_cast<void>(key.Set("n", 1u) && key.Set("b", true) && key.Set("d", 2.5) && key.Set("t", "short"));
    const std::size_t hostBefore = kernel.HostMemory().Requests();
    const std::size_t before = allocations;
    std::uint32_t sum = 0;
    for (std::uint32_t i = 0; i < 10; ++i) {
        static_cast<void>(store["a"].Set("n", i));
        sum +=
            *store["a"].Get<std::uint32_t>("n") + (*key.Get<bool>("b") ? 1 : 0) + (*key.Get<double>("d") > 2 ? 1 : 0);
        for (const arbor::Value& value : key.Values()) sum += value.Type() == kernel::tDOUBLE ? value.Index() : 0;
    }
    EXPECT_EQ(key.Get<std::string>("t")->size(), 5U);
    EXPECT_EQ(allocations - before, 0U);
    EXPECT_EQ(kernel.HostMemory().Requests() - hostBefore, 0U);
    EXPECT_EQ(sum, 85U);
}

/// An object with one value, which gets longer before each of the first three reads.
struct Growing {
    static kernel::ResultCode GetValue(kernel::HostObject* object, std::uint32_t* count, kernel::KeyHandle, const char*,
                                       kernel::TypeCode*, void* buffer, std::uint32_t size) {
        auto& self = *reinterpret_cast<Growing*>(object);
        if (++self.reads < 4) self.text.append(300, 'g');
        *count = static_cast<std::uint32_t>(self.text.size() + 1);
        if (size < *count) return kernel::kBufferTooSmall;
        std::memcpy(buffer, self.text.c_str(), *count);
        return kernel::kDone;
    }

    /// Fails for every buffer size, and leaves the count 0.
    static kernel::ResultCode Refuse(kernel::HostObject*, std::uint32_t*, kernel::KeyHandle, const char*,
                                     kernel::TypeCode*, void*, std::uint32_t) {
        return kernel::kBufferTooSmall;
    }

    explicit Growing(decltype(&GetValue) read) {
        table[static_cast<std::size_t>(kernel::Method::GetValue)] = reinterpret_cast<void*>(read);
    }

    kernel::HostObject object{table, nullptr};
    void* table[kernel::kRegistryMethods]{};
    std::string text{};
    int reads = 0;
};

TEST(ClientReadTest, AValueThatGrowsBetweenTwoReadsIsReadCompletely) {
    Growing growing(&Growing::GetValue);
    EXPECT_EQ(*arbor::Store(&growing.object).Get<std::string>("v"), std::string(900, 'g'));
    EXPECT_EQ(growing.reads, 4);
    Growing refusing(&Growing::Refuse);
    EXPECT_EQ(arbor::Store(&refusing.object).Get<std::string>("v").Code(), kernel::kBufferTooSmall);
}

}   // namespace
