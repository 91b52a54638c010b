#include <component/ilk/error/result_code.h>

#include <gtest/gtest.h>

namespace {

/// FNV-1a over the texts of all library and system codes with the numbers between them, a line each.
TEST(ResultCodeTest, EveryCodeHasItsText) {
    std::uint32_t hash = 0x811C9DC5;
    for (const auto& [first, last] : {std::pair(0u, 3u), {0x80000000, 0x800003FF}, {0x80010100, 0x8001011F}}) {
        for (std::uint32_t code = first; code <= last; ++code) {
            const std::string line = std::string(ilk::ResultText(ilk::MakeResult(code))) + '\n';
            for (const char c : line) hash = (hash ^ static_cast<std::uint8_t>(c)) * 16777619;
        }
    }
    EXPECT_EQ(hash, 0xB8EFF755);
    for (const std::uint32_t code : {0x00010100u, 0x80070002u, 0xFFFFFFFFu}) {
        EXPECT_EQ(ilk::ResultText(ilk::MakeResult(code)), "Unknown result code") << code;
    }
}

struct ErrorCase {
    std::uint32_t error, code;
};
// clang-format off
constexpr ErrorCase kErrorCases[] = {
    {0, 0},              {1, 0x80000042},    {2, 0x80010102},    {3, 0x80010103},    {4, 0x80070004},    {5, 0x80000045},
    {6, 0x80010101},     {8, 0x80000041},    {21, 0x80000063},   {24, 0x8000005C},   {31, 0x8000004B},   {32, 0x80010104},
    {33, 0x80010104},    {50, 0x80000042},   {53, 0x80010103},   {80, 0x80010105},   {87, 0x80000046},   {111, 0x80000044},
    {112, 0x80000062},   {122, 0x80000044},  {123, 0x80010109},  {126, 0x80010112},  {127, 0x80010107},  {160, 0x80000046},
    {183, 0x80010105},   {193, 0x80010117},  {234, 0x80000044},  {267, 0x80010103},  {393, 0x80010114},  {637, 0x80010113},
    {995, 0x80000051},   {1168, 0x8000004C}, {1247, 0x80000067}, {1347, 0x80010110}, {1413, 0x8000005E}, {1450, 0x8000006C},
    {1460, 0x80000221},  {1630, 0x8000005D}, {14001, 0x80010108}, {65535, 0x8007FFFF},
    {65536, 0},   // a status that isn't a failure
    {0x80070002, 0x80010102}, {0x80070099, 0x80070099}, {0xC0000005, 0x80010100},
    {0xF0070005, 0x80000045},   // bits 28 to 30 are ignored
};
// clang-format on

TEST(ResultCodeTest, SystemErrorsBecomeCodes) {
    for (const ErrorCase& row : kErrorCases) {
        EXPECT_EQ(ilk::ResultFromPlatformError(row.error), ilk::MakeResult(row.code)) << row.error;
    }
}

TEST(ResultCodeTest, CodesAreTranslatedToTheHostsAndBack) {
    // clang-format off
    constexpr ErrorCase kToHost[] = {
        {0x80010102, 0x800000C5}, {0x80010103, 0x800000C5}, {0x8000004C, 0x800000C5}, {0x80010105, 0x800000D1},
        {0x8000006B, 0x800000C2}, {1, 3}, {2, 2}, {0x80010104, 0x80010104}};
    constexpr ErrorCase kFromHost[] = {
        {1, 0}, {2, 0}, {3, 1}, {0x800000C5, 0x8000004C}, {0x8000D002, 0x8000004C}, {0x800000C2, 0x8000006B},
        {0x800000D1, 0x80010105}, {0x800000C0, 0x800000C0}};
    // clang-format on
    for (const auto& [a, b] : kToHost) EXPECT_EQ(ilk::ToHostResult(ilk::MakeResult(a)), ilk::MakeResult(b)) << a;
    for (const auto& [a, b] : kFromHost) EXPECT_EQ(ilk::FromHostResult(ilk::MakeResult(a)), ilk::MakeResult(b)) << a;
}

}   // namespace
