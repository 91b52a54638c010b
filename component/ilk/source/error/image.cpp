#include <component/ilk/error/image.h>

#include <component/ilk/rtl/format.h>

#include <cstring>

namespace ilk {
namespace {

constexpr std::uint16_t kDosSignature = 0x5A4D;
constexpr std::uint32_t kPeSignature = 0x4550;
constexpr std::uint16_t kPe32Magic = 0x10B;

/// Offsets from the start of the image, from the header that it names there, and in the records of the debug directory.
constexpr std::size_t kHeaderOffsetAt = 60;
constexpr std::size_t kMagicAt = 24;
constexpr std::size_t kImageSizeAt = kMagicAt + 56;
constexpr std::size_t kDirectoryCountAt = kMagicAt + 92;
constexpr std::size_t kDirectoriesAt = kMagicAt + 96;
constexpr std::size_t kDirectoryBytes = 8;
constexpr std::uint32_t kDebugDirectory = 6;
constexpr std::uint32_t kDebugEntryBytes = 28;
constexpr std::size_t kDataSizeAt = 16;
constexpr std::size_t kDataAddressAt = 20;

constexpr std::string_view kIdentityMark = "RSDS";
constexpr std::size_t kIdentifierAt = 4;
constexpr std::size_t kAgeAt = 20;
constexpr std::uint32_t kIdentityBytes = 28;

/// False if `value` doesn't lie wholly in `bytes`.
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

/// The bytes from the image's header on; empty if there is none of the right kind.
std::span<const std::byte> HeaderOf(std::span<const std::byte> image) {
    std::uint32_t offset = 0;
    if (!HasAt(image, 0, kDosSignature) || !ReadAt(image, kHeaderOffsetAt, offset) || offset > image.size()) return {};
    const std::span<const std::byte> header = image.subspan(offset);
    return HasAt(header, 0, kPeSignature) && HasAt(header, kMagicAt, kPe32Magic) ? header
                                                                                 : std::span<const std::byte>();
}

/// The `sizeBytes` bytes at `address`; empty if they aren't all in the image.
std::span<const std::byte> PartOf(std::span<const std::byte> image, std::uint32_t address, std::uint32_t sizeBytes) {
    if (address > image.size() || image.size() - address < sizeBytes) return {};
    return image.subspan(address, sizeBytes);
}

/// The canonical text of a 16-byte identifier: three numbers, lowest byte first in memory, and eight bytes as they
/// stand.
void AppendIdentifier(std::span<const std::byte> identifier, basic_string_t<char>& text) {
    constexpr int kDash = -1;
    constexpr int kOrder[] = {3, 2, 1, 0, kDash, 5, 4, kDash, 7, 6, kDash, 8, 9, kDash, 10, 11, 12, 13, 14, 15};
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const int index : kOrder) {
        if (index == kDash) {
            text.append('-');
            continue;
        }
        const auto byte = static_cast<unsigned>(identifier[static_cast<std::size_t>(index)]);
        text.append(kDigits[byte >> 4]).append(kDigits[byte & 0xF]);
    }
}

}   // namespace

ResultCode ReadImageSize(std::span<const std::byte> head, std::uint32_t& sizeBytes) {
    return ReadAt(HeaderOf(head), kImageSizeAt, sizeBytes) ? ResultOk : ResultInvalidSignature;
}

ResultCode ReadDebugIdentity(std::span<const std::byte> image, basic_string_t<char>& id) {
    const std::span<const std::byte> header = HeaderOf(image);
    std::uint32_t directories = 0;
    if (!ReadAt(header, kDirectoryCountAt, directories)) return ResultInvalidSignature;
    if (directories <= kDebugDirectory) return ResultOk;

    constexpr std::size_t kDirectoryAt = kDirectoriesAt + kDebugDirectory * kDirectoryBytes;
    std::uint32_t address = 0, sizeBytes = 0;
    if (!ReadAt(header, kDirectoryAt, address) || !ReadAt(header, kDirectoryAt + 4, sizeBytes))
        return ResultInvalidSize;
    if (sizeBytes < kDebugEntryBytes) return ResultInvalidSize;
    const std::span<const std::byte> entry = PartOf(image, address, kDebugEntryBytes);
    if (!ReadAt(entry, kDataAddressAt, address) || !ReadAt(entry, kDataSizeAt, sizeBytes)) return ResultInvalidSize;
    if (sizeBytes < kIdentityBytes) return ResultInvalidSize;
    const std::span<const std::byte> data = PartOf(image, address, kIdentityBytes);
    std::uint32_t age = 0;
    if (!ReadAt(data, kAgeAt, age)) return ResultInvalidSize;
    if (std::memcmp(data.data(), kIdentityMark.data(), kIdentityMark.size()) != 0) return ResultInvalidSignature;

    AppendIdentifier(data.subspan(kIdentifierAt), id);
    id.append(',');
    Print(id, {}, age);
    return ResultOk;
}

}   // namespace ilk
