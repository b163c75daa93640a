// SPDX-License-Identifier: MIT
/// What the tool finds out through shell commands, where more than one command of its own wants it.
#pragma once

#include <string>

/// The first line of what a shell command prints, without its end; empty where it prints nothing.
std::string CommandLine(const char* lpszCommand);

/// The distribution and the kernel.
struct VERSION
{
    std::string Distribution;
    std::string Version;
    std::string CodeName;
    std::string Kernel;
};
VERSION VersionOfSystem();

/// Whether sudo answers without asking for a password, be it for the serial numbers' commands alone.
bool SudoAsksNothing();

/// Serial numbers; those that are empty could not be had.
struct SERIALS
{
    std::string Processor;
    std::string Mainboard;
    std::string Disk;
    std::string System;
};
SERIALS SerialsOf(const std::string& Device);
