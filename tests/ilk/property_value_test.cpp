#include <component/ilk/error/property_value.h>

#include <component/ilk/error/type_script.h>

#include "counting_allocator.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using ilk::PropertyValue;
using ilk::TypeLayout;
using Narrow = ilk::basic_string_t<char>;

TEST(PropertyValueTest, PlainValuesAreCopiedAndReadByType) {
    const PropertyValue value = ilk::MakeResultValue(ilk::ResultInvalidArgument);
    PropertyValue copy = value;
    ASSERT_NE(copy.GetAs<std::int32_t>(), nullptr);
    EXPECT_EQ(*copy.GetAs<std::int32_t>(), ilk::ResultInvalidArgument);
    EXPECT_NE(copy.GetAs<std::int32_t>(), value.GetAs<std::int32_t>()) << "a block of its own";
    EXPECT_EQ(copy.GetAs<std::uint32_t>(), nullptr);
    copy = ilk::MakePlatformErrorValue({5});
    EXPECT_EQ(*copy.GetAs<std::uint32_t>(), 5u);
}

struct Record {
    Narrow first{"a text that needs a block of its own"};
    std::uint32_t numbers[2] = {0x01234567, 0x89ABCDEF};
    Narrow second{"another text that needs a block"};
    PropertyValue nested = ilk::MakeResultValue(ilk::ResultLocked);
};

constexpr std::uint8_t kText = sizeof(Narrow);
constexpr std::uint8_t kRecordScript[] = {2, 1, 8, 2, 5, 0};

TypeLayout StructuredLayout(const std::uint8_t* script, std::uint32_t size) {
    TypeLayout layout;
    layout.script = script;
    layout.size = size;
    layout.flags = 0;
    return layout;
}

void ExpectCopiesWhole(const TypeLayout& layout) {
    const Record record;
    alignas(Record) std::byte memory[sizeof(Record)];
    ilk::CopyByScript(layout, memory, &record);
    const Record& copy = *reinterpret_cast<const Record*>(memory);
    EXPECT_TRUE(copy.first == record.first && copy.second == record.second);
    EXPECT_TRUE(copy.numbers[0] == record.numbers[0] && copy.numbers[1] == record.numbers[1]);
    EXPECT_EQ(*copy.nested.GetAs<std::int32_t>(), ilk::ResultLocked);
    ilk::DestroyByScript(layout, memory);
}

TEST(PropertyValueTest, StructuredValuesAreCopiedMemberByMember) {
    TypeLayout layout = StructuredLayout(kRecordScript, sizeof(Record));
    ExpectCopiesWhole(layout);
    layout.members.text.append(std::string_view("\2\1\x88\x80\0\2\5", 7));   // all but the end is in the layout
    layout.script = kRecordScript + 5;
    ExpectCopiesWhole(layout);
    layout.traits = 0;   // or in bytes elsewhere
    layout.members.bytes = std::span(kRecordScript);
    layout.script = nullptr;
    ExpectCopiesWhole(layout);
}

struct RefusalCase {
    const char* label;
    std::vector<std::uint8_t> script;
    std::uint32_t size;
};
const RefusalCase kRefusals[] = {
    {"an opcode without a meaning", {6, 0}, 8},
    {"an opcode above all others", {255, 0}, 8},
    {"an end before the value's", {1, 4, 0}, 8},
    {"bytes after the value", {1, 9, 0}, 8},
    {"a text that doesn't fit", {2, 0}, kText - 1},
    {"a misaligned text", {1, 1, 2, 1, 7, 0}, kText + 8},
    {"an unknown member after a known one", {2, 11, 0}, kText + 8},
    {"no bytes, without end", {1, 0, 1, 0}, 8},
    {"a number of six bytes", {1, 0x88, 0x80, 0x80, 0x80, 0x80, 0x00, 0}, 8},
    {"a number of six bytes, in a value of one", {1, 0x88, 0x80, 0x80, 0x80, 0x80, 0}, 1},
    {"a number above 32 bits", {1, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 0}, 8},
};

/// The values are null, so that any access to one crashes.
TEST(PropertyValueTest, InvalidScriptsAreRefused) {
    for (const RefusalCase& row : kRefusals) {
        SCOPED_TRACE(row.label);
        const TypeLayout layout = StructuredLayout(row.script.data(), row.size);
        EXPECT_THROW(ilk::CopyByScript(layout, nullptr, nullptr), std::invalid_argument);
        ilk::DestroyByScript(layout, nullptr);
    }
}

}   // namespace
