// Decodes the five named entities of XML and numeric character references.

#include "document/xml_entities.h"

#include "document/xml_scan.h"

#include <component/platform/hexadecimal.h>
#include <component/platform/unicode.h>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace arbor::module {
namespace {

struct NamedReference {
    std::string_view name;
    char byte;
};

constexpr NamedReference kNamedReferences[] = {
    {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'},
};

/// Unknown names up to this length count as entities of another vocabulary; a longer one is an error.
constexpr std::size_t kMaxForeignNameLength = 4;

/// What a reference decodes to: `codePoint` if `replaced`, else the reference itself.
struct Replacement {
    bool replaced = false;
    bool understood = true;
    std::uint32_t codePoint = 0;
};

/// `digits` follows the "#". Numbers above 32 bits wrap. 0 isn't replaced: texts end at a 0 byte.
Replacement DecodeNumber(std::string_view digits) {
    const unsigned base = digits.front() == 'x' ? 16 : 10;
    if (base == 16) digits.remove_prefix(1);
    std::uint32_t number = 0;
    for (const char c : digits) {
        const unsigned digit = platform::HexDigitValue(c);
        if (digit >= base) return {false, false};
        number = number * base + digit;
    }
    return {number != 0, true, number};
}

/// `body` is what lies between "&" and ";".
Replacement DecodeReference(std::string_view body) {
    if (body.size() < 2) return {};
    if (body.front() == '#') return DecodeNumber(body.substr(1));
    for (const NamedReference& reference : kNamedReferences) {
        if (reference.name == body) return {true, true, static_cast<unsigned char>(reference.byte)};
    }
    return {false, body.size() <= kMaxForeignNameLength};
}

}   // namespace

bool DecodeEntities(const char* data, std::int32_t length, std::string& output) {
    const char* const last = data + (length == -1 ? std::strlen(data) : static_cast<std::uint32_t>(length));
    bool understood = true;
    const char* run = data;
    for (;;) {
        const char* const ampersand = FindByte(run, last, '&');
        const char* const semicolon = FindByte(ampersand, last, ';');
        if (semicolon == last) {
            output.append(run, static_cast<std::size_t>(last - run));
            return understood;
        }
        const Replacement found = DecodeReference({ampersand + 1, static_cast<std::size_t>(semicolon - ampersand) - 1});
        understood = understood && found.understood;
        output.append(run, static_cast<std::size_t>((found.replaced ? ampersand : semicolon + 1) - run));
        if (found.replaced) AppendUtf8(found.codePoint, output);
        run = semicolon + 1;
    }
}

void AppendUtf8(std::uint32_t codePoint, std::string& output) {
    if (codePoint >= platform::kFirstSupplementary) return;
    char bytes[4];
    output.append(bytes, platform::WriteUtf8(codePoint, bytes));
}

}   // namespace arbor::module
