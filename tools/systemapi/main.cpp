#include "Commands.h"
#include "Terminal.h"
#include "Text.h"

#include <cstdlib>
#include <exception>
#include <iostream>

namespace
{
int Run(int argc, char** argv)
{
    CLI::App App("What SystemApi knows of this machine, and what it can do to it.", "systemapi");
    App.set_version_flag("--version", "systemapi " SYSTEMAPI_VERSION);
    App.failure_message(CLI::FailureMessage::help);
    App.require_subcommand(1);
    AddReport(App);
    AddFile(App);
    AddHardware(App);
    AddProcess(App);
    AddSystem(App);
    try
    {
        App.parse(argc, argv); // runs the subcommand
    }
    catch (const CLI::ParseError& Error)
    {
        return App.exit(Error);
    }
    if (!std::cout.flush())
        throw std::runtime_error("the output could not be written");
    return EXIT_SUCCESS;
}
} // namespace

int main(int argc, char** argv)
{
    try
    {
        ReadTerminal();
        return Run(argc, argv);
    }
    catch (const std::exception& Error)
    {
        std::cout.flush();
        std::cerr << "systemapi: " << Harmless(Error.what()) << '\n';
        return EXIT_FAILURE;
    }
}
