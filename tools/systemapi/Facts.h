// SPDX-License-Identifier: MIT
/// What a command tells, before it is written as text (TextOutput.h), JSON (JsonOutput.h) or metrics (Metrics.h).
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

enum class UNIT
{
    None,
    Bytes,
    KiB,
    MiB,
    GiB,
    Percent,
    Seconds,
    Timestamp, ///< seconds since 1970-01-01 UTC
    MegaHertz,
    PagesDiv4 ///< pages, divided by 4
};

/// How the writers treat a unit: the end of the fact's name in JSON, and that in metrics, which know base units alone.
struct UNIT_RULE
{
    const char* lpszSuffix;
    const char* lpszMetricSuffix;
    double fMetricFactor;
    double fMetricDivisor = 1; ///< exact where the inverse factor would not be
};
const UNIT_RULE& RuleOf(UNIT enUnit);

/// Nothing stands for what is not known.
using VALUE =
    std::variant<std::monostate, bool, long long, unsigned long long, double, std::string, std::vector<long long>>;

/// Something that was wanted and did not work.
struct FAILURE
{
    int nStatus = 1;           ///< the exit status that it leads to
    const char* lpszKind = ""; ///< "operation", "file system", "usage" or "other"
    std::string Message;       ///< the whole line for people
    std::string Subject;       ///< the path or name at hand; may be empty, and so may the following
    std::string Symbol;
    std::string Code;
    std::optional<int> nErrno;
};

class CFacts;

/// One entry of the facts, in the order in which they were added.
struct FACT
{
    enum class KIND
    {
        Value,
        Lines,  ///< texts, each with chEnd behind it
        Bytes,  ///< Value is a text that is written as it is
        Table,  ///< rows of the same facts
        Blocks, ///< the same, each row under its first fact
        Part,   ///< one row: facts under a title
        Remark, ///< Shown is for people alone
        Failed
    };

    KIND enKind = KIND::Value;
    std::string Name; ///< small letters and underscores; unique among its neighbours
    UNIT enUnit = UNIT::None;
    VALUE Value;
    std::string Shown; ///< what people read instead of the value; may be empty
    std::vector<std::string> Lines;
    char chEnd = '\n';
    std::vector<CFacts> Rows;
    FAILURE st_Failure;
};

class CFacts
{
public:
    /// One value. An empty text counts as not known.
    void Add(std::string Name, VALUE Value, UNIT enUnit = UNIT::None, std::string Shown = {});
    void AddLines(std::string Name, std::vector<std::string> Lines, char chEnd = '\n');
    void AddBytes(std::string Name, std::string Bytes);
    void AddTable(std::string Name, std::vector<CFacts> Rows);
    void AddBlocks(std::string Name, std::vector<CFacts> Rows);
    /// A part, which pfnFill fills; a failure stands in it.
    void AddPart(std::string Name, const std::function<void(CFacts&)>& pfnFill);
    void Remark(std::string Text);
    /// Does something; what it throws is noted as a failure, and the rest goes on.
    void Try(const std::function<void()>& pfnWork);

    [[nodiscard]] const std::vector<FACT>& All() const { return m_All; }
    /// The exit status: 0, or the highest of all failures.
    [[nodiscard]] int Status() const;

private:
    FACT& New(FACT::KIND enKind, std::string Name);

    std::vector<FACT> m_All;
};
