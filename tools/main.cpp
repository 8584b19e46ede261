// kvio: the configurations and users of the appliance, at a shell.
#include <cstring>
#include <exception>
#include <new>

#include "document.h"
#include "kvio.h"
#include "output.h"

namespace kvio {
namespace {

int run(Strings words) {
    if (!words.empty() && words[0] == "help") words.erase(words.begin()), words.push_back("--help");
    if (words == Strings{"--version"}) return put("kvio " KAVEX_VERSION "\n"), success;
    Call call = parse(words);
    if (call.has('h')) return put(help(call.verb)), success;
    Messages messages(call.has('v'));
    Messages::quiet = call.has('q');
    watch_memory();
    return call.verb->run(call);
}

int guarded(const Strings &words) {
    try {
        int status = run(words);
        if (int error = flushed()) throw Failure{io_error, std::string("standard output: ") + std::strerror(error)};
        return status;
    } catch (const Failure &failure) {
        flushed();
        Messages::say(failure.text);
        return failure.status;
    } catch (const std::bad_alloc &) {
        Messages::say("out of memory");
        return io_error;
    } catch (const std::exception &error) {
        Messages::say(error.what());
        return io_error;
    }
}

}  // namespace
}  // namespace kvio

int main(int argc, char **argv) {
    using namespace kvio;
    Strings words(argv + 1, argv + argc);
    if (!words.empty() && words[0] == "--complete") {
        Messages silent(false);
        Messages::quiet = true;
        words.erase(words.begin());
        return put(complete(words)), 0;
    }
    if (words == Strings{"--manual"}) return put(manual()), 0;
    kvio_initialize();
    return guarded(words);
}
