/// Writes JSON to a stream piece by piece, so that the output's size and depth need no memory.
#pragma once

#include "document.h"

#include <cstdint>
#include <ostream>
#include <string_view>

namespace arborctl {

/// Whether values of `type` are numbers in JSON.
[[nodiscard]] inline bool IsNumber(kernel::TypeCode type) {
    return kernel::FindType(type)->width != 0 && type != kernel::tCHAR && type != kernel::tWCHAR;
}

/// A function writes one piece. Calls must nest as JSON does: a name before each member of an object, an end for each
/// begin.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& target) : out(target) {}

    JsonWriter& BeginObject() { return Open('{'); }
    JsonWriter& EndObject() { return Close('}'); }
    JsonWriter& BeginArray() { return Open('['); }
    JsonWriter& EndArray() { return Close(']'); }

    /// Writes the name of the object's next member.
    JsonWriter& Name(std::string_view name);
    /// Writes a string. Bytes that aren't valid UTF-8 become U+FFFD.
    JsonWriter& String(std::string_view text);
    JsonWriter& Number(std::uint64_t number);
    JsonWriter& Null();

    /// Writes a name and its value.
    JsonWriter& Member(std::string_view name, std::string_view text) { return Name(name).String(text); }
    JsonWriter& Member(std::string_view name, std::uint64_t number) { return Name(name).Number(number); }

    /// Writes the members "type" and "value": the exact text of the value (`exact_text.h`), for a number as a number,
    /// for a tBOOL of 0 or 1 as a truth value. A text that isn't UTF-8 has "bytes" instead, in hexadecimal.
    JsonWriter& TypeAndValue(const arbor::Datum& datum);

    /// Ends the line after the outermost end.
    void EndLine() { out << '\n'; }

private:
    JsonWriter& WriteNumber(kernel::TypeCode type, const std::string& text);
    JsonWriter& Open(char bracket);
    JsonWriter& Close(char bracket);
    void WriteSeparator();

    std::ostream& out;
    bool isFirst = true;   // the next element or member is the first in its array or object, or follows a name
};

}   // namespace arborctl
