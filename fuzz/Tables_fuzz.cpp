// SPDX-License-Identifier: MIT
#include "Fuzz.h"

// A copy that does not know of the sanitizer, under which no rows would share a block.
#define __asan_init no_sanitizer_at_all
#include "BaseLib_Memory.cpp"

#include <cstring>
#include <set>

FUZZ(In)
{
    constexpr long long nTooMany = 1LL << 50;

    const bool bSmall = In.ConsumeProbability<float>() > 0.25F;
    const auto nRows =
        bSmall ? In.ConsumeIntegralInRange<long long>(-2, 120) : In.ConsumeIntegral<long long>() | nTooMany;
    const auto nSize = In.ConsumeIntegralInRange(-2, 1100) * (In.ConsumeBool() ? 16 : 1); // the larger ones: a block
    int nNotNull = 0;
    void* pTable = &nNotNull;
    const bool bDone = BaseLib_Memory_Malloc(&pTable, nRows, nSize);
    REQUIRE(bDone == (nRows >= 0 && nRows < nTooMany && nSize >= 0));
    REQUIRE(bDone == (pTable != nullptr));
    if (bDone)
    {
        auto* const* const pptszRows = static_cast<char**>(pTable);
        std::set<const char*> Distinct;
        for (long long nRow = 0; nRow < nRows; ++nRow)
        {
            REQUIRE(pptszRows[nRow] && Distinct.insert(pptszRows[nRow]).second);
            REQUIRE(std::count(pptszRows[nRow], pptszRows[nRow] + nSize, '\0') == nSize);
            std::memset(pptszRows[nRow], 0x5A, static_cast<std::size_t>(nSize));
        }
        REQUIRE(!pptszRows[nRows]);
    }
    REQUIRE(BaseLib_Memory_Free(&pTable, In.ConsumeIntegral<long long>()) == bDone);
    REQUIRE(!pTable);
    BaseLib_Time_GetTickCount();
}
