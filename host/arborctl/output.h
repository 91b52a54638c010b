/// Output shared by the commands: colours, and the report of values that can't be printed.
#pragma once

#include "commands.h"

#include <iostream>
#include <string>
#include <string_view>

namespace arborctl {

/// Escape sequences of a terminal; all empty without colours.
struct Palette {
    std::string_view key = "";
    std::string_view name = "";
    std::string_view type = "";
    std::string_view removed = "";
    std::string_view added = "";
    std::string_view plain = "";
};
inline constexpr Palette kColours = {"\033[1;34m", "\033[36m", "\033[2m", "\033[31m", "\033[32m", "\033[0m"};

[[nodiscard]] inline Palette PaletteOf(const Session& session) { return session.colours ? kColours : Palette{}; }

/// Reports on standard error the values that are left out of the output because they have no text.
class OmittedValues {
public:
    /// Calls `print()`. If it throws a `StoreError`, reports that the value at `path` has no text, or another reason.
    template <class Print>
    void CallOrReport(const std::string& path, Print print, const std::string& reason = "has no text") {
        try {
            print();
        } catch (const StoreError& error) {
            std::cerr << "arborctl: " << StoreError(error.Code(), path + ' ' + reason).what() << '\n';
            isEmpty = false;
        }
    }

    /// Returns `complete` if no value was left out, or else the exit code for an incomplete output.
    [[nodiscard]] int ExitCode(int complete) const { return isEmpty ? complete : kExitRefused; }

private:
    bool isEmpty = true;
};

}   // namespace arborctl
