// SPDX-License-Identifier: MIT
#include "Metrics.h"

#include "JsonOutput.h"

#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <string_view>

namespace
{
using JSON = nlohmann::json;

// The tool itself is of no interest, a label for each command line is more than a store of metrics takes, and the start
// moves by a second from one call to the next, which would be another series each time.
constexpr std::string_view OwnProcess = "this_process";
constexpr std::string_view ProcessList = "list";
constexpr std::string_view Start = "started";

/// With U+FFFD in the place of what is no UTF-8.
std::string ValidText(const std::string& Text)
{
    return JSON::parse(JSON(Text).dump(-1, ' ', false, JSON::error_handler_t::replace)).get<std::string>();
}

std::string Escaped(const std::string& Text)
{
    std::string Safe;
    for (const char ch : ValidText(Text))
    {
        if (ch == '\\' || ch == '"')
            Safe += '\\';
        Safe += ch == '\n' ? std::string("\\n") : std::string(1, ch);
    }
    return Safe;
}

std::optional<double> NumberOf(const FACT& st_Fact)
{
    if (const auto* pNumber = std::get_if<long long>(&st_Fact.Value))
        return static_cast<double>(*pNumber);
    if (const auto* pNumber = std::get_if<unsigned long long>(&st_Fact.Value))
        return static_cast<double>(*pNumber);
    if (const auto* pNumber = std::get_if<double>(&st_Fact.Value))
        return *pNumber;
    return std::nullopt;
}

std::string NumberText(double fNumber)
{
    std::array<char, 32> tszText = {};
    return {tszText.data(), std::to_chars(tszText.data(), tszText.data() + tszText.size(), fNumber).ptr};
}

/// The texts among the facts: {name="value",...}; empty where there are none.
std::string Labels(const CFacts& Facts)
{
    std::string Text;
    for (const FACT& st_Fact : Facts.All())
        if (const auto* pText = std::get_if<std::string>(&st_Fact.Value); pText && st_Fact.Name != Start)
            Text += (Text.empty() ? "{" : ",") + st_Fact.Name + "=\"" + Escaped(*pText) + "\"";
    return Text.empty() ? Text : Text + "}";
}

class CMetricWriter
{
public:
    explicit CMetricWriter(std::ostream& Output) : m_Output(Output) {}

    void Head(const std::string& Metric, const std::string& Help)
    {
        m_Output << "# HELP " << Metric << ' ' << Help << "\n# TYPE " << Metric << " gauge\n";
    }

    void Sample(const std::string& Metric, const std::string& LabelText, double fNumber)
    {
        m_Output << Metric << LabelText << ' ' << NumberText(fNumber) << '\n';
    }

    void Part(const FACT& st_Part, const JSON& Schema)
    {
        const std::string Prefix = "systemapi_" + st_Part.Name + "_";
        const CFacts& Facts = st_Part.Rows[0];
        if (const std::string LabelText = Labels(Facts); !LabelText.empty())
        {
            Head(Prefix + "info", Schema.at("description"));
            Sample(Prefix + "info", LabelText, 1);
        }
        for (const FACT& st_Fact : Facts.All())
            if (st_Fact.enKind == FACT::KIND::Table && st_Fact.Name != ProcessList)
                Table(Prefix, st_Fact, Schema.at("properties").at(st_Fact.Name).at("items"));
            else if (NumberOf(st_Fact))
                Column(Prefix, st_Fact, Schema, {Facts}, false);
    }

private:
    void Table(const std::string& Prefix, const FACT& st_Table, const JSON& Schema)
    {
        std::set<std::string> Seen; // something may be mounted over something else: one series for both
        std::vector<CFacts> Rows;
        for (const CFacts& Row : st_Table.Rows)
            if (Seen.insert(Labels(Row)).second)
                Rows.push_back(Row);
        if (Rows.empty())
            return;
        for (const FACT& st_Cell : Rows[0].All())
            if (NumberOf(st_Cell))
                Column(Prefix, st_Cell, Schema, Rows, true);
    }

    /// One metric, with a sample for each row.
    void Column(const std::string& Prefix, const FACT& st_Named, const JSON& Schema, const std::vector<CFacts>& Rows,
                bool bLabels)
    {
        const UNIT_RULE& st_Rule = RuleOf(st_Named.enUnit);
        const std::string Metric = Prefix + st_Named.Name + st_Rule.lpszMetricSuffix;
        Head(Metric, Schema.at("properties").at(st_Named.Name + st_Rule.lpszSuffix).at("description"));
        for (const CFacts& Row : Rows)
            for (const FACT& st_Fact : Row.All())
                if (const auto fNumber = NumberOf(st_Fact); fNumber && st_Fact.Name == st_Named.Name)
                    Sample(Metric, bLabels ? Labels(Row) : "",
                           *fNumber * st_Rule.fMetricFactor / st_Rule.fMetricDivisor);
    }

    std::ostream& m_Output;
};

int Failures(const CFacts& Facts)
{
    int nFailures = 0;
    for (const FACT& st_Fact : Facts.All())
    {
        nFailures += st_Fact.enKind == FACT::KIND::Failed ? 1 : 0;
        for (const CFacts& Row : st_Fact.Rows)
            nFailures += Failures(Row);
    }
    return nFailures;
}
} // namespace

void WriteMetrics(std::ostream& Output, const CFacts& Report)
{
    const JSON Schema = JSON::parse(JsonSchema()).at("$defs").at("report").at("properties");
    CMetricWriter Writer(Output);
    for (const FACT& st_Part : Report.All())
        if (st_Part.Name != OwnProcess)
            Writer.Part(st_Part, Schema.at(st_Part.Name));
    Writer.Head("systemapi_report_failures", "Questions that the report could not answer.");
    Writer.Sample("systemapi_report_failures", "", Failures(Report));
}
