// SPDX-License-Identifier: MIT
/// The processors' counters against a bare open, read and scan of the same file.
#include <SystemApi_System/SystemApi_System.h>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <thread>
#include <vector>

namespace
{
void BareSummary(benchmark::State& State)
{
    for (auto _ : State)
    {
        FILE* const pFile = fopen("/proc/stat", "r");
        char tszLine[1024];
        unsigned long n[9] = {};
        if (fgets(tszLine, sizeof(tszLine), pFile))
            benchmark::DoNotOptimize(sscanf(tszLine, "cpu %lu %lu %lu %lu %lu %lu %lu %lu %lu", &n[0], &n[1], &n[2],
                                            &n[3], &n[4], &n[5], &n[6], &n[7], &n[8]));
        fclose(pFile);
    }
}
void IdleTime(benchmark::State& State)
{
    unsigned long nIdle = 0;
    for (auto _ : State)
        SystemApi_System_GetSysIdleTime(&nIdle);
}

void BareSample(benchmark::State& State)
{
    std::vector<tag_LinuxSdk_SystemCpu_Occupy> Sample(std::thread::hardware_concurrency());
    for (auto _ : State)
    {
        FILE* const pFile = fopen("/proc/stat", "r");
        char tszLine[1024];
        benchmark::DoNotOptimize(fgets(tszLine, sizeof(tszLine), pFile));
        // The count is part of the job: it is to be asked for before every line.
        for (std::size_t nCpu = 0; nCpu < std::thread::hardware_concurrency(); ++nCpu)
        {
            auto& st_Cpu = Sample[nCpu];
            if (fgets(tszLine, sizeof(tszLine), pFile))
                benchmark::DoNotOptimize(sscanf(tszLine, "%19s %u %u %u %u", st_Cpu.tszCpuName, &st_Cpu.dwUser,
                                                &st_Cpu.dwNice, &st_Cpu.dwSystem, &st_Cpu.dwIdle));
        }
        fclose(pFile);
    }
}
void Occupy(benchmark::State& State)
{
    std::vector<tag_LinuxSdk_SystemCpu_Occupy> Sample(std::thread::hardware_concurrency());
    for (auto _ : State)
        m_SystemSdk.SystemApi_System_Get_Occupy(Sample.data());
}

BENCHMARK(BareSummary);
BENCHMARK(IdleTime);
BENCHMARK(BareSample);
BENCHMARK(Occupy);
} // namespace
