// SPDX-License-Identifier: MIT
#include "Unit.h"

Unit AddUnit(CLI::App* pCommand)
{
    auto pUnit = std::make_shared<std::optional<int>>();
    pCommand->add_option("--unit,-u", *pUnit, "Unit of the sizes, rounded down")
        ->transform(CLI::CheckedTransformer(
                        std::vector<std::pair<std::string, int>>{{"B", nInBytes}, {"KiB", 2}, {"MiB", 3}, {"GiB", 4}},
                        CLI::ignore_case)
                        .description("{B,KiB,MiB,GiB}"));
    return pUnit;
}

int TypeOf(const Unit& pUnit)
{
    return pUnit->value_or(nInBytes);
}

void AddSize(CFacts& Facts, const std::string& Name, unsigned long dwSize, const Unit& pUnit)
{
    constexpr UNIT enUnits[] = {UNIT::Bytes, UNIT::KiB, UNIT::MiB, UNIT::GiB};
    const bool bExact = *pUnit == nInBytes;
    Facts.Add(Name, dwSize, enUnits[TypeOf(pUnit) - 1], bExact ? std::to_string(dwSize) + " B" : std::string());
}
