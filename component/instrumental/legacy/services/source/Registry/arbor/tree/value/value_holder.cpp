// The storage classes of variable size: byte strings, wide strings and byte blocks.

#include "tree/value/value_holder.h"

#include "tree/value/number_text.h"
#include "tree/value/utf8.h"

#include <algorithm>
#include <array>
#include <string>

namespace arbor::module {
namespace {

using Units = std::char_traits<char16_t>;

constexpr std::uint32_t kMaxBytes = std::numeric_limits<std::uint32_t>::max();

/// Limits a size to 32 bits. No text is truncated: for the maximum plus a terminator `AllocateBlock` fails.
std::uint32_t ClampBytes(std::uint64_t bytes) {
    return bytes < kMaxBytes ? static_cast<std::uint32_t>(bytes) : kMaxBytes;
}

/// Allocates a zeroed block for `bytes` bytes of text and a terminator. An odd number of bytes ends within a unit.
ResultCode AllocateWideBlock(const HostObject* host, std::uint32_t bytes, HostBlock<char16_t>& block) {
    return AllocateBlock(host, bytes, bytes % 2 == 0 ? 2 : 3, block);
}

/// `HexDigitValue` of each byte.
constexpr std::array<std::uint8_t, 256> kDigitValues = [] {
    std::array<std::uint8_t, 256> values{};
    for (unsigned byte = 0; byte < values.size(); ++byte) {
        values[byte] = static_cast<std::uint8_t>(platform::HexDigitValue(static_cast<char>(byte)));
    }
    return values;
}();

unsigned HexDigit(char digit) { return kDigitValues[static_cast<unsigned char>(digit)]; }

/// Allocates a block and fills it with the bytes that `text` contains as pairs of hexadecimal digits. Returns
/// `kInvalidArgument` for any other text.
ResultCode ParseHex(const HostObject* host, const char* text, HostBlock<std::uint8_t>& block, std::uint32_t& size) {
    const std::uint32_t length = ClampBytes(std::strlen(text));
    if (length % 2 != 0) return kInvalidArgument;
    const ResultCode code = AllocateBlock(host, length / 2, 0, block);
    if (IsFailure(code)) return code;
    size = length / 2;
    unsigned allDigits = 0;   // combined by "or": above 15 if any is
    std::uint8_t* target = block.get();
    for (std::uint32_t i = 0; i < size; ++i) {
        const unsigned high = HexDigit(text[std::size_t{2} * i]);
        const unsigned low = HexDigit(text[std::size_t{2} * i + 1]);
        allDigits |= high | low;
        target[i] = static_cast<std::uint8_t>(high << 4 | low);
    }
    return allDigits < 16 ? kDone : kInvalidArgument;
}

void PrintHex(const std::uint8_t* data, std::uint32_t size, char* target) {
    for (std::uint32_t i = 0; i < size; ++i) {
        *target++ = platform::kHexDigits[data[i] >> 4];
        *target++ = platform::kHexDigits[data[i] & 0x0F];
    }
}

}   // namespace

ResultCode ValueHolder<ByteString>::Get(void* dst, std::uint32_t cap, std::uint32_t* size) const {
    if (text == nullptr || *text == '\0') return CopyBytesOut(nullptr, 0, dst, cap, size);
    return CopyBytesOut(text, std::uint64_t{std::strlen(text)} + 1, dst, cap, size);
}

ResultCode ValueHolder<ByteString>::Set(const void* data, std::uint32_t size) {
    if (data == nullptr) return kInvalidArgument;
    HostBlock<char> block;
    const ResultCode code = AllocateBlock(host, size, 1, block);
    if (IsFailure(code)) return code;
    std::memcpy(block.get(), data, size);
    block[size] = '\0';
    if (text != nullptr && std::strcmp(text, block.get()) == 0) return ResultUnchanged;
    HostFree(host, text);
    text = block.release();
    return kDone;
}

ResultCode TextValue<ByteString>::FromText(const char* source) {
    return Set(source, source != nullptr ? ClampBytes(std::strlen(source)) : 0);
}

ResultCode ValueHolder<WideString>::Get(void* dst, std::uint32_t cap, std::uint32_t* size) const {
    if (text == nullptr || *text == u'\0') return CopyBytesOut(nullptr, 0, dst, cap, size);
    return CopyBytesOut(text, (std::uint64_t{Units::length(text)} + 1) * sizeof(char16_t), dst, cap, size);
}

ResultCode ValueHolder<WideString>::Set(const void* source, std::uint32_t size) {
    if (source == nullptr) return kInvalidArgument;
    HostBlock<char16_t> block;
    const ResultCode code = AllocateWideBlock(host, size, block);
    if (IsFailure(code)) return code;
    std::memcpy(block.get(), source, size);
    if (text != nullptr) {
        const std::size_t length = Units::length(text);
        if (length == Units::length(block.get()) && Units::compare(text, block.get(), length) == 0)
            return ResultUnchanged;
    }
    Replace(block);
    return kDone;
}

ResultCode ValueHolder<WideString>::SetFromUtf8(const char* source) {
    const std::size_t length = std::strlen(source);
    HostBlock<char16_t> block;
    const ResultCode code = AllocateWideBlock(host, ClampBytes(std::uint64_t{length} * sizeof(char16_t)), block);
    if (IsFailure(code)) return code;
    const std::int32_t count = DecodeUtf8(source, static_cast<std::uint32_t>(length), block.get(), kNoLimit);
    block[static_cast<std::size_t>(count)] = u'\0';
    Replace(block);
    return kDone;
}

void ValueHolder<WideString>::Replace(HostBlock<char16_t>& block) {
    HostFree(host, text);
    text = block.release();
}

ResultCode TextValue<WideString>::ToText(void* dst, std::uint32_t cap, std::uint32_t* size) const {
    if (text == nullptr || *text == u'\0') return CopyBytesOut(nullptr, 0, dst, cap, size);
    const auto length = static_cast<std::uint32_t>(Units::length(text));
    return CopyOut(Utf8Length(text, length) + 1, dst, cap, size,
                   [&](char* target) { *EncodeUtf8(text, length, target) = '\0'; });
}

ResultCode TextValue<WideString>::FromText(const char* source) {
    HostBlock<std::uint8_t> bytes;
    std::uint32_t size = 0;
    const ResultCode parsed = ParseHex(host, source, bytes, size);
    if (IsFailure(parsed) && parsed != kInvalidArgument) return parsed;
    if (IsFailure(parsed)) size = 0;
    HostBlock<char16_t> block;
    const ResultCode code = AllocateWideBlock(host, size, block);
    if (IsFailure(code)) return code;
    if (size != 0) std::memcpy(block.get(), bytes.get(), size);
    Replace(block);
    return kDone;
}

ResultCode ValueHolder<ByteBlock>::Get(void* dst, std::uint32_t cap, std::uint32_t* needed) const {
    return CopyBytesOut(data, size, dst, cap, needed);
}

ResultCode ValueHolder<ByteBlock>::Set(const void* source, std::uint32_t sizeBytes) {
    if (source == nullptr && sizeBytes != 0) return kInvalidArgument;
    if (data != nullptr && sizeBytes == size && size != 0 && std::memcmp(data, source, size) == 0)
        return ResultUnchanged;
    HostBlock<std::uint8_t> block;
    if (sizeBytes != 0) {
        const ResultCode code = AllocateBlock(host, sizeBytes, 0, block);
        if (IsFailure(code)) return code;
        std::memcpy(block.get(), source, sizeBytes);
    }
    Replace(block, sizeBytes);
    return kDone;
}

void ValueHolder<ByteBlock>::Replace(HostBlock<std::uint8_t>& block, std::uint32_t sizeBytes) {
    HostFree(host, data);
    data = block.release();
    size = sizeBytes;
}

ResultCode TextValue<ByteBlock>::ToText(void* dst, std::uint32_t cap, std::uint32_t* needed) const {
    return CopyOut(std::uint64_t{size} * 2 + 1, dst, cap, needed, [&](char* target) { PrintHex(data, size, target); });
}

ResultCode TextValue<ByteBlock>::FromText(const char* source) {
    HostBlock<std::uint8_t> block;
    std::uint32_t length = 0;
    const ResultCode code = ParseHex(host, source, block, length);
    if (IsFailure(code)) return code;
    Replace(block, length);
    return kDone;
}

}   // namespace arbor::module
