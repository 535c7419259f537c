"""The first lookup of python3's import system on a list of folders.

Reads the folders (one per line) from the file named by the first argument,
puts them on sys.path, and looks up a module that none holds: the import
system then lists every folder into the cache of its finder, as a fresh
interpreter does on its first import. Prints the time of that lookup and the
growth of the resident set that the finders' caches hold.
"""
import gc
import importlib
import importlib.util
import os
import sys
import time


def resident_bytes():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def main():
    with open(sys.argv[1]) as listing:
        folders = [line.rstrip("\n") for line in listing if line.strip()]
    gc.collect()
    before = resident_bytes()
    sys.path[:0] = folders
    importlib.invalidate_caches()
    start = time.perf_counter()
    spec = importlib.util.find_spec("tfsp_no_module_has_this_name")
    seconds = time.perf_counter() - start
    assert spec is None
    gc.collect()
    print("first_lookup_ms", 1e3 * seconds)
    print("resident_bytes", resident_bytes() - before)


main()
