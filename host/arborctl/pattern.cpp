// Globs are matched without recursion. Regular expressions use libstdc++'s breadth-first executor (`__polynomial`),
// whose stack doesn't grow with the text. `std::regex_search` would start it again at each character, in quadratic
// time; instead the expression gets "any text" on both sides and is matched once against the whole text.

#include "pattern.h"

#include "ascii.h"

#include <stdexcept>

namespace arborctl {
namespace {

constexpr std::regex::flag_type kRegexFlags =
    std::regex::ECMAScript | std::regex::icase | std::regex_constants::__polynomial;

bool IsRegex(const std::string& text) {
    try {
        static_cast<void>(std::regex(text, kRegexFlags));
        return true;
    } catch (const std::regex_error&) {
        return false;
    }
}

/// Returns the position, counted from 1, of the first character after the longest prefix that is a regular expression.
std::size_t FaultPosition(const std::string& text) {
    std::size_t length = text.size();
    while (length > 0 && !IsRegex(text.substr(0, length))) --length;
    return length + 1;
}

/// The length of the UTF-8 character at `at`.
std::size_t CharacterLength(std::string_view text, std::size_t at) {
    std::size_t end = at + 1;
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) ++end;
    return end - at;
}

/// On a mismatch, goes back to the last "*" and lets it match one character more.
bool MatchesGlob(std::string_view glob, std::string_view text) {
    std::size_t inGlob = 0;
    std::size_t inText = 0;
    std::size_t star = std::string_view::npos;   // the position after the last "*"
    std::size_t retry = 0;                       // the first character that it doesn't match yet
    while (inText < text.size() || inGlob < glob.size()) {
        if (inGlob < glob.size() && glob[inGlob] == '*') {
            star = ++inGlob;
            retry = inText;
        } else if (inGlob < glob.size() && inText < text.size() &&
                   (glob[inGlob] == '?' || glob[inGlob] == text[inText])) {
            inText += glob[inGlob] == '?' ? CharacterLength(text, inText) : 1;
            ++inGlob;
        } else if (star != std::string_view::npos && retry < text.size()) {
            inGlob = star;
            inText = ++retry;
        } else {
            return false;
        }
    }
    return true;
}

}   // namespace

Pattern::Pattern(const std::string& text, PatternForm patternForm) : lower(ToLower(text)), form(patternForm) {
    if (form != PatternForm::Regex) return;
    if (!IsRegex(text)) {
        throw std::invalid_argument("the regular expression " + text + " is wrong at character " +
                                    std::to_string(FaultPosition(text)));
    }
    regex.emplace("[\\s\\S]*(?:" + text + ")[\\s\\S]*", kRegexFlags);
}

bool Pattern::Matches(const std::string& text) const {
    switch (form) {
        case PatternForm::Glob:
            return MatchesGlob(lower, ToLower(text));
        case PatternForm::Regex:
            return std::regex_match(text, *regex);
        case PatternForm::Substring:
            break;
    }
    return ToLower(text).find(lower) != std::string::npos;
}

}   // namespace arborctl
