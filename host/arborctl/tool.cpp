#include "tool.h"

#include "command_line.h"

#include <iostream>

namespace arborctl {
namespace {

constexpr int kDone = 0;
constexpr int kRefused = 1;

void PrintLine(const host::TraceLine& line) { std::cerr << line.level << ' ' << line.text << '\n'; }

int RunCommand(const CommandLine& line) {
    host::Kernel kernel({.traceLevel = line.traceLevel, .traceSink = PrintLine, .trackBlocks = line.leaks});
    int exitCode = kDone;
    try {
        kernel.LoadModule(line.module);
        line.command({kernel, line.settings});
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        exitCode = kRefused;
    }
    if (line.leaks || kernel.LiveBlocks() != 0) std::cerr << kernel.LeakReport();
    return exitCode;
}

}   // namespace

int RunTool(std::vector<std::string> arguments) {
    int exitCode = kDone;
    const auto line = ReadCommandLine(std::move(arguments), exitCode);
    return line ? RunCommand(*line) : exitCode;
}

}   // namespace arborctl
