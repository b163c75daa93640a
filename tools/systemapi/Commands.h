// SPDX-License-Identifier: MIT
/// The table of subcommands: each file adds those of its area. What a subcommand finds goes into facts, which are
/// written when it has ended, as text or as JSON; what it throws is shown, and leads to the exit status.
#pragma once

#include "Facts.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

using Work = std::function<void(CFacts&)>;

/// Adds a subcommand that does the work and writes its facts; --json and --verbose are added too. A list that a part
/// holds is cut after its first rows where *pAll, which may be left out, is false.
CLI::App* AddCommand(CLI::App& Parent, const std::string& Name, const std::string& Help, const Work& pfnWork,
                     const std::shared_ptr<bool>& pAll = nullptr);

/// "system memory"
std::string FullName(const CLI::App* pCommand);

void AddReport(CLI::App& App);
void AddFile(CLI::App& App);
void AddHardware(CLI::App& App);
void AddProcess(CLI::App& App);
void AddSystem(CLI::App& App);
void AddError(CLI::App& App);
void AddDoctor(CLI::App& App);
void AddWatch(CLI::App& App);
void AddCompletions(CLI::App& App);
