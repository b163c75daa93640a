// SPDX-License-Identifier: MIT
#include "Commands.h"
#include "Failure.h"
#include "JsonOutput.h"
#include "Terminal.h"
#include "Text.h"
#include "TextOutput.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <span>
#include <string_view>
#include <vector>

namespace
{
constexpr const char* lpszFooter =
    "Exit status: 0; 1 when an operation failed; 2 for wrong usage; 3 for an exception of the file-system facility.\n"
    "Output to a terminal has colours, unless NO_COLOR is set.";

/// For the scripts that read --json wrong usage is an object too.
int WrongUsage(CLI::App& App, const CLI::ParseError& Error, std::span<char*> Arguments)
{
    using std::string_view_literals::operator""sv;
    const auto Options = std::find(Arguments.begin(), Arguments.end(), "--"sv); // behind it are none
    const bool bJson = std::find(Arguments.begin(), Options, "--json"sv) != Options;
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
    App.failure_message([](const CLI::App* pApp, const CLI::Error& Error) {
        return "ERROR: " + Error.get_name() + ": " + Harmless(Error.what()) + '\n' + pApp->help();
    });
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
    catch (const CLI::RequiredError& Error)
    {
        const auto Unknown = App.remaining(true); // its first word is wrong, rather than that another lacks
        nStatus = Unknown.empty() ? WrongUsage(App, Error, Arguments)
                                  : WrongUsage(App, CLI::ExtrasError(std::vector{Unknown.front()}), Arguments);
    }
    catch (const CLI::ParseError& Error)
    {
        nStatus = WrongUsage(App, Error, Arguments);
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
