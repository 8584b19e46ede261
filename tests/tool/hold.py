"""hold.py NAME [LIBRARY]: takes the lock of a configuration as the library does and ends without releasing it, or says
so and waits with LIBRARY mapped. MODE and MANY in the environment make a set of semaphores that is not the library's."""
import ctypes
import mmap
import os
import signal
import sys

name, *library = sys.argv[1:]
libc = ctypes.CDLL(None)
flags = 0o3000 | int(os.environ.get("MODE", "0"), 8)  # IPC_CREAT | IPC_EXCL
assert libc.semget(libc.ftok(name.encode(), 0) or 1, int(os.environ.get("MANY", "1")), flags) >= 0
for path in library:
    with open(path, "rb") as file:
        view = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
    print("held", flush=True)
    signal.pause()
