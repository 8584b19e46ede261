// `lock status` and `lock clear`: the lock of a configuration as the system shows it.
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

#include "document.h"

namespace kvio {
namespace {

struct Lock {
    key_t key;
    int id;
    uid_t creator;
    std::time_t since;
    bool stores_own;  // it looks like one that the store makes: one semaphore without permissions
};

struct Process {
    std::string pid, name;
    bool unreadable;  // it does not show what it has mapped
    bool is_younger;  // it started after the lock was taken

    std::string described() const {
        const std::string text = "process " + pid + " (" + name + ")";
        if (is_younger) return text + " started later: no holder unless forked from it";
        return text + (unreadable ? " may have the library mapped" : "");
    }
};

// The contents of a file of /proc; errno is set if it cannot be opened.
std::string text_at(const std::string &path) {
    std::string text;
    errno = 0;
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file) read_to_end(file.get(), text);
    return text;
}

// The key of a file's lock; -1 with errno.
key_t key_of(const std::string &path) {
    key_t key = ftok(path.c_str(), 0);
    return key == IPC_PRIVATE ? ftok(path.c_str(), 1) : key;
}

// The lock of a configuration; no value if it is free. The semaphore grants nothing to anybody, so that semctl(2)
// describes it to root alone; /proc describes it to all.
std::optional<Lock> lock_of(const std::string &name) {
    const std::string path = path_of(name);
    struct stat file;
    const key_t key = key_of(path);
    if (key == -1 || stat(path.c_str(), &file) != 0) system_failure(path, errno);
    if (S_ISDIR(file.st_mode)) system_failure(path, EISDIR);
    for (const std::string &line : lines_of(text_at("/proc/sysvipc/sem"))) {
        long its_key, changed;
        int id;
        unsigned mode, many, creator;
        constexpr char columns[] = "%ld %d %o %u %*u %*u %u %*u %*d %ld";
        bool read = std::sscanf(line.c_str(), columns, &its_key, &id, &mode, &many, &creator, &changed) == 6;
        if (read && static_cast<key_t>(its_key) == key)
            return Lock{key, id, creator, changed, (mode & 0777) == 0 && many == 1};
    }
    return std::nullopt;
}

// Whether a process started after a lock was taken. The lock's time is in whole seconds, and the clock may have been
// set a little since.
bool is_younger(const std::string &stat_line, const Lock &lock) {
    constexpr char fields[] = ") %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %llu";
    unsigned long long ticks = 0;  // from the start of the system
    if (std::sscanf(stat_line.c_str() + stat_line.rfind(')'), fields, &ticks) != 1) return false;
    timespec since_boot;
    clock_gettime(CLOCK_BOOTTIME, &since_boot);
    double age =
        static_cast<double>(since_boot.tv_sec) - static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
    return age + 2 < static_cast<double>(std::time(nullptr) - lock.since);
}

// Processes other than this one that may hold the lock, or have it from the process that took it: those that have the
// library mapped, and those of the lock's creator that do not show what they have mapped.
std::vector<Process> candidates(const Lock &lock) {
    std::vector<Process> result;
    std::unique_ptr<DIR, int (*)(DIR *)> directory(opendir("/proc"), closedir);
    while (dirent *entry = directory ? readdir(directory.get()) : nullptr) {
        const std::string pid = entry->d_name, path = "/proc/" + pid;
        struct stat owner;
        if (pid.find_first_not_of("0123456789") != std::string::npos || pid == std::to_string(getpid())) continue;
        if (stat(path.c_str(), &owner) != 0) continue;
        bool mapped = text_at(path + "/maps").find("/libkavex.so") != std::string::npos;
        bool hidden = !mapped && (errno == EACCES || errno == EPERM) && owner.st_uid == lock.creator;
        if (!mapped && !hidden) continue;
        const std::string line = text_at(path + "/stat");  // PID (NAME) STATE ...
        const std::size_t begin = line.find('(') + 1, end = line.rfind(')');
        if (end != std::string::npos)
            result.push_back({pid, line.substr(begin, end - begin), hidden, is_younger(line, lock)});
    }
    return result;
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

std::string json_report(const std::string &name, const std::optional<Lock> &lock) {
    if (!lock) return json_object({{"name", json(name)}, {"held", "false"}});
    Strings processes;
    for (const Process &one : candidates(*lock))
        processes.push_back(
            json_object({{"pid", one.pid}, {"name", json(one.name)}, {"younger", one.is_younger ? "true" : "false"}}));
    return json_object({{"name", json(name)},
                        {"held", "true"},
                        {"since", json(date(lock->since))},
                        {"uid", std::to_string(lock->creator)},
                        {"semaphore", std::to_string(lock->id)},
                        {"processes", json_array(processes)}});
}

std::string report(const std::string &name, const std::optional<Lock> &lock) {
    if (!lock) return one_line(name) + ": free\n";
    std::string text = one_line(name) + ": " + coloured("31", "held") + " since " + date(lock->since) + " by " +
                       user_name(lock->creator) + ", semaphore " + std::to_string(lock->id) + '\n';
    // A key is too short to tell all files apart.
    for (const std::string &other : configurations())
        if (other != name && key_of(path_of(other)) == lock->key)
            text += "  " + one_line(other) + " has the same key: the lock may be that configuration's\n";
    if (!lock->stores_own) text += "  this semaphore is not the store's\n";
    bool any = false;
    for (const Process &holder : candidates(*lock)) {
        text += "  " + one_line(holder.described()) + '\n';
        any = any || !holder.is_younger;
    }
    return any ? text : text + "  no process can hold it: left by one that died (see kvio lock clear)\n";
}

}  // namespace

// Reports all. The first that cannot be looked at decides the status; otherwise one that is held does.
int lock_status(Call &call) {
    Strings names = call.from("NAME");
    if (call.has('a') && !names.empty()) throw Failure{misused, "either names or --all"};
    if (names.empty()) names = configurations();
    const bool as_json = format_of(call) == "json";
    std::optional<Status> failed;
    bool held = false;
    Strings objects;
    for (const std::string &name : names) {
        try {
            std::optional<Lock> lock = lock_of(name);
            held = held || lock;
            if (as_json)
                objects.push_back(json_report(name, lock));
            else if (!messages::quiet)
                put(report(name, lock));
        } catch (const Failure &failure) {
            messages::say(failure.text);
            failed = failed.value_or(failure.status);
        }
    }
    if (as_json && !messages::quiet) put(json_lines(objects));
    return failed.value_or(held ? locked : success);
}

int lock_clear(Call &call) {
    const std::string &name = call.name();
    std::optional<Lock> lock = lock_of(name);
    if (!lock) {
        messages::say(name + " is free");
        return success;
    }
    auto refuse = [&](const std::string &text) {
        if (!call.has('f')) throw Failure{locked, text + "; --force removes the lock nevertheless"};
        messages::say(text);
    };
    if (!lock->stores_own) refuse("the semaphore with the key of " + name + " is not the store's");
    for (const Process &holder : candidates(*lock))
        if (!holder.is_younger) refuse(holder.described() + " may hold " + name);
    if (!call.has('y') && !confirmed("Remove the lock of " + name + "?")) return not_found;
    if (semctl(lock->id, 0, IPC_RMID) == 0) return success;
    system_failure("the lock of " + name + " belongs to " + user_name(lock->creator), errno);
}

}  // namespace kvio
