/// arborctl: settings documents from the command line.
#include "tool.h"

#include <host/system.h>

int main(int argc, char** argv) {
    host::PrepareStandardStreams();
    return arborctl::RunTool(host::ProgramArguments(argc, argv),
                             {host::IsTerminal(host::Stream::Output), host::IsTerminal(host::Stream::Error)});
}
