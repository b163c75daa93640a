/// The subcommands, one function for each area. A subcommand's work is its callback; a failure leaves it as an
/// exception, whose message main shows before it ends with exit status 1.
#pragma once

#include <CLI/CLI.hpp>

void AddReport(CLI::App& App);
void AddFile(CLI::App& App);
void AddHardware(CLI::App& App);
void AddProcess(CLI::App& App);
void AddSystem(CLI::App& App);
