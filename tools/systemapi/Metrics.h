// SPDX-License-Identifier: MIT
/// Facts as metrics, in the text exposition format of Prometheus.
#pragma once

#include "Facts.h"

#include <iosfwd>

/// Writes the parts that the schema describes: numbers as gauges in base units ("systemapi_memory_total_bytes"), the
/// texts of a part as labels of one metric that is always 1 ("systemapi_system_info"), the texts of a row as labels of
/// its numbers. What is not known is left out.
void WriteMetrics(std::ostream& Output, const CFacts& Report);
