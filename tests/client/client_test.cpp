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

static_assert(std::ranges::input_range<arbor::ValueRange> && std::ranges::view<arbor::ValueRange>);
static_assert(std::ranges::input_range<arbor::KeyRange> && std::ranges::view<arbor::KeyRange>);
static_assert(std::ranges::input_range<arbor::WalkRange> && std::ranges::view<arbor::WalkRange>);

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
        EXPECT_EQ(*store["a/b"].GetLenient<std::string>("v48"), digits);
    }
}

TEST_F(ClientTest, AFailureHasItsCodeAndTextAndNoValue) {
    const arbor::Store store(object->Get());
    ASSERT_TRUE(store["key"].Set("text", "many"));
    const auto missingKey = store["none"].Get<int>("v");
    EXPECT_EQ(missingKey.Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missingKey.Text(), "no such key or value");
    EXPECT_EQ(missingKey.value_or(5), 5);
    EXPECT_EQ(store["key"].Get<std::string>("v").Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(store["key"].Get<int>("text").Code(), kernel::kInvalidArgument);
    EXPECT_EQ(*store["key"].Get<int>("text"), 0);
    EXPECT_EQ(store["none"].Values().Outcome().Code(), kernel::kNoSuchEntry);
    EXPECT_TRUE(store["none"].Keys().AtEnd());
    EXPECT_FALSE(store.Open("none"));   // reads create no key
}

/// `Get` of one value as several types: a result as text, or its code.
template <class T>
std::string Shown(const arbor::Result<T>& result) {
    if (!result) return result.Code() == kernel::kInvalidArgument ? "refused" : std::string(result.Text());
    if constexpr (std::is_arithmetic_v<T>)
        return std::to_string(*result);
    else
        return *result;
}

TEST_F(ClientTest, ReadsAreExactOrFail) {
    const arbor::Key key = *arbor::Store(object->Get()).Make("k");
    struct Row {
        kernel::TypeCode type;
        const char* text;   // written by the store's own conversion
        const char* asInt;
        const char* asByte;
        const char* asBool;
        const char* asDouble;
        const char* asText;
    };
    constexpr Row kRows[] = {
        {kernel::tSTRING, "12", "12", "12", "refused", "12.000000", "12"},
        {kernel::tSTRING, "12abc", "refused", "refused", "refused", "refused", "12abc"},
        {kernel::tSTRING, "0xFF", "255", "255", "refused", "refused", "0xFF"},
        {kernel::tSTRING, "-5", "-5", "refused", "refused", "-5.000000", "-5"},
        {kernel::tSTRING, " 5", "refused", "refused", "refused", "refused", " 5"},
        {kernel::tSTRING, "-2147483649", "refused", "refused", "refused", "-2147483649.000000", "-2147483649"},
        {kernel::tSTRING, "1.5", "refused", "refused", "refused", "1.500000", "1.5"},
        {kernel::tSTRING, "true", "refused", "refused", "1", "refused", "true"},
        {kernel::tSTRING, "", "refused", "refused", "refused", "refused", ""},
        {kernel::tWSTRING, "\xC3\xA4", "refused", "refused", "refused", "refused", "\xC3\xA4"},
        {kernel::tWSTRING, "7", "7", "7", "refused", "7.000000", "7"},
        {kernel::tDWORD, "4000000000", "refused", "refused", "refused", "4000000000.000000", "4000000000"},
        {kernel::tQWORD, "9007199254740993", "refused", "refused", "refused", "refused", "9007199254740993"},
        {kernel::tLONGLONG, "-9223372036854775808", "refused", "refused", "refused", "-9223372036854775808.000000",
         "-9223372036854775808"},
        {kernel::tSBYTE, "-1", "-1", "refused", "refused", "-1.000000", "-1"},
        {kernel::tBOOL, "1", "1", "1", "1", "1.000000", "1"},
        {kernel::tDOUBLE, "2", "2", "2", "refused", "2.000000", "2"},
        {kernel::tDOUBLE, "-0.5", "refused", "refused", "refused", "-0.500000", "-0.5"},
        {kernel::tDOUBLE, "1e20", "refused", "refused", "refused", "100000000000000000000.000000", "1e+20"},
        {kernel::tCHAR, "7", "7", "7", "refused", "7.000000", "7"},
        {kernel::tBINARY, "01000000", "refused", "refused", "refused", "refused", "refused"},
        {kernel::tVOID, "", "refused", "refused", "refused", "refused", "refused"},
    };
    for (const Row& row : kRows) {
        const std::string name = std::to_string(row.type) + row.text;
        SCOPED_TRACE(name);
        const std::string zero(kernel::FindType(row.type)->width, '\0');
        ASSERT_TRUE(key.SetLenient(name, arbor::Datum{row.type, zero}));
        if (row.type == kernel::tWSTRING)
            ASSERT_TRUE(key.Set(name, row.text));
        else
            ASSERT_TRUE(key.SetLenient(name, row.text));
        EXPECT_EQ(Shown(key.Get<int>(name)), row.asInt);
        EXPECT_EQ(Shown(key.Get<std::uint8_t>(name)), row.asByte);
        EXPECT_EQ(Shown(key.Get<bool>(name)), row.asBool);
        EXPECT_EQ(Shown(key.Get<double>(name)), row.asDouble);
        EXPECT_EQ(Shown(key.Get<std::string>(name)), row.asText);
        EXPECT_EQ(key.Read(name, kernel::tSTRING).has_value(), row.asText != std::string_view("refused"));
    }
    ASSERT_TRUE(key.Set("wide", u"\xD83D\xDE00"));   // one character as two surrogates, and a lone one
    EXPECT_EQ(*key.Get<std::string>("wide"), "\xF0\x9F\x98\x80");
    ASSERT_TRUE(key.Set("loaded", "\xED\xA0\xBD\xED\xB8\x80"));   // the same, as a document holds it
    EXPECT_EQ(*key.Get<std::u16string>("loaded"), u"\xD83D\xDE00");
    ASSERT_TRUE(key.Set("wide", std::u16string_view(u"\xD83D", 1)));
    EXPECT_EQ(Shown(key.Get<std::string>("wide")), "refused");
    ASSERT_TRUE(key.Set("huge", 1e300));
    EXPECT_EQ(Shown(key.Get<float>("huge")), "refused");
    EXPECT_EQ(*key.GetLenient<int>("912abc"), 76476);
    EXPECT_EQ(*key.GetLenient<int>("44000000000"), 2147483647);
}

TEST_F(ClientTest, WritesAreExactOrFail) {
    using namespace std::string_literals;
    const arbor::Key key = *arbor::Store(object->Get()).Make("k");
    ASSERT_TRUE(key.Set("byte", std::uint8_t{1}) && key.Set("wide", u"1") && key.Set("text", "1") &&
                key.Set("double", 1.0) && key.Set("bool", true) && key.Set("blob", arbor::Blob(4)));
    struct Row {
        const char* label;
        arbor::Status (*write)(const arbor::Key& key);
        const char* stored;   // the text of the value afterwards, or none if the write is refused
    };
    const Row kRows[] = {
        {"byte", [](const arbor::Key& k) { return k.Set("byte", 255); }, "255"},
        {"byte", [](const arbor::Key& k) { return k.Set("byte", 256); }, nullptr},
        {"byte", [](const arbor::Key& k) { return k.Set("byte", -1); }, nullptr},
        {"byte", [](const arbor::Key& k) { return k.Set("byte", "1x"); }, nullptr},
        {"wide", [](const arbor::Key& k) { return k.Set("wide", "abc"); }, "abc"},
        {"wide", [](const arbor::Key& k) { return k.Set("wide", 12345); }, "12345"},
        {"wide", [](const arbor::Key& k) { return k.Set("wide", "\xFF"); }, nullptr},
        {"wide", [](const arbor::Key& k) { return k.Set("wide", u"a\0b"s); }, nullptr},
        {"text", [](const arbor::Key& k) { return k.Set("text", "a\0b"s); }, nullptr},
        {"new", [](const arbor::Key& k) { return k.Set("new", "a\0b"s); }, nullptr},
        {"text", [](const arbor::Key& k) { return k.Set("text", u"\u20ac"); }, "\xE2\x82\xAC"},
        {"text", [](const arbor::Key& k) { return k.Set("text", std::u16string_view(u"\xDC00", 1)); }, nullptr},
        {"text", [](const arbor::Key& k) { return k.Set("text", 0.1); }, "0.1"},
        {"double", [](const arbor::Key& k) { return k.Set("double", (std::int64_t{1} << 53) + 1); }, nullptr},
        {"double", [](const arbor::Key& k) { return k.Set("double", "-3"); }, "-3"},
        {"bool", [](const arbor::Key& k) { return k.Set("bool", 2); }, nullptr},
        {"bool", [](const arbor::Key& k) { return k.Set("bool", "false"); }, "0"},
        {"blob", [](const arbor::Key& k) { return k.Set("blob", 5); }, nullptr},
        {"short",
         [](const arbor::Key& k) {
             return k.Set("n", arbor::Datum{kernel::tDWORD, "12"});
         },
         nullptr},
        {"host string",
         [](const arbor::Key& k) {
             return k.Set("n", arbor::Datum{kernel::tSTRING_OBJ, "x"});
         },
         nullptr},
        {"text",
         [](const arbor::Key& k) {
             return k.SetLenient("text", arbor::Datum{kernel::tSTRING_OBJ, ""});
         },
         nullptr},
        {"no type", [](const arbor::Key& k) { return k.Set("n", arbor::Datum{}); }, nullptr},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.label);
        const std::string before = Shown(key.Get<std::string>(row.label));
        const arbor::Status status = row.write(key);
        EXPECT_EQ(status.Code(), row.stored != nullptr ? kernel::kDone : kernel::kInvalidArgument);
        EXPECT_EQ(Shown(key.Get<std::string>(row.label)), row.stored != nullptr ? row.stored : before);
    }
    EXPECT_EQ(key.Read("text", kernel::tSTRING_OBJ).Code(), kernel::kInvalidArgument);
    EXPECT_EQ(key.ReadLenient("text", kernel::tSTRING_OBJ).Code(), kernel::kInvalidArgument);
    ASSERT_TRUE(key.SetLenient("wide", "ab"));
    EXPECT_EQ(*key.Get<std::u16string>("wide"), u"\u6261");   // the two bytes as one character
}

