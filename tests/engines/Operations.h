// SPDX-License-Identifier: MIT
/// Every operation of the C interface as a row: how it is called, what it may write, and what each failing system
/// call means. The engines multiply these rows; a new operation costs one row of tests/data/engines/Operations.inc.
#pragma once

#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <climits>
#include <string>
#include <sys/syscall.h>
#include <vector>

/// All that the operations write to. Compared as bytes, so the engines fill it before a call.
struct OUTPUTS
{
    char tszText[4][1024];
    char tszRows[2048]; ///< a table's rows and the state of the files, as text
    int nNumber;
    unsigned long dwNumber;
    SYSTEMAPI_FILE_ATTR st_Attr;
    tag_SystemApi_Disk_Information st_Disk;
    tag_SystemApi_Cpu_Information st_Cpu;
    tag_SystemApi_SdkSerial_Information st_Serial;
    tag_SystemApi_Process_Infomation st_Info;
    tag_SystemApi_Memory_Infomation st_Memory;
    TOLVANE_LIBTIME st_Time;
    char** ppszNarrow;
    wchar_t** ppszWide;
    SYSTEMAPI_PROCESS_INFO** ppSt_List;
    int nRows;

    OUTPUTS() noexcept; ///< as a caller hands it in
};

constexpr int nAnyErrno = -1; ///< the interface does not say

constexpr int nErrnoBefore = EXDEV;       ///< errno before every call: what a refused argument leaves
constexpr unsigned long dwCodeBefore = 7; ///< what the code is before every call that an engine traces

/// What an operation does when a system call is refused. A failure's code is an outcome, too.
enum : unsigned long
{
    dwSame,    ///< all is as without the fault; what holds where no rule names the call
    dwLess,    ///< success with outputs that tell less
    dwRaises,  ///< the facility's exception with the call's errno
    dwRaisesIt ///< the facility's exception with an errno of its own
};

/// Holds for the calls that it names, "allocation" among them; of several that fit, any may come true.
struct RULE
{
    RULE(const char* lpszForCalls, unsigned long dwThen) : lpszCalls(lpszForCalls), dwOutcome(dwThen) {}
    RULE& First(int nTimes) { return nOccurrences = nTimes, *this; }        ///< for the first so many calls alone
    RULE& Only(const char* lpszFor) { return lpszErrnos = lpszFor, *this; } ///< for these errnos alone
    RULE& Writes() { return bWrites = true, *this; }                        ///< some outputs are written all the same
    RULE& Errno(int nOther) { return nErrno = nOther, *this; }              ///< errno is not the call's
    RULE& Leaves(unsigned long dwLeft) { return dwCode = dwLeft, *this; }   ///< the code behind a success with less

    const char* lpszCalls;
    unsigned long dwOutcome;
    int nOccurrences = INT_MAX;
    const char* lpszErrnos = nullptr;
    bool bWrites = false;
    int nErrno = 0; ///< or nAnyErrno
    unsigned long dwCode = dwCodeBefore;
};

struct OPERATION
{
    const char* lpszName;
    bool (*pfnCall)(OUTPUTS& st_Out);
    bool (*pfnMember)(OUTPUTS& st_Out);
    std::vector<RULE> Rules = {};
    void (*pfnPrepare)() = nullptr; ///< before each call
    void (*pfnMachine)() = nullptr; ///< before the first call, in a child process of the operation's own
    bool bFiles = false;            ///< changes files: their state belongs to the outputs
    bool bStarts = false;           ///< leaves a child, whose id stands in dwNumber or nowhere
    bool bKeeps = false;            ///< the C library keeps memory, or gives some back: user database, time zone
    bool bVaries = false;           ///< the outputs differ from call to call
    bool bHolds = false;            ///< a failure leaves signals changed, on purpose
    bool bAlone = false;            ///< not beside other threads
    bool bStdEnds = false;          ///< the standard library may end the process where memory is refused
    bool bSlow = false;             ///< takes a second
};

/// A system call that is refused: the n-th of its number.
struct FAULT
{
    long nCall;
    int nOccurrence;
    int nErrno;
};

/// A failure that the interface has a symbol for, produced through it.
struct FAILURE
{
    const char* lpszSymbol;
    unsigned long dwCode;
    int nErrno;
    OPERATION st_Operation;
    std::vector<FAULT> Faults = {};
    void (*pfnPrepare)() = nullptr;
    bool bWrites = false;  ///< some outputs, on purpose
    bool bInChild = false; ///< in the forked child, where the call returns as well
};

const std::vector<OPERATION>& Operations();
const std::vector<FAILURE>& Failures();

/// In a sandbox, once: the files that the operations work on and tools in the place of the machine's, and the stand-ins.
class CMachine
{
public:
    explicit CMachine(int nThreads = 1);
    ~CMachine();
    CMachine& operator=(CMachine&&) = delete;
};

extern thread_local int nThread; ///< whose files the operations work on

void Prepare(const OPERATION& st_Operation); ///< what a row says must come before the call; in a child process
void Flatten(const OPERATION& st_Operation, OUTPUTS& st_Out); ///< turns tables, files and children into text
void EndChild();                                              ///< of a row that prepared one
bool Call(const OPERATION& st_Operation, OUTPUTS& st_Out, bool bMember = false); ///< all of it
void WarmUp(const OPERATION& st_Operation); ///< calls it where that leaves nothing but what the C library keeps

/// Where the outputs first differ; empty where they are the same.
std::string Difference(const OUTPUTS& st_First, const OUTPUTS& st_Second);
