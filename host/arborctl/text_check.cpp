#include "text_check.h"

#include <host/result_text.h>

#include <algorithm>
#include <charconv>

namespace arborctl {
namespace {

constexpr std::string_view kCSpace = " \t\n\v\f\r";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";
constexpr std::string_view kDecimalDigits = "0123456789";

bool ConsistsOf(std::string_view text, std::string_view bytes) { return text.find_first_not_of(bytes) == text.npos; }

std::string_view WithoutSpaceBefore(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(kCSpace), text.size()));
}

/// The number of a hexadecimal text in decimal digits.
std::string DecimalOf(std::string_view digits) {
    if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
    std::uint64_t number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    return std::to_string(number);
}

/// True if `text`, which an integer took, is the number `shown`.
bool IsSameInteger(std::string_view text, std::string_view shown) {
    if (text.empty()) return shown == "0";
    text = WithoutSpaceBefore(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    std::string digits(text);
    if (ConsistsOf(text, kDecimalDigits)) {
        digits.erase(0, std::min(digits.find_first_not_of('0'), digits.size() - 1));
    } else {
        digits = DecimalOf(text);
    }
    return (negative && digits != "0" ? '-' + digits : digits) == shown;
}

/// True if all of `text`, which a truth value took, is one.
bool IsWholeTruthValue(std::string_view text) {
    const std::string_view token = WithoutSpaceBefore(text);
    for (const std::string_view word : {"true", "false"}) {
        if (token.starts_with(word) && ConsistsOf(token.substr(word.size()), kCSpace)) return true;
    }
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    return ConsistsOf(text.substr(hexadecimal ? 2 : 0), hexadecimal ? kHexDigits : kDecimalDigits);
}

/// True if all of `text` is one number.
bool IsWholeDouble(std::string_view text) {
    text = WithoutSpaceBefore(text);
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal) text.remove_prefix(2);
    double number = 0;
    const char* const last = text.data() + text.size();
    const auto [stop, error] =
        std::from_chars(text.data(), last, number, hexadecimal ? std::chars_format::hex : std::chars_format::general);
    return error != std::errc::invalid_argument && ConsistsOf({stop, static_cast<std::size_t>(last - stop)}, kCSpace);
}

bool IsSameText(kernel::TypeCode type, const std::string& text, const std::string& shown) {
    if (type == kernel::tBOOL) return IsWholeTruthValue(text);
    if (type == kernel::tDOUBLE) return IsWholeDouble(text);
    if (type == kernel::tCHAR) return text.size() <= 1;
    return IsSameInteger(text, shown);
}

/// Decimal digits so few that every type of the width holds their number: most numbers need no question to the store.
bool IsShortNumber(const kernel::ValueTypeRow& row, const std::string& text) {
    if (row.type == kernel::tBOOL) return text == "0" || text == "1";
    if (row.type == kernel::tCHAR) return text.size() <= 1;
    if (row.type == kernel::tDOUBLE || text.empty()) return false;
    constexpr std::size_t kDigitsOfEightBytes = 18;
    const std::size_t digits = row.width == 8 ? kDigitsOfEightBytes : std::size_t{2} * row.width;
    return text.size() <= digits && ConsistsOf(text, kDecimalDigits);
}

TextCheck::Verdict Found(FindingKind kind, std::string text) { return {false, kind, std::move(text)}; }

TextCheck::Verdict CheckWideText(const std::string& text) {
    const bool hexadecimal = text.size() % 2 == 0 && ConsistsOf(text, kHexDigits);
    return Found(FindingKind::Changed,
                 hexadecimal ? "is saved as a tSTRING" : "isn't hexadecimal: it is read as an empty text");
}

}   // namespace

std::string Excerpt(const std::string& text) {
    constexpr std::size_t kMaxBytes = 40;
    return Quoted(text.size() > kMaxBytes ? text.substr(0, kMaxBytes) + "..." : text);
}

TextCheck::Verdict TextCheck::Check(const kernel::ValueTypeRow& row, const std::string& text) const {
    switch (row.type) {
        case kernel::tSTRING:
            return {};
        case kernel::tWSTRING:
            return CheckWideText(text);
        case kernel::tBINARY:
        case kernel::tPTR:
            return {.refused = text.size() % 2 != 0 || !ConsistsOf(text, kHexDigits)};
        case kernel::tVOID:
        case kernel::tFUNC_PTR:
            return text.empty() ? Verdict{}
                                : Found(FindingKind::Dropped, "holds no text: " + Excerpt(text) + " is dropped");
        case kernel::tWCHAR:
            return {.refused = true};
        default:
            return IsShortNumber(row, text) ? Verdict{} : CheckScalar(row, text);
    }
}

TextCheck::Verdict TextCheck::CheckScalar(const kernel::ValueTypeRow& row, const std::string& text) const {
    const std::optional<arbor::Datum> loaded = Take(row, text);
    if (!loaded) return {.refused = true};
    const arbor::Result<std::string> shown = scratch.Root().Get<std::string>(std::string(row.name));
    if (!shown) return Found(FindingKind::SaveFails, "can't be saved: " + host::Describe(shown.Code()));
    const std::optional<arbor::Datum> reloaded = Take(row, *shown);
    if (!reloaded) return Found(FindingKind::ReloadFails, "is saved as " + *shown + ", which can't be loaded");
    if (!IsSameText(row.type, text, *shown)) {
        return Found(FindingKind::Changed, "has the text " + Excerpt(text) + ", which is read as " + Excerpt(*shown));
    }
    if (loaded->bytes != reloaded->bytes) {
        return Found(FindingKind::Changed, "has the text " + Excerpt(text) + ", which is saved as " + Excerpt(*shown));
    }
    return {};
}

std::optional<arbor::Datum> TextCheck::Take(const kernel::ValueTypeRow& row, const std::string& text) const {
    const std::string name(row.name);
    const arbor::Key values = scratch.Root();
    Demand(values.Set(name, arbor::Datum{row.type, std::string(row.width, '\0')}), name);
    const arbor::Status taken = values.Set(name, text);
    if (taken.Code() == kernel::kInvalidArgument) return std::nullopt;
    Demand(taken, name);
    return Demand(values.Read(name, row.type), name);
}

}   // namespace arborctl
