// SPDX-License-Identifier: MIT
/// psutil, in a Python process that stays and times its own calls, so that neither its start nor the way there counts.
#pragma once

#include "Plan.h"

/// Whether there is a Python with psutil.
bool HasPsutil();

/// A contender that asks it: memory, disk or list.
CONTENDER PsutilContender(ROLE enRole, const char* lpszQuery);
