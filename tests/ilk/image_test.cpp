#include <component/ilk/error/image.h>

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr std::uint32_t kHeaderAt = 0x80;
constexpr std::uint32_t kDirectoryAt = kHeaderAt + 24 + 96 + 6 * 8;
constexpr std::uint32_t kEntryAt = 0x180;
constexpr std::uint32_t kDataAt = 0x1A0;
constexpr std::uint32_t kImageBytes = kDataAt + 28;   // the identity is at the end of the image

/// A fault in a good image: a 32-bit number at an offset.
struct ImageCase {
    const char* label;
    std::uint32_t offset;
    std::uint32_t value;
    ilk::ResultCode sizeCode;
    ilk::ResultCode identityCode;
    const char* id;
};

constexpr char kGoodId[] = "03020100-0504-0706-0809-0A0B0C0D0EFF,300";

/// In a block of exactly `sizeBytes`, so that a sanitizer reports a read after its end.
std::vector<std::byte> GoodImage(std::uint32_t sizeBytes = kImageBytes) {
    std::byte image[kImageBytes] = {};
    const auto put = [&](std::uint32_t offset, std::uint32_t value) { std::memcpy(image + offset, &value, 4); };
    put(0, 0x5A4D);
    put(60, kHeaderAt);
    put(kHeaderAt, 0x4550);
    put(kHeaderAt + 24, 0x10B);
    put(kHeaderAt + 24 + 56, kImageBytes);
    put(kHeaderAt + 24 + 92, 7);
    put(kDirectoryAt, kEntryAt);
    put(kDirectoryAt + 4, 28);
    put(kEntryAt + 16, 28);
    put(kEntryAt + 20, kDataAt);
    std::memcpy(image + kDataAt, "RSDS\0\1\2\3\4\5\6\7\10\11\12\13\14\15\16\377", 20);
    put(kDataAt + 20, 300);
    return std::vector<std::byte>(image, image + sizeBytes);
}

using namespace ilk;   // the codes

constexpr ImageCase kCases[] = {
    {"no fault", 0, 0x5A4D, ResultOk, ResultOk, kGoodId},
    {"another kind of file", 0, 0x464C457F, ResultInvalidSignature, ResultInvalidSignature, ""},
    {"header after the end", 60, kImageBytes, ResultInvalidSignature, ResultInvalidSignature, ""},
    {"header far after the end", 60, 0xFFFFFFF0, ResultInvalidSignature, ResultInvalidSignature, ""},
    {"wrong header", kHeaderAt, 0x4551, ResultInvalidSignature, ResultInvalidSignature, ""},
    {"an image of 64 bits", kHeaderAt + 24, 0x20B, ResultInvalidSignature, ResultInvalidSignature, ""},
    {"too few directories", kHeaderAt + 24 + 92, 6, ResultOk, ResultOk, ""},
    {"no debug directory", kDirectoryAt + 4, 0, ResultOk, ResultInvalidSize, ""},
    {"a debug directory too short for an entry", kDirectoryAt + 4, 27, ResultOk, ResultInvalidSize, ""},
    {"the directory crosses the end", kDirectoryAt, kImageBytes - 27, ResultOk, ResultInvalidSize, ""},
    {"the directory is far after the end", kDirectoryAt, 0xFFFFFFFF, ResultOk, ResultInvalidSize, ""},
    {"an entry too short for an identity", kEntryAt + 16, 27, ResultOk, ResultInvalidSize, ""},
    {"the identity crosses the end", kEntryAt + 20, kDataAt + 1, ResultOk, ResultInvalidSize, ""},
    {"an identity of another kind", kDataAt, 0x3031424E, ResultOk, ResultInvalidSignature, ""},
};

TEST(ImageTest, HeadersAreReadAndChecked) {
    for (const ImageCase& row : kCases) {
        SCOPED_TRACE(row.label);
        std::vector<std::byte> image = GoodImage();
        std::memcpy(image.data() + row.offset, &row.value, 4);
        std::uint32_t sizeBytes = 0;
        EXPECT_EQ(ReadImageSize(image, sizeBytes), row.sizeCode);
        EXPECT_EQ(sizeBytes, IsSuccess(row.sizeCode) ? kImageBytes : 0);
        basic_string_t<char> id;
        EXPECT_EQ(ReadDebugIdentity(image, id), row.identityCode);
        EXPECT_EQ(id, row.id);
    }
}

TEST(ImageTest, NoTruncatedImageIsReadAfterItsEnd) {
    for (std::uint32_t sizeBytes = 0; sizeBytes < kImageBytes; ++sizeBytes) {
        const std::vector<std::byte> image = GoodImage(sizeBytes);
        basic_string_t<char> id;
        EXPECT_TRUE(IsFailure(ReadDebugIdentity(image, id))) << sizeBytes;
        std::uint32_t read = 0;
        EXPECT_EQ(IsSuccess(ReadImageSize(image, read)), sizeBytes >= kHeaderAt + 24 + 60) << sizeBytes;
    }
}

}   // namespace
