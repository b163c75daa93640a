// SPDX-License-Identifier: MIT
#include "ErrorTable.h"

#include <Tolvane_SystemApi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace
{
constexpr std::string_view ErrnoMark = "; errno";

/// The beginning of the symbols, behind ERROR_SYSTEMAPI_, and the function that sets them.
constexpr struct
{
    std::string_view Symbols;
    std::string_view Function;
} st_Operations[] = {
    {"FILE_GETATTR_", "SystemApi_File_GetFileAttr"},
    {"FILE_SAVEBUFF_", "SystemApi_File_SaveBuffToFile"},
    {"FILE_ENUMFILE_", "SystemApi_File_EnumFile"},
    {"FILE_CREATEFOLDER_", "SystemApi_File_CreateMutilFolder"},
    {"FILE_DELETEFOLDER_", "SystemApi_File_DeleteMutilFolder"},
    {"FILE_SPARSE_", "SystemApi_File_CreateSparseFile"},
    {"FILE_COPY_", "SystemApi_File_CopyFile"},
    {"HARDWARE_GETCPUINFO_", "SystemApi_HardWare_GetCpuInfomation"},
    {"HARDWARE_GETDISKINFO_", "SystemApi_HardWare_GetDiskInfomation"},
    {"HARDWARE_GETDISKNUMBER_", "SystemApi_HardWare_GetDiskNumber"},
    {"HARDWARE_GETSERIAL_", "SystemApi_HardWare_GetSerial"},
    {"PROCESS_CREATE_", "SystemApi_Process_CreateProcess"},
    {"PROCESS_GETINFO_", "SystemApi_Process_GetProcessInfo"},
    {"PROCESS_READCMD_", "SystemApi_Process_ReadCmdReturn"},
    {"PROCESS_RUN_", "SystemApi_Process_RunProcess"},
    {"PROCESS_STOP_", "SystemApi_Process_Stop"},
    {"PROCESS_GETPATH_", "SystemApi_Process_GetPath"},
    {"PROCESS_GETPRIORITY_", "SystemApi_Process_GetPriority"},
    {"PROCESS_SETPRIORITY_", "SystemApi_Process_SetPriority"},
    {"PROCESS_SETCPU_", "SystemApi_Process_SetProcessForCpu"},
    {"SYSTEM_GETSYSTEMVER_", "SystemApi_System_GetSystemVer"},
    {"SYSTEM_GETMEMORYUSAGE_", "SystemApi_System_GetMemoryUsage"},
    {"SYSTEM_GETCPUUSAGE_", "SystemApi_System_GetCpuUsage"},
    {"SYSTEM_GETUPTIME_", "SystemApi_System_GetUpTime"},
    {"SYSTEM_GETPROCESSCOUNT_", "SystemApi_System_GetProcessCount"},
    {"SYSTEM_SHUTDOWN_", "SystemApi_System_Shutdown"},
    {"SYSTEM_SYSTEMEX_", "SystemApi_System_SystemEx"},
    {"SYSTEM_GETSYSIDLETIME_", "SystemApi_System_GetSysIdleTime"},
    {"SYSTEM_GETOCCUPY_", "SystemApi_System_GetCpuUsage"}, // of its samples
};
} // namespace

std::string_view ConditionOf(const ERROR_SYMBOL& st_Symbol)
{
    const std::string_view Text = st_Symbol.Condition;
    return Text.substr(0, Text.size() - (SetsErrno(st_Symbol) ? ErrnoMark.size() : 0));
}

bool SetsErrno(const ERROR_SYMBOL& st_Symbol)
{
    return st_Symbol.Condition.ends_with(ErrnoMark);
}

std::string_view OperationOf(const ERROR_SYMBOL& st_Symbol)
{
    constexpr std::string_view Prefix = "ERROR_SYSTEMAPI_";
    const std::string_view Rest = st_Symbol.Name.substr(Prefix.size());
    const auto* const pFound = std::find_if(std::begin(st_Operations), std::end(st_Operations),
                                            [&](const auto& st_Row) { return Rest.starts_with(st_Row.Symbols); });
    return pFound == std::end(st_Operations) ? std::string_view() : pFound->Function;
}

const std::vector<ERROR_SYMBOL>& ErrorSymbols()
{
    static const std::vector<ERROR_SYMBOL> Symbols = {
#include "ErrorSymbols.inc"
    };
    return Symbols;
}

std::vector<ERROR_SYMBOL> SymbolsOf(unsigned long dwCode, std::string_view Operation)
{
    const std::string Infix = "_" + std::string(Operation) + "_";
    std::vector<ERROR_SYMBOL> Found;
    for (const ERROR_SYMBOL& st_Symbol : ErrorSymbols())
    {
        if (st_Symbol.dwCode != dwCode)
            continue;
        if (!Operation.empty() && st_Symbol.Name.find(Infix) != std::string_view::npos)
            return {st_Symbol};
        Found.push_back(st_Symbol);
    }
    return Found;
}

std::string CodeText(unsigned long dwCode)
{
    std::array<char, 32> tszCode = {};
    std::snprintf(tszCode.data(), tszCode.size(), "0x%08lX", dwCode);
    return tszCode.data();
}
