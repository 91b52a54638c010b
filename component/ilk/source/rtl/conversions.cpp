// Conversions between the locale's encoding, UTF-16 and UTF-8. Each one measures first and then writes.

#include <component/ilk/rtl/conversions.h>

#include <component/platform/unicode.h>

#include <climits>
#include <cwchar>
#include <typeinfo>

namespace ilk {
namespace {

/// Calls `visit` with each code point of `source`, which is in the locale's encoding. Returns false and stops at bytes
/// that are invalid or incomplete.
template <class Visit>
bool ForEachNarrow(std::string_view source, Visit visit) {
    while (!source.empty()) {
        std::mbstate_t state{};
        wchar_t wide = 0;
        const std::size_t length = std::mbrtowc(&wide, source.data(), source.size(), &state);
        if (length > source.size()) return false;   // the error results are above any length
        const auto point = static_cast<char32_t>(wide);
        if (point > platform::kMaxCodePoint) return false;
        visit(point);
        source.remove_prefix(length != 0 ? length : 1);   // `mbrtowc` returns 0 for a NUL
    }
    return true;
}

/// Calls `visit` with each code point of `source`, which is UTF-16; an unpaired surrogate counts as one.
template <class Visit>
void ForEachWide(std::u16string_view source, Visit visit) {
    while (!source.empty()) visit(platform::ReadUtf16(source, platform::Malformed::Keep));
}

/// Resizes `target` to `offset + length`; `ResultOutOfMemory` if that is above `kMaxSize` or there is no memory.
template <class char_type>
ResultCode ResizeTo(basic_string_t<char_type>& target, std::size_t offset, std::uint64_t length) noexcept {
    constexpr std::uint64_t kMaxSize = basic_string_t<char_type>::kMaxSize;
    if (length > kMaxSize || offset > kMaxSize - length) return ResultOutOfMemory;
    try {
        target.resize(offset + static_cast<std::size_t>(length));
        return ResultOk;
    } catch (...) {
        return ResultOutOfMemory;
    }
}

}   // namespace

ResultCode Widen(std::string_view source, basic_string_t<char16_t>& target, std::size_t offset) {
    std::uint64_t length = 0;
    if (!ForEachNarrow(source, [&](char32_t point) { length += platform::Utf16Length(point); }))
        return ResultInvalidArgument;
    const ResultCode code = ResizeTo(target, offset, length);
    if (IsFailure(code)) return code;
    char16_t* out = target.data() + offset;
    ForEachNarrow(source, [&](char32_t point) {
        // Another thread may have changed the locale since the first pass, so that the second one finds more.
        const auto spare = static_cast<std::size_t>(target.end() - out);
        if (platform::Utf16Length(point) <= spare) out = platform::WriteUtf16(point, out);
    });
    return ResultOk;
}

ResultCode ToUtf8(std::u16string_view source, basic_string_t<char>& target) {
    std::uint64_t length = 0;
    ForEachWide(source, [&](char32_t point) { length += platform::Utf8Length(point); });
    const std::size_t offset = target.size();
    const ResultCode code = ResizeTo(target, offset, length);
    if (IsFailure(code)) return code;
    char* out = target.data() + offset;
    ForEachWide(source, [&](char32_t point) { out = platform::WriteUtf8(point, out); });
    return ResultOk;
}

basic_string_t<char16_t> WideFromNarrow(std::string_view source) {
    basic_string_t<char16_t> wide;
    const ResultCode code = Widen(source, wide, 0);
    if (code == ResultOutOfMemory) ThrowBadAlloc();
    if (IsFailure(code)) throw std::bad_cast();
    return wide;
}

bool NarrowCharacter(char32_t character, char& narrow) noexcept {
    if (character > static_cast<char32_t>(WCHAR_MAX)) return false;
    char bytes[MB_LEN_MAX];
    std::mbstate_t state{};
    if (std::wcrtomb(bytes, static_cast<wchar_t>(character), &state) != 1) return false;
    narrow = bytes[0];
    return true;
}

bool WidenCharacter(char narrow, char16_t& wide) noexcept {
    bool isOneUnit = false;
    const bool isValid = ForEachNarrow(std::string_view(&narrow, 1), [&](char32_t point) {
        isOneUnit = platform::Utf16Length(point) == 1;
        wide = static_cast<char16_t>(point);
    });
    return isValid && isOneUnit;
}

}   // namespace ilk
