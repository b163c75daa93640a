#include "Unit.h"

#include <map>
#include <string>

namespace
{
constexpr const char* lpszNames[] = {"B", "KiB", "MiB", "GiB"};
}

void AddUnit(CLI::App* pCommand, int& nType)
{
    std::map<std::string, int> Types;
    for (int nKnown = 1; nKnown <= 4; ++nKnown)
        Types.emplace(UnitName(nKnown), nKnown);
    nType = 1;
    pCommand->add_option("--unit,-u", nType, "Unit of the sizes, rounded down: B, KiB, MiB or GiB")
        ->transform(CLI::CheckedTransformer(Types, CLI::ignore_case));
}

const char* UnitName(int nType)
{
    return lpszNames[nType - 1];
}
