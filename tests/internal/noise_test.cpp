// The noise sources, on files of the test's own.
#include "foundation/alloc.h"
#include "foundation/test_hooks.h"
#include "harness/faults.h"
#include "harness/vectors.h"
#include "random/noise.h"
#include "talvern.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using test::Bytes;
using vrq::noise::Sink;

struct Contribution {
    Bytes data;
    uint32_t credit;
    bool operator==(const Contribution&) const = default;
};

struct Pool {
    std::vector<Contribution> got;
    Sink sink{this, &Pool::add, nullptr};

    static void add(void* owner, const uint8_t* data, uint32_t length, uint32_t credit) {
        static_cast<Pool*>(owner)->got.push_back({Bytes(data, data + length), credit});
    }
};

template <class T>
Contribution value(T number, uint32_t credit) {
    Bytes data(sizeof number);
    std::memcpy(data.data(), &number, sizeof number);
    return {data, credit};
}

class Noise : public testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/talvern-noise-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(name));
        folder_ = name;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string file(const std::string& content) {
        const std::string path = folder_ + "/" + std::to_string(++files_);
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    std::string missing() const { return folder_ + "/missing"; }

    // What a reader of one file takes from this content.
    using Reader = void (*)(const Sink&, const char*);
    std::vector<Contribution> take(Reader reader, const std::string& content) {
        Pool pool;
        reader(pool.sink, file(content).c_str());
        return pool.got;
    }

    std::vector<Contribution> take_tables(const std::string& netstat, const std::string& snmp) {
        Pool pool;
        vrq::noise::network_traffic(pool.sink, file(netstat).c_str(), file(snmp).c_str());
        return pool.got;
    }

  private:
    std::string folder_;
    int files_ = 0;
};

using List = std::vector<Contribution>;

TEST_F(Noise, MemoryFiguresUpToTheFreeOne) {
    using vrq::noise::system_memory;
    EXPECT_EQ(
        (List{value(16300, 1), value(-1, 1)}),
        take(system_memory, "MemTotal:   16300 kB\nMemFree:   4294967295 kB\nMemTotal: 5 kB\n"));
    EXPECT_EQ((List{value(7, 1)}), take(system_memory, "Cached: 3 kB\nMemFree: 7"));
    EXPECT_EQ((List{value(8, 1)}),
              take(system_memory, "MemTotal:\nMemTotal: 8 kB\nMemFree: none\n"));
    EXPECT_EQ(List{}, take(system_memory, ""));
    EXPECT_EQ(List{}, take(system_memory, std::string(5000, 'x') + "MemFree: 1"));
}

TEST_F(Noise, ContextSwitchesAndProcesses) {
    using vrq::noise::system_stat;
    const std::string interrupts = "intr 9" + [] {
        std::string zeros;
        for (int i = 0; i < 4000; ++i) zeros += " 0";
        return zeros;
    }();
    EXPECT_EQ(
        (List{value(int32_t{5}, 2), value(4321, 2)}),
        take(system_stat, "cpu 1 2\n" + interrupts +
                              "\nctxt 4294967301\nbtime 1\nprocesses 4321\nprocs_running 2\n"));
    EXPECT_EQ(List{}, take(system_stat, "ctxt\nprocesses many\n"));
    EXPECT_EQ(List{}, take(system_stat, ""));
}

TEST_F(Noise, ProcessorRecords) {
    using vrq::noise::cpu;
    std::string empty(132, '\0');
    std::string record(132, '\0');
    record.replace(52, 4, "abcd");
    record.replace(108, 4, "wxyz");
    const Contribution first{{'a', 'b', 'c', 'd'}, 1};
    const Contribution second{{'w', 'x', 'y', 'z'}, 1};
    EXPECT_EQ((List{first, second}), take(cpu, record + record));
    EXPECT_EQ((List{first, second}), take(cpu, empty + record));
    EXPECT_EQ(List{}, take(cpu, empty));
    EXPECT_EQ(List{}, take(cpu, record.substr(0, 131)));
    EXPECT_EQ(List{}, take(cpu, empty + record.substr(0, 131)));
}

