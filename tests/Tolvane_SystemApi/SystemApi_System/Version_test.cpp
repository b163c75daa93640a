#include "Fakes.h"
#include "Sandbox.h"
#include "StandIns.h"

#include <Tolvane_SystemApi.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace
{
struct VERSION
{
    char tszName[1024] = "name";
    char tszVersion[1024] = "version";
    char tszBuild[1024] = "build";
    unsigned long dwType = 0;
    char tszKernel[1024] = "kernel";

    bool Ask() { return SystemApi_System_GetSystemVer(tszName, tszVersion, tszBuild, &dwType, tszKernel); }
};

TEST(SystemVersion, ReadsTheReleaseFileByTheBeginningsOfItsKeys)
{
    const std::string Filler = "HOME_URL=" + std::string(1100, 'u') + "\n";
    const struct
    {
        const char* lpszWhy;
        std::string Release;
        const char* lpszName;
        const char* lpszVersion;
        const char* lpszBuild;
    } st_Rows[] = {
        {"quotes and brackets; the code name's own line has no brackets and writes nothing",
         "PRETTY_NAME=\"P\"\nNAME=\"Ubuntu\"\nVERSION_ID=\"22.04\"\nVERSION=\"22.04.4 LTS (Jammy Jellyfish)\"\n"
         "VERSION_CODENAME=jammy\n",
         "Ubuntu", "22.04", "Jammy Jellyfish"},
        {"no quotes", "NAME=Fedora\nVERSION_ID=39\nVERSION=39 (Workstation)", "Fedora", "39", "Workstation"},
        {"case does not count, empty lines neither", "name=\"a\"\n\n\nversion_id=\"b\"\nVersion=\"(c)\"\n", "a", "b",
         "c"},
        {"a key that begins with NAME is NAME, and a later line overwrites", "NAME=\"a\"\nNAMESPACE=\"b\"\n", "b",
         "version", "build"},
        {"keys count by their beginnings, and a bracket in VERSION_CODENAME is taken",
         "VERSION=\"1 (early)\"\nVERSION_CODENAME=\"x (late)\"\nVERSION_IDX=\"7\"\n", "name", "7", "late"},
        {"an empty value is a value", "NAME=\"\"\nVERSION_ID=\nVERSION=\"()\"\n", "", "", ""},
        {"a lone quote, a line without a separator, an open bracket", "NAME=\"a\nVERSION_ID\nVERSION=\"1 (b\"\n",
         "name", "version", "build"},
        {"only the first separator counts", "NAME=\"a=b\"\n", "a=b", "version", "build"},
        {"what stands behind the first 1023 bytes is not read", Filler + "NAME=\"late\"\n", "name", "version",
         "build"},
        {"an empty file", "", "name", "version", "build"},
    };
    RunSandboxed([&] {
        for (const auto& st_Row : st_Rows)
        {
            SCOPED_TRACE(st_Row.lpszWhy);
            FakeFile("/etc/os-release", st_Row.Release);
            VERSION st_Version;
            SystemApi_IsErrorOccur = true;
            EXPECT_TRUE(st_Version.Ask());
            EXPECT_FALSE(SystemApi_IsErrorOccur);
            EXPECT_STREQ(st_Version.tszName, st_Row.lpszName);
            EXPECT_STREQ(st_Version.tszVersion, st_Row.lpszVersion);
            EXPECT_STREQ(st_Version.tszBuild, st_Row.lpszBuild);
            EXPECT_EQ(st_Version.dwType, 2U);
            LiftFakes();
        }
    });
}

TEST(SystemVersion, KernelIsTheReleaseOfUnameAndOptional)
{
    StandIns().Uname = [](utsname* pSt_Name) {
        std::strcpy(pSt_Name->release, "9.8.7-test");
        return 0;
    };
    VERSION st_Version;
    EXPECT_TRUE(st_Version.Ask());
    EXPECT_STREQ(st_Version.tszKernel, "9.8.7-test");
    EXPECT_TRUE(SystemApi_System_GetSystemVer(st_Version.tszName, st_Version.tszVersion, st_Version.tszBuild,
                                              &st_Version.dwType, nullptr));
    StandIns() = {};
}

TEST(SystemVersion, FailsWithNothingWritten)
{
    VERSION st_Version;
    char* const ptszName = st_Version.tszName;
    EXPECT_FALSE(SystemApi_System_GetSystemVer(nullptr, ptszName, ptszName, &st_Version.dwType, ptszName));
    EXPECT_FALSE(SystemApi_System_GetSystemVer(ptszName, nullptr, ptszName, &st_Version.dwType, ptszName));
    EXPECT_FALSE(SystemApi_System_GetSystemVer(ptszName, ptszName, nullptr, &st_Version.dwType, ptszName));
    EXPECT_FALSE(SystemApi_System_GetSystemVer(ptszName, ptszName, ptszName, nullptr, ptszName));
    EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_PARAMETER);

    StandIns().Uname = [](utsname*) {
        errno = EFAULT;
        return -1;
    };
    int nErrno = 0;
    EXPECT_FALSE(st_Version.Ask());
    EXPECT_EQ(SystemApi_GetLastError(&nErrno), ERROR_SYSTEMAPI_SYSTEM_GETSYSTEMVER_UNAME);
    EXPECT_EQ(nErrno, EFAULT);
    EXPECT_STREQ(st_Version.tszName, "name");
    EXPECT_STREQ(st_Version.tszKernel, "kernel");
    EXPECT_EQ(st_Version.dwType, 0U);
    StandIns() = {};
}

