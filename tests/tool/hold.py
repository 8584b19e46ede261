"""hold.py NAME [SECONDS [FILE]]: takes the lock of a configuration as the library does and ends without giving it back,
at once or after a while, during which it has FILE mapped."""
import ctypes
import mmap
import sys
import time

libc = ctypes.CDLL(None)
key = libc.ftok(b"/etc/kavex/conf/" + sys.argv[1].encode(), 0) or 1
assert libc.semget(key, 1, 0o3000) >= 0  # IPC_CREAT | IPC_EXCL
if len(sys.argv) > 3:
    library = open(sys.argv[3], "rb")
    view = mmap.mmap(library.fileno(), 0, prot=mmap.PROT_READ)
if len(sys.argv) > 2:
    print("held", flush=True)
    time.sleep(float(sys.argv[2]))
