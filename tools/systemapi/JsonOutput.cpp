// SPDX-License-Identifier: MIT
#include "JsonOutput.h"

#include <nlohmann/json.hpp>
#include <ostream>

namespace
{
using JSON = nlohmann::ordered_json;

JSON ValueOf(const VALUE& Value)
{
    return std::visit(
        [](const auto& Known) {
            if constexpr (std::is_same_v<std::decay_t<decltype(Known)>, std::monostate>)
                return JSON(nullptr);
            else
                return JSON(Known);
        },
        Value);
}

JSON TextOrNull(const std::string& Text)
{
    return Text.empty() ? JSON(nullptr) : JSON(Text);
}

JSON FailureObject(const FAILURE& st_Failure)
{
    return {{"kind", st_Failure.lpszKind},
            {"subject", TextOrNull(st_Failure.Subject)},
            {"symbol", TextOrNull(st_Failure.Symbol)},
            {"code", TextOrNull(st_Failure.Code)},
            {"errno", st_Failure.nErrno ? JSON(*st_Failure.nErrno) : JSON(nullptr)},
            {"message", st_Failure.Message}};
}

void Fill(JSON& Object, const CFacts& Facts);

JSON RowsOf(const FACT& st_Fact)
{
    JSON Rows = JSON::array();
    for (const CFacts& Row : st_Fact.Rows)
    {
        JSON Object = JSON::object();
        Fill(Object, Row);
        Rows.push_back(std::move(Object));
    }
    return Rows;
}

void Fill(JSON& Object, const CFacts& Facts)
{
    for (const FACT& st_Fact : Facts.All())
    {
        switch (st_Fact.enKind)
        {
        case FACT::KIND::Value:
        case FACT::KIND::Bytes:
            Object[st_Fact.Name + RuleOf(st_Fact.enUnit).lpszSuffix] = ValueOf(st_Fact.Value);
            break;
        case FACT::KIND::Lines:
            Object[st_Fact.Name] = st_Fact.Lines;
            break;
        case FACT::KIND::Table:
        case FACT::KIND::Blocks:
            Object[st_Fact.Name] = RowsOf(st_Fact);
            break;
        case FACT::KIND::Part:
            Object[st_Fact.Name] = RowsOf(st_Fact)[0];
            break;
        case FACT::KIND::Remark:
            break;
        case FACT::KIND::Failed:
            Object["errors"].push_back(FailureObject(st_Fact.st_Failure));
            break;
        }
    }
}
} // namespace

void WriteJson(std::ostream& Output, const std::string& Command, const CFacts& Facts)
{
    constexpr int nIndent = 2;
    JSON Object = {{"command", Command}};
    Fill(Object, Facts);
    Output << Object.dump(nIndent, ' ', false, JSON::error_handler_t::replace) << '\n';
}

const std::string& JsonSchema()
{
    static const std::string Schema =
#include "Schema.inc"
        ;
    return Schema;
}
