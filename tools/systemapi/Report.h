// SPDX-License-Identifier: MIT
/// The report: parts of what the library tells about this machine.
#pragma once

#include "Facts.h"

/// The processors' usage over the second that this takes, per cent; nothing where no share was counted.
VALUE UsageValue();

// The parts, in the order of the report (the list is in Report.cpp).
void ReportSystem(CFacts& Facts);
void ReportStart(CFacts& Facts);
void ReportProcessor(CFacts& Facts);
void ReportMemory(CFacts& Facts);
void ReportContainer(CFacts& Facts);
void ReportDisks(CFacts& Facts);
void ReportFileSystems(CFacts& Facts);
void ReportSerials(CFacts& Facts);
void ReportProcesses(CFacts& Facts);
void ReportOwnProcess(CFacts& Facts);
