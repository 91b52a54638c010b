#include "store_test.h"

#include <component/kernel/properties.h>

namespace test {
namespace {

using KeysTest = StoreTest;

TEST_F(KeysTest, MissingNamesAndBuffersAreInvalidArguments) {
    Store& s = MakeStore();
    HostObject* object = s.object.Get();
    s.SetNumber(0, "n", tDWORD, 1U);
    std::uint32_t number = 0;
    TypeCode type = tSTRING_OBJ;
    EXPECT_EQ(s.methods.GetValue(object, nullptr, 0, nullptr, nullptr, &number, 4), kInvalidArgument);
    EXPECT_EQ(s.methods.GetValue(object, nullptr, 0, "n", &type, nullptr, 0), kInvalidArgument);
    EXPECT_EQ(s.Set(0, nullptr, tDWORD, "1234", 4, 1), kInvalidArgument);
    EXPECT_EQ(s.methods.DeleteValue(object, 0, nullptr), kInvalidArgument);
    EXPECT_EQ(s.methods.CopyKeyByName(object, nullptr, object), kInvalidArgument);
}

TEST_F(KeysTest, ACopyHasNamesAndTextsOfAnyLength) {
    Store& s = MakeStore();
    Store to(kernel);
    EXPECT_EQ(to.object.Ready(), kDone);
    const std::string longName(600, 'n');
    s.SetText(s.Make("source/deep"), longName.c_str(), std::string(5000, 't'));
    EXPECT_EQ(s.methods.CopyKeyByName(s.object.Get(), "source", to.object.Get()), kDone);
    EXPECT_EQ(to.Text(to.Open("deep"), longName.c_str()).size(), 5000U);
}

// Each method leaves its one line, to the letter.
TEST_F(KeysTest, TraceLines) {
    Store& s = MakeStore();
    HostObject* object = s.object.Get();
    const Registry& r = s.methods;
    kernel.SetTraceLevel(600);
    const auto line = [&](ResultCode) {
        const std::vector<host::TraceLine> lines = kernel.DrainTraceLines();
        return lines.size() == 1 && lines[0].level == 600 ? lines[0].text.substr(0, lines[0].text.find("0x8")) : "(?)";
    };
    static_cast<void>(kernel.DrainTraceLines());
    EXPECT_EQ(line(r.OpenKey(object, nullptr, 0, "a", 0)), "arbor\tOpening key ?\\a: ");
    EXPECT_EQ(line(r.OpenKeyByIndex(object, nullptr, 0, 7)), "arbor\tArbor::OpenKeyByIndex 7: ");
    EXPECT_EQ(line(r.OpenNextKey(object, nullptr, 0)), "arbor\tArbor::OpenNextKey : ");
    EXPECT_EQ(line(r.CloseKey(object, 0xAB)).rfind("arbor\tClosing key ab: ", 0), 0U);
    EXPECT_EQ(line(r.GetKeyName(object, nullptr, kNoKey, nullptr, 0, 0)), "arbor\tGetting key name -1: ");
    EXPECT_EQ(line(r.GetKeyNameByIndex(object, nullptr, 0, 3, nullptr, 0, 0)), "arbor\tGetting key name by index 3: ");
    EXPECT_EQ(line(r.GetKeyCount(object, nullptr, kNoKey)), "arbor\tArbor::GetKeyCount : ");
    EXPECT_EQ(line(r.DeleteKey(object, 0, "a")), "arbor\tArbor::DeleteKey a: ");
    EXPECT_EQ(line(r.DeleteKeyByInd(object, 0, 1)), "arbor\tArbor::DeleteKeyByInd 1 : ");
    EXPECT_EQ(line(r.SetRootKey(object, 0x40)), "arbor\tArbor::SetRootKey : ");
    EXPECT_EQ(line(r.SetRootStr(object, "a")), "arbor\tArbor::SetRootStr : ");
    EXPECT_EQ(line(r.GetValue(object, nullptr, 0, "v", nullptr, nullptr, 0)), "arbor\tGetting value ?\\v: ");
    EXPECT_EQ(line(r.GetValueByIndex(object, nullptr, 0, 1, nullptr, nullptr, 0)), "arbor\tGetting value by index 1: ");
    EXPECT_EQ(line(r.GetValueNameByIndex(object, nullptr, kNoKey, 1, nullptr, 0)),
              "arbor\tArbor::GetValueNameByIndex : ");
    EXPECT_EQ(line(r.GetValueCount(object, nullptr, kNoKey)), "arbor\tArbor::GetValueCount : ");
    const auto* data = reinterpret_cast<const void*>(std::uintptr_t{0xBEEF});
    EXPECT_EQ(line(r.SetValue(object, 0, "v", tDWORD, data, 4, 0)), "arbor\tArbor::SetValue v (0xbeef:4): ");
    EXPECT_EQ(line(r.SetValue(object, kNoKey, "v", tDWORD, data, 4, 0)), "(?)") << "the one road without a line";
    EXPECT_EQ(line(r.SetValueByIndex(object, kNoKey, 2, tDWORD, data, 4, 0)),
              "arbor\tArbor::SetValueByIndex 2 (0xbeef:4): ");
    EXPECT_EQ(line(r.DeleteValue(object, 0, "v")), "arbor\tArbor::DeleteValue v: ");
    EXPECT_EQ(line(r.DeleteValueByInd(object, 0, 5)), "arbor\tArbor::DeleteValueByInd 5: ");
    s.object.SetNumber(PropertyReadOnly, 1);
    EXPECT_EQ(line(r.Clean(object)), "arbor\tArbor::Clean : ");
}

}   // namespace
}   // namespace test
