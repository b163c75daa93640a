# SPDX-License-Identifier: MIT
"""Answers lines "QUERY CALLS" with "SECONDS FOUND": the time that so many calls of psutil took, and what they found."""
import sys
import time

import psutil

IDLER = "systemapi-compare-idler"


def memory():
    found = psutil.virtual_memory().total // 1024
    psutil.swap_memory()
    return found


def disk():
    return psutil.disk_usage("/").total >> 20


def processes():
    found = 0
    for process in psutil.process_iter():
        try:
            name = process.cmdline()
        except psutil.Error:
            continue
        found += name[:1] == [IDLER]
    return found


QUERIES = {"memory": memory, "disk": disk, "list": processes}

for line in sys.stdin:
    query, calls = line.split()
    begin = time.perf_counter()
    for _ in range(int(calls)):
        result = QUERIES[query]()
    print(time.perf_counter() - begin, result, flush=True)
