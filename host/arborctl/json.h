/// JSON for machines, written as it comes: a tree of any size or depth needs no memory for it.
#pragma once

#include "value_text.h"

#include <cstdint>
#include <ostream>
#include <string_view>

namespace arborctl {

class Json {
public:
    explicit Json(std::ostream& target) : out(target) {}

    Json& BeginObject() { return Open('{'); }
    Json& EndObject() { return Close('}'); }
    Json& BeginArray() { return Open('['); }
    Json& EndArray() { return Close(']'); }

    /// The name of the object's next member.
    Json& Name(std::string_view name);
    /// Bytes that aren't UTF-8 become U+FFFD.
    Json& Text(std::string_view text);
    Json& Number(std::uint64_t number);

    /// A member of that name and text.
    Json& Member(std::string_view name, std::string_view text) { return Name(name).Text(text); }
    Json& Member(std::string_view name, std::uint64_t number) { return Name(name).Number(number); }

    /// The members "type" and "value" of an object: a number, a truth value or, for all else, the value's text.
    Json& Members(const arbor::Datum& datum, const ValueText& valueText);

    /// Ends the line.
    void End() { out << '\n'; }

private:
    Json& Open(char bracket);
    Json& Close(char bracket);
    void Separate();

    std::ostream& out;
    bool first = true;   // nothing stands before the next thing in its object or array
};

}   // namespace arborctl
