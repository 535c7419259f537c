#pragma once
// The package commands of `tfpath run`.
#include "ScriptSession.hpp"

namespace tfpath {

// package install|update|remove|list.
void AddPackageSessionCommands(SessionCommandTable& table);

}  // namespace tfpath
