// `edit`: a configuration in an editor, checked before it is saved.
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "document.h"

namespace kvio {
namespace {

// A directory that only this user can read, with the file as it was and the file to be edited.
class PrivateFiles {
public:
    PrivateFiles(const std::string &name, const std::string &bytes) {
        const char *parent = std::getenv("TMPDIR");
        directory_ = std::string(parent && *parent ? parent : "/tmp") + "/kvio.XXXXXX";
        if (!mkdtemp(directory_.data())) system_failure(directory_, errno);
        edited_ = directory_ + '/' + name.substr(name.rfind('/') + 1);
        write_file(original(), bytes);
        write_file(edited(), bytes);
    }
    ~PrivateFiles() {
        unlink(original().c_str());
        if (keep) return;
        unlink(edited().c_str());
        rmdir(directory_.c_str());
    }
    PrivateFiles(const PrivateFiles &) = delete;
    PrivateFiles &operator=(const PrivateFiles &) = delete;

    std::string original() const { return directory_ + "/.original"; }
    const std::string &edited() const { return edited_; }
    bool keep = false;

private:
    std::string directory_, edited_;
};

// Keyboard signals are the editor's.
void run_editor(const std::string &path) {
    const char *editor = std::getenv("VISUAL");
    if (!editor || !*editor) editor = std::getenv("EDITOR");
    if (!editor || !*editor) editor = "vi";
    const std::string command = std::string(editor) + " \"$1\"";
    auto interrupt = signal(SIGINT, SIG_IGN), quit = signal(SIGQUIT, SIG_IGN);
    pid_t child = fork();
    if (child == 0) {
        signal(SIGINT, interrupt);
        signal(SIGQUIT, quit);
        execl("/bin/sh", "sh", "-c", command.c_str(), "sh", path.c_str(), nullptr);
        _exit(127);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
    signal(SIGINT, interrupt);
    signal(SIGQUIT, quit);
    if (status != 0) throw Failure{io_error, std::string("the editor ") + editor + " failed; nothing is saved"};
}

// What was edited, once it is well-formed and has no new faults.
Document edited_document(const Call &call, const std::string &path) {
    for (;;) {
        run_editor(path);
        try {
            Document edited = Document::file(path);
            edited.root();
            if (call.given("SCOPE")) edited.scope(call.scope());
            edited.structure_changed = true;
            if (!call.has('f')) refuse_new_faults(edited, call.name());
            return edited;
        } catch (const Failure &failure) {
            messages::say(failure.text);
            if (call.has('y') || !isatty(0) || !confirmed("Edit it again?"))
                throw Failure{failure.status, "nothing is saved"};
        }
    }
}

}  // namespace

int edit(Call &call) {
    const std::string before = bytes_of(Document::look(call.name()), call.scope());
    PrivateFiles files(call.name(), before);
    Document edited = edited_document(call, files.edited());
    std::string text;
    if (!differences(call, Document::file(files.original()), edited, text)) {
        messages::say("nothing is changed");
        return success;
    }
    if (!messages::quiet) put(text);
    if (call.has('n')) return success;
    if (!call.has('y') && !confirmed("Save this?")) return not_found;
    return save_change(call, [&](Document &current) {
        if (bytes_of(current, call.scope()) != before) {
            files.keep = true;
            throw Failure{inconsistent, call.name() + " has changed meanwhile; your version is " + files.edited()};
        }
        put_into(current, edited, call.scope());
    });
}

}  // namespace kvio
