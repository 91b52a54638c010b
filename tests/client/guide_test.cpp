// The lines of code in the host guide's table of what the client offers: the guide shows each of these statements, and
// the test of the lists compares them.

#include "support/store.h"

#include <component/client/throwing.h>
#include <host/io_object.h>

#include <algorithm>
#include <chrono>
#include <optional>

#include <gmock/gmock.h>

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

enum class Mode : std::uint8_t {
    Off,
    Manual,
    Automatic
};

struct Colour {
    std::uint32_t rgb = 0;
    bool operator==(const Colour&) const = default;
};

struct Credentials {
    std::string user{};
    std::optional<std::string> domain{};
    bool operator==(const Credentials&) const = default;
};
template <class Visitor>
void VisitMembers(Visitor& visit, Credentials& credentials) {
    visit("User", credentials.user);
    visit("Domain", credentials.domain);
}

struct Proxy {
    std::string host = "localhost";
    std::uint16_t port = 8080;
    Mode mode = Mode::Off;
    std::chrono::seconds timeout{30};
    Credentials credentials{};   // a subkey
    bool operator==(const Proxy&) const = default;
};
template <class Visitor>
void VisitMembers(Visitor& visit, Proxy& proxy) {
    visit("Host", proxy.host);
    visit("Port", proxy.port);
    visit("Mode", proxy.mode);
    visit("Timeout", proxy.timeout);
    visit("Credentials", proxy.credentials);
}

}   // namespace

template <>
struct arbor::Convert<Colour> {
    using Stored = std::uint32_t;
    static Stored ToStored(const Colour& colour) { return colour.rgb; }
    static Result<Colour> FromStored(Stored rgb) {
        if (rgb > 0xFFFFFF) return Status(kernel::kInvalidArgument);
        return Colour{rgb};
    }
};

namespace {

class GuideTest : public testing::Test {
protected:
    ~GuideTest() override {
        owner.reset();
        EXPECT_EQ(kernel.LiveBlocks(), 0U) << kernel.LeakReport();
    }

    kernel::HostObject* MakeObject() {
        kernel.LoadModule(test::ModulePath());
        owner.emplace(kernel);
        EXPECT_EQ(owner->SetIoObject(io.Get()), kernel::kDone);
        EXPECT_EQ(owner->Ready(), kernel::kDone);
        return owner->Get();
    }

