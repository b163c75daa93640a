/// The user database.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

/// The name of a user; nothing where the user has no entry.
/// \throws std::bad_alloc
[[nodiscard]] std::optional<std::string> FindUserName(uid_t nUid);
