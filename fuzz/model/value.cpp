// The model of values and their conversions.
#include "model/value.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <regex>

namespace model {

using namespace kernel;

namespace {

/// How a type represents its datum.
enum class Storage {
    NotStored,
    Nothing,
    Signed,
    Unsigned,
    Truth,
    Character,
    WideCharacter,
    Text,
    WideText,
    FunctionWord,
    Real,
    Block,
};

struct Form {
    TypeCode type;
    const char* element;   // of a document
    Storage storage;
    std::uint32_t width;   // bytes, of what has a fixed number of them
};

constexpr Form kForms[] = {
    {tVOID, "tVOID", Storage::Nothing, 0},
    {tBYTE, "tBYTE", Storage::Unsigned, 1},
    {tWORD, "tWORD", Storage::Unsigned, 2},
    {tDWORD, "tDWORD", Storage::Unsigned, 4},
    {tQWORD, "tQWORD", Storage::Unsigned, 8},
    {tBOOL, "tBOOL", Storage::Truth, 4},
    {tCHAR, "tCHAR", Storage::Character, 1},
    {tWCHAR, "tWCHAR", Storage::WideCharacter, 2},
    {tSTRING, "tSTRING", Storage::Text, 0},
    {tWSTRING, "tSTRING", Storage::WideText, 0},
    {tERROR, "tERROR", Storage::Signed, 4},
    {tPTR, "tPTR", Storage::Block, 0},
    {tINT, "tINT", Storage::Signed, 4},
    {tUINT, "tUINT", Storage::Unsigned, 4},
    {tSBYTE, "tSBYTE", Storage::Signed, 1},
    {tSHORT, "tSHORT", Storage::Signed, 2},
    {tLONG, "tLONG", Storage::Signed, 4},
    {tLONGLONG, "tLONGLONG", Storage::Signed, 8},
    {tIID, "tIID", Storage::Unsigned, 4},
    {tPID, "tPID", Storage::Unsigned, 4},
    {tORIG_ID, "tORIG_ID", Storage::Unsigned, 4},
    {tOS_ID, "tOS_ID", Storage::Unsigned, 4},
    {tVID, "tVID", Storage::Unsigned, 4},
    {tPROPID, "tPROPID", Storage::Unsigned, 4},
    {tVERSION, "tVERSION", Storage::Unsigned, 4},
    {tCODEPAGE, "tCODEPAGE", Storage::Unsigned, 4},
    {tLCID, "tLCID", Storage::Unsigned, 4},
    {tDATA, "tDATA", Storage::Unsigned, 4},
    {tDATETIME, "tDATETIME", Storage::Unsigned, 8},
    {tFUNC_PTR, "tFUNC_PTR", Storage::FunctionWord, 4},
    {tDOUBLE, "tDOUBLE", Storage::Real, 8},
    {tBINARY, "tBINARY", Storage::Block, 0},
    {tTYPE_ID, "tTYPE_ID", Storage::Unsigned, 4},
};

const Form& FormOf(TypeCode type) {
    static constexpr Form kNone{0, "", Storage::NotStored, 0};
    const auto* const found =
        std::find_if(std::begin(kForms), std::end(kForms), [type](const Form& form) { return form.type == type; });
    return found != std::end(kForms) ? *found : kNone;
}

/// A number with a longer text can't be converted to text.
constexpr std::size_t kLongestNumber = 255;

std::uint64_t BitsOf(const Value& value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, value.bytes.data(), value.bytes.size());
    return bits;
}

double RealOf(const Value& value) {
    double number = 0;
    std::memcpy(&number, value.bytes.data(), sizeof number);
    return number;
}

void Store(Value& value, const void* datum) { std::memcpy(value.bytes.data(), datum, value.bytes.size()); }

std::string NumberText(const Value& value, const Form& form) {
    char text[400];
    if (form.storage == Storage::Real) {
        std::snprintf(text, sizeof text, "%.6f", RealOf(value));
    } else if (form.storage == Storage::Unsigned) {
        std::snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(BitsOf(value)));
    } else {
        const unsigned spare = 64 - 8 * form.width;
        const auto number = static_cast<std::int64_t>(BitsOf(value) << spare) >> spare;
        std::snprintf(text, sizeof text, "%lld", static_cast<long long>(number));
    }
    return text;
}

struct Parsed {
    std::uint64_t bits;
    bool atEnd;       // of the text
    bool saturated;   // the result is an end of the range, reached or passed
};

constexpr const char* kWhiteSpace = " \t\n\v\f\r";