TEST_F(Noise, SharedMemoryLimits) {
    const auto limits = [&](const std::string& all, const std::string& max) {
        Pool pool;
        vrq::noise::shared_memory(pool.sink, file(all).c_str(), file(max).c_str());
        return pool.got;
    };
    EXPECT_EQ((List{value(uint64_t{18446744073692774399U}, 1), value(uint64_t{33}, 1)}),
              limits("18446744073692774399\n", "33"));
    EXPECT_EQ((List{value(~uint64_t{0}, 1)}), limits("0\n", "99999999999999999999999999\n"));
    EXPECT_EQ(List{}, limits("", "many\n1\n"));
}

TEST_F(Noise, CountersOfTheNetworkNewestFirst) {
    const std::string netstat = "TcpExt: SyncookiesSent IpInReceives\nTcpExt: 1 2\n"
                                "IpExt: InReceives InOctets\nIpExt: 3 4\n";
    const std::string snmp = "Ip: Forwarding InReceives InDelivers OutRequests\nIp: 1 10 0 12\n"
                             "Icmp: InMsgs\nIcmp: 5\n"
                             "Tcp: MaxConn InSegs OutSegs\nTcp: -1 20 21\n"
                             "Udp: InDatagrams NoPorts OutDatagrams\nUdp: 30 31 32\n"
                             "UdpLite: InDatagrams\nUdpLite: 9\n";
    EXPECT_EQ((List{value(uint64_t{32}, 2), value(uint64_t{30}, 2), value(uint64_t{21}, 2),
                    value(uint64_t{20}, 2), value(uint64_t{12}, 2), value(uint64_t{10}, 2)}),
              take_tables(netstat, snmp));

    // The second file stands before the first.
    EXPECT_EQ((List{value(uint64_t{2}, 2), value(uint64_t{1}, 2)}),
              take_tables("Ip: InReceives\nIp: 1\n", "Tcp: InSegs\nTcp: 2\n"));
    // Values are matched from the end.
    EXPECT_EQ((List{value(uint64_t{8}, 2)}), take_tables("", "Ip: InReceives InDelivers\nIp: 8\n"));
    EXPECT_EQ(List{}, take_tables("", "Ip:\nIp:\n"));
}

TEST_F(Noise, MalformedCounterTablesAbort) {
    const auto aborts = [&](const std::string& table) {
        EXPECT_EXIT(take_tables(table, ""), testing::KilledBySignal(SIGABRT), "") << table;
    };
    aborts("no header\nIp: 1\n");
    aborts("Ip: InReceives\n");
    aborts("Ip: InReceives\nIp: many\n");
    aborts("Ip: InReceives\nIp: 1 \n");
    aborts("Ip: InReceives\nIp: 1 2\n");
    aborts("Ip: InReceives\nTcp: 1\n");
    aborts("\n");
    aborts("Ip: " + std::string(5000, 'x') + "\nIp: 1\n");
}

TEST_F(Noise, MissingFilesAddNothing) {
    Pool pool;
    const std::string path = missing();
    vrq::noise::system_memory(pool.sink, path.c_str());
    vrq::noise::system_stat(pool.sink, path.c_str());
    vrq::noise::cpu(pool.sink, path.c_str());
    vrq::noise::disk(pool.sink, path.c_str());
    vrq::noise::process_task(pool.sink, path.c_str());
    vrq::noise::process_stat(pool.sink, path.c_str());
    vrq::noise::system_rng(pool.sink, 64, path.c_str());
    vrq::noise::shared_memory(pool.sink, path.c_str(), path.c_str());
    vrq::noise::network_traffic(pool.sink, path.c_str(), path.c_str());
    EXPECT_EQ(List{}, pool.got);
}

TEST_F(Noise, RandomDeviceReadsOnceAndCreditsTheCountAskedFor) {
    const std::string device = file(std::string(100, 'r'));
    const auto read = [&](int32_t count, const std::string& path) {
        Pool pool;
        vrq::noise::system_rng(pool.sink, count, path.c_str());
        return pool.got;
    };
    EXPECT_EQ((List{{Bytes(10, 'r'), 10}}), read(10, device));
    EXPECT_EQ((List{{Bytes(64, 'r'), 64}}), read(0, device));
    EXPECT_EQ((List{{Bytes(64, 'r'), 64}}), read(-5, device));
    EXPECT_EQ((List{{Bytes(100, 'r'), 200}}), read(200, device));
    EXPECT_EQ(List{}, read(10, file("")));
}

