// SPDX-License-Identifier: MIT
/// Facts as people read them.
#pragma once

#include "Facts.h"

#include <cstddef>
#include <iosfwd>
#include <limits>

inline constexpr std::size_t nAllRows = std::numeric_limits<std::size_t>::max();

/// Writes what is known, and of tables so many rows at most; a value that is alone stands without its name. Failures of
/// a part stand in their place, those of the whole are left to WriteFailures.
void WriteText(std::ostream& Output, const CFacts& Facts, std::size_t nMostRows = nAllRows);

/// Writes a line for each failure of the whole: "systemapi: ...".
void WriteFailures(std::ostream& Output, const CFacts& Facts);

/// A value in its unit: "3.9 GiB", "75 %", "yes". Made harmless; "unknown" where nothing is known.
std::string ValueText(const FACT& st_Fact);
