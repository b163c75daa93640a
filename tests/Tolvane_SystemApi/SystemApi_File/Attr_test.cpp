// SPDX-License-Identifier: MIT
#include "Forms.h"
#include "Sandbox.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
namespace fs = std::filesystem;

template <typename Form>
class FileAttr : public FileTest<Form>
{};
TYPED_TEST_SUITE(FileAttr, BothWidths);

TYPED_TEST(FileAttr, SizeTimesAndKindFollowLinks)
{
    const std::string File = this->Write(".file", "12345");
    const timespec st_Times[] = {{1'000'000'000, 999'999'999}, {-5, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, File.c_str(), st_Times, 0), 0);
    struct stat st_Status = {};
    ASSERT_EQ(stat(File.c_str(), &st_Status), 0);
    fs::create_symlink(".file", this->Native(".link"));
    mkfifo(this->Native("fifo").c_str(), 0600);
    fs::create_directory(this->Native("folder"));

    SYSTEMAPI_FILE_ATTR st_Attr = {};
    ASSERT_TRUE(TypeParam::GetFileAttr(this->At(".link").c_str(), &st_Attr));
    EXPECT_EQ(st_Attr.nFileSize, 5);
    EXPECT_EQ(st_Attr.nCreateTime, st_Status.st_ctim.tv_sec);
    EXPECT_EQ(st_Attr.nAccessTime, 1'000'000'000);
    EXPECT_EQ(st_Attr.nWriteTime, -5);
    EXPECT_TRUE(st_Attr.bIsFile);
    EXPECT_TRUE(st_Attr.bIsRead);
    EXPECT_FALSE(st_Attr.bIsHidden) << "the path as passed does not begin with a dot";
    ASSERT_TRUE(TypeParam::GetFileAttr(this->At("fifo").c_str(), &st_Attr));
    EXPECT_TRUE(st_Attr.bIsFile) << "anything but a folder";
    ASSERT_TRUE(TypeParam::GetFileAttr(this->At("folder").c_str(), &st_Attr));
    EXPECT_FALSE(st_Attr.bIsFile);
    ASSERT_TRUE(TypeParam::GetFileAttr(TypeParam::From("../").c_str(), &st_Attr));
    EXPECT_TRUE(st_Attr.bIsHidden);
}

TYPED_TEST(FileAttr, FailuresLeaveTheRecordAndErrno)
{
    SYSTEMAPI_FILE_ATTR st_Attr;
    std::memset(&st_Attr, 0x5A, sizeof(st_Attr));
    const SYSTEMAPI_FILE_ATTR st_Before = st_Attr;
    fs::create_symlink("nowhere", this->Native("dangling"));
    fs::create_symlink("self", this->Native("self"));
    const auto m_Ask = [&](const std::string& Name) {
        return TypeParam::GetFileAttr(this->At(Name).c_str(), &st_Attr);
    };
    ExpectFailure(m_Ask("dangling"), 0x040A0002, ENOENT);
    ExpectFailure(m_Ask("self"), 0x040A0002, ELOOP);
    EXPECT_EQ(std::memcmp(&st_Attr, &st_Before, sizeof(st_Attr)), 0);
}

TYPED_TEST(FileAttr, ReadableIsJudgedForTheRealUser)
{
    chmod(this->Write("secret", "x").c_str(), 0);
    this->Write("closed/file", "x");
    chmod(this->Native("closed").c_str(), 0600);
    RunInChild([this] {
        GiveUpRoot();
        SYSTEMAPI_FILE_ATTR st_Attr = {};
        EXPECT_TRUE(TypeParam::GetFileAttr(this->At("secret").c_str(), &st_Attr));
        EXPECT_FALSE(st_Attr.bIsRead);
        EXPECT_EQ(st_Attr.nFileSize, 1);
        ExpectFailure(TypeParam::GetFileAttr(this->At("closed/file").c_str(), &st_Attr), 0x040A0002, EACCES);
    });
}

template <typename Form>
class SparseFile : public FileTest<Form>
{};
TYPED_TEST_SUITE(SparseFile, BothWidths);

TYPED_TEST(SparseFile, WritesEveryByteOverWhatWasThere)
{
    for (const int nSize : {1, 4096, 4097, 1'000'000})
    {
        const std::string File = this->Write("file", std::string(1'100'000, 'x'));
        ASSERT_TRUE(TypeParam::CreateSparseFile(this->At("file").c_str(), nSize));
        EXPECT_EQ(ReadWhole(File), std::string(static_cast<std::size_t>(nSize), '\0'));
        struct stat st_Status = {};
        stat(File.c_str(), &st_Status);
        EXPECT_GE(st_Status.st_blocks * 512, nSize) << "no holes";
    }
}

TYPED_TEST(SparseFile, RefusesWithoutTouchingAFile)
{
    const std::string File = this->Write("file", "kept");
    ExpectFailure(TypeParam::CreateSparseFile(this->At("new").c_str(), -5), 0x040A0050);
    ExpectFailure(TypeParam::CreateSparseFile(this->At("").c_str(), 1), 0x040A0051, EISDIR);
    EXPECT_THAT(NamesIn(this->m_Root), testing::ElementsAre("file"));
    EXPECT_EQ(ReadWhole(File), "kept");
}

TYPED_TEST(SparseFile, StopsWhereTheDiskEnds)
{
    ExpectFailure(TypeParam::CreateSparseFile(TypeParam::From("/dev/full").c_str(), 5000), 0x040A0502, ENOSPC);
    for (const long long nSize : {6001, 1'000'000}) // the last chunk is a short one, and is not
        RunInChild([&] {
            constexpr rlimit st_Limit = {6000, 6000};
            std::signal(SIGXFSZ, SIG_IGN);
            ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &st_Limit), 0);
            ExpectFailure(TypeParam::CreateSparseFile(this->At("file").c_str(), nSize), 0x040A0502, EFBIG);
            EXPECT_EQ(fs::file_size(this->Native("file")), 6000U) << "what could be written stays";
        });
}
} // namespace
