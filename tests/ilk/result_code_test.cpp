#include <component/ilk/error/result_code.h>

#include <gtest/gtest.h>

namespace {

struct TextCase {
    std::uint32_t code;
    std::string_view text;
};
constexpr TextCase kTextCases[] = {
    {0x00000001, "False"},
    {0x00000002, "Unknown result code"},
    {0x8000004E, "Unknown result code"},
    {0x8000006E, "Reparse Points Prohibited"},
    {0x80000313, "DateTime syntax error"},
    {0x80010118, "System shutdown in progress"},
    {0x00010100, "Unknown result code"},
    {0xFFFFFFFF, "Unknown result code"},
};

TEST(ResultCodeTest, OnlyNumbersWithARowHaveAText) {
    for (const TextCase& row : kTextCases) EXPECT_EQ(ilk::ResultText(ilk::MakeResult(row.code)), row.text) << row.code;
}

struct ErrorCase {
    std::uint32_t error;
    std::uint32_t code;
};
constexpr ErrorCase kErrorCases[] = {
    {2, 0x80010102},
    {4, 0x80070004},
    {267, 0x80010103},
    {14001, 0x80010108},
    {65536, 0},   // a status that is no failure
    {0x80070002, 0x80010102},
    {0x80070099, 0x80070099},
    {0xF0070005, 0x80000045},   // the four bits beside the sign aren't looked at
    {0xC0000005, 0x80010100},
};

TEST(ResultCodeTest, SystemErrorsBecomeCodes) {
    for (const ErrorCase& row : kErrorCases) {
        EXPECT_EQ(ilk::ResultFromPlatformError(row.error), ilk::MakeResult(row.code)) << row.error;
    }
}

TEST(ResultCodeTest, CodesChangeOnTheirWayToTheHostAndBack) {
    EXPECT_EQ(ilk::ToHostResult(ilk::ResultPathNotFound), kernel::kNoDocument);
    EXPECT_EQ(ilk::ToHostResult(ilk::ResultFalse), 3);
    EXPECT_EQ(ilk::ToHostResult(ilk::ResultSharingViolation), ilk::ResultSharingViolation);
    EXPECT_EQ(ilk::FromHostResult(2), ilk::ResultOk);
    EXPECT_EQ(ilk::FromHostResult(3), ilk::ResultFalse);
    EXPECT_EQ(ilk::FromHostResult(kernel::kNoSuchEntry), ilk::ResultNotFound);
    EXPECT_EQ(ilk::FromHostResult(kernel::kBadDocument), kernel::kBadDocument);
}

}   // namespace
