#include "Sandbox.h"

#include "Fakes.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace
{
enum ChildExit
{
    nPassed = 0,
    nFailed = 1,
    nRefused = 2
};

bool EnterPrivateMounts()
{
    const uid_t nUid = geteuid();
    const gid_t nGid = getegid();
    if (unshare(nUid == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0)
        return false;
    if (nUid != 0)
    {
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " << nUid << " 1";
        std::ofstream("/proc/self/gid_map") << "0 " << nGid << " 1";
    }
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

[[noreturn]] void RunBody(const std::function<void()>& pfnBody, bool bPrivateMounts)
{
    if (bPrivateMounts && !EnterPrivateMounts())
    {
        std::cout << "no private mount namespace: " << std::strerror(errno) << std::endl;
        _exit(nRefused);
    }
    try
    {
        pfnBody();
    }
    catch (const std::exception& Error)
    {
        ADD_FAILURE() << "exception: " << Error.what();
    }
    LiftFakes();
#if defined(__SANITIZE_ADDRESS__)
    prctl(PR_SET_DUMPABLE, 1); // lost with root, and the leak check needs it
    EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
    std::fflush(nullptr);
    std::cout.flush();
    _exit(testing::Test::HasFailure() ? nFailed : nPassed);
}

/// The way the child ended: one of ChildExit, or -1 where a signal ended it.
int RunForked(const std::function<void()>& pfnBody, bool bPrivateMounts)
{
    std::fflush(nullptr);
    std::cout.flush();
    const pid_t nPid = fork();
    if (nPid == 0)
        RunBody(pfnBody, bPrivateMounts);
    int nStatus = 0;
    if (nPid < 0 || waitpid(nPid, &nStatus, 0) != nPid || !WIFEXITED(nStatus))
    {
        ADD_FAILURE() << "the child process did not exit, status " << nStatus;
        return -1;
    }
    return WEXITSTATUS(nStatus);
}
} // namespace

void RunInChild(const std::function<void()>& pfnBody)
{
    EXPECT_EQ(RunForked(pfnBody, false), nPassed) << "see the failures above";
}

void RunSandboxed(const std::function<void()>& pfnBody)
{
    const int nExit = RunForked(pfnBody, true);
    if (nExit == nRefused)
        SkipBecause("this machine allows no private mount namespace");
    else
        EXPECT_EQ(nExit, nPassed) << "see the failures above";
}

void SkipBecause(const char* lpszWhy)
{
    if (std::getenv("SYSTEMAPI_TESTS_FORBID_SKIP"))
        FAIL() << "skips are forbidden here: " << lpszWhy;
    GTEST_SKIP() << lpszWhy;
}

void GiveUpRoot()
{
    constexpr uid_t nNobody = 65534;
    if (geteuid() != 0)
        return;
    ASSERT_EQ(setgroups(0, nullptr), 0);
    ASSERT_EQ(setresgid(nNobody, nNobody, nNobody), 0);
    ASSERT_EQ(setresuid(nNobody, nNobody, nNobody), 0);
}

CNoDescriptors::CNoDescriptors(unsigned nLeft)
{
    const int nFree = dup(STDOUT_FILENO); // the lowest one that is free
    close(nFree);
    getrlimit(RLIMIT_NOFILE, &m_st_Before);
    const rlimit st_Limit = {static_cast<rlim_t>(nFree) + nLeft, m_st_Before.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &st_Limit), 0);
}

CNoDescriptors::~CNoDescriptors()
{
    setrlimit(RLIMIT_NOFILE, &m_st_Before);
}
