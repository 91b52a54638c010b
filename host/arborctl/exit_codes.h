/// The program's exit codes, one rule for every command.
#pragma once

#include <string_view>

namespace arborctl {

inline constexpr int kExitDone = 0;
inline constexpr int kExitRefused = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitNotLoaded = 3;

/// What a code means for every command, or in addition for one of them.
struct ExitCodeRow {
    int code;
    std::string_view meaning;
    std::string_view command = "";
};

/// The texts of --help. The rows of one code follow each other, the one for every command first.
inline constexpr ExitCodeRow kExitCodes[] = {
    {kExitDone, "done"},
    {kExitDone, "no difference", "diff"},
    {kExitDone, "something was found", "find"},
    {kExitDone, "a save drops and changes nothing", "check"},
    {kExitRefused, "refused, or output can't be written"},
    {kExitRefused, "they differ", "diff"},
    {kExitRefused, "nothing was found", "find"},
    {kExitRefused, "a save drops or changes something", "check"},
    {kExitUsage, "wrong command line"},
    {kExitNotLoaded, "a document can't be loaded, or is still in use after the wait"},
};

}   // namespace arborctl
