"""hold.py NAME [SECONDS [FILE]]: takes the lock of a configuration as the library does and ends without releasing it, at
once or after SECONDS, during which it has FILE mapped. With MODE in the environment the semaphore has that mode."""
import ctypes
import mmap
import os
import sys
import time

libc = ctypes.CDLL(None)
key = libc.ftok(b"/etc/kavex/conf/" + sys.argv[1].encode(), 0) or 1
assert libc.semget(key, 1, 0o3000 | int(os.environ.get("MODE", "0"), 8)) >= 0  # IPC_CREAT | IPC_EXCL
if len(sys.argv) > 3:
    library = open(sys.argv[3], "rb")
    view = mmap.mmap(library.fileno(), 0, prot=mmap.PROT_READ)
if len(sys.argv) > 2:
    print(f"pid {os.getpid()}\nheld", flush=True)
    time.sleep(float(sys.argv[2]))
