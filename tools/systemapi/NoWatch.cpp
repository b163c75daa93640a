// SPDX-License-Identifier: MIT
// In the place of Watch.cpp where the terminal library is missing.
#include "Commands.h"

#include <stdexcept>

void AddWatch(CLI::App& App)
{
    App.add_subcommand("watch", "Not available: the tool was built without ncurses")->callback([] {
        throw std::runtime_error("watch is not available: the tool was built without ncurses");
    });
}
