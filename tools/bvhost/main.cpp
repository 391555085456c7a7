// bvhost: the reference host of BVSchema, a command-line program.
//
// It shows what a host does with the server: registers the modules, creates a job's tree by class id, gives
// it a media object, walks it, changes it, writes it and reads it again.
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "exit_code.h"
#include "server.h"
#include "terminal.h"
#include "text.h"

namespace {

using namespace host;

// In the order of the help.
constexpr void (*kCommands[])(CommandLine&) = {
    AddTreeCommands, AddCompareCommands, AddJobCommand,  AddCutsCommands,     AddTextCommands,
    AddPickCommand,  AddTypesCommand,    AddCallCommand, AddRegistryCommands,
};

int Run(std::vector<std::string> words) {
    CommandLine line;
    for (const auto add : kCommands) add(line);
    return line.Run(std::move(words));
}

}  // namespace

int main(int argc, char** argv) {
    StartTerminal();
    const HRESULT started = CoInitialize(nullptr);
    int result = kFailed;
    try {
        if (FAILED(started)) throw Problem("the component model doesn't start: " + Reason(started));
        result = Run(Arguments(argc, argv));
        FinishOutput();
        if (result == kDone && Warned()) result = kWarned;
    } catch (const std::bad_alloc&) {
        result = kFailed;
        PrintError("out of memory");
    } catch (const std::exception& error) {
        result = kFailed;
        PrintError(error.what());
    }
    if (SUCCEEDED(started)) CoUninitialize();
    return result;
}
