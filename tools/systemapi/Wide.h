// SPDX-License-Identifier: MIT
/// Text of the command line for the wide forms of operations.
#pragma once

#include <string>

/// \throws CWrongUsage for text that is no UTF-8
std::wstring WideText(const std::string& Text);

/// The UTF-8 of a wide text.
std::string NarrowText(const wchar_t* lpszText);
