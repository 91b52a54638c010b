// Compares a value's text in the document with the text that the store would save for it.

#include "text_check.h"

#include "ascii.h"

#include <host/result_text.h>

#include <algorithm>
#include <charconv>

namespace arborctl {
namespace {

constexpr std::string_view kCSpace = " \t\n\v\f\r";   // what the C library's number parsers skip

bool ConsistsOf(std::string_view text, std::string_view bytes) { return text.find_first_not_of(bytes) == text.npos; }

std::string_view WithoutLeadingSpace(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(kCSpace), text.size()));
}

/// Converts hexadecimal digits to decimal ones.
std::string HexToDecimal(std::string_view digits) {
    if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
    std::uint64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return std::to_string(number);
}

/// True if `text`, which the store accepts as an integer, is the number `saved`.
bool IsSameInteger(std::string_view text, std::string_view saved) {
    if (text.empty()) return saved == "0";
    text = WithoutLeadingSpace(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::string digits(text);
    if (ConsistsOf(text, kDecimalDigits)) {
        digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    } else {
        digits = HexToDecimal(text);
    }
    return (negative && digits != "0" ? '-' + digits : digits) == saved;
}

/// True if `text`, which the store accepts as a truth value, has nothing after it.
bool IsWholeTruthValue(std::string_view text) {
    const std::string_view token = WithoutLeadingSpace(text);
    for (const std::string_view word : {"true", "false"}) {
        if (token.starts_with(word) && ConsistsOf(token.substr(word.size()), kCSpace)) return true;
    }
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    return ConsistsOf(text.substr(hexadecimal ? 2 : 0), hexadecimal ? platform::kAllHexDigits : kDecimalDigits);
}

/// True if `text` is a floating-point number with nothing but space around it.
bool IsWholeDouble(std::string_view text) {
    text = WithoutLeadingSpace(text);
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) text.remove_prefix(2);
    double number = 0;
    const char* const last = text.data() + text.size();
    const auto [stop, error] =
        std::from_chars(text.data(), last, number, hexadecimal ? std::chars_format::hex : std::chars_format::general);
    return error != std::errc::invalid_argument && ConsistsOf({stop, static_cast<std::size_t>(last - stop)}, kCSpace);
}

/// True if the store reads all of `text`. `saved` is the text that it saves.
bool IsReadWhole(kernel::TypeCode type, const std::string& text, const std::string& saved) {
    if (type == kernel::tBOOL) return IsWholeTruthValue(text);
    if (type == kernel::tDOUBLE) return IsWholeDouble(text);
    if (type == kernel::tCHAR) return text.size() <= 1;
    return IsSameInteger(text, saved);
}

/// True for texts that certainly don't change, such as decimal numbers too short to overflow the type. Most values in
/// documents have such a text and skip the slower conversion in the store.
bool IsCertainlyUnchanged(const kernel::ValueTypeRow& row, const std::string& text) {
    if (row.type == kernel::tBOOL) return text == "0" || text == "1";
    if (row.type == kernel::tCHAR) return text.size() <= 1;
    if (row.type == kernel::tDOUBLE || text.empty()) return false;
    constexpr std::size_t kMaxDigitsIn8Bytes = 18;
    const std::size_t maxDigits = row.width == 8 ? kMaxDigitsIn8Bytes : std::size_t{2} * row.width;
    return text.size() <= maxDigits && ConsistsOf(text, kDecimalDigits);
}

TextCheck::Verdict MakeFinding(FindingKind kind, std::string text) { return {false, kind, std::move(text)}; }

TextCheck::Verdict CheckWideText(const std::string& text) {
    const bool hexadecimal = text.size() % 2 == 0 && ConsistsOf(text, platform::kAllHexDigits);
    return MakeFinding(FindingKind::Changed,
                       hexadecimal ? "is saved as a tSTRING" : "isn't hexadecimal: it is read as an empty text");
}

}   // namespace

std::string Excerpt(const std::string& text) {
    constexpr std::size_t kMaxBytes = 40;
    return Quote(text.size() > kMaxBytes ? text.substr(0, kMaxBytes) + "..." : text);
}

TextCheck::Verdict TextCheck::Check(const kernel::ValueTypeRow& row, const std::string& text) const {
    switch (row.type) {
        case kernel::tSTRING:
            return {};
        case kernel::tWSTRING:
            return CheckWideText(text);
        case kernel::tBINARY:
        case kernel::tPTR:
            return {.isRejected = text.size() % 2 != 0 || !ConsistsOf(text, platform::kAllHexDigits)};
        case kernel::tVOID:
        case kernel::tFUNC_PTR:
            return text.empty() ? Verdict{}
                                : MakeFinding(FindingKind::Dropped, "holds no text: " + Excerpt(text) + " is dropped");
        case kernel::tWCHAR:
            return {.isRejected = true};
        default:
            return IsCertainlyUnchanged(row, text) ? Verdict{} : CheckScalar(row, text);
    }
}

TextCheck::Verdict TextCheck::CheckScalar(const kernel::ValueTypeRow& row, const std::string& text) const {
    const std::optional<arbor::Datum> loaded = StoreAndRead(row, text);
    if (!loaded) return {.isRejected = true};
    const arbor::Result<std::string> saved = scratch.Root().GetLenient<std::string>(std::string(row.name));
    if (!saved) return MakeFinding(FindingKind::SaveFails, "can't be saved: " + host::Describe(saved.Code()));
    const std::optional<arbor::Datum> reloaded = StoreAndRead(row, *saved);
    if (!reloaded) return MakeFinding(FindingKind::ReloadFails, "is saved as " + *saved + ", which can't be loaded");
    if (!IsReadWhole(row.type, text, *saved)) {
        return MakeFinding(FindingKind::Changed,
                           "has the text " + Excerpt(text) + ", which is read as " + Excerpt(*saved));
    }
    if (loaded->bytes != reloaded->bytes) {
        return MakeFinding(FindingKind::Changed,
                           "has the text " + Excerpt(text) + ", which is saved as " + Excerpt(*saved));
    }
    return {};
}

std::optional<arbor::Datum> TextCheck::StoreAndRead(const kernel::ValueTypeRow& row, const std::string& text) const {
    const std::string name(row.name);
    const arbor::Key values = scratch.Root();
    ThrowIfFailed(values.SetLenient(name, arbor::Datum{row.type, std::string(row.width, '\0')}), name);
    const arbor::Status status = values.SetLenient(name, text);
    if (status.Code() == kernel::kInvalidArgument) return std::nullopt;
    ThrowIfFailed(status, name);
    return ValueOrThrow(values.ReadLenient(name, row.type), name);
}

}   // namespace arborctl
