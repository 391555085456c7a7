// The commands of bvhost. Each file adds its own, which throw Problem for what goes wrong.
#pragma once

#include "command_line.h"

namespace host {

void AddTreeCommands(CommandLine& line);      // tree, show
void AddCompareCommands(CommandLine& line);   // why, diff, preset, schema
void AddJobCommand(CommandLine& line);        // job
void AddCutsCommands(CommandLine& line);      // cuts
void AddTextCommands(CommandLine& line);      // expand, font
void AddPickCommand(CommandLine& line);       // pick
void AddTypesCommand(CommandLine& line);      // types
void AddCallCommand(CommandLine& line);       // call
void AddRegistryCommands(CommandLine& line);  // register, unregister, registry

}  // namespace host
