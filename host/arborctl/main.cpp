// Prepares the standard streams and passes the program's arguments to `RunTool`.

#include "tool.h"

#include <host/system.h>

int main(int argc, char** argv) {
    host::PrepareStandardStreams();
    return arborctl::RunTool(host::ProgramArguments(argc, argv),
                             {host::IsTerminal(host::Stream::Output), host::IsTerminal(host::Stream::Error)});
}