/// Reads the text as `strtol`, `strtoul`, `strtoll` or `strtoull` does where the type has `bits` bits.
Parsed ParseInteger(const char* text, int base, int bits, bool isSigned) {
    const std::uint64_t maximum = isSigned ? (std::uint64_t{1} << (bits - 1)) - 1 : ~std::uint64_t{0} >> (64 - bits);
    const char* at = text + std::strspn(text, kWhiteSpace);
    const bool negative = *at == '-';
    if (*at == '-' || *at == '+') ++at;
    if (*at == '-' || *at == '+' || std::strchr(kWhiteSpace, *at) != nullptr) return {0, *text == '\0', false};
    char* stop = nullptr;
    errno = 0;
    std::uint64_t magnitude = std::strtoull(at, &stop, base);
    if (stop == at) return {0, *text == '\0', false};
    const std::uint64_t maxMagnitude = maximum + (isSigned && negative ? 1 : 0);
    const bool isOutOfRange = errno == ERANGE || magnitude > maxMagnitude;
    if (isOutOfRange) magnitude = maxMagnitude;
    const bool wraps = negative && (isSigned || !isOutOfRange);
    const std::uint64_t number = wraps ? 0 - magnitude : magnitude;
    const std::uint64_t result = isSigned ? number : number & maximum;
    const bool saturated = result == maximum || (isSigned && result == ~maximum);
    return {result, *stop == '\0', saturated};
}

ResultCode IntegerFromText(Value& value, const Form& form, const char* text) {
    const bool isSigned = form.storage == Storage::Signed;
    const int bits = form.width == 8 ? 64 : 32;
    Parsed parsed = ParseInteger(text, 10, bits, isSigned);
    if (!parsed.atEnd) {
        parsed = ParseInteger(text, 16, bits, isSigned);
        if (!parsed.atEnd || parsed.saturated) return kInvalidArgument;
    }
    if (form.width < 4) {
        const std::int64_t limit = (std::int64_t{1} << (8 * form.width - (isSigned ? 1 : 0))) - 1;
        if (static_cast<std::int64_t>(parsed.bits) > limit) return kInvalidArgument;
    }
    Store(value, &parsed.bits);
    return kDone;
}

ResultCode TruthFromText(Value& value, const std::string& text) {
    const std::size_t first = std::min(text.find_first_not_of(kWhiteSpace), text.size());
    const std::string word = text.substr(first, text.find_first_of(kWhiteSpace, first) - first);
    std::uint32_t truth = word == "true" ? 1 : 0;
    if (word != "true" && word != "false") {
        if (text.empty() || text[0] < '0' || text[0] > '9') return kInvalidArgument;
        truth = static_cast<std::uint32_t>(ParseInteger(text.c_str(), 0, 32, false).bits);
    }
    Store(value, &truth);
    return kDone;
}

ResultCode RealFromText(Value& value, const std::string& text) {
    double number = 0;
    const int found = std::sscanf(text.c_str(), "%lf", &number);
    if (found == EOF && text.find_first_not_of(kWhiteSpace) == std::string::npos) return kInvalidArgument;
    // The C library reads "0x." as 0, although no digit follows, but not "0x".
    static const std::regex kNoDigit("\\s*[-+]?0[xX]\\.(?![0-9a-fA-F])");
    if (std::regex_search(text, kNoDigit, std::regex_constants::match_continuous)) return kDone;
    if (found == 1) Store(value, &number);
    return kDone;
}

bool FromHex(const std::string& text, std::string& bytes) {
    if (text.size() % 2 != 0 || text.find_first_not_of("0123456789abcdefABCDEF") != text.npos) return false;
    bytes.clear();
    for (std::size_t at = 0; at < text.size(); at += 2)
        bytes += static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16));
    return true;
}

std::string ToHex(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
        text += digits;
    }
    return text;
}

/// The bytes up to the first 16-bit unit that is 0. An odd number of bytes gets a 0 byte at the end.
std::string UpToZeroUnit(std::string bytes) {
    if (bytes.size() % 2 != 0) bytes += '\0';
    for (std::size_t at = 0; at < bytes.size(); at += 2) {
        if (bytes[at] == '\0' && bytes[at + 1] == '\0') return bytes.substr(0, at);
    }
    return bytes;
}

void AppendUnit(std::string& bytes, unsigned unit) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
}

std::string Utf8Of(std::string_view units) {
    std::string text;
    for (std::size_t at = 0; at < units.size(); at += 2) {
        text += Utf8(static_cast<unsigned char>(units[at]) + 256U * static_cast<unsigned char>(units[at + 1]));
    }
    return text;
}

/// The text with its terminator; without one if it is empty.
std::string WithEnd(const std::string& text, std::size_t endBytes) {
    return text.empty() ? text : text + std::string(endBytes, '\0');
}

}   // namespace

std::string Utf8(std::uint32_t unit) {
    const auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
    if (unit < 0x80) return {byte(unit)};
    if (unit < 0x800) return {byte(0xC0 + unit / 64), byte(0x80 + unit % 64)};
    return {byte(0xE0 + unit / 4096), byte(0x80 + unit / 64 % 64), byte(0x80 + unit % 64)};
}

ReadResult FillBuffer(std::string_view bytes, std::size_t needed, Buffer buffer) {
    ReadResult answer{.count = static_cast<std::uint32_t>(needed)};
    if (!buffer.given) {
        answer.code = buffer.size == 0 ? kDone : kInvalidArgument;
    } else if (buffer.size < needed) {
        answer.code = kBufferTooSmall;
    } else {
        answer.bytes = bytes;
    }
    return answer;
}