TEST_F(ClientTest, EveryCallThatTakesAPathSplitsItInTheSameWay) {
    const arbor::Store store(object->Get());
    for (const char* path :
         {"a\\b/c", "\\x/y", "a//b", "/a", "a/b/", "p\\q\\r", "s/t", "u\\", "", "v/w\\/z", "x\\y//z"}) {
        SCOPED_TRACE(path);
        const auto made = store.Make(path);
        EXPECT_EQ(made.Code(), made ? kernel::kDone : kernel::kInvalidArgument);
        const auto opened = store.Open(path);
        EXPECT_EQ(made.has_value(), opened.has_value());
        EXPECT_TRUE(!made || *made->Path() == *opened->Path());
        EXPECT_EQ(store[path].Set("v", 1).Code(), made.Code());
        EXPECT_EQ(store[path].Get<int>("v").has_value(), made.has_value());
    }
    EXPECT_FALSE(store.Open("v")) << "created before the path was refused";
    EXPECT_EQ(store.Make(std::string_view("a\0b", 3)).Code(), kernel::kInvalidArgument);
}

TEST_F(ClientTest, CallsOnAFailedResultReturnItsCode) {
    const arbor::Store store(object->Get());
    const arbor::Result<arbor::Key> missing = store.Open("missing");
    EXPECT_EQ(missing->Get<int>("x").Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->Set("x", 1).Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->Make("k").Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->Open("k")->Remove("x").Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->RemoveKey("x").Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->Name().Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->CopyTo(store).Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(store.CopyTo(*missing).Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->Keys().Outcome().Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(missing->Values().Current().Get<int>().Code(), kernel::kNoSuchEntry);
    EXPECT_EQ(arbor::Key().Read("x").Code(), kernel::kNoKeyThere);
    EXPECT_EQ(arbor::Store(nullptr).Save().Code(), kernel::kNoKeyThere);
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
    const std::string longName(255, 'n');
    const arbor::Key other = *store.Make("other");   // an enumeration keeps the names of `key` in strings
    ASSERT_TRUE(other.Set(longName, 1));
    const std::string longText = longName + "beyond the view";
    const std::string_view name = std::string_view(longText).substr(0, longName.size());
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
    EXPECT_TRUE(other.Get<int>(name) && other.Set(name, 2) && other.Open(name).Code() == kernel::kNoSuchEntry);
    EXPECT_TRUE(other.Contains(longName) && store[name.substr(0, 0)]["a"].Count());
    EXPECT_EQ(allocations - before, 0U);
    EXPECT_EQ(kernel.HostMemory().Requests() - hostBefore, 0U);
    EXPECT_EQ(sum, 85U);
}

/// An object with one value, which gets longer before each of the first three reads.
struct Growing {
    static kernel::ResultCode GetValue(kernel::HostObject* object, std::uint32_t* count, kernel::KeyHandle, const char*,
                                       kernel::TypeCode* type, void* buffer, std::uint32_t size) {
        auto& self = *reinterpret_cast<Growing*>(object);
        if (++self.reads < 4) self.text.append(300, 'g');
        *type = kernel::tSTRING;
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
