// SPDX-License-Identifier: MIT
/// The limits of the control groups (versions 1 and 2) that surround this process. The kernel's own tables, which the
/// library reads, tell the whole machine's figures inside a container too.
#pragma once

#include <optional>
#include <string>

struct CONTROL_GROUP
{
    std::optional<int> nVersion;                    ///< 1 or 2; nothing where the process is in no group
    std::optional<unsigned long long> nMemoryLimit; ///< bytes; nothing where there is none
    std::optional<double> fProcessorLimit;          ///< in processors: 1.5 is three halves of one
};

/// The tightest limits of the process's own groups and of those above them.
/// \param Root the folder under which proc and the mounted groups are looked for
CONTROL_GROUP ReadControlGroup(const std::string& Root = "/");