// Runs the body in a child; its result is the child's exit status.
template <class Body>
int in_child(Body body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Noise, RandomDeviceIsSkippedInPlaceOfAStandardStream) {
    const std::string device = file(std::string(100, 'r'));
    for (int stream = 0; stream < 3; ++stream) {
        EXPECT_EQ(0, in_child([&] {
                      Pool pool;
                      close(stream);
                      vrq::noise::system_rng(pool.sink, 64, device.c_str());
                      const bool is_closed = fcntl(stream, F_GETFD) == -1;
                      return pool.got.empty() && is_closed ? 0 : 1;
                  }));
    }
}

TEST_F(Noise, SystemCallsGiveTheirFields) {
    Pool pool;
    vrq::noise::current_process(pool.sink);
    EXPECT_EQ((List{value(getpid(), 2)}), pool.got);

    const auto sizes = [](void (*source)(const Sink&)) {
        Pool here;
        source(here.sink);
        std::vector<std::pair<std::size_t, uint32_t>> all;
        for (const Contribution& one : here.got) all.emplace_back(one.data.size(), one.credit);
        return all;
    };
    using Sizes = std::vector<std::pair<std::size_t, uint32_t>>;
    EXPECT_EQ((Sizes{{16, 5}}), sizes(vrq::noise::current_time));
    EXPECT_EQ((Sizes{{8, 2}, {8, 1}, {8, 1}, {8, 1}, {8, 1}, {8, 1}, {8, 1}, {2, 1}}),
              sizes(vrq::noise::system));
    EXPECT_EQ((Sizes{{8, 1}, {8, 1}, {8, 1}, {8, 1}}),
              sizes([](const Sink& sink) { vrq::noise::process_task(sink); }));
    EXPECT_EQ((Sizes{{8, 2}, {8, 2}}), sizes([](const Sink& sink) { vrq::noise::disk(sink); }));
    EXPECT_EQ((Sizes{{8, 2}}), sizes(vrq::noise::sleep_time));
    EXPECT_EQ((Sizes{{4, 3}}), sizes(vrq::noise::cpu_speed));
    EXPECT_EQ((Sizes{{8, 4}}), sizes(vrq::noise::fork_response));
    EXPECT_EQ(Sizes{}, sizes([](const Sink& sink) { vrq::noise::process_stat(sink); }));
    EXPECT_EQ(Sizes{}, sizes(vrq::noise::process_status));
    EXPECT_EQ(Sizes{}, sizes(vrq::noise::battery));
}

// A stat file of any number of fields: the scan stops at 23 and 42 are asked for.
TEST_F(Noise, ProcessStatNeverContributes) {
    for (int fields = 0; fields < 60; fields += 19) {
        std::string line = "1 (name) S";
        for (int i = 3; i < fields; ++i) line += " 7";
        EXPECT_EQ(List{}, take(vrq::noise::process_stat, line + "\n"));
    }
    EXPECT_EQ(List{}, take(vrq::noise::process_stat, "1 (" + std::string(3000, 'n') + ") S 1\n"));
}

extern "C" void reap_every_child(int) {
    const int kept = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {}
    errno = kept;
}

TEST_F(Noise, ForkSourceWithTheHostsTreatmentOfItsChildren) {
    for (void (*handler)(int) : {SIG_DFL, SIG_IGN, reap_every_child}) {
        struct sigaction action {};
        struct sigaction before {};
        action.sa_handler = handler; // without SA_RESTART: waiting is interrupted
        ASSERT_EQ(0, sigaction(SIGCHLD, &action, &before));
        Pool pool;
        vrq::noise::fork_response(pool.sink);
        sigaction(SIGCHLD, &before, nullptr);
        EXPECT_EQ(1U, pool.got.size());
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
        EXPECT_EQ(ECHILD, errno) << "no child is left behind";
    }
}

// A handler that draws random bytes would meet the generator's lock, or fork without end.
TEST_F(Noise, ForkSourceRunsNoForkHandlersOfTheHost) {
    static int runs = 0;
    ASSERT_EQ(0, pthread_atfork([] { ++runs; }, nullptr, nullptr));
    Pool pool;
    vrq::noise::fork_response(pool.sink);
    EXPECT_EQ(1U, pool.got.size());
    EXPECT_EQ(0, runs);
}

TEST_F(Noise, ForkSourceLeavesOtherChildrenAlone) {
    const pid_t other = fork();
    if (other == 0) _exit(7);
    siginfo_t info{};
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(other), &info, WEXITED | WNOWAIT));
    Pool pool;
    vrq::noise::fork_response(pool.sink);
    int status = 0;
    EXPECT_EQ(other, waitpid(other, &status, WNOHANG));
    EXPECT_EQ(7, WEXITSTATUS(status));
}

