/// The storage classes of fixed size: the C++ type of the datum, and its conversion to and from text. `Value` states
/// the contract of the two conversions.
#pragma once

#include "tree/value/buffer_contract.h"
#include "tree/value/number_text.h"

#include <charconv>
#include <string_view>

namespace arbor::module {

/// Size of the buffer in which a number is printed. A double whose text is longer than this less 1 has no text form.
inline constexpr std::size_t kScratchBytes = 256;

/// Types of 8 and 16 bits are parsed as 32-bit numbers: above the type's range they are refused, below it they wrap.
template <class Int>
struct IntegerStorage {
    using Type = Int;
    using Wide32 = std::conditional_t<std::is_signed_v<Int>, std::int32_t, std::uint32_t>;
    using Number = std::conditional_t<sizeof(Int) == 8, Int, Wide32>;

    static ResultCode ToText(Int datum, void* dst, std::uint32_t cap, std::uint32_t* size) {
        char scratch[kScratchBytes];
        const char* const end = std::to_chars(scratch, scratch + sizeof scratch, static_cast<Number>(datum)).ptr;
        return CopyBytesOut(scratch, static_cast<std::uint64_t>(end - scratch), dst, cap, size);
    }

    /// Decimal if the whole text is a decimal number, else hexadecimal. A hexadecimal number equal to a limit of the
    /// range is refused, since it may be an overflow.
    static ResultCode FromText(const char* text, Int& datum) {
        if (text == nullptr) return kInvalidArgument;
        ParsedInteger<Number> parsed = ParseInteger<10, Number>(text);
        if (*parsed.stop != '\0') {
            parsed = ParseInteger<16, Number>(text);
            if (*parsed.stop != '\0' || IsEndOfRange(parsed.value)) return kInvalidArgument;
        }
        if (parsed.value > static_cast<Number>(std::numeric_limits<Int>::max())) return kInvalidArgument;
        datum = static_cast<Int>(parsed.value);
        return kDone;
    }

private:
    static constexpr bool IsEndOfRange(Number number) {
        if (number == std::numeric_limits<Number>::max()) return true;
        return std::is_signed_v<Number> && number == std::numeric_limits<Number>::min();
    }
};

using Signed8 = IntegerStorage<std::int8_t>;
using Unsigned8 = IntegerStorage<std::uint8_t>;
using Signed16 = IntegerStorage<std::int16_t>;
using Unsigned16 = IntegerStorage<std::uint16_t>;
using Signed32 = IntegerStorage<std::int32_t>;
using Unsigned32 = IntegerStorage<std::uint32_t>;
using SignedLong = Signed32;   // a `long` of the store has 32 bits on every platform
using UnsignedLong = Unsigned32;
using Signed64 = IntegerStorage<std::int64_t>;
using Unsigned64 = IntegerStorage<std::uint64_t>;
using DateTime = Unsigned64;   // stored and printed as a plain number

struct FloatingPoint {
    using Type = double;

    /// A number too long to print is `kBufferTooSmall` with `*size` 0: a larger buffer doesn't help.
    static ResultCode ToText(double datum, void* dst, std::uint32_t cap, std::uint32_t* size) {
        char scratch[kScratchBytes];
        const char* const end = PrintDouble(scratch, scratch + sizeof scratch - 1, datum);
        if (end == nullptr) {
            if (size != nullptr) *size = 0;
            return kBufferTooSmall;
        }
        return CopyBytesOut(scratch, static_cast<std::uint64_t>(end - scratch), dst, cap, size);
    }

    /// Only a text of nothing but whitespace is refused. A text without a number succeeds and leaves the datum
    /// unchanged.
    static ResultCode FromText(const char* text, double& datum) {
        if (text == nullptr) return kInvalidArgument;
        return ScanDouble(text, datum) == ScanResult::Empty ? kInvalidArgument : kDone;
    }
};

/// A 32-bit number with the text form 0 or 1, which includes a terminator, unlike that of other numbers. Reads "true",
/// "false" and numbers.
struct TruthValue {
    using Type = std::uint32_t;

    static ResultCode ToText(std::uint32_t datum, void* dst, std::uint32_t cap, std::uint32_t* size) {
        return CopyBytesOut(datum != 0 ? "1" : "0", 2, dst, cap, size);
    }

    static ResultCode FromText(const char* text, std::uint32_t& datum) {
        if (text == nullptr) return kInvalidArgument;
        const std::string_view word = FirstWord(text);
        if (word == "true" || word == "false") {
            datum = word == "true" ? 1 : 0;
            return kDone;
        }
        if (*text < '0' || *text > '9') return kInvalidArgument;
        datum = LeadingNumber(text);
        return kDone;
    }

private:
    static std::string_view FirstWord(const char* text) {
        const char* const first = SkipCSpace(text);
        const char* last = first;
        while (*last != '\0' && !IsCSpace(*last)) ++last;
        return {first, static_cast<std::size_t>(last - first)};
    }

    /// Base 16 after "0x", 8 after "0", else 10.
    static std::uint32_t LeadingNumber(const char* text) {
        if (*text != '0') return ParseInteger<10, std::uint32_t>(text).value;
        const bool hexadecimal = (text[1] | 0x20) == 'x';
        return hexadecimal ? ParseInteger<16, std::uint32_t>(text).value : ParseInteger<8, std::uint32_t>(text).value;
    }
};

struct Character {
    using Type = char;

    static ResultCode ToText(char datum, void* dst, std::uint32_t cap, std::uint32_t* size) {
        return CopyBytesOut(&datum, 1, dst, cap, size);
    }

    static ResultCode FromText(const char* text, char& datum) {
        if (text == nullptr) return kInvalidArgument;
        datum = *text;
        return kDone;
    }
};

/// Has no text form: a single UTF-16 unit may be half of a character.
struct WideCharacter {
    using Type = char16_t;

    static ResultCode ToText(char16_t, void*, std::uint32_t, std::uint32_t*) { return kUnspecified; }
    static ResultCode FromText(const char*, char16_t&) { return kUnspecified; }
};

/// The address of a function, which is meaningless outside its process: the text form is empty, and reading one
/// succeeds and leaves the datum unchanged.
struct FunctionAddress {
    using Type = std::uint32_t;

    static ResultCode ToText(std::uint32_t, void*, std::uint32_t, std::uint32_t* size) { return ReportNoBytes(size); }
    static ResultCode FromText(const char*, std::uint32_t&) { return kDone; }
};

}   // namespace arbor::module
