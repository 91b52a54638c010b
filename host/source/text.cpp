// UTF-8 and UTF-16, one character at a time, and the import into the host's strings.

#include <host/text.h>

#include <host/kernel.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace host {
namespace {

constexpr std::uint32_t kCodePageUtf8 = 65001;
constexpr std::uint32_t kCodePageDefault = 0;
constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& text, char32_t codePoint) {
    const auto put = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (codePoint < 0x80) return put(codePoint);
    if (codePoint < 0x800) {
        put(0xC0 | codePoint >> 6);
    } else {
        if (codePoint < 0x10000) {
            put(0xE0 | codePoint >> 12);
        } else {
            put(0xF0 | codePoint >> 18);
            put(0x80 | (codePoint >> 12 & 0x3F));
        }
        put(0x80 | (codePoint >> 6 & 0x3F));
    }
    put(0x80 | (codePoint & 0x3F));
}

void AppendUtf16(std::u16string& text, char32_t codePoint) {
    if (codePoint < 0x10000) {
        text += static_cast<char16_t>(codePoint);
        return;
    }
    text += static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
    text += static_cast<char16_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
}

bool IsHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

struct Decoded {
    char32_t codePoint;
    std::size_t bytes;
};

/// Decodes the first character of `text`, which must not be empty. Returns `kReplacement` and 1 byte if it isn't UTF-8.
Decoded DecodeUtf8(std::string_view text) {
    struct Form {
        unsigned char mask;   // the bits of the first byte that identify the form
        unsigned char lead;   // their value
        std::size_t bytes;
        char32_t min;   // below it a shorter form is required
    };
    static constexpr Form kForms[] = {
        {0x80, 0x00, 1, 0x0},
        {0xE0, 0xC0, 2, 0x80},
        {0xF0, 0xE0, 3, 0x800},
        {0xF8, 0xF0, 4, 0x10000},
    };
    const auto lead = static_cast<unsigned char>(text[0]);
    for (const Form& form : kForms) {
        if ((lead & form.mask) != form.lead) continue;
        if (text.size() < form.bytes) break;
        char32_t codePoint = lead & static_cast<unsigned char>(~form.mask);
        for (std::size_t i = 1; i < form.bytes; ++i) {
            const auto byte = static_cast<unsigned char>(text[i]);
            if ((byte & 0xC0) != 0x80) return {kReplacement, 1};
            codePoint = codePoint << 6 | (byte & 0x3F);
        }
        const bool isSurrogate = codePoint >= 0xD800 && codePoint < 0xE000;
        if (codePoint < form.min || codePoint > 0x10FFFF || isSurrogate) break;
        return {codePoint, form.bytes};
    }
    return {kReplacement, 1};
}

bool IsMalformed(Decoded character) { return character.codePoint == kReplacement && character.bytes == 1; }

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

std::string ToUtf8(std::u16string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t codePoint = text[i];
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (text[++i] - char32_t{0xDC00});
        } else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
            codePoint = kReplacement;
        }
        AppendUtf8(result, codePoint);
    }
    return result;
}

std::u16string ToUtf16(std::string_view text) {
    std::u16string result;
    while (!text.empty()) {
        const Decoded character = DecodeUtf8(text);
        AppendUtf16(result, character.codePoint);
        text.remove_prefix(character.bytes);
    }
    return result;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const Decoded character = DecodeUtf8(text);
        if (IsMalformed(character)) return false;
        text.remove_prefix(character.bytes);
    }
    return true;
}

std::size_t PrintableLength(std::string_view text) {
    const Decoded character = DecodeUtf8(text);
    return IsMalformed(character) || IsControl(character.codePoint) ? 0 : character.bytes;
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
