// Runs a command in a host kernel of its own, and maps exceptions to messages and exit codes.

#include "tool.h"

#include "command_line.h"
#include "completion.h"

#include <host/system.h>
#include <host/text.h>

#include <iostream>
#include <iterator>

namespace arborctl {
namespace {

/// The first tab of a trace line ends its component; any later one is part of a name and is escaped.
void PrintTraceLine(const host::TraceLine& line) {
    const std::string_view text = line.text;
    const std::size_t start = text.find('\t') + 1;
    std::cerr << line.level << ' ' << text.substr(0, start) << host::Printable(text.substr(start)) << '\n';
}

void PrintError(const std::exception& error) { std::cerr << "arborctl: " << host::Printable(error.what()) << '\n'; }

/// By convention, NO_COLOR disables colours if it is set and not empty.
bool UsesColours(Colours colours, bool terminal) {
    if (colours != Colours::Auto) return colours == Colours::Always;
    return terminal && host::EnvironmentVariable("NO_COLOR").empty();
}

int RunCommand(const CommandLine& line, Terminals terminals) {
    const Arguments& given = line.given;
    host::Kernel kernel({.traceLevel = given.traceLevel,
                         .traceSink = PrintTraceLine,
                         .blocks = given.leaks ? host::BlockTracking::Each : host::BlockTracking::Count});
    Progress progress(terminals.error ? &std::cerr : nullptr, terminals.output);
    int exitCode = kExitRefused;
    try {
        static_cast<void>(
            host::DocumentName(given.settings.document));   // throws a `PathError` before a command reads the path
        kernel.LoadModule(ModulePath(given.module));
        exitCode = line.command({kernel, given.settings, progress, given.json, given.flat, given.dryRun,
                                 UsesColours(given.colours, terminals.output)});
    } catch (const StoreError& error) {
        PrintError(error);
        exitCode = error.ExitCode();
    } catch (const host::PathError& error) {
        PrintError(error);
        exitCode = kExitNotLoaded;
    } catch (const std::exception& error) {
        PrintError(error);
    }
    if (given.leaks || kernel.LiveBlocks() != 0) std::cerr << kernel.LeakReport();
    return exitCode;
}

/// Reports that standard output can't be written, except if the reader has closed the pipe.
int ExitCodeAfterFailedOutput(int exitCode) {
    if (!host::IsPipeClosed(host::Stream::Output)) std::cerr << "arborctl: can't write to standard output\n";
    return exitCode == kExitDone ? kExitRefused : exitCode;
}

}   // namespace

int RunTool(const std::vector<std::string>& arguments, Terminals terminals) {
    int exitCode = kExitDone;
    std::cout.clear();   // a failure of an earlier run in this process
    if (!arguments.empty() && arguments[0] == kCompletionCommand)
        return PrintCompletions({std::next(arguments.begin()), arguments.end()});
    const auto line = ReadCommandLine(arguments, exitCode);
    if (line) exitCode = RunCommand(*line, terminals);
    if (!std::cout.flush()) return ExitCodeAfterFailedOutput(exitCode);
    return exitCode;
}

}   // namespace arborctl
