// A SIGKILL ends a write(2) after whatever page it has come to, and nothing can block it. So the work is done by a
// helper process: it shares this one's memory, waits in nobody's list of children (it sends no SIGCHLD, and wait(2)
// without __WALL does not see it), and goes on when this process is killed. This process stands still meanwhile, as
// with vfork(2), so that the two are never at work at once; starting the helper copies no memory and costs some tens of
// microseconds.
#include "store/uninterrupted.h"

#include <sched.h>
#include <sys/wait.h>

#include <cerrno>

#include "base/signals.h"

namespace store {
namespace {

struct Job {
    bool (*work)(void *);
    void *argument;
};

int run(void *job) {
    Job *todo = static_cast<Job *>(job);
    if (todo->work(todo->argument)) return 0;
    return errno ? errno : EIO;
}

}  // namespace

bool uninterrupted(bool (*work)(void *), void *argument) noexcept {
    alignas(16) char stack[16384];
    Job job{work, argument};
    SignalsBlocked blocked;  // a handler of the caller's must not run in the helper
    pid_t helper = clone(run, stack + sizeof stack, CLONE_VM | CLONE_VFORK, &job);
    if (helper < 0) return work(argument);  // where no process can be started, as well as it goes
    int status;
    if (waitpid(helper, &status, __WALL) != helper || !WIFEXITED(status)) {
        errno = EIO;
        return false;
    }
    errno = WEXITSTATUS(status);
    return errno == 0;
}

}  // namespace store
