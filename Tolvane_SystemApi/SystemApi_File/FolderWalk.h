/// The walk over a folder or a tree, with the standard file-system facility's iterators.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

/// True for a folder and for a link to one. The walk has most kinds at hand; where it has not, an entry whose status
/// cannot be had (a link to itself) is a file.
inline bool IsFolder(const std::filesystem::directory_entry& Entry) noexcept
{
    std::error_code Ignored;
    return Entry.is_directory(Ignored);
}

/// Meets a folder's entries in the operating system's order, of a tree each folder before what it holds. Folders
/// that may not be read are passed over, links to folders are not followed.
///
/// \param Visit called as Visit(const std::string& native path, bool folder); in a tree a result of false keeps the
///              walk from going down into that folder
/// \throws std::filesystem::filesystem_error
template <typename Visitor>
void WalkFolder(const std::filesystem::path& Folder, bool bRecursion, Visitor&& Visit)
{
    namespace fs = std::filesystem;
    constexpr auto enOptions = fs::directory_options::skip_permission_denied;
    if (!bRecursion)
    {
        for (const fs::directory_entry& Entry : fs::directory_iterator(Folder, enOptions))
            Visit(Entry.path().native(), IsFolder(Entry));
        return;
    }
    for (fs::recursive_directory_iterator Walk(Folder, enOptions); Walk != end(Walk); ++Walk)
    {
        if (!Visit(Walk->path().native(), IsFolder(*Walk)))
            Walk.disable_recursion_pending();
    }
}
