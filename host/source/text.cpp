// Texts in UTF-8 and UTF-16 for programs, and the import into the host's strings.

#include <host/text.h>

#include <host/kernel.h>

#include <component/platform/unicode.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace host {
namespace {

constexpr std::uint32_t kCodePageUtf8 = 65001;
constexpr std::uint32_t kCodePageDefault = 0;   // UTF-8 in this host

/// The control characters of ASCII and of Latin-1.
bool IsControl(char32_t codePoint) { return codePoint < 0x20 || (codePoint >= 0x7F && codePoint < 0xA0); }

/// Copies `source` and a terminator into the string's block, or into a larger new one.
kernel::ResultCode AssignUnits(Memory& memory, kernel::HostString& text, std::u16string_view source) {
    const auto size = static_cast<std::uint32_t>(source.size());
    if (text.text == nullptr || text.capacity < size) {
        void* block = nullptr;
        const kernel::ResultCode code = memory.Allocate(&block, (size + 1) * sizeof(char16_t));
        if (kernel::IsFailure(code)) return code;
        memory.Free(text.text);
        text.text = static_cast<char16_t*>(block);
        text.capacity = size;
    }
    std::copy(source.begin(), source.end(), text.text);
    text.text[size] = u'\0';
    text.size = size;
    return kernel::kDone;
}

}   // namespace

std::string Counted(std::uint64_t count, std::string_view noun) {
    return std::to_string(count).append(" ").append(noun).append(count == 1 ? "" : "s");
}

std::string ToUtf8(std::u16string_view text) {
    std::string result;
    while (!text.empty()) {
        char bytes[4];
        result.append(bytes, platform::WriteUtf8(platform::ReadUtf16(text, platform::Malformed::Replace), bytes));
    }
    return result;
}

std::u16string ToUtf16(std::string_view text) {
    std::u16string result;
    while (!text.empty()) {
        char16_t units[2];
        result.append(units, platform::WriteUtf16(platform::ReadUtf8(text, platform::Malformed::Replace), units));
    }
    return result;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        if (platform::ReadUtf8(text, platform::Malformed::Reject) == platform::kNoCodePoint) return false;
    }
    return true;
}

std::size_t PrintableLength(std::string_view text) {
    std::string_view rest = text;
    const char32_t codePoint = platform::ReadUtf8(rest, platform::Malformed::Reject);
    return codePoint == platform::kNoCodePoint || IsControl(codePoint) ? 0 : text.size() - rest.size();
}

std::string Printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = PrintableLength(text);
        if (length == 0) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned char>(text[0]));
            result += escape;
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result;
}

kernel::ResultCode ImportText(Memory& memory, kernel::HostString* text, std::uint32_t from, std::uint32_t count,
                              const void* source, std::uint32_t sizeBytes, std::uint32_t codePage) {
    if (text == nullptr || source == nullptr || from != 0 || count != kernel::kWholeText)
        return kernel::kInvalidArgument;
    std::u16string units;
    try {
        if (codePage == kernel::kCodePageUtf16) {
            if (sizeBytes % sizeof(char16_t) != 0) return kernel::kInvalidArgument;
            units.resize(sizeBytes / sizeof(char16_t));
            std::memcpy(units.data(), source, sizeBytes);   // `source` needs no alignment
        } else if (codePage == kCodePageUtf8 || codePage == kCodePageDefault) {
            units = ToUtf16({static_cast<const char*>(source), sizeBytes});
        } else {
            return kNotSupported;
        }
    } catch (const std::bad_alloc&) {
        return kernel::kOutOfMemory;
    }
    return AssignUnits(memory, *text, std::u16string_view(units).substr(0, units.find(u'\0')));
}

Text::~Text() { kernel.HostMemory().Free(string.text); }

kernel::ResultCode Text::Set(std::u16string_view text) {
    return ImportText(kernel.HostMemory(), &string, 0, kernel::kWholeText, text.data(),
                      static_cast<std::uint32_t>(text.size() * sizeof(char16_t)), kernel::kCodePageUtf16);
}

}   // namespace host
