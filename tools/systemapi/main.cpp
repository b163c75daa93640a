// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Failure.h"
#include "JsonOutput.h"
#include "Terminal.h"
#include "TextOutput.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <span>
#include <string_view>

namespace
{
constexpr const char* lpszFooter =
    "Exit status: 0; 1 when an operation failed; 2 for wrong usage; 3 for an exception of the file-system facility.\n"
    "Output to a terminal has colours, unless NO_COLOR is set.";

/// For the scripts that read --json wrong usage is an object too.
int WrongUsage(CLI::App& App, const CLI::ParseError& Error, bool bJson)
{
    CFacts Facts;
    Facts.Try([&] { throw CWrongUsage(Error.what()); });
    if (bJson)
        WriteJson(std::cout, "", Facts);
    else
        App.exit(Error); // shows the help, and what is wrong
    return Facts.Status();
}

int Run(std::span<char*> Arguments)
{
    CLI::App App("What SystemApi knows of this machine, and what it can do to it.", "systemapi");
    App.set_version_flag("--version", "systemapi " SYSTEMAPI_VERSION);
    App.failure_message(CLI::FailureMessage::help);
    App.require_subcommand(1);
    App.footer(lpszFooter);
    AddReport(App);
    AddFile(App);
    AddHardware(App);
    AddProcess(App);
    AddSystem(App);
    AddError(App);
    AddDoctor(App);
    AddWatch(App);
    AddCompletions(App);
    int nStatus = EXIT_SUCCESS;
    try
    {
        App.parse(static_cast<int>(Arguments.size()), Arguments.data()); // runs the subcommand
    }
    catch (const CLI::Success& Help)
    {
        App.exit(Help);
    }
    catch (const CLI::RuntimeError& Failed)
    {
        nStatus = Failed.get_exit_code(); // shown already
    }
    catch (const CLI::ParseError& Error)
    {
        const auto IsJson = [](const char* lpszArgument) {
            return std::string_view(lpszArgument) == "--json";
        };
        nStatus = WrongUsage(App, Error, std::any_of(Arguments.begin(), Arguments.end(), IsJson));
    }
    if (!std::cout.flush())
        throw std::runtime_error("the output could not be written");
    return nStatus;
}
} // namespace

int main(int argc, char** argv)
{
    try
    {
        ReadTerminal();
        return Run({argv, static_cast<std::size_t>(argc)});
    }
    catch (const std::exception& Error)
    {
        CFacts Facts;
        Facts.Try([&] { throw; });
        std::cout.flush();
        WriteFailures(std::cerr, Facts);
        return Facts.Status();
    }
}
