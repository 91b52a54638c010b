#include "store_test.h"

#include <component/kernel/properties.h>
#include <host/text.h>

#include <functional>

namespace test {
namespace {

using ValuesTest = StoreTest;

TEST_F(ValuesTest, AReadInTheOwnTypeBringsTheBytes) {
    Store& s = MakeStore();
    s.SetNumber(0, "port", tDWORD, 8080U);
    TypeCode type = 0;
    std::uint32_t count = 0;
    std::uint32_t number = 0;
    EXPECT_EQ(s.methods.GetValue(s.object.Get(), &count, 0, "PORT", &type, &number, sizeof number), kDone);
    EXPECT_EQ(type, static_cast<TypeCode>(tDWORD));
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(number, 8080U);
    EXPECT_EQ(s.methods.GetValue(s.object.Get(), &count, 0, "port", nullptr, &number, 3), kBufferTooSmall);
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(s.methods.GetValue(s.object.Get(), nullptr, 0, "port", nullptr, &number, 8), kDone);
    count = 99;
    EXPECT_EQ(s.methods.GetValue(s.object.Get(), &count, 0, "none", nullptr, &number, 4), kNoSuchEntry);
    EXPECT_EQ(s.methods.GetValue(s.object.Get(), &count, kNoKey, "port", nullptr, &number, 4), kNoKeyThere);
    EXPECT_EQ(s.methods.GetValue(s.object.Get(), &count, 0, nullptr, nullptr, &number, 4), kInvalidArgument);
    EXPECT_EQ(count, 99U);
}

struct ReadCase {
    const char* label;
    TypeCode stored;
    std::string_view text;   // given as text
    TypeCode asked;
    ResultCode code;
    std::string_view bytes;
};
using namespace std::string_view_literals;
const ReadCase kReads[] = {
    {"a number as text", tDWORD, "8080", tSTRING, kDone, "8080\0"sv},
    {"a text as a number", tSTRING, "12", tDWORD, kDone, "\x0C\0\0\0"sv},
    {"a hexadecimal text", tSTRING, "0x10", tBYTE, kDone, "\x10"sv},
    {"a text that is no number", tSTRING, "twelve", tDWORD, kInvalidArgument, ""},
    {"too large a number", tDWORD, "256", tBYTE, kInvalidArgument, ""},
    {"a truth value as text", tBOOL, "true", tSTRING, kDone, "1\0"sv},
    {"a text as wide text", tSTRING, "\xC3\xA9", tWSTRING, kDone, "\xE9\0\0\0"sv},
    {"wide text as text", tWSTRING, "\xE9\0A\0"sv, tSTRING, kDone,
     "\xC3\xA9"
     "A\0"sv},
    {"a block as text", tBINARY, "\x0A\xFF"sv, tSTRING, kDone, "0AFF\0"sv},
    {"a block of the asked size is raw bytes", tBINARY, "\1\2\3\4"sv, tDWORD, kDone, "\1\2\3\4"sv},
    {"a block of another size goes through text", tBINARY, "\x12"sv, tDWORD, kDone, "\x0C\0\0\0"sv},
    {"a type that can't be made", tDWORD, "1", tOBJECT, kOutOfMemory, ""},
    {"a type without text", tDWORD, "1", tWCHAR, kUnspecified, ""},
    {"an empty text", tSTRING, "", tSTRING, kDone, ""},
};

TEST_F(ValuesTest, AReadInAnotherTypeGoesThroughText) {
    Store& s = MakeStore();
    for (const ReadCase& row : kReads) {
        SCOPED_TRACE(row.label);
        if (row.stored != tWSTRING && row.stored != tBINARY && row.stored != tSTRING) {
            const std::uint64_t zero = 0;
            ASSERT_EQ(s.Set(0, "v", row.stored, &zero, row.stored == tDWORD || row.stored == tBOOL ? 4 : 8), kDone);
            ASSERT_EQ(s.SetText(0, "v", row.text), kDone);
        } else {
            ASSERT_EQ(s.SetText(0, "v", row.text, row.stored), kDone);
        }
        char buffer[64];
        std::uint32_t count = 0;
        TypeCode asked = row.asked;
        // With the size of the answer: a block compares it with its own.
        const auto size = static_cast<std::uint32_t>(row.bytes.size());
        EXPECT_EQ(s.methods.GetValue(s.object.Get(), &count, 0, "v", &asked, buffer, size), row.code);
        EXPECT_EQ(asked, row.asked) << "what the caller asked for stays";
        EXPECT_EQ(row.code == kDone ? std::string_view(buffer, count) : "", row.bytes);
        EXPECT_EQ(s.methods.DeleteValue(s.object.Get(), 0, "v"), kDone);
    }
}

TEST_F(ValuesTest, WritesConvertIntoTheStoredTypeAndKeepIt) {
    Store& s = MakeStore();
    EXPECT_EQ(s.SetNumber(0, "n", tDWORD, 1U), kDone);
    EXPECT_TRUE(TakeDirty(kernel, s));
    EXPECT_EQ(s.SetNumber(0, "n", tDWORD, 1U), kDone) << "an unchanged value is no code of its own";
    EXPECT_FALSE(TakeDirty(kernel, s));
    EXPECT_EQ(s.SetText(0, "n", "1"), kDone);
    EXPECT_TRUE(TakeDirty(kernel, s)) << "a conversion doesn't compare";
    s.SetText(0, "t", "12");
    EXPECT_EQ(s.SetNumber(0, "t", tDWORD, 12U), kDone) << "nor is it told of an equal text";
    EXPECT_TRUE(TakeDirty(kernel, s));
    EXPECT_EQ(s.SetText(0, "n", "words"), kInvalidArgument);
    EXPECT_FALSE(TakeDirty(kernel, s));
    EXPECT_EQ(s.Number<std::uint32_t>(0, "n", tDWORD), 1U);
    EXPECT_EQ(s.SetNumber(0, "n", tQWORD, std::uint64_t{77}), kDone);
    EXPECT_EQ(s.Bytes(0, "n"), "\x4D\0\0\0"sv);
    EXPECT_EQ(s.Set(0, "n", tOBJECT, "x", 1), kOutOfMemory);
    EXPECT_EQ(s.Set(0, "none", tDWORD, "1234", 4, 0), kNoSuchEntry);
    EXPECT_EQ(s.Set(0, nullptr, tDWORD, "1234", 4, 1), kInvalidArgument);

    s.SetText(0, "wide", "A\0"sv, tWSTRING);
    EXPECT_EQ(s.SetNumber(0, "wide", tDWORD, 0x00420041U), kDone);
    EXPECT_EQ(s.Text(0, "wide"), "AB") << "wide text takes bytes from any type";

    s.SetText(0, "blob", "\1\2\3\4"sv, tBINARY);
    EXPECT_EQ(s.SetNumber(0, "blob", tDWORD, 0x0D0C0B0AU), kDone);
    EXPECT_EQ(s.Bytes(0, "blob"), "\x0A\x0B\x0C\x0D"sv);
    EXPECT_EQ(s.SetText(0, "blob", "FFEE"), kDone) << "as many bytes as it holds: raw";
    EXPECT_EQ(s.Bytes(0, "blob"), "FFEE");
    EXPECT_EQ(s.SetText(0, "blob", "FFEE00"), kDone);
    EXPECT_EQ(s.Bytes(0, "blob"), "\xFF\xEE\0"sv);

    EXPECT_EQ(s.object.SetNumber(PropertyReadOnly, 1), kDone);
    EXPECT_EQ(s.SetNumber(kNoKey, "n", tDWORD, 5U), kReadOnlyObject);
    EXPECT_EQ(s.methods.DeleteValue(s.object.Get(), 0, "none"), kReadOnlyObject);
    EXPECT_EQ(s.methods.DeleteValueByInd(s.object.Get(), 0, 99), kReadOnlyObject);
}

TEST_F(ValuesTest, ValuesAreReachedByPlace) {
    Store& s = MakeStore();
    HostObject* object = s.object.Get();
    const std::uint32_t number = 5;
    EXPECT_EQ(s.methods.SetValueByIndex(object, 0, 1, tDWORD, &number, 4, 1), kInvalidArgument);
    EXPECT_EQ(s.methods.SetValueByIndex(object, 0, 0, tDWORD, &number, 4, 0), kNoSuchEntry);
    EXPECT_EQ(s.methods.SetValueByIndex(object, 0, 0, tDWORD, &number, 4, 1), kDone);
    EXPECT_EQ(s.methods.SetValueByIndex(object, kNoKey, 0, tDWORD, &number, 4, 1), kNoKeyThere);
    EXPECT_EQ(s.Number<std::uint32_t>(0, "noname0", tDWORD), 5U);
    s.SetText(0, "second", "text");
    EXPECT_EQ(s.methods.SetValueByIndex(object, 0, 1, tSTRING, "new", 3, 0), kDone);
    char buffer[16] = {};
    std::uint32_t count = 0;
    TypeCode type = tSTRING;
    EXPECT_EQ(s.methods.GetValueByIndex(object, &count, 0, 1, &type, buffer, sizeof buffer), kDone);
    EXPECT_STREQ(buffer, "new");
    EXPECT_EQ(s.methods.GetValueByIndex(object, &count, 0, 2, &type, buffer, sizeof buffer), kNoSuchEntry);
    EXPECT_EQ(s.methods.GetValueNameByIndex(object, &count, 0, 1, buffer, sizeof buffer), kDone);
    EXPECT_STREQ(buffer, "second");
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(s.methods.GetValueNameByIndex(object, &count, 0, 2, buffer, sizeof buffer), kDone);
    EXPECT_EQ(count, 0U) << "behind the last there is a success without a name";
    count = 9;
    EXPECT_EQ(s.methods.GetValueNameByIndex(object, &count, kNoKey, 0, buffer, sizeof buffer), kNoKeyThere);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(s.methods.DeleteValueByInd(object, 0, 0), kDone);
    EXPECT_EQ(s.methods.DeleteValueByInd(object, 0, 1), kNoSuchEntry);
    EXPECT_EQ(s.methods.DeleteValue(object, 0, "SECOND"), kDone);
    EXPECT_EQ(s.methods.DeleteValue(object, 0, nullptr), kInvalidArgument);
    EXPECT_EQ(s.ValueCount(), 0U);
}

TEST_F(ValuesTest, AHostStringTakesAndGivesText) {
    Store& s = MakeStore();
    HostObject* object = s.object.Get();
    s.SetNumber(0, "n", tDWORD, 8080U);
    s.SetText(0, "empty", "");
    host::Text text(kernel);
    TypeCode type = tSTRING_OBJ;
    std::uint32_t count = 99;
    EXPECT_EQ(s.methods.GetValue(object, &count, 0, "n", &type, text.Get(), 0), kDone);
    EXPECT_EQ(text.View(), u"8080");
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(s.methods.GetValue(object, &count, 0, "empty", &type, text.Get(), 0), kDone);
    EXPECT_EQ(text.View(), u"");
    EXPECT_EQ(s.methods.GetValue(object, &count, 0, "n", &type, nullptr, 0), kInvalidArgument);
    EXPECT_EQ(text.Set(u"caf\u00E9"), kDone);
    EXPECT_EQ(s.Set(0, "empty", tSTRING_OBJ, text.Get(), 0), kDone);
    EXPECT_EQ(s.Text(0, "empty"), "caf\xC3\xA9");
    EXPECT_EQ(s.Set(0, "empty", tSTRING_OBJ, nullptr, 0), kInvalidArgument);
    EXPECT_EQ(s.Set(0, "new", tSTRING_OBJ, text.Get(), 0), kOutOfMemory);
    EXPECT_EQ(text.Get()->Assign(nullptr, 1200, 0), kDone);
    EXPECT_EQ(text.View(), u"");
}

TEST_F(ValuesTest, EveryFailedAllocationIsReportedAndKeepsTheValue) {
    Store& s = MakeStore();
    host::Text text(kernel);
    const std::vector<std::function<ResultCode()>> calls = {
        [&] { return s.SetText(0, "text", "a longer text than before"); },
        [&] { return s.SetNumber(0, "text", tDWORD, 123U); },
        [&] { return s.SetText(0, "text", "N\0E\0W\0"sv, tWSTRING); },
        [&] { return s.SetText(0, "number", "77"); },
        [&] { return s.SetText(0, "block", "0AFF"); },
        [&] { return s.SetText(0, "wide", "N\0E\0W\0"sv, tWSTRING); },
        [&] { return s.SetText(0, "new", "created"); },
        [&] { return s.Make("new/key") != kNoKey ? kDone : s.code; },
        [&] {
            s.Bytes(0, "text", tWSTRING);
            return s.code;
        },
        [&] {
            TypeCode type = tSTRING_OBJ;
            return s.methods.GetValue(s.object.Get(), nullptr, 0, "wide", &type, text.Get(), 0);
        },
    };
    for (std::size_t i = 0; i < calls.size(); ++i) {
        for (std::size_t failAt = 1;; ++failAt) {
            SCOPED_TRACE("call " + std::to_string(i) + ", allocation " + std::to_string(failAt));
            s.methods.Clean(s.object.Get());
            s.SetText(0, "text", "old");
            s.SetText(0, "wide", "O\0L\0D\0"sv, tWSTRING);
            s.SetNumber(0, "number", tDWORD, 8080U);
            s.SetText(0, "block", "old", tBINARY);
            TakeDirty(kernel, s);
            kernel.FailAllocation(failAt);
            const ResultCode code = calls[i]();
            const bool failed = kernel.AllocationFailed();
            kernel.FailAllocation(0);
            if (!failed) {
                EXPECT_TRUE(IsSuccess(code));
                break;
            }
            EXPECT_EQ(code, kOutOfMemory);
            EXPECT_EQ(s.Text(0, "text"), "old");
            EXPECT_EQ(s.Text(0, "wide"), "OLD");
            EXPECT_EQ(s.Text(0, "number"), "8080");
            EXPECT_EQ(s.Bytes(0, "block"), "old");
            EXPECT_EQ(s.ValueCount(), 4U);
            EXPECT_FALSE(TakeDirty(kernel, s));
        }
    }
}

}   // namespace
}   // namespace test
