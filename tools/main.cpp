// kvio: the configurations and users of the appliance, at a shell.
#include <kavex/store.h>

#include <cstring>
#include <exception>
#include <new>

#include "kvio.h"

namespace kvio {
namespace {

int run(Strings words) {
    if (!words.empty() && words[0] == "--complete") {
        messages::quiet = true;
        messages::silence_library();
        put(complete({words.begin() + 1, words.end()}));
        return success;
    }
    if (!words.empty() && words[0] == "help") {
        words.erase(words.begin());
        words.push_back("--help");
    }
    if (words.size() == 1 && (words[0] == "--version" || words[0] == "-V" || words[0] == "version")) {
        put("kvio " KAVEX_VERSION "\n");
        return success;
    }
    Call call = parse(words);
    if (call.has('h')) {
        put(help(call.verb));
        return success;
    }
    // The log of a look-up of a user has the directory's bind password in it.
    bool secret = std::string(call.verb->name).compare(0, 5, "user ") == 0;
    if (secret || !call.has('v')) messages::silence_library();
    Pager pager(call.has('P'));
    return call.verb->action.run(call);
}

}  // namespace
}  // namespace kvio

int main(int argc, char **argv) {
    using namespace kvio;
    kvio_initialize();
    try {
        int status = run({argv + 1, argv + argc});
        if (int error = flushed()) throw Failure{io_error, std::string("standard output: ") + std::strerror(error)};
        return status;
    } catch (const Failure &failure) {
        flushed();
        messages::say(failure.text);
        return failure.status;
    } catch (const std::bad_alloc &) { messages::say("out of memory"); } catch (const std::exception &error) {
        messages::say(error.what());
    }
    return io_error;
}
