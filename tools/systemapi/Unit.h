/// The units in which sizes are asked for.
#pragma once

#include <CLI/CLI.hpp>

/// Adds --unit, with bytes as the default; nType receives the library's number of the unit.
void AddUnit(CLI::App* pCommand, int& nType);

/// "MiB"
const char* UnitName(int nType);
