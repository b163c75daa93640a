// SPDX-License-Identifier: MIT
#include "Forms.h"
#include "Sandbox.h"

#include <csignal>
#include <sys/stat.h>

namespace
{
namespace fs = std::filesystem;

template <typename Form>
class MutilFolder : public FileTest<Form>
{
protected:
    bool Create(const std::string& Name) const { return Form::CreateMutilFolder(this->At(Name).c_str()); }
    bool Delete(const std::string& Name, bool bFolder) const
    {
        return Form::DeleteMutilFolder(this->At(Name).c_str(), bFolder);
    }
};
TYPED_TEST_SUITE(MutilFolder, BothWidths);

TYPED_TEST(MutilFolder, CreatesWhatIsMissing)
{
    fs::create_directory(this->Native("a"));
    EXPECT_TRUE(this->Create("a/b/c"));
    EXPECT_TRUE(this->Create("a/b/c")) << "is there already";
    EXPECT_TRUE(this->Create("d/e/"));
    EXPECT_TRUE(fs::is_directory(this->Native("a/b/c")));
    EXPECT_TRUE(fs::is_directory(this->Native("d/e")));
    const std::string File = this->Write("file", "kept");
    EXPECT_TRUE(this->Create("file")) << "whatever is there counts";
    EXPECT_EQ(ReadWhole(File), "kept");
}

TYPED_TEST(MutilFolder, CreationCutsOneBackslashAndDeletionNone)
{
    EXPECT_TRUE(this->Create("a\\b\\") && this->Create("c\\\\"));
    EXPECT_TRUE(this->Delete("c\\\\", true)) << "another name, so nothing to delete";
    EXPECT_THAT(NamesIn(this->m_Root), testing::UnorderedElementsAre("a\\b", "c\\"));
}

TYPED_TEST(MutilFolder, CreationRaisesWhatItCannotDoAndALongPathEndsTheProcess)
{
    this->Write("file", "");
    ExpectRaises(ENOTDIR, [this] { this->Create("file/below"); });
    for (const char* lpszPath : {"", "\\"})
        ExpectRaises(EINVAL, [&] { TypeParam::CreateMutilFolder(TypeParam::From(lpszPath).c_str()); });
    ExpectRaises(ENAMETOOLONG, [] { TypeParam::CreateMutilFolder(TypeParam::From(std::string(1023, 'x')).c_str()); });
    EXPECT_EXIT(TypeParam::CreateMutilFolder(TypeParam::From(std::string(1024, 'x')).c_str()),
                testing::KilledBySignal(SIGABRT), "");
}

TYPED_TEST(MutilFolder, DeletesATreeButNotWhatItsLinksLeadTo)
{
    const std::string Outside = this->Write("outside/file", "kept");
    for (const bool bFolder : {false, true})
    {
        this->Write("tree/sub/deep/file", "");
        this->Write("tree/file", "");
        fs::create_directory_symlink("../outside", this->Native("tree/link"));
        fs::create_symlink("nowhere", this->Native("tree/dangling"));
        EXPECT_TRUE(this->Delete("tree", bFolder));
        EXPECT_EQ(fs::exists(this->Native("tree")), !bFolder);
        EXPECT_TRUE(bFolder || fs::is_empty(this->Native("tree")));
        EXPECT_EQ(ReadWhole(Outside), "kept");
    }
    fs::create_directory_symlink("outside", this->Native("link"));
    EXPECT_TRUE(this->Delete("link", false)) << "empties the folder it leads to";
    EXPECT_TRUE(fs::is_empty(this->Native("outside")));
    EXPECT_TRUE(this->Delete("link", true)) << "takes the link alone";
    EXPECT_THAT(NamesIn(this->m_Root), testing::ElementsAre("outside"));
}

TYPED_TEST(MutilFolder, DeletionOfWhatIsNoFolderSucceeds)
{
    const std::string File = this->Write("file", "kept");
    for (const bool bFolder : {false, true})
    {
        EXPECT_TRUE(this->Delete("missing", bFolder));
        EXPECT_TRUE(this->Delete("file", bFolder));
        EXPECT_TRUE(this->Delete("file/below", bFolder));
        EXPECT_TRUE(TypeParam::DeleteMutilFolder(TypeParam::From("").c_str(), bFolder));
    }
    EXPECT_EQ(ReadWhole(File), "kept");
}

TYPED_TEST(MutilFolder, PermissionIsAnException)
{
    this->Write("locked/file", "");
    chmod(this->Native("locked").c_str(), 0);
    RunInChild([this] {
        GiveUpRoot();
        for (const bool bFolder : {false, true})
            ExpectRaises(EACCES, [&] { this->Delete("locked", bFolder); });
        ExpectRaises(EACCES, [this] { this->Create("locked/new"); });
    });
    chmod(this->Native("locked").c_str(), 0700); // an ordinary user's look needs it
    EXPECT_TRUE(fs::exists(this->Native("locked/file")));
}
} // namespace