    host::Kernel kernel;
    host::MemoryIo io{kernel};
    std::optional<host::Object> owner{};
    kernel::HostObject* const object = MakeObject();
    const arbor::Store store{object};
};

arbor::Result<int> Half(int number) {
    if (number % 2 != 0) return arbor::Status(kernel::kNotMatched);
    return number / 2;
}

bool IsNumber(const arbor::Value& value) { return value.Type() == kernel::tINT; }

TEST_F(GuideTest, ReadsAndResults) {
    ASSERT_TRUE(store["Network/Proxy"].Set("Port", 8080u) && store["Network/Proxy"].Set("Host", "example.net"));
    ASSERT_TRUE(store.Set("Text", "12abc") && store.Set("Count", std::uint8_t{3}));

    const int port = store["Network/Proxy"].Get<int>("Port").value_or(80);
    EXPECT_EQ(port, 8080);
    const bool same = store.Get<int>("Count") == 3;
    EXPECT_TRUE(same && store.Get<int>("Text") != 0);
    const auto length = store["Network/Proxy"].Get<std::string>("Host").transform(&std::string::size);
    EXPECT_EQ(*length, 11U);
    const auto half = store.Get<int>("Count").and_then(Half);
    EXPECT_EQ(half.error(), kernel::kNotMatched);
    const auto size = store.Get<int>("Size").or_else([](arbor::ResultCode) { return arbor::Result<int>(10); });
    EXPECT_EQ(*size, 10);
    const arbor::ResultCode code = store.Open("missing")->Get<int>("Port").error();
    EXPECT_EQ(code, kernel::kNoSuchEntry);
    const bool refused = !store.Get<int>("Text") && !store.Set("Count", 256);
    EXPECT_TRUE(refused);
    const int lenient = store.GetLenient<int>("Text").value_or(0);
    EXPECT_EQ(lenient, 0x12abc);
    const int thrown = arbor::throwing::Store(object).Get<int>("Count");
    EXPECT_EQ(thrown, 3);
    EXPECT_THROW(static_cast<void>(store.Get<int>("Text").value()), arbor::StoreError);
    EXPECT_THROW(static_cast<void>(arbor::throwing::Store(object)["missing"].Keys()), arbor::StoreError);
    const auto proxy = arbor::throwing::Store(object)["Network"].Open("Proxy");
    proxy.SetAt(0, proxy.GetAt<int>(0) + 1);
    EXPECT_EQ(proxy.Read("Port", kernel::tSTRING).bytes + proxy.Name(), "8081Proxy");
    EXPECT_THROW(proxy.CopyTo(proxy.Make("Below")), arbor::StoreError);
    const bool known = store["Network/Proxy"].Contains(std::string_view("Portable").substr(0, 4));
    EXPECT_TRUE(known);
}

TEST_F(GuideTest, Types) {
    ASSERT_TRUE(store.Set("Mode", Mode::Automatic));
    const Mode mode = store.Get<Mode>("Mode").value_or(Mode::Off);
    EXPECT_EQ(mode, Mode::Automatic);
    ASSERT_TRUE(store.Set("Wait", 1500ms));
    const auto wait = store.Get<std::chrono::milliseconds>("Wait").value_or(1s);
    EXPECT_EQ(wait, 1500ms);
    ASSERT_TRUE(store.Set("Key", std::vector<std::uint8_t>{1, 2}));
    const auto key = store.Get<std::vector<std::uint8_t>>("Key");
    EXPECT_THAT(*key, ElementsAre(1, 2));
    ASSERT_TRUE(store.Set("Wide", u"\u20ac"));
    const std::u16string wide = store.Get<std::u16string>("Wide").value_or(u"");
    EXPECT_EQ(wide, u"\u20ac");
    const std::optional<int> absent = *store.Get<std::optional<int>>("Absent");
    EXPECT_FALSE(absent);
    EXPECT_TRUE(store.Set("Mode", std::optional<int>()) && store.Set("Mode", std::optional<int>()));
    EXPECT_TRUE(store["None/Below"].Set("Mode", std::optional<int>()) && !store.Open("None"));
    EXPECT_FALSE(store.Contains("Mode"));
    ASSERT_TRUE(store.Set("Colour", Colour{0x102030}));
    const Colour colour = store.Get<Colour>("Colour").value_or(Colour{});
    EXPECT_EQ(colour.rgb, 0x102030U);
    ASSERT_TRUE(store.Set("Colour", 0x1000000));
    EXPECT_EQ(store.Get<Colour>("Colour").Code(), kernel::kInvalidArgument);
    if constexpr (arbor::detail::kHasWideStrings) {
        ASSERT_TRUE(store.Set("Wide", std::wstring(L"w")));
        EXPECT_EQ(store.Get<std::wstring>("Wide").value(), L"w");
    }

    const Proxy proxy{"example.net", 1, Mode::Manual, 5s, {"me", "home"}};
    const arbor::Status written = store["Network/Proxy"].Set(proxy);
    EXPECT_TRUE(written);
    const Proxy read = store["Network/Proxy"].Get<Proxy>().value_or(Proxy{});
    EXPECT_EQ(read, proxy);
    EXPECT_EQ(*store["Network/Proxy/Credentials"].Get<std::string>("Domain"), "home");
    ASSERT_TRUE(store["Network"]["Proxy"].Remove("Port"));
    EXPECT_EQ(store.Get<Proxy>("Network/Proxy")->port, 8080);
    ASSERT_TRUE(store["Network/Proxy"].Set("Port", "many"));
    EXPECT_EQ(store.Get<Proxy>("Network/Proxy").Code(), kernel::kInvalidArgument);
}

TEST_F(GuideTest, KeysAndEnumerations) {
    const arbor::Status chained = store["Network"]["Proxy"].Set("Port", 8080);
    EXPECT_TRUE(chained);
    ASSERT_TRUE(store["Network"]["Proxy"]["Deep"].Set("Text", "t") && store["Network/Other"].Set("Text", "o"));
    const std::string path = store["Network"]["Proxy"]["Deep"].Path().value_or("");
    EXPECT_EQ(path, "Network\\Proxy\\Deep");
    const auto parent = store["Network/Proxy/Deep"].Parent();
    EXPECT_EQ(parent->Handle(), store.Open("Network/Proxy")->Handle());
    EXPECT_EQ(store["Network"].Parent()->Handle(), store.Open("")->Handle());
    EXPECT_EQ(store.Parent().Code(), kernel::kNoSuchEntry);
    const std::uint32_t count = store["Network"].Count()->keys;
    EXPECT_EQ(count, 2U);
    const arbor::TypeCode type = store["Network/Proxy"].Type("Port").value_or(0);
    EXPECT_EQ(type, kernel::tINT);

    const arbor::Key proxy = *store.Open("Network/Proxy");
    const arbor::Status byIndex = proxy.SetAt(0, 80);
    EXPECT_TRUE(byIndex);
    const int first = proxy.GetAt<int>(0).value_or(0);
    EXPECT_EQ(first, 80);
    arbor::ValueRange values = proxy.Values();
    const auto numbers = std::ranges::count_if(values, IsNumber);
    EXPECT_EQ(numbers, 1);
    std::string walked;
    for (const arbor::WalkStep& step : store.Walk()) walked += std::to_string(step.depth) + *step.key.Name() + ' ';
    EXPECT_EQ(walked, "0 1Network 2Proxy 3Deep 2Other ");
    EXPECT_EQ(store["missing"].Walk().Outcome().Code(), kernel::kNoSuchEntry);
    const arbor::Status gone = proxy.RemoveAt(0);
    EXPECT_TRUE(gone && !proxy.RemoveAt(0));
    const arbor::Status keyGone = proxy.RemoveKeyAt(0);
    EXPECT_TRUE(keyGone && !proxy.KeyAt(0));
}

/// All keys and values, as lines.
std::string Dump(const arbor::Store& store) {
    std::string lines;
    for (const arbor::WalkStep& step : store.Walk()) {
        lines += *step.key.Path() + '\n';
        for (const arbor::Value& value : step.key.Values()) {
            lines += value.Name() + ' ' + std::to_string(value.Type()) + ' ' + *value.GetLenient<std::string>() + '\n';
        }
    }
    return lines;
}

TEST_F(GuideTest, ABatchIsAppliedWholeOrNotAtAll) {
    ASSERT_TRUE(store["a/b"].Set("n", std::uint8_t{1}) && store["a/b/c"].Set("text", "t") && store["a"].Set("old", 2));
    const std::string before = Dump(store);
    const auto fill = [&](arbor::Batch& batch) {
        batch.Set("a/b", "n", 200).Set("new/key", "m", Mode::Manual).Remove("a", "old").RemoveKey("a/b/c");
        batch.Set("a/b", "o", std::optional<int>()).Set("p", Proxy{});
    };
    arbor::Batch inexact(store);
    fill(inexact);
    EXPECT_EQ(inexact.Set("a/b", "n", 256).Apply().Code(), kernel::kInvalidArgument);   // by the check
    arbor::Batch late(store);
    fill(late);
    EXPECT_EQ(late.Remove("a", "old").Save().Code(), kernel::kNoSuchEntry);   // is gone by then: all is undone
    EXPECT_EQ(Dump(store), before);
    arbor::Batch terminator(store["a"]);
    EXPECT_EQ(terminator.Set("", "z", std::string("a\0b", 3)).Apply().Code(), kernel::kInvalidArgument);
    EXPECT_EQ(io.WriteCount(), 0U);

    arbor::Batch batch(store);
    fill(batch);
    const arbor::Status saved = batch.Set("a", "x", 1).Set("a", "y", "two").Remove("a", "x").Save();
    EXPECT_TRUE(saved);
    EXPECT_EQ(io.WriteCount(), 1U);
    EXPECT_EQ(*store["a/b"].Get<int>("n"), 200);
    EXPECT_EQ(*store["p"].Get<Proxy>(), Proxy{});
    EXPECT_FALSE(store["a"].Contains("old") || store["a"].Contains("x") || store.Open("a/b/c"));

    EXPECT_TRUE(arbor::Batch(store["a"]["b"]).Set("", "n", 7).Apply());
    EXPECT_EQ(*store["a/b"].Get<int>("n"), 7);
    EXPECT_EQ(arbor::Batch(store["missing"]).Set("", "n", 7).Apply().Code(), kernel::kNoSuchEntry);
    EXPECT_TRUE(store["a"].CopyTo(store["p"]));
    EXPECT_TRUE(store["p"].Contains("y"));
}

}   // namespace
