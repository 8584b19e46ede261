// The LDAP settings and the search tool's command line. Input: user name and settings file, separated by a line "%%".
//
// No process is started: fork() gives the child's part to this process, and execv() jumps back out of it. Half of the
// inputs go to the parent's part instead, for which fork() has failed.
#include <dlfcn.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "base/paths.h"
#include "fuzz/fuzz.h"

namespace {

bool in_child;
bool plays_child;
jmp_buf way_back;
std::vector<std::string> arguments;

std::vector<std::string> searched_for(const char *user) {
    arguments.clear();
    auto profile = std::make_unique<user_profile_t>();
    in_child = false;
    if (setjmp(way_back) == 0) { MUST(get_info_from_ldap(profile.get(), user) == -1); }
    in_child = false;
    return arguments;
}

}  // namespace

extern "C" {

pid_t fork() noexcept {
    in_child = plays_child;
    if (!in_child) errno = EAGAIN;
    return in_child ? 0 : -1;
}

int execv(const char *path, char *const *argv) noexcept {
    MUST(in_child && std::strcmp(path, argv[0]) == 0);
    for (; *argv; ++argv) arguments.push_back(*argv);
    longjmp(way_back, 1);
}

void _exit(int) { longjmp(way_back, 1); }

// What the child does to its signals must not reach this process, whose fuzzer needs its own.
int sigaction(int number, const struct sigaction *action, struct sigaction *old) noexcept {
    static const auto real = reinterpret_cast<decltype(&sigaction)>(dlsym(RTLD_NEXT, "sigaction"));
    return in_child ? 0 : real(number, action, old);
}
int pthread_sigmask(int, const sigset_t *, sigset_t *) noexcept { return 0; }
int sigprocmask(int, const sigset_t *, sigset_t *) noexcept { return 0; }

}  // extern "C"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    std::string user = fuzz::text_of(fuzz::cut(rest));
    fuzz::write_file(paths::ldap_settings, rest);

    // Buffers of exactly the documented sizes.
    auto host = std::make_unique<char[]>(128), port = std::make_unique<char[]>(8), base = std::make_unique<char[]>(256),
         login = std::make_unique<char[]>(64), bind_dn = std::make_unique<char[]>(128),
         password = std::make_unique<char[]>(128);
    int ssl, time_limit;
    int result = get_ldap_server_info(host.get(), port.get(), base.get(), login.get(), bind_dn.get(), password.get(),
                                      &ssl, &time_limit);
    MUST(result >= -1 && result <= 1);

    // A user's name is one argument's affair, and it makes no other filter of it.
    plays_child = size % 2;
    std::vector<std::string> plain = searched_for("x"), hostile = searched_for(user.c_str());
    if (plain.empty() || hostile.empty()) return 0;
    MUST(plain[0] == paths::ldap_search);
    MUST(plain.size() == hostile.size() || rest.find_first_of("\"\\") != rest.npos);
    if (rest.find_first_of("\"\\") != rest.npos) return 0;
    // A name that leaves no room for the first of several hosts may leave it for a shorter one.
    for (size_t i = 0; i + 1 < plain.size(); ++i)
        MUST(plain[i] == hostile[i] || (result == 1 && plain[i].rfind("ldap", 0) == 0));
    std::string filter = plain.back();
    size_t at = filter.rfind("=x)");
    MUST(at != filter.npos);
    MUST(hostile.back().compare(0, at + 1, filter, 0, at + 1) == 0);
    std::string value = hostile.back().substr(at + 1);
    MUST(value.find_first_of("*()") == value.size() - 1);
    return 0;
}
