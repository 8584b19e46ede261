// `lock status` and `lock clear`.
#include "locks.h"

#include <dirent.h>
#include <pwd.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include "document.h"
#include "output.h"

namespace kvio {
namespace {

Strings process_ids() {
    Strings result;
    std::unique_ptr<DIR, int (*)(DIR *)> open(opendir("/proc"), closedir);
    while (dirent *entry = open ? readdir(open.get()) : nullptr)
        if (std::string(entry->d_name).find_first_not_of("0123456789") == std::string::npos)
            result.emplace_back(entry->d_name);
    return result;
}

std::string first_line(const std::string &path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

// Whether the process has the library mapped; no value: it does not say. One that has ended meanwhile has not.
std::optional<bool> maps_library(const std::string &pid) {
    std::ifstream maps("/proc/" + pid + "/maps");
    if (!maps && (errno == EACCES || errno == EPERM)) return std::nullopt;
    for (std::string line; std::getline(maps, line);)
        if (line.find("/libkavex.so") != std::string::npos) return true;
    return false;
}

std::string user_name(uid_t uid) {
    passwd *entry = getpwuid(uid);
    return "uid " + std::to_string(uid) + (entry ? std::string(" (") + entry->pw_name + ")" : "");
}

std::string date(std::time_t when) {
    char text[32];
    std::tm local;
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", localtime_r(&when, &local));
    return text;
}

std::string described(const Process &process) {
    return "process " + std::to_string(process.pid) + " (" + process.name + ")" +
           (process.unreadable ? " may have the library mapped" : "");
}

// The lock of a configuration that exists; no value: it is free.
std::optional<Lock> lock_of_configuration(const std::string &name) {
    std::string path = path_of(name);
    struct stat file;
    kvio_errno = KVIO_NO_FILE;
    if (!lock_key(path) || stat(path.c_str(), &file) != 0 || S_ISDIR(file.st_mode))
        file_failure(name.empty() ? path : name, path);
    return lock_of(path);
}

// Prints one file's line and, indented below it, who may hold it. True when it is held.
bool report(const std::string &name) {
    std::optional<Lock> lock = lock_of_configuration(name);
    if (!lock) return put(one_line(name) + ": free\n"), false;
    put(one_line(name) + ": " + coloured("31", "held") + " since " + date(lock->since) + " by " +
        user_name(lock->creator) + ", semaphore " + std::to_string(lock->id) + '\n');
    std::vector<Process> holders = candidates(*lock);
    for (const Process &holder : holders) put("  " + one_line(described(holder)) + '\n');
    if (holders.empty()) put("  no process has the library mapped: left by one that died?\n");
    return true;
}

bool confirmed(const std::string &name) {
    Messages::ask("Remove the lock of " + one_line(name) + "? [y/N] ");
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

}  // namespace

std::optional<key_t> lock_key(const std::string &path) {
    key_t key = ftok(path.c_str(), 0);
    if (key == -1) return std::nullopt;
    return key == IPC_PRIVATE ? 1 : key;
}

// The semaphore grants nothing to anybody, so that semctl(2) tells its dates to root alone; /proc tells everybody.
std::optional<Lock> lock_of(const std::string &path) {
    std::optional<key_t> key = lock_key(path);
    int id = key ? semget(*key, 0, 0) : -1;
    if (id < 0) return std::nullopt;
    Lock lock{id, 0, 0, std::max(semctl(id, 0, GETPID), 0)};
    semid_ds state;
    if (semctl(id, 0, IPC_STAT, &state) == 0) {
        lock.creator = state.sem_perm.cuid;
        lock.since = state.sem_ctime;
        return lock;
    }
    std::ifstream table("/proc/sysvipc/sem");
    for (std::string line; std::getline(table, line);) {
        std::istringstream columns(line);
        long row_key, row_id, mode, count, uid, gid, cuid, cgid, operated, changed;
        if (columns >> row_key >> row_id >> mode >> count >> uid >> gid >> cuid >> cgid >> operated >> changed &&
            row_id == id) {
            lock.creator = static_cast<uid_t>(cuid);
            lock.since = changed;
            return lock;
        }
    }
    return std::nullopt;  // gone meanwhile
}

std::vector<Process> candidates(const Lock &lock) {
    std::vector<Process> result;
    for (const std::string &entry : process_ids()) {
        pid_t pid = std::stoi(entry);
        struct stat owner;
        if (pid == getpid() || stat(("/proc/" + entry).c_str(), &owner) != 0) continue;
        std::optional<bool> mapped = maps_library(entry);
        bool hidden = !mapped && owner.st_uid == lock.creator;
        if (mapped.value_or(false) || hidden || pid == lock.last)
            result.push_back({pid, first_line("/proc/" + entry + "/comm"), hidden});
    }
    return result;
}

int lock_status(Call &call) {
    Strings names = call.arguments;
    if (call.has('a') || names.empty()) {
        if (!names.empty()) throw Failure{misused, "either names or --all"};
        names = configurations();
    }
    // All are told about. The first that nothing can be told about decides the status; otherwise one that is held does.
    std::optional<Status> failed;
    bool held = false;
    for (const std::string &name : names) {
        try {
            held |= report(name);
        } catch (const Failure &failure) {
            Messages::say(failure.text);
            failed = failed.value_or(failure.status);
        }
    }
    return failed.value_or(held ? locked : success);
}

int lock_clear(Call &call) {
    const std::string &name = call[0];
    std::optional<Lock> lock = lock_of_configuration(name);
    if (!lock) {
        Messages::say(name + " is free");
        return success;
    }
    for (const Process &holder : candidates(*lock)) {
        if (call.has('f'))
            Messages::say(described(holder) + " may lose its lock");
        else
            throw Failure{locked, described(holder) + " may hold " + name + "; --force removes the lock nevertheless"};
    }
    if (!call.has('y')) {
        if (!isatty(0)) throw Failure{misused, "no terminal to ask on: say --yes to remove the lock of " + name};
        if (!confirmed(name)) return not_found;
    }
    if (semctl(lock->id, 0, IPC_RMID) == 0) return success;
    throw Failure{errno == EPERM || errno == EACCES ? denied : io_error,
                  "the lock of " + name + " belongs to " + user_name(lock->creator) + ": " + std::strerror(errno)};
}

}  // namespace kvio
