/// Command capture against a bare popen/fgets loop that throws the lines away.
#include <Tolvane_SystemApi.h>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <vector>

namespace
{
constexpr std::size_t nBytes = 64U << 20;
constexpr const char* lpszLines =
    "yes 0123456789012345678901234567890123456789012345678901234567890123456789012345678 | head -c 67108864";

void DrainWithFgets(const char* lpszCmd)
{
    FILE* const pPipe = popen(lpszCmd, "r");
    char tszLine[2048];
    while (fgets(tszLine, sizeof(tszLine), pPipe))
        benchmark::DoNotOptimize(tszLine[0]);
    pclose(pPipe);
}

void Bare64MiB(benchmark::State& State)
{
    for (auto _ : State)
        DrainWithFgets(lpszLines);
}
void Capture64MiB(benchmark::State& State)
{
    std::vector<char> Buffer(nBytes + 1);
    for (auto _ : State)
    {
        Buffer[0] = '\0';
        SystemApi_Process_ReadCmdReturn(lpszLines, Buffer.data(), 0, 0, nullptr);
    }
}

void BareTrue(benchmark::State& State)
{
    for (auto _ : State)
        DrainWithFgets("true");
}
void CaptureTrue(benchmark::State& State)
{
    char tszBuffer[1024] = {};
    for (auto _ : State)
        SystemApi_Process_ReadCmdReturn("true", tszBuffer, 0, 0, nullptr);
}

BENCHMARK(Bare64MiB)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(Capture64MiB)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BareTrue)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(CaptureTrue)->Unit(benchmark::kMicrosecond)->UseRealTime();
} // namespace
