/// Runs the built tool.
#pragma once

#include <string>

/// How a program ended, and what it wrote, on standard error too.
struct TOOL_RESULT
{
    int nExit; ///< exit status; -1 where a signal ended it
    std::string Output;
};

/// Runs the tool with arguments as the shell takes them, its output in a pipe.
TOOL_RESULT RunTool(const std::string& Arguments, const std::string& Before = {});
/// The same on a terminal that is so many columns wide and shows UTF-8; line ends are as the tool wrote them.
TOOL_RESULT RunToolOnTerminal(const std::string& Arguments, unsigned short nColumns);

/// The lines of a report's section, its title included.
std::string SectionOf(const std::string& Report, const std::string& Title);

/// In a sandbox: a /proc folder that is empty but for what the test puts there.
void FakeProc();
