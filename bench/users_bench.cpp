// A local user at the end of a passwd file of 10,000 lines: the whole look-up, and a plain walk over the same file.
// Run it in a private root, since paths are fixed:
//
//     scripts/appliance-root --ro BUILD -- BUILD/bench/users_bench
#include <benchmark/benchmark.h>
#include <kavex/users.h>
#include <pwd.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int lines = 10000;
constexpr char user[] = "user9999";

void create_file(const char *path) {
    FILE *file = std::fopen(path, "w");
    if (!file || std::fclose(file) != 0) std::exit(2);
}

void write_accounts() {
    FILE *file = std::fopen("/etc/passwd", "w");
    if (!file) std::exit(2);
    for (int i = 0; i < lines; ++i)
        std::fprintf(file, "user%d:x:%d:100:User %d&user&80&80&1440&480&0&1:/home/user%d:/bin/sh\n", i, 1000 + i, i, i);
    std::fclose(file);
}

void log_in() {
    create_file("/lib/security/pam_unix.so");
    create_file("/lib/security/pam_auth_admin.so");
    int lock = semget(ftok("/lib/security/pam_unix.so", 83), 1, IPC_CREAT | 0666);
    int segment = shmget(ftok("/lib/security/pam_auth_admin.so", 83), sizeof(auth_buffer_t), IPC_CREAT | 0666);
    void *bytes = shmat(segment, nullptr, 0);
    if (semctl(lock, 0, SETVAL, 1) < 0 || bytes == reinterpret_cast<void *>(-1)) std::exit(2);
    auth_buffer_t *buffer = static_cast<auth_buffer_t *>(bytes);
    std::strcpy(buffer->auth[0].user, user);
    buffer->auth[0].method = AUTH_METHOD_LOCAL;
    buffer->auth[0].in_use = 1;
}

void FgetpwentWalk(benchmark::State &state) {
    for (auto step : state) {
        FILE *file = std::fopen("/etc/passwd", "r");
        const passwd *found = nullptr;
        while ((found = fgetpwent(file)) && std::strcmp(found->pw_name, user) != 0) {}
        if (!found) state.SkipWithError("not found");
        std::fclose(file);
    }
}
BENCHMARK(FgetpwentWalk)->Unit(benchmark::kMicrosecond);

void GetUserProfile(benchmark::State &state) {
    for (auto step : state) {
        user_profile_t *profile = get_user_profile(user);
        if (!profile) state.SkipWithError("not found");
        free_user_profile(profile);
    }
}
BENCHMARK(GetUserProfile)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int count, char **arguments) {
    if (!std::getenv("KAVEX_PRIVATE_ROOT")) {
        std::fprintf(stderr, "This writes /etc/passwd: run it with scripts/appliance-root\n");
        return 2;
    }
    write_accounts();
    log_in();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
