#include <CLI/CLI.hpp>
#include <Tolvane_SystemApi.h>
int main(int argc, char** argv)
{
    CLI::App App{"SystemApi"};
    CLI11_PARSE(App, argc, argv);
    char a[1024]{}, b[1024]{}, c[1024]{}, k[1024]{};
    unsigned long t{};
    SystemApi_System_GetSystemVer(a, b, c, &t, k);
    printf("%s %s %s %s %lu\n", a, b, c, k, t);
    tag_SystemApi_Memory_Infomation m{};
    SystemApi_System_GetMemoryUsage(&m, 3);
    printf("%d %lu %lu %lu\n", m.nMemoryLoad, m.nMemoryTotal, m.nMemoryAvailable, m.nMemoryShared);
    SYSTEMAPI_PROCESS_INFO** p{};
    int n{};
    SystemApi_System_GetProcessList(&p, &n);
    for (int i = 0; i < n && i < 5; ++i)
        printf("%d %s\n", p[i]->nPid, p[i]->tszProcessName);
    BaseLib_Memory_Free(&p, n);
}
