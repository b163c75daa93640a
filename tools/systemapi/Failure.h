/// Failed operations, as the tool shows them.
#pragma once

#include <cerrno>
#include <stdexcept>
#include <string_view>

/// An operation returned false. Its message is one line: the subject (a path, where there is one), the error
/// symbol, the code, and errno's text. Holds what the error state and errno say when it is made.
class COperationFailed : public std::runtime_error
{
public:
    /// \param lpszOperation the part of the operation's error symbols that names it, such as "GETDISKINFO": the
    ///                      symbols share values, and the operation called tells them apart
    explicit COperationFailed(const char* lpszOperation, std::string_view Subject = {});
};

/// Calls an operation. errno is 0 before, so that the failure does not show one that is older than the call.
/// \throws COperationFailed when it returns false
template <typename Operation>
void Require(const char* lpszOperation, Operation pfnOperation, std::string_view Subject = {})
{
    errno = 0;
    if (!pfnOperation())
        throw COperationFailed(lpszOperation, Subject);
}
