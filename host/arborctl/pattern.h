/// Matches texts against a pattern of the command `find`. ASCII letters match in any case.
#pragma once

#include <optional>
#include <regex>
#include <string>

namespace arborctl {

enum class PatternForm {
    Substring,   // found anywhere in the text
    Glob,        // the whole text; "*" is any text, "?" any character
    Regex,       // a match anywhere in the text, in the syntax of ECMAScript
};

class Pattern {
public:
    /// Throws `std::invalid_argument` with the position of the fault for a wrong regular expression.
    Pattern(const std::string& text, PatternForm form);

    [[nodiscard]] bool Matches(const std::string& text) const;

private:
    std::string lower;
    PatternForm form;
    std::optional<std::regex> regex{};
};

}   // namespace arborctl