// A release file that cannot be read is no failure, whether cat fails or cannot even be started.
TEST(SystemVersion, GoesOnWithoutAReleaseFile)
{
    RunSandboxed([] {
        FakeFolder("/etc");
        VERSION st_Version;
        EXPECT_TRUE(st_Version.Ask());
        EXPECT_STREQ(st_Version.tszName, "name");
    });
    RunInChild([] {
        const CNoDescriptors m_None;
        VERSION st_Version;
        EXPECT_TRUE(st_Version.Ask());
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        EXPECT_EQ(SystemApi_GetLastError(nullptr), ERROR_SYSTEMAPI_PROCESS_READCMD_POPEN) << "the code stays";
        EXPECT_EQ(st_Version.dwType, 2U);
    });
}

TEST(SystemNames, AreTheEffectiveUsersAndTheHostsEachOptional)
{
    RunInChild([] {
        char tszUser[1024] = "user";
        char tszHost[1024] = "host";
        char tszExpected[1024] = {};
        ASSERT_EQ(gethostname(tszExpected, sizeof(tszExpected)), 0);
        SystemApi_IsErrorOccur = true;
        EXPECT_TRUE(SystemApi_System_GetSysName(nullptr, nullptr));
        EXPECT_FALSE(SystemApi_IsErrorOccur);
        EXPECT_TRUE(SystemApi_System_GetSysName(nullptr, tszHost));
        EXPECT_STREQ(tszHost, tszExpected);
        const uid_t nBefore = geteuid();
        ASSERT_EQ(seteuid(nBefore == 0 ? 65534 : nBefore), 0); // root's real user stays another
        EXPECT_TRUE(SystemApi_System_GetSysName(tszUser, nullptr));
        const passwd* const pSt_User = getpwuid(geteuid());
        EXPECT_STREQ(tszUser, pSt_User ? pSt_User->pw_name : "user");
        EXPECT_EQ(seteuid(nBefore), 0); // the leak check at the child's end needs it
    });
}

TEST(SystemNames, AUserWithoutAnEntryLeavesTheBufferAlone)
{
    RunSandboxed([] {
        FakeFolder("/etc");
        std::ofstream("/etc/nsswitch.conf") << "passwd: files\n";
        std::ofstream("/etc/passwd") << "somebody:x:4711:4711::/:/bin/sh\n";
        char tszUser[1024] = "as it was";
        EXPECT_TRUE(SystemApi_System_GetSysName(tszUser, nullptr));
        EXPECT_STREQ(tszUser, "as it was");

        std::ofstream("/etc/passwd") << "root:x:0:0:" << std::string(3000, 'n') << ":/:/bin/sh\n";
        EXPECT_TRUE(SystemApi_System_GetSysName(tszUser, nullptr));
        EXPECT_STREQ(tszUser, "root") << "an entry larger than the first buffer";
    });
}
} // namespace
