// The bench's own checks: each must be able to fail.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/kvlog.h"
#include "tests/support/appliance.h"

namespace {

// Plays a test of its own, so that what its end says can be expected.
class Played : public ApplianceTest {
public:
    void TestBody() override {}
    void begin() { SetUp(); }
    void end() { TearDown(); }
};

class Support : public ApplianceTest {
protected:
    Played played;
};

TEST_F(Support, SeesASemaphoreLeftBehind) {
    played.begin();
    write_config("a.xml", "<kavex/>");
    EXPECT_FALSE(locked(config_path("a.xml")));
    int id = semget(ftok(config_path("a.xml").c_str(), 0), 1, IPC_CREAT | IPC_EXCL);
    ASSERT_GE(id, 0);
    EXPECT_TRUE(locked(config_path("a.xml")));
    EXPECT_NONFATAL_FAILURE(played.end(), "left behind: semaphores");
    semctl(id, 0, IPC_RMID);
    played.end();
}

TEST_F(Support, SeesASegmentLeftBehind) {
    played.begin();
    int id = shmget(IPC_PRIVATE, 100, 0600);
    EXPECT_NONFATAL_FAILURE(played.end(), "left behind: shared memory");
    shmctl(id, IPC_RMID, nullptr);
}

TEST_F(Support, SeesADescriptorLeftBehind) {
    played.begin();
    int fd = open("/dev/null", O_RDONLY);
    EXPECT_NONFATAL_FAILURE(played.end(), "left behind: descriptors");
    close(fd);
}

TEST_F(Support, SeesAGrandchildLeftBehind) {
    played.begin();
    pid_t child = fork();
    if (child == 0) {
        if (fork() == 0) usleep(800000);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_NONFATAL_FAILURE(played.end(), "left behind: processes");
    usleep(600000);
}

TEST_F(Support, OutcomesHoldAllFour) {
    Outcome seen = call([] {
        kvlog(LIST_OP, "%s is %d\n", "x", 7);
        if (write(2, "words\n", 6) != 6) return -1;
        kvio_errno = 22;
        return 3;
    });
    EXPECT_EQ(seen, (Outcome{3, 22, "words\n", "list_op 5,7,5,0,0,0,0: x is 7\n"}));
    for (const Outcome &other : {Outcome{2, 22, seen.err, seen.log}, Outcome{3, 0, seen.err, seen.log},
                                 Outcome{3, 22, "", seen.log}, Outcome{3, 22, seen.err, ""}})
        EXPECT_NE(seen, other);
    EXPECT_EQ(call([] {}), (Outcome{0, untouched}));
    const char *found = nullptr;
    EXPECT_EQ(call([&] { return found = "here"; }), (Outcome{1, untouched}));
    EXPECT_STREQ(found, "here");
}

TEST_F(Support, FaultsStrikeInsideTheCallOnly) {
    faults::fail("write", ENOSPC, 2);
    int fd = -1;
    write_config("a.xml", "1");
    Outcome seen = call([&] {
        fd = open(config_path("a.xml").c_str(), O_WRONLY | O_APPEND);
        bool first = write(fd, "2", 1) == 1;
        bool second = write(fd, "3", 1) == -1 && errno == ENOSPC;
        return first && second && write(fd, "4", 1) == 1;
    });
    EXPECT_EQ(seen, (Outcome{1, untouched}));
    EXPECT_TRUE(faults::struck());
    EXPECT_EQ(write(fd, "5", 1), 1);
    close(fd);
    EXPECT_EQ(read_config("a.xml"), "1245");
    faults::shorten("read", 2);
    char buffer[8];
    EXPECT_EQ(call([&] {
                  int in = open(config_path("a.xml").c_str(), O_RDONLY);
                  ssize_t got = read(in, buffer, sizeof buffer);
                  close(in);
                  return got;
              }).result,
              2);
    faults::set_key("/etc", 0, 0);
    EXPECT_EQ(ftok("/etc", 0), 0);
    EXPECT_NE(ftok("/etc", 1), 0);
}

#ifdef KAVEX_TEST_ALLOCATIONS
TEST_F(Support, EachAllocationFailsOnce) {
    int struck = 0;
    faults::each([&](int nth) {
        faults::fail_allocation(nth);
        Outcome seen = call([] {
            void *volatile a = malloc(1);
            void *volatile b = calloc(1, 1);
            void *volatile c = realloc(nullptr, 1);
            long made = (a != nullptr) + (b != nullptr) + (c != nullptr);
            free(a), free(b), free(c);
            return made;
        });
        EXPECT_EQ(seen.result, faults::struck() ? 2 : 3);
        struck += faults::struck();
    });
    EXPECT_EQ(struck, 3);
    EXPECT_EQ(faults::allocations(), 3);
}
#endif

}  // namespace
