// SPDX-License-Identifier: MIT
#include "Fuzz.h"

#include "LineScan.h"

#include <cstring>

FUZZ(In)
{
    const std::string Line = TakeArgument(In).substr(0, 1023);
    struct FIELDS
    {
        int nInt = -7;
        unsigned dwUnsigned = 77;
        char tszWord[1024] = "before";
        long long nLong = -777;
        char tszLast[20] = "before";
    };
    FIELDS st_Scanned;
    CLineScan Scan(Line.c_str());
    Scan.Number(st_Scanned.nInt).Number(st_Scanned.dwUnsigned).Word(st_Scanned.tszWord).Number(st_Scanned.nLong);
    Scan.Word(st_Scanned.tszLast);

    FIELDS st_Expected;
    char tszLast[1024] = "before";
    const int nCount = std::sscanf(Line.c_str(), "%d %u %1023s %lld %1023s", &st_Expected.nInt,
                                   &st_Expected.dwUnsigned, st_Expected.tszWord, &st_Expected.nLong, tszLast);
    REQUIRE(Scan.Count() == std::max(nCount, 0));
    REQUIRE(st_Scanned.nInt == st_Expected.nInt && st_Scanned.dwUnsigned == st_Expected.dwUnsigned);
    REQUIRE(st_Scanned.nLong == st_Expected.nLong && std::strcmp(st_Scanned.tszWord, st_Expected.tszWord) == 0);
    REQUIRE(std::string(tszLast).substr(0, 19) == st_Scanned.tszLast); // a word is cut to its field

    const int nSkip = In.ConsumeIntegralInRange(-1, 5);
    unsigned long nBehind = 5;
    CLineScan(Line.c_str()).Skip(nSkip).Number(nBehind);
    const char* const lpszFormats[] = {
        "%lu", "%lu", "%*s %lu", "%*s %*s %lu", "%*s %*s %*s %lu", "%*s %*s %*s %*s %lu", "%*s %*s %*s %*s %*s %lu"};
    unsigned long nExpected = 5;
    std::sscanf(Line.c_str(), lpszFormats[nSkip + 1], &nExpected); // NOLINT: one of the formats above
    REQUIRE(nBehind == nExpected);
}
