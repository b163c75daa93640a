// SPDX-License-Identifier: MIT
/// What goes wrong, as the tool shows it.
#pragma once

#include "Facts.h"
#include "Terminal.h"

#include <cerrno>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

/// An operation returned false. Its message is one line: the subject (a path, where there is one), the error symbol,
/// the code, the condition that the symbol stands for, and errno's text where that belongs to it. Holds what the error
/// state and errno say when it is made.
class COperationFailed : public std::runtime_error
{
public:
    /// \param lpszOperation the part of the operation's error symbols that names it, such as "GETDISKINFO": the
    ///                      symbols share values, and the operation called tells them apart
    explicit COperationFailed(const char* lpszOperation, std::string_view Subject = {});

    [[nodiscard]] const FAILURE& Failure() const { return m_st_Failure; }

private:
    explicit COperationFailed(FAILURE st_Failure);

    FAILURE m_st_Failure;
};

/// The command line asks for what is not to be had so.
class CWrongUsage : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// What an exception tells, and the exit status that it leads to: 1 for a failed operation and all else, 2 for wrong
/// usage, 3 for an exception of the standard file-system facility.
FAILURE FailureOf(const std::exception& Error);

/// Calls an operation. errno is 0 before, so that the failure does not show one that is older than the call.
/// \throws COperationFailed when it returns false
template <typename Operation>
void Require(const char* lpszOperation, Operation pfnOperation, std::string_view Subject = {})
{
    errno = 0;
    if (!pfnOperation())
        throw COperationFailed(lpszOperation, Subject);
}

/// The same for an operation that runs helper programs, whose complaints nobody is to see.
template <typename Operation>
void RequireQuietly(const char* lpszOperation, Operation pfnOperation, std::string_view Subject = {})
{
    const CQuietErrors m_Quiet;
    Require(lpszOperation, pfnOperation, Subject);
}
