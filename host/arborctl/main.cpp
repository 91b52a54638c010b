// The start of the program: streams, arguments and terminals of the system.

#include "tool.h"

#include <host/system.h>

int main(int argc, char** argv) {
    host::PrepareStandardStreams();
    return arborctl::RunTool(host::ProgramArguments(argc, argv),
                             {host::IsTerminal(host::Stream::Output), host::IsTerminal(host::Stream::Error)});
}
