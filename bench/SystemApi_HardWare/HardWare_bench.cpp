/// The hardware queries against a bare open, read and scan of the same file.
#include <Tolvane_SystemApi.h>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <sys/vfs.h>
#include <thread>
#include <unistd.h>

namespace
{
void BarePartitions(benchmark::State& State)
{
    for (auto _ : State)
    {
        FILE* const pFile = fopen("/proc/partitions", "r");
        char tszLine[1024];
        while (fgets(tszLine, sizeof(tszLine), pFile))
        {
            int nMajor = 0;
            int nMinor = 0;
            long long nBlocks = 0;
            char tszName[1024];
            benchmark::DoNotOptimize(sscanf(tszLine, "%d %d %lld %s", &nMajor, &nMinor, &nBlocks, tszName));
        }
        fclose(pFile);
    }
}
void DiskNumber(benchmark::State& State)
{
    for (auto _ : State)
    {
        char** pptszNames = nullptr;
        int nCount = 0;
        SystemApi_HardWare_GetDiskNumber(&pptszNames, &nCount);
        BaseLib_Memory_Free(&pptszNames, nCount);
    }
}

void BareProcessorTable(benchmark::State& State)
{
    for (auto _ : State)
    {
        benchmark::DoNotOptimize(std::thread::hardware_concurrency());
        FILE* const pFile = fopen("/proc/cpuinfo", "r");
        char tszLine[1024];
        for (int nLine = 1; nLine <= 8 && fgets(tszLine, sizeof(tszLine), pFile); ++nLine)
        {
            char tszWords[4][1024];
            if (nLine == 2 || nLine == 8)
                benchmark::DoNotOptimize(
                    sscanf(tszLine, "%s %s %s %s", tszWords[0], tszWords[1], tszWords[2], tszWords[3]));
        }
        fclose(pFile);
        benchmark::DoNotOptimize(sysconf(_SC_NPROCESSORS_ONLN));
    }
}
void CpuInfomation(benchmark::State& State)
{
    tag_SystemApi_Cpu_Information st_Cpu = {};
    for (auto _ : State)
        SystemApi_HardWare_GetCpuInfomation(&st_Cpu);
}

void BareStatFs(benchmark::State& State)
{
    struct statfs st_Fs = {};
    for (auto _ : State)
        benchmark::DoNotOptimize(statfs("/", &st_Fs));
}
void DiskInfomation(benchmark::State& State)
{
    tag_SystemApi_Disk_Information st_Disk = {};
    for (auto _ : State)
        SystemApi_HardWare_GetDiskInfomation("/", &st_Disk, 3);
}

BENCHMARK(BarePartitions);
BENCHMARK(DiskNumber);
BENCHMARK(BareProcessorTable);
BENCHMARK(CpuInfomation);
BENCHMARK(BareStatFs);
BENCHMARK(DiskInfomation);
} // namespace
