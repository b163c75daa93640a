#include "SystemApi_HardWare.h"

#include "../pch.h"

// Kept out of line on purpose: where the global object stands GCC could drop the calls, and with them the order
// at load and at unload.
CSystemApi_HardWare::CSystemApi_HardWare() = default;
CSystemApi_HardWare::~CSystemApi_HardWare() = default;
