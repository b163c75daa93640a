// SPDX-License-Identifier: MIT
#include "Commands.h"

#include "JsonOutput.h"
#include "Terminal.h"
#include "TextOutput.h"

#include <iostream>
#include <memory>
#include <optional>

namespace
{
constexpr std::size_t nFirstRows = 10;

struct OPTIONS
{
    bool bJson = false;
    bool bVerbose = false;
};

void Run(const std::string& Command, const OPTIONS& st_Options, const Work& pfnWork,
         const std::shared_ptr<bool>& pAll)
{
    SetVerbose(st_Options.bVerbose);
    CFacts Facts;
    {
        std::optional<COutputAside> m_Aside; // standard output is to hold the object alone
        if (st_Options.bJson)
            m_Aside.emplace();
        Facts.Try([&] { pfnWork(Facts); });
    }
    if (st_Options.bJson)
        WriteJson(std::cout, Command, Facts);
    else
    {
        WriteText(std::cout, Facts, pAll && !*pAll ? nFirstRows : nAllRows);
        std::cout.flush();
        WriteFailures(std::cerr, Facts);
    }
    if (const int nStatus = Facts.Status())
        throw CLI::RuntimeError(nStatus);
}
} // namespace

CLI::App* AddCommand(CLI::App& Parent, const std::string& Name, const std::string& Help, const Work& pfnWork,
                     const std::shared_ptr<bool>& pAll)
{
    CLI::App* const pCommand = Parent.add_subcommand(Name, Help);
    const auto pOptions = std::make_shared<OPTIONS>();
    pCommand->add_flag("--json", pOptions->bJson,
                       "One JSON object; what started programs print goes to standard error");
    pCommand->add_flag("--verbose", pOptions->bVerbose, "Show what helper programs complain of on standard error");
    pCommand->callback([pCommand, pOptions, pfnWork, pAll] { Run(FullName(pCommand), *pOptions, pfnWork, pAll); });
    return pCommand;
}

std::string FullName(const CLI::App* pCommand)
{
    const CLI::App* const pParent = pCommand->get_parent();
    if (!pParent || !pParent->get_parent())
        return pCommand->get_name();
    return FullName(pParent) + " " + pCommand->get_name();
}
