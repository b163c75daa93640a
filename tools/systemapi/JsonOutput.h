// SPDX-License-Identifier: MIT
/// Facts as programs read them: one object, which docs/systemapi.schema.json describes.
#pragma once

#include "Facts.h"

#include <iosfwd>
#include <string>

/// Writes the object of a command ("system memory"). Text that is no UTF-8 has U+FFFD in place of the wrong bytes.
void WriteJson(std::ostream& Output, const std::string& Command, const CFacts& Facts);

/// The schema, as the tool carries it.
const std::string& JsonSchema();
