// SPDX-License-Identifier: MIT
#include "Facts.h"

#include "Failure.h"

#include <algorithm>
#include <cstdlib>
#include <exception>

const UNIT_RULE& RuleOf(UNIT enUnit)
{
    static constexpr UNIT_RULE st_Rules[] = {
        {"", "", 1},
        {"_bytes", "_bytes", 1},
        {"_kib", "_bytes", 1024},
        {"_mib", "_bytes", 1024.0 * 1024},
        {"_gib", "_bytes", 1024.0 * 1024 * 1024},
        {"_percent", "_ratio", 1, 100},
        {"_seconds", "_seconds", 1},
        {"_timestamp_seconds", "_timestamp_seconds", 1},
        {"_mhz", "_hertz", 1'000'000},
        {"_pages_div_4", "_pages", 4},
    };
    return st_Rules[static_cast<int>(enUnit)];
}

FACT& CFacts::New(FACT::KIND enKind, std::string Name)
{
    FACT& st_New = m_All.emplace_back();
    st_New.enKind = enKind;
    st_New.Name = std::move(Name);
    return st_New;
}

void CFacts::Add(std::string Name, VALUE Value, UNIT enUnit, std::string Shown)
{
    FACT& st_New = New(FACT::KIND::Value, std::move(Name));
    const auto* const pText = std::get_if<std::string>(&Value);
    if (!pText || !pText->empty())
        st_New.Value = std::move(Value);
    st_New.enUnit = enUnit;
    st_New.Shown = std::move(Shown);
}

void CFacts::AddLines(std::string Name, std::vector<std::string> Lines, char chEnd)
{
    FACT& st_New = New(FACT::KIND::Lines, std::move(Name));
    st_New.Lines = std::move(Lines);
    st_New.chEnd = chEnd;
}

void CFacts::AddBytes(std::string Name, std::string Bytes)
{
    New(FACT::KIND::Bytes, std::move(Name)).Value = std::move(Bytes);
}

void CFacts::AddTable(std::string Name, std::vector<CFacts> Rows)
{
    New(FACT::KIND::Table, std::move(Name)).Rows = std::move(Rows);
}

void CFacts::AddBlocks(std::string Name, std::vector<CFacts> Rows)
{
    New(FACT::KIND::Blocks, std::move(Name)).Rows = std::move(Rows);
}

void CFacts::AddPart(std::string Name, const std::function<void(CFacts&)>& pfnFill)
{
    CFacts Part;
    Part.Try([&] { pfnFill(Part); });
    New(FACT::KIND::Part, std::move(Name)).Rows.push_back(std::move(Part));
}

void CFacts::Remark(std::string Text)
{
    New(FACT::KIND::Remark, {}).Shown = std::move(Text);
}

void CFacts::Try(const std::function<void()>& pfnWork)
{
    try
    {
        pfnWork();
    }
    catch (const std::exception& Error)
    {
        New(FACT::KIND::Failed, {}).st_Failure = FailureOf(Error);
    }
}

int CFacts::Status() const
{
    int nStatus = EXIT_SUCCESS;
    for (const FACT& st_Fact : m_All)
    {
        if (st_Fact.enKind == FACT::KIND::Failed)
            nStatus = std::max(nStatus, st_Fact.st_Failure.nStatus);
        for (const CFacts& Row : st_Fact.Rows)
            nStatus = std::max(nStatus, Row.Status());
    }
    return nStatus;
}
