// Reads the headers and the debug entry of a loaded PE image.

#include <component/ilk/error/image.h>

#include <component/ilk/rtl/format.h>
#include <component/platform/hexadecimal.h>

#include <cstring>

namespace ilk {
namespace {

constexpr std::uint16_t kDosSignature = 0x5A4D;
constexpr std::uint32_t kPeSignature = 0x4550;
constexpr std::uint16_t kPe32Magic = 0x10B;

/// Where the image stores the offset of its PE header.
constexpr std::size_t kHeaderPointerOffset = 60;

/// Offsets in the PE header: magic number of the optional header, size of the image, number of data directories, and
/// the data directories.
constexpr std::size_t kMagicOffset = 24;
constexpr std::size_t kImageSizeOffset = kMagicOffset + 56;
constexpr std::size_t kDirectoryCountOffset = kMagicOffset + 92;
constexpr std::size_t kDirectoriesOffset = kMagicOffset + 96;
constexpr std::size_t kDirectoryBytes = 8;   // address and size
constexpr std::uint32_t kDebugDirectory = 6;

/// Size of an entry of the debug directory, and offsets in it: size and address of its data.
constexpr std::uint32_t kDebugEntryBytes = 28;
constexpr std::size_t kDataSizeOffset = 16;
constexpr std::size_t kDataAddressOffset = 20;

/// The data of a debug entry: a signature, a 16-byte identifier and an age.
constexpr std::string_view kIdentitySignature = "RSDS";
constexpr std::size_t kIdentifierOffset = 4;
constexpr std::size_t kAgeOffset = 20;
constexpr std::uint32_t kIdentityBytes = 28;

/// Reads the number at `offset`. Returns false if it doesn't lie wholly in `bytes`.
template <class Number>
bool ReadAt(std::span<const std::byte> bytes, std::size_t offset, Number& value) {
    if (offset > bytes.size() || bytes.size() - offset < sizeof(Number)) return false;
    std::memcpy(&value, bytes.data() + offset, sizeof(Number));
    return true;
}

template <class Number>
bool HasAt(std::span<const std::byte> bytes, std::size_t offset, Number expected) {
    Number value;
    return ReadAt(bytes, offset, value) && value == expected;
}

/// Returns the bytes of `image` from its PE header on; empty if the headers aren't those of a 32-bit image.
std::span<const std::byte> FindHeader(std::span<const std::byte> image) {
    std::uint32_t offset = 0;
    if (!HasAt(image, 0, kDosSignature) || !ReadAt(image, kHeaderPointerOffset, offset) || offset > image.size())
        return {};
    const std::span<const std::byte> header = image.subspan(offset);
    return HasAt(header, 0, kPeSignature) && HasAt(header, kMagicOffset, kPe32Magic) ? header
                                                                                     : std::span<const std::byte>();
}

/// Returns the `sizeBytes` bytes at `address`, an offset in the image; empty if they aren't all in the image.
std::span<const std::byte> Slice(std::span<const std::byte> image, std::uint32_t address, std::uint32_t sizeBytes) {
    if (address > image.size() || image.size() - address < sizeBytes) return {};
    return image.subspan(address, sizeBytes);
}

/// Appends a 16-byte identifier in its canonical form, 8-4-4-4-12 hexadecimal digits. Its first three groups are
/// numbers stored lowest byte first; the other bytes are printed in order.
void AppendIdentifier(std::span<const std::byte> identifier, basic_string_t<char>& text) {
    constexpr int kDash = -1;
    constexpr int kPrintedBytes[] = {3, 2, 1, 0, kDash, 5, 4, kDash, 7, 6, kDash, 8, 9, kDash, 10, 11, 12, 13, 14, 15};
    for (const int index : kPrintedBytes) {
        if (index == kDash) {
            text.append('-');
            continue;
        }
        const auto byte = static_cast<unsigned>(identifier[static_cast<std::size_t>(index)]);
        text.append(platform::kHexDigits[byte >> 4]).append(platform::kHexDigits[byte & 0xF]);
    }
}

}   // namespace

ResultCode ReadImageSize(std::span<const std::byte> head, std::uint32_t& sizeBytes) {
    return ReadAt(FindHeader(head), kImageSizeOffset, sizeBytes) ? ResultOk : ResultInvalidSignature;
}

ResultCode ReadDebugIdentity(std::span<const std::byte> image, basic_string_t<char>& id) {
    const std::span<const std::byte> header = FindHeader(image);
    std::uint32_t directories = 0;
    if (!ReadAt(header, kDirectoryCountOffset, directories)) return ResultInvalidSignature;
    if (directories <= kDebugDirectory) return ResultOk;

    constexpr std::size_t kDebugDirectoryOffset = kDirectoriesOffset + kDebugDirectory * kDirectoryBytes;
    std::uint32_t address = 0, sizeBytes = 0;
    if (!ReadAt(header, kDebugDirectoryOffset, address) || !ReadAt(header, kDebugDirectoryOffset + 4, sizeBytes))
        return ResultInvalidSize;
    if (sizeBytes < kDebugEntryBytes) return ResultInvalidSize;
    const std::span<const std::byte> entry = Slice(image, address, kDebugEntryBytes);
    if (!ReadAt(entry, kDataAddressOffset, address) || !ReadAt(entry, kDataSizeOffset, sizeBytes))
        return ResultInvalidSize;
    if (sizeBytes < kIdentityBytes) return ResultInvalidSize;
    const std::span<const std::byte> data = Slice(image, address, kIdentityBytes);
    std::uint32_t age = 0;
    if (!ReadAt(data, kAgeOffset, age)) return ResultInvalidSize;
    if (std::memcmp(data.data(), kIdentitySignature.data(), kIdentitySignature.size()) != 0)
        return ResultInvalidSignature;

    AppendIdentifier(data.subspan(kIdentifierOffset), id);
    id.append(',');
    Print(id, {}, age);
    return ResultOk;
}

}   // namespace ilk