const char* ElementOf(TypeCode type) { return FormOf(type).element; }

bool IsStored(TypeCode type) { return FormOf(type).storage != Storage::NotStored; }

Value NewValue(TypeCode type) { return {type, std::string(FormOf(type).width, '\0')}; }

ReadResult Get(const Value& value, Buffer buffer) {
    const Storage storage = FormOf(value.type).storage;
    if (storage == Storage::Nothing) return {.count = 0};
    std::string bytes = value.bytes;
    if (storage == Storage::Text) bytes = WithEnd(bytes, 1);
    if (storage == Storage::WideText) bytes = WithEnd(bytes, 2);
    return FillBuffer(bytes, bytes.size(), buffer);
}

ResultCode Set(Value& value, const char* data, std::uint32_t size) {
    const Form& form = FormOf(value.type);
    if (form.storage == Storage::Nothing) return kUnchanged;
    const bool isBlock = form.storage == Storage::Block;
    if (data == nullptr && !(isBlock && size == 0)) return kInvalidArgument;
    std::string bytes(data != nullptr ? data : "", size);
    if (form.storage == Storage::Text) {
        bytes = bytes.substr(0, bytes.find('\0'));
    } else if (form.storage == Storage::WideText) {
        bytes = UpToZeroUnit(bytes);
    } else if (!isBlock) {
        if (size < form.width) return kInvalidArgument;
        bytes.resize(form.width);
    }
    if (bytes == value.bytes && !(isBlock && size == 0)) return kUnchanged;
    value.bytes = bytes;
    return kDone;
}

ReadResult ToText(const Value& value, Buffer buffer) {
    const Form& form = FormOf(value.type);
    std::string text;
    switch (form.storage) {
        case Storage::Nothing:
        case Storage::FunctionWord:
            return {.count = 0};
        case Storage::WideCharacter:
            return {.code = kUnspecified};
        case Storage::Truth:
            text = std::string(BitsOf(value) != 0 ? "1" : "0", 2);
            break;
        case Storage::Character:
            text = value.bytes;
            break;
        case Storage::Text:
            text = WithEnd(value.bytes, 1);
            break;
        case Storage::WideText:
            text = WithEnd(Utf8Of(value.bytes), 1);
            break;
        case Storage::Block:
            text = ToHex(value.bytes);
            return FillBuffer(text, text.size() + 1, buffer);
        default:
            text = NumberText(value, form);
            break;
    }
    if (form.storage == Storage::Real && text.size() > kLongestNumber) return {.code = kBufferTooSmall, .count = 0};
    return FillBuffer(text, text.size(), buffer);
}

ResultCode FromText(Value& value, const std::string& text) {
    const Form& form = FormOf(value.type);
    switch (form.storage) {
        case Storage::Nothing:
        case Storage::FunctionWord:
            return kDone;
        case Storage::WideCharacter:
            return kUnspecified;
        case Storage::Truth:
            return TruthFromText(value, text);
        case Storage::Character:
            value.bytes[0] = text.c_str()[0];
            return kDone;
        case Storage::Text:
            return Set(value, text.data(), static_cast<std::uint32_t>(text.size()));
        case Storage::Real:
            return RealFromText(value, text);
        case Storage::Block: {
            std::string bytes;
            if (!FromHex(text, bytes)) return kInvalidArgument;
            value.bytes = bytes;
            return kDone;
        }
        case Storage::WideText: {
            std::string bytes;
            if (!FromHex(text, bytes)) bytes.clear();
            value.bytes = UpToZeroUnit(bytes);
            return kDone;
        }
        default:
            return IntegerFromText(value, form, text.c_str());
    }
}

void SetFromUtf8(Value& value, std::string_view text) {
    std::string units;
    const auto byte = [text](std::size_t at) { return static_cast<unsigned>(static_cast<unsigned char>(text[at])); };
    for (std::size_t at = 0; at < text.size();) {
        const unsigned lead = byte(at);
        const std::size_t left = text.size() - at;
        if (lead < 0x80) {
            AppendUnit(units, lead);
            at += 1;
        } else if (lead >> 5 == 6) {
            AppendUnit(units, (lead & 0x1F) * 64 + (left > 1 ? byte(at + 1) & 0x3F : 0x3F));
            at += std::min<std::size_t>(left, 2);
        } else if (lead >> 4 == 14) {
            AppendUnit(units,
                       left > 2 ? (lead & 0x0F) * 4096 + (byte(at + 1) & 0x3F) * 64 + (byte(at + 2) & 0x3F) : '?');
            at += std::min<std::size_t>(left, 3);
        } else {
            AppendUnit(units, '?');
            at += 1;
        }
    }
    value.bytes = UpToZeroUnit(units);
}

ResultCode TextOf(const Value& value, std::string& text) {
    const ReadResult measured = ToText(value, {false, 0});
    if (IsFailure(measured.code)) return measured.code;
    text = ToText(value, {true, *measured.count}).bytes;
    text = text.substr(0, text.find('\0'));
    return kDone;
}

}   // namespace model
