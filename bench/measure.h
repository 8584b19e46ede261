// What all benchmarks share: ways to do the same are timed in turn within one run, so that other load on the machine
// meets them alike, and the ratio of their times is held against a goal.
#ifndef KAVEX_BENCH_MEASURE_H
#define KAVEX_BENCH_MEASURE_H

#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

// The benchmarks, each in the file of its name.
void documents();
void lookup();
void retrieval();
void objects();
void users();

inline bool goal_missed = false;

[[noreturn]] inline void give_up(const char *why) {
    std::printf("%s\n", why);
    std::exit(2);
}

using Way = std::function<void()>;

inline double now(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Each way finds the heap without the holes that the others left.
inline void tidy_heap() { malloc_trim(0); }

// The least seconds that a turn of each way took. Each is first in its turn, and is repeated in its turn until that has
// lasted for at least `seconds`. `prepare` is called before each turn, untimed.
inline std::vector<double> take_turns(clockid_t clock, int rounds, double seconds, const std::vector<Way> &ways,
                                      const Way &prepare = tidy_heap) {
    const auto measure = [&](const Way &way, int times) {
        prepare();
        const double start = now(clock);
        for (int i = 0; i < times; ++i) way();
        return (now(clock) - start) / times;
    };
    std::vector<int> times;
    for (const Way &way : ways) times.push_back(1 + static_cast<int>(seconds / measure(way, 1)));
    std::vector<double> least(ways.size(), 1e9);
    for (size_t turn = 0; turn < ways.size() * static_cast<size_t>(rounds); ++turn) {
        const size_t way = (turn + turn / ways.size()) % ways.size();
        least[way] = std::min(least[way], measure(ways[way], times[way]));
    }
    return least;
}

// Compares the least processor times of the library and of another way. At most `goal` is allowed as their ratio.
inline void race(const std::string &what, double goal, int rounds, double seconds, const Way &other, const Way &library,
                 const Way &prepare = tidy_heap) {
    const auto least = take_turns(CLOCK_PROCESS_CPUTIME_ID, rounds, seconds, {other, library}, prepare);
    const double ratio = least[1] / least[0];
    std::printf("%-32s %10.2f us, library %9.2f us: ", what.c_str(), least[0] * 1e6, least[1] * 1e6);
    if (goal < 1)
        std::printf("%.1f times faster, at least %.0f", 1 / ratio, 1 / goal);
    else
        std::printf("ratio %.3f, at most %.2f", ratio, goal);
    std::printf("%s\n", ratio > goal ? "  MISSED" : "");
    goal_missed = goal_missed || ratio > goal;
}

inline void write_file(const std::string &path, const std::string &text) {
    std::FILE *file = std::fopen(path.c_str(), "w");
    if (!file || std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fclose(file) != 0)
        give_up("a file cannot be written");
}

inline const unsigned char *xml_text(const std::string &text) {
    return reinterpret_cast<const unsigned char *>(text.c_str());
}

inline std::string group(const std::string &name, const char *type, const std::string &members) {
    return "<group name=\"" + name + "\" type=\"" + type + "\" reference=\"1\">" + members + "</group>\n";
}
inline std::string member(const std::string &name) { return "<entity>" + name + "</entity>"; }
inline std::string nested(const std::string &name) { return "<container>" + name + "</container>"; }

// A configuration of one entity "clock" in the scope "system", and that many entities of 8 fields in "object/address".
inline void write_configuration(const std::string &path, long entities) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<kavex>\n  <system>\n    <setting_t name=\"clock\">\n"
        "      <zone>value-A</zone>\n    </setting_t>\n  </system>\n  <object>\n    <address>\n";
    for (long i = 0; i < entities; ++i) {
        const std::string number = std::to_string(i);
        text += "      <address_t name=\"host-" + number + "\" reference=\"1\">\n";
        for (const char *field : {"ip", "mask", "zone", "comment", "owner", "created", "changed", "enabled"})
            text += std::string("        <") + field + ">" + field + "-" + number + "</" + field + ">\n";
        text += "      </address_t>\n";
    }
    write_file(path, text + "    </address>\n  </object>\n</kavex>\n");
}

#endif
