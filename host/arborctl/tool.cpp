#include "tool.h"

#include "command_line.h"
#include "completion.h"

#include <host/system.h>
#include <host/text.h>

#include <cstdlib>
#include <iostream>
#include <iterator>

namespace arborctl {
namespace {

/// A line has one tab of its own, after the part of the module that it is from; all others are from names.
void PrintLine(const host::TraceLine& line) {
    const std::string_view text = line.text;
    const std::size_t start = text.find('\t') + 1;
    std::cerr << line.level << ' ' << text.substr(0, start) << host::Printable(text.substr(start)) << '\n';
}

void PrintError(const std::exception& error) { std::cerr << "arborctl: " << host::Printable(error.what()) << '\n'; }

/// By the custom that a set NO_COLOR asks programs for none.
bool WantsColours(Colours colours, bool terminal) {
    if (colours != Colours::Auto) return colours == Colours::Always;
    const char* refused = std::getenv("NO_COLOR");
    return terminal && (refused == nullptr || *refused == '\0');
}

int RunCommand(const CommandLine& line, Terminals terminals) {
    host::Kernel kernel({.traceLevel = line.traceLevel,
                         .traceSink = PrintLine,
                         .blocks = line.leaks ? host::BlockTracking::Each : host::BlockTracking::Count});
    Progress progress(terminals.error ? &std::cerr : nullptr);
    int exitCode = kExitRefused;
    try {
        static_cast<void>(host::DocumentName(line.settings.document));   // refuses a path before any command reads it
        kernel.LoadModule(line.module);
        exitCode =
            line.command({kernel, line.settings, progress, line.json, WantsColours(line.colours, terminals.output)});
    } catch (const Refusal& error) {
        PrintError(error);
        exitCode = error.ExitCode();
    } catch (const host::PathError& error) {
        PrintError(error);
        exitCode = kExitNotLoaded;
    } catch (const std::exception& error) {
        PrintError(error);
    }
    if (line.leaks || kernel.LiveBlocks() != 0) std::cerr << kernel.LeakReport();
    return exitCode;
}

/// A reader that closed the pipe has what it wanted and needs no message.
int FailOutput(int exitCode) {
    if (!host::IsPipeClosed(host::Stream::Output)) std::cerr << "arborctl: can't write to standard output\n";
    return exitCode == kExitDone ? kExitRefused : exitCode;
}

}   // namespace

int RunTool(std::vector<std::string> arguments, Terminals terminals) {
    int exitCode = kExitDone;
    std::cout.clear();   // of an earlier run in this process
    if (!arguments.empty() && arguments[0] == kCompletionCommand)
        return PrintCompletions({std::next(arguments.begin()), arguments.end()});
    const auto line = ReadCommandLine(std::move(arguments), exitCode);
    if (line) exitCode = RunCommand(*line, terminals);
    if (!std::cout.flush()) return FailOutput(exitCode);
    return exitCode;
}

}   // namespace arborctl
