/// Enumeration against the barest loop over the same standard iterator that collects native strings. The entries are
/// made below the temporary folder (TMPDIR) when first needed and removed at the end.
#include <SystemApi_File/SystemApi_File.h>

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <list>
#include <map>
#include <memory>
#include <string>

namespace
{
namespace fs = std::filesystem;

constexpr auto enOptions = fs::directory_options::skip_permission_denied;
constexpr const char* lpszAscii = "an ordinary name ";
constexpr const char* lpszOther = "\u4e00\u822c\u7684\u540d\u5b57 ";

/// Empty files, all in one folder or 1000 to a folder.
class CEntries
{
public:
    CEntries(long nFiles, bool bTree, const char* lpszPrefix)
    {
        if (!mkdtemp(m_Root.data()))
            std::abort();
        for (long nFile = 0; nFile < nFiles; ++nFile)
        {
            const std::string Folder = bTree ? m_Root + "/folder " + std::to_string(nFile / 1000) : m_Root;
            if (bTree && nFile % 1000 == 0)
                fs::create_directory(Folder);
            std::ofstream(Folder + "/" + lpszPrefix + std::to_string(nFile) + ".txt");
        }
    }
    ~CEntries() { fs::remove_all(m_Root); }
    CEntries(const CEntries&) = delete;
    CEntries& operator=(const CEntries&) = delete;

    [[nodiscard]] const std::string& Root() const { return m_Root; }
    [[nodiscard]] std::wstring WideRoot() const { return {m_Root.begin(), m_Root.end()}; }

    static const CEntries& Get(long nFiles, bool bTree, const char* lpszPrefix = lpszAscii)
    {
        static std::map<std::string, std::unique_ptr<CEntries>> Made;
        auto& pEntries = Made[std::to_string(nFiles) + (bTree ? "tree " : "flat ") + lpszPrefix];
        if (!pEntries)
            pEntries = std::make_unique<CEntries>(nFiles, bTree, lpszPrefix);
        return *pEntries;
    }

private:
    std::string m_Root = (fs::temp_directory_path() / "systemapi-bench-XXXXXX").string();
};

template <typename Iterator>
std::list<std::string> Collect(const std::string& Root)
{
    std::list<std::string> List;
    for (const auto& Entry : Iterator(Root, enOptions))
        List.push_back(Entry.path().native());
    return List;
}

/// What the table form adds: rows, and the entries copied into them.
void WriteRows(const std::list<std::string>& List)
{
    char** ppszTable = nullptr;
    BaseLib_Memory_Malloc(&ppszTable, static_cast<long long>(List.size()), 1024);
    char** ppszRow = ppszTable;
    for (const std::string& Entry : List)
        std::strcpy(*ppszRow++, Entry.c_str());
    BaseLib_Memory_Free(&ppszTable, static_cast<long long>(List.size()));
}

void CountEntries(benchmark::State& State)
{
    State.SetItemsProcessed(State.iterations() * State.range(0));
}

void Bare(benchmark::State& State, bool bTree, const char* lpszPrefix)
{
    const CEntries& Entries = CEntries::Get(State.range(0), bTree, lpszPrefix);
    for (auto _ : State)
        benchmark::DoNotOptimize(bTree ? Collect<fs::recursive_directory_iterator>(Entries.Root())
                                       : Collect<fs::directory_iterator>(Entries.Root()));
    CountEntries(State);
}

void ListA(benchmark::State& State, bool bTree, const char* lpszPrefix, const char* lpszFileExt)
{
    const CEntries& Entries = CEntries::Get(State.range(0), bTree, lpszPrefix);
    for (auto _ : State)
    {
        std::list<std::string> List;
        m_FileSdk.SystemApi_File_EnumFileA(Entries.Root().c_str(), &List, bTree, 3, lpszFileExt);
    }
    CountEntries(State);
}

void ListW(benchmark::State& State, bool bTree, const char* lpszPrefix, const wchar_t* lpszFileExt)
{
    const CEntries& Entries = CEntries::Get(State.range(0), bTree, lpszPrefix);
    for (auto _ : State)
    {
        std::list<std::wstring> List;
        m_FileSdk.SystemApi_File_EnumFileW(Entries.WideRoot().c_str(), &List, bTree, 3, lpszFileExt);
    }
    CountEntries(State);
}

void BareWithRows(benchmark::State& State)
{
    const CEntries& Entries = CEntries::Get(State.range(0), true);
    for (auto _ : State)
        WriteRows(Collect<fs::recursive_directory_iterator>(Entries.Root()));
    CountEntries(State);
}

void TableA(benchmark::State& State)
{
    const CEntries& Entries = CEntries::Get(State.range(0), true);
    for (auto _ : State)
    {
        char** ppszTable = nullptr;
        int nCount = 0;
        SystemApi_File_EnumFileA(Entries.Root().c_str(), &ppszTable, &nCount, true, 3);
        BaseLib_Memory_Free(&ppszTable, nCount);
    }
    CountEntries(State);
}

void Large(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->Arg(100'000)->Unit(benchmark::kMillisecond)->UseRealTime();
}
void AllSizes(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->RangeMultiplier(10)->Range(1000, 1'000'000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_CAPTURE(Bare, flat_ascii, false, lpszAscii)->Apply(Large);
BENCHMARK_CAPTURE(ListA, flat_ascii, false, lpszAscii, nullptr)->Apply(Large);
BENCHMARK_CAPTURE(ListA, flat_filter, false, lpszAscii, "txt")->Apply(Large);
BENCHMARK_CAPTURE(ListW, flat_ascii, false, lpszAscii, nullptr)->Apply(Large);
BENCHMARK_CAPTURE(ListW, flat_filter, false, lpszAscii, L"txt")->Apply(Large);
BENCHMARK_CAPTURE(Bare, tree_ascii, true, lpszAscii)->Apply(AllSizes);
BENCHMARK_CAPTURE(ListA, tree_ascii, true, lpszAscii, nullptr)->Apply(AllSizes);
BENCHMARK_CAPTURE(ListA, tree_filter, true, lpszAscii, "txt")->Apply(Large);
BENCHMARK_CAPTURE(ListW, tree_ascii, true, lpszAscii, nullptr)->Apply(AllSizes);
BENCHMARK(BareWithRows)->Apply(Large);
BENCHMARK(TableA)->Apply(Large);
BENCHMARK_CAPTURE(Bare, tree_other, true, lpszOther)->Apply(Large);
BENCHMARK_CAPTURE(ListA, tree_other, true, lpszOther, nullptr)->Apply(Large);
BENCHMARK_CAPTURE(ListW, tree_other, true, lpszOther, nullptr)->Apply(Large);
} // namespace
