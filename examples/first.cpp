// SPDX-License-Identifier: MIT
// Lists the text files of a folder, with the classes. usage: first [FOLDER]
#include <SystemApi_File/SystemApi_File.h>

#include <filesystem>
#include <iostream>
#include <list>
#include <string>

int main(int argc, char** argv)
try
{
    std::list<std::string> Files; // any length, and no table to give back
    if (!m_FileSdk.SystemApi_File_EnumFileA(argc > 1 ? argv[1] : ".", &Files, true, 1, "txt"))
    {
        std::cerr << "0x" << std::hex << SystemApi_GetLastError(nullptr) << '\n';
        return 1;
    }
    for (const std::string& File : Files)
        std::cout << File << '\n';
    std::cout << Files.size() << " files\n";
    return 0;
}
catch (const std::filesystem::filesystem_error& Error) // file operations let it pass
{
    std::cerr << Error.what() << '\n';
    return 1;
}
