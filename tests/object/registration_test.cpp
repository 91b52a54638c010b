#include "object/arbor.h"
#include "store_test.h"

#include <component/client/client.h>
#include <component/kernel/properties.h>
#include <host/module_file.h>

#include <array>
#include <type_traits>

namespace test {
namespace {

// One translation unit can use the client and the module: their classes of the same name are different types.
static_assert(!std::is_same_v<arbor::Key, arbor::module::Key> && !std::is_same_v<arbor::Value, arbor::module::Value>);

struct RowCase {
    std::uint32_t id;
    HostWord value;   // on the 32-bit target
    HostWord size;
    HostWord flags;
    bool handled;
};
constexpr RowCase kRows[] = {
    {0x21A00082, 1, 4, 4, false},       {0x20900083, 0, 6, 0x0C, false},    {0x20601000, 0x0C, 4, 3, false},
    {0x20401002, 0x10, 4, 0x23, false}, {0x20401003, 0x14, 4, 1, false},    {0x20601004, 0x18, 4, 3, false},
    {0x2040004A, 0x40, 4, 0x23, false}, {0x20901005, 0, 0, 0, true},        {0x20C01006, 0, 0, 0, true},
    {0x20900040, 0, 0, 0, true},        {0x33201000, 0x44, 4, 0x23, false}, {0x30601001, 0x48, 4, 3, false},
    {0x30201002, 0x4C, 1, 3, false},    {0x21B00040, 0x4B0, 4, 4, false},
};

TEST_F(StoreTest, TheModuleRegistersItsTables) {
    const host::Registration& given = *kernel.LastRegistration();
    EXPECT_EQ(kernel.RegistrationCount(), 1U);
    EXPECT_EQ(given.interfaceNumber, 13U);
    EXPECT_EQ(given.moduleNumber, 0xA7FBU);
    EXPECT_EQ(given.constants[0], 0U);
    EXPECT_EQ(given.constants[1], 1U);
    EXPECT_EQ(given.constants[2], 0x55U);
    EXPECT_EQ(given.lastConstant, 0U);
    ASSERT_EQ(given.internalCount, 12U);
    for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(given.internal[i] != nullptr, i == 1 || i == 3 || i == 5) << i;
    ASSERT_EQ(given.methodCount, 23U);
    for (std::size_t i = 0; i < 23; ++i) EXPECT_EQ(given.methods[i] != nullptr, i < 22) << i;
    ASSERT_EQ(given.propertyCount, std::size(kRows));
    const bool target = sizeof(HostWord) == 4;
    EXPECT_TRUE(!target || given.dataAreaBytes == 0x84U);
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
        SCOPED_TRACE(i);
        const PropertyRow& row = given.properties[i];
        EXPECT_EQ(row.id, kRows[i].id);
        EXPECT_EQ(row.flags, kRows[i].flags);
        EXPECT_EQ(row.size, row.id == PropertyIoObject ? sizeof(void*) : kRows[i].size);
        EXPECT_EQ(row.readHandler != 0, kRows[i].handled);
        EXPECT_EQ(row.writeHandler != 0, kRows[i].handled);
        if (row.id == PropertyDescription) {
            EXPECT_STREQ(reinterpret_cast<const char*>(row.value), "arbor");
        } else if (target || kRows[i].flags == 4) {
            EXPECT_EQ(row.value, kRows[i].value);
        }
    }
}

TEST(EntryTest, OnlyTheHostsReasonStartsTheModule) {
    const host::ModuleFile file(ModulePath());
    for (const std::uint32_t reason : {0U, 1U, 2U, 3U, 99U, 101U}) {
        ResultCode result = 77;
        EXPECT_EQ(file.Entry()(nullptr, reason, &result), 1) << reason;
        EXPECT_EQ(result, 77) << reason;
    }
}

TEST(EntryTest, TheHostsAnswerToTheRegistrationIsPassedOn) {
    struct Row {
        const char* label;
        ResultCode answer;
        int returned;
        std::vector<std::string> lines;
    };
    const Row rows[] = {
        {"success", 0, 1, {}},
        {"another success", 5, 1, {}},
        {"failure", kAccessDenied, 0, {"Registry(IID_REGISTRY)registered [", "cannot register \"Registry\" interface"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.label);
        host::Kernel kernel({.traceLevel = 600});
        kernel.SetRegistrationResult(row.answer);
        const host::ModuleFile file(ModulePath());
        ResultCode result = 77;
        EXPECT_EQ(file.Entry()(kernel.Root(), 100, &result), row.returned);
        EXPECT_EQ(result, row.answer);
        const std::vector<host::TraceLine> lines = kernel.DrainTraceLines();
        ASSERT_EQ(lines.size(), row.lines.size());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(lines[i].text.rfind(row.lines[i], 0), 0U) << lines[i].text;
            EXPECT_EQ(lines[i].level, i == 0 ? 200U : 300U);
        }
    }
}

TEST(EntryTest, AHostWithoutImportsLosesTheLinesAndNothingElse) {
    host::Kernel kernel({.traceLevel = 600, .offerImports = false});
    kernel.LoadModule(ModulePath());
    Store store(kernel);
    EXPECT_EQ(store.object.Ready(), kDone);
    EXPECT_NE(store.Make("a"), kNoKey);
    EXPECT_TRUE(kernel.DrainTraceLines().empty());
}

}   // namespace
}   // namespace test
