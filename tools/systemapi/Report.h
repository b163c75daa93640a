/// The report: sections of what the library tells about this machine.
#pragma once

#include "Text.h"

#include <functional>
#include <string>
#include <string_view>

class CReport
{
public:
    explicit CReport(bool bAll) : m_bAll(bAll) {}

    /// Lists are to be given whole.
    [[nodiscard]] bool All() const { return m_bAll; }
    /// Begins a section.
    void Section(std::string_view Title);
    /// Asks for a part of the section: a failure is shown in its place, and the report goes on.
    void Try(const std::function<void()>& pfnPart);
    /// A line of a label and a text, which is made harmless; an empty one is shown as unknown.
    void Line(std::string_view Label, std::string_view Text) const;
    /// A line of a label, a bar, and a text beside it.
    void BarLine(std::string_view Label, int nPercent, std::string_view Text) const;
    /// The first rows of a table, or all. The callback adds row n.
    void List(CTable Table, std::size_t nRows, const std::function<void(CTable&, std::size_t)>& pfnAddRow) const;
    /// A faint remark.
    void Remark(std::string_view Text) const;
    /// How many parts have failed.
    [[nodiscard]] int Failures() const { return m_nFailures; }

private:
    void Labelled(std::string_view Label, const std::string& Shown) const;

    bool m_bAll;
    bool m_bFirst = true;
    int m_nFailures = 0;
};

// The sections, in the order of the report (the list is in Report.cpp).
void ReportSystem(CReport& Report);
void ReportStart(CReport& Report);
void ReportProcessor(CReport& Report);
void ReportMemory(CReport& Report);
void ReportDisks(CReport& Report);
void ReportFileSystems(CReport& Report);
void ReportSerials(CReport& Report);
void ReportProcesses(CReport& Report);
void ReportOwnProcess(CReport& Report);
