#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Describes a file and lists a folder's text files. usage: first.py [FILE [FOLDER [LIBRARY]]]"""

import ctypes
import os
import sys

file, folder, library = sys.argv[1:] + ["/etc/hostname", ".", "libTolvane_SystemApi.so.0"][len(sys.argv) - 1 :]
api = ctypes.CDLL(library, use_errno=True)  # use_errno: Python's own calls between two of ours leave errno alone


class FileAttr(ctypes.Structure):
    _fields_ = [(name, ctypes.c_longlong) for name in ("nFileSize", "nCreateTime", "nAccessTime", "nWriteTime")] + [
        (name, ctypes.c_bool) for name in ("bIsFile", "bIsHidden", "bIsRead")
    ]


api.SystemApi_GetLastError.restype = ctypes.c_ulong  # an int would lose its upper half
for function in (api.SystemApi_File_GetFileAttrA, api.SystemApi_File_EnumFileA, api.BaseLib_Memory_Free):
    function.restype = ctypes.c_bool  # an int would be true whatever its upper bytes hold
api.BaseLib_Memory_Free.argtypes = [ctypes.c_void_p, ctypes.c_longlong]


def require(result, what):
    if not result:
        errno = ctypes.c_int()
        code = api.SystemApi_GetLastError(ctypes.byref(errno))
        sys.exit(f"{what}: 0x{code:08X}: {os.strerror(errno.value)}")


attr = FileAttr()
require(api.SystemApi_File_GetFileAttrA(os.fsencode(file), ctypes.byref(attr)), file)
print(f"{file}: {attr.nFileSize} bytes")

table, count = ctypes.POINTER(ctypes.c_char_p)(), ctypes.c_int()
if api.SystemApi_File_EnumFileA(
    os.fsencode(os.path.join(folder, "*.txt")), ctypes.byref(table), ctypes.byref(count), ctypes.c_bool(False), 1
):
    for row in range(count.value):
        print(os.fsdecode(table[row]))
api.BaseLib_Memory_Free(ctypes.byref(table), count.value)  # a table of no rows is handed out too