TEST_F(Noise, ProcessExitsWhenItCannotFork) {
    const auto without_children = [] {
        const rlimit none{0, 0};
        setrlimit(RLIMIT_NPROC, &none);
        if (getuid() == 0 && setuid(65534) != 0) _exit(1); // root has no limit
        Pool pool;
        vrq::noise::fork_response(pool.sink);
        _exit(2);
    };
    EXPECT_EXIT(without_children(), testing::ExitedWithCode(1), "");
}

std::size_t open_descriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

TEST(Entropy, CollectionLeavesNoDescriptorOpen) {
    const std::size_t before = open_descriptors();
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();
    EXPECT_EQ(0U, get_collection_entropy(unit, 3));
    vrq_Free_ENTROPY_Unit(unit);
    EXPECT_EQ(before, open_descriptors());
}

TEST(Entropy, AllocationFaults) {
    test::for_each_allocation_fault([](std::size_t number) {
        uint8_t* entropy = nullptr;
        uint8_t* nonce = nullptr;
        uint32_t entropy_length = 0;
        uint32_t nonce_length = 0;
        const uint32_t status = vrq_Get_ENTROPY_Input_With_Nonce_Input(
            &entropy, &entropy_length, &nonce, &nonce_length, 16, 1);
        if (number == 0) {
            EXPECT_EQ(0U, status);
        }
        if (status != 0) {
            EXPECT_EQ(0x1C060014U, status);
            EXPECT_EQ(nullptr, entropy);
            EXPECT_EQ(nullptr, nonce);
        }
        vrq::release(entropy);
        vrq::release(nonce);

        uint8_t* input = nullptr;
        uint32_t length = 0;
        if (const uint32_t s = vrq_Get_ENTROPY_Input(&input, &length, 32, 1); s != 0) {
            EXPECT_EQ(0x1C050014U, s);
            EXPECT_EQ(nullptr, input);
        }
        vrq::release(input);
    });
}

TEST(Entropy, FailedGrowthLeavesTheUnitAlone) {
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();
    const Bytes data(100, 0x5a);
    ASSERT_EQ(0U, vrq_Add_ENTROPY(unit, data.data(), 100, 1));
    const VRQ_ENTROPY_UNIT before = *unit;
    vrq::testing::fail_allocation(1);
    const Bytes more(200, 0x5a);
    EXPECT_EQ(0x1C01002BU, vrq_Add_ENTROPY(unit, more.data(), 200, 1));
    vrq::testing::fail_allocation(0);
    EXPECT_EQ(0, std::memcmp(&before, unit, sizeof before));
    EXPECT_EQ(0x1C01002BU, vrq_Add_ENTROPY(unit, data.data(), 0xFFFFFFFF, 1)) << "beyond 32 bits";
    vrq_Free_ENTROPY_Unit(unit);
}

TEST(Entropy, PoolsAndDigestsAreWiped) {
    const Bytes secret = test::from_hex("0f1e2d3c4b5a69788796a5b4c3d2e1f0");
    test::FreedMemoryWatch pool_watch(secret);
    VRQ_ENTROPY_UNIT* unit = vrq_New_ENTROPY_Unit();
    for (int i = 0; i < 40; ++i) ASSERT_EQ(0U, vrq_Add_ENTROPY(unit, secret.data(), 16, 1));
    ASSERT_EQ(0U, digest_entropy(unit, VRQ_ID_SHA512));
    const Bytes digest(unit->digest, unit->digest + 16);
    vrq_Free_ENTROPY_Unit(unit);
    EXPECT_GE(pool_watch.frees(), 5U);
    EXPECT_FALSE(pool_watch.found());

    test::FreedMemoryWatch digest_watch(digest);
    unit = vrq_New_ENTROPY_Unit();
    for (int i = 0; i < 40; ++i) ASSERT_EQ(0U, vrq_Add_ENTROPY(unit, secret.data(), 16, 1));
    ASSERT_EQ(0U, digest_entropy(unit, VRQ_ID_SHA512));
    ASSERT_EQ(digest, Bytes(unit->digest, unit->digest + 16));
    ASSERT_EQ(0U, digest_entropy(unit, VRQ_ID_SHA256));
    vrq_Free_ENTROPY_Unit(unit);
    EXPECT_FALSE(digest_watch.found());
}

} // namespace
