// The lock of a configuration as the system shows it.
#ifndef KAVEX_TOOLS_LOCKS_H
#define KAVEX_TOOLS_LOCKS_H

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace kvio {

struct Process {
    pid_t pid;
    std::string name;
    bool unreadable;  // its maps may not be read: it may have the library mapped or not
};

struct Lock {
    int id;
    uid_t creator;
    std::time_t since;
    pid_t last;  // the process of the last operation on the semaphore; 0 for none, or when it may not be known
};

std::optional<key_t> lock_key(const std::string &path);  // none: the file cannot be looked at, errno says why
std::optional<Lock> lock_of(const std::string &path);    // none: the file is free, or has no key

// Processes other than this one that may hold the lock: those that have the library mapped, those of the lock's
// creator that do not show what they have mapped, and the one of the last operation.
std::vector<Process> candidates(const Lock &lock);

}  // namespace kvio

#endif
