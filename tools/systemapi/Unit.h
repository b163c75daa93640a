// SPDX-License-Identifier: MIT
/// The units in which sizes are asked for.
#pragma once

#include "Facts.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

/// The library's number of the smallest unit.
constexpr int nInBytes = 1;

/// The library's number of a unit; nothing where bytes are asked for and people are to read a unit that suits them.
using Unit = std::shared_ptr<std::optional<int>>;

/// Adds --unit.
Unit AddUnit(CLI::App* pCommand);

/// The number for the library.
int TypeOf(const Unit& pUnit);

/// Adds a size in the unit that was asked for.
void AddSize(CFacts& Facts, const std::string& Name, unsigned long dwSize, const Unit& pUnit);
