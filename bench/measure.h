// Two or more ways to do the same, timed in turn within one run, so that what else the machine does meets all alike.
#ifndef KAVEX_BENCH_MEASURE_H
#define KAVEX_BENCH_MEASURE_H

#include <fcntl.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

// Seconds of one way over all rounds, on the processor and on the clock. The former count the work done by helpers of
// this process, and little of what other processes do meanwhile; they do not count waiting for a disk.
class Series {
public:
    double time(const std::function<void()> &way) {
        const double cpu = processor(), wall = clock(CLOCK_MONOTONIC);
        way();
        wall_.push_back(clock(CLOCK_MONOTONIC) - wall);
        cpu_.push_back(processor() - cpu);
        return wall_.back();
    }
    double cpu() const { return median(cpu_); }
    double best() const { return *std::min_element(wall_.begin(), wall_.end()); }
    double wall() const { return median(wall_); }

private:
    static double clock(clockid_t which) {
        timespec now = {};
        clock_gettime(which, &now);
        return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
    }
    static double processor() {
        rusage children = {};
        getrusage(RUSAGE_CHILDREN, &children);
        auto seconds = [](timeval time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
        };
        return clock(CLOCK_PROCESS_CPUTIME_ID) + seconds(children.ru_utime) + seconds(children.ru_stime);
    }
    static double median(std::vector<double> values) {
        std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
        return values[values.size() / 2];
    }

    std::vector<double> wall_, cpu_;
};

[[noreturn]] inline void give_up(const char *why) {
    std::printf("%s\n", why);
    std::exit(2);
}

// The configuration of that many entities, 8 fields each, in the scope "object/address".
inline std::string configuration(long entities) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<kavex>\n  <object>\n    <address>\n";
    for (long i = 0; i < entities; ++i) {
        const std::string number = std::to_string(i);
        text += "      <address_t name=\"host-" + number + "\" reference=\"1\">\n";
        for (const char *field : {"ip", "mask", "zone", "comment", "owner", "created", "changed", "enabled"})
            text += std::string("        <") + field + ">" + field + "-" + number + "</" + field + ">\n";
        text += "      </address_t>\n";
    }
    return text + "    </address>\n  </object>\n</kavex>\n";
}

inline void write_configuration(const std::string &path, long entities) {
    const std::string text = configuration(entities);
    std::FILE *file = std::fopen(path.c_str(), "w");
    if (!file || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0)
        give_up("run me with scripts/bench");
}

// The store's own lines are part of what a call costs, but need not be seen.
inline void hide_messages() {
    int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null < 0 || dup2(null, 2) < 0) give_up("no /dev/null");
}

#endif
