/// The program's exit codes, one rule for every command.
#pragma once

namespace arborctl {

inline constexpr int kExitDone = 0;
inline constexpr int kExitRefused = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitNotLoaded = 3;

struct ExitCodeRow {
    int code;
    const char* meaning;
};

/// The texts of --help.
inline constexpr ExitCodeRow kExitCodes[] = {
    {kExitDone, "done; diff: no difference; find: something was found"},
    {kExitRefused,
     "refused, or output can't be written; diff: they differ; find: nothing was found; check: a save changes "
     "something"},
    {kExitUsage, "wrong command line"},
    {kExitNotLoaded, "a document can't be loaded, or is still in use after the wait"},
};

}   // namespace arborctl
