#include "store_test.h"

#include <component/kernel/properties.h>
#include <host/text.h>

#include <functional>

namespace test {
namespace {

using ValuesTest = StoreTest;

using namespace std::string_view_literals;

TEST_F(ValuesTest, AFailedAllocationIsReportedAndKeepsTheValue) {
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
