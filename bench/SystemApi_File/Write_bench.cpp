/// Zero-fill, save and copy against the same work done barely, in files below the temporary folder (TMPDIR).
#include <Tolvane_SystemApi.h>

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{
namespace fs = std::filesystem;

class CBenchFolder
{
public:
    CBenchFolder()
    {
        if (!mkdtemp(m_Root.data()))
            std::abort();
    }
    ~CBenchFolder() { fs::remove_all(m_Root); }
    CBenchFolder(const CBenchFolder&) = delete;
    CBenchFolder& operator=(const CBenchFolder&) = delete;

    [[nodiscard]] std::string operator/(const char* lpszName) const { return m_Root + "/" + lpszName; }

private:
    std::string m_Root = (fs::temp_directory_path() / "systemapi-bench-XXXXXX").string();
};

void CountBytes(benchmark::State& State)
{
    State.SetBytesProcessed(State.iterations() * State.range(0));
}

void RunDd(const std::string& File, long nBytes)
{
    std::string Args[] = {
        "dd", "if=/dev/zero", "of=" + File, "bs=4k", "count=" + std::to_string(nBytes / 4096), "status=none"};
    std::vector<char*> Argv;
    for (std::string& Arg : Args)
        Argv.push_back(Arg.data());
    Argv.push_back(nullptr);
    pid_t nPid = 0;
    if (posix_spawnp(&nPid, "dd", nullptr, nullptr, Argv.data(), environ) != 0)
        std::abort();
    int nStatus = 0;
    waitpid(nPid, &nStatus, 0);
}

void ZerosByDd(benchmark::State& State)
{
    const CBenchFolder m_Folder;
    for (auto _ : State)
        RunDd(m_Folder / "zeros", State.range(0));
    CountBytes(State);
}
void ZeroFill(benchmark::State& State)
{
    const CBenchFolder m_Folder;
    for (auto _ : State)
        SystemApi_File_CreateSparseFileA((m_Folder / "zeros").c_str(), State.range(0));
    CountBytes(State);
}

void BareSave(benchmark::State& State)
{
    const CBenchFolder m_Folder;
    const std::string Bytes(static_cast<std::size_t>(State.range(0)), 'x');
    for (auto _ : State)
    {
        const int nFile = open((m_Folder / "saved").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        for (std::size_t nDone = 0; nDone < Bytes.size();)
        {
            const ssize_t nWritten = write(nFile, Bytes.data() + nDone, Bytes.size() - nDone);
            nDone += nWritten > 0 ? static_cast<std::size_t>(nWritten) : 0;
        }
        close(nFile);
    }
    CountBytes(State);
}
void Save(benchmark::State& State)
{
    const CBenchFolder m_Folder;
    const std::string Bytes(static_cast<std::size_t>(State.range(0)), 'x');
    for (auto _ : State)
        SystemApi_File_SaveBuffToFileA((m_Folder / "saved").c_str(), Bytes.data(), static_cast<int>(Bytes.size()));
    CountBytes(State);
}

void BareCopy(benchmark::State& State)
{
    const CBenchFolder m_Folder;
    std::ofstream(m_Folder / "source") << std::string(static_cast<std::size_t>(State.range(0)), 'x');
    for (auto _ : State)
        fs::copy_file(m_Folder / "source", m_Folder / "copy", fs::copy_options::overwrite_existing);
    CountBytes(State);
}
void Copy(benchmark::State& State)
{
    const CBenchFolder m_Folder;
    std::ofstream(m_Folder / "source") << std::string(static_cast<std::size_t>(State.range(0)), 'x');
    for (auto _ : State)
        SystemApi_File_CopyFileA((m_Folder / "source").c_str(), (m_Folder / "copy").c_str(), false);
    CountBytes(State);
}

BENCHMARK(ZerosByDd)->Arg(256L << 20)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ZeroFill)->Arg(256L << 20)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BareSave)->Arg(256L << 20)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Save)->Arg(256L << 20)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BareCopy)->Arg(256L << 20)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Copy)->Arg(256L << 20)->Unit(benchmark::kMillisecond)->UseRealTime();
} // namespace
