#include "SystemApi_File.h"

#include "../pch.h"

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_File::CSystemApi_File() = default;
CSystemApi_File::~CSystemApi_File() = default;
