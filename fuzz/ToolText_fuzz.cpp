// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "Text.h"

#include <clocale>

FUZZ(In)
{
    std::setlocale(LC_ALL, In.ConsumeBool() ? "C.UTF-8" : "C");
    const int nColumns = In.ConsumeIntegralInRange(-1, 100);
    const auto nBytes = In.ConsumeIntegral<unsigned long long>();
    const std::string Shown = Harmless(In.ConsumeRemainingBytesAsString());
    REQUIRE(Harmless(Shown) == Shown);
    REQUIRE(std::none_of(Shown.begin(), Shown.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }));
    REQUIRE(Columns(Clip(Shown, nColumns)) <= std::max(nColumns, 0));
    REQUIRE(Columns(Pad(Shown, nColumns, nBytes % 2 == 0)) == std::max(Columns(Shown), nColumns));
    REQUIRE(HumanSize(nBytes).size() <= sizeof("1023.9 KiB") - 1);
}
