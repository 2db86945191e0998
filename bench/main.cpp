// Main of the benchmarks: runs the rows on one core, repetitions of all peers interleaved at
// random, and prints the medians of a row's peers side by side. A row is named
// "<what>/<size>/<peer>". All flags of Google Benchmark work; --benchmark_filter chooses rows.
#include <benchmark/benchmark.h>

#include <sched.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr const char* kOurs = "talvern";

// Only the last core, so that peers with threads of their own get no more than we do.
void pin_to_one_core() {
    cpu_set_t allowed;
    if (sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
    for (int core = CPU_SETSIZE - 1; core >= 0; --core) {
        if (!CPU_ISSET(core, &allowed)) continue;
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(core, &one);
        sched_setaffinity(0, sizeof one, &one);
        return;
    }
}

class SideBySide : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(),
                             run.error_message.c_str());
                failed_ = true;
            }
            if (run.aggregate_name != "median") continue;
            add(run);
        }
    }

    void Finalize() override {
        std::printf("%-40s %-4s %12s  %s\n", "row", "unit", kOurs, "peers (ours / theirs)");
        for (const std::string& name : order_) print_row(name, rows_[name]);
    }

    bool failed() const { return failed_; }

  private:
    struct Row {
        const char* unit = "1/s";
        std::map<std::string, double> rates;
    };

    void add(const Run& run) {
        const std::string& name = run.run_name.function_name;
        const std::size_t slash = name.rfind('/');
        const std::string what = name.substr(0, slash);
        if (rows_.count(what) == 0) order_.push_back(what);

        Row& row = rows_[what];
        const auto bytes = run.counters.find("bytes_per_second");
        const bool has_bytes = bytes != run.counters.end();
        if (has_bytes) row.unit = "MB/s";
        const double per_second = 1e9 / run.GetAdjustedCPUTime(); // rows are timed in nanoseconds
        row.rates[name.substr(slash + 1)] = has_bytes ? bytes->second.value / 1e6 : per_second;
    }

    static void print_row(const std::string& what, const Row& row) {
        const auto ours = row.rates.find(kOurs);
        std::printf("%-40s %-4s %12.1f ", what.c_str(), row.unit,
                    ours == row.rates.end() ? 0.0 : ours->second);
        for (const auto& [peer, rate] : row.rates) {
            if (peer == kOurs) continue;
            std::printf(" %s %.1f (x %.2f)", peer.c_str(), rate,
                        ours == row.rates.end() ? 0.0 : ours->second / rate);
        }
        std::printf("\n");
    }

    std::vector<std::string> order_;
    std::map<std::string, Row> rows_;
    bool failed_ = false;
};

} // namespace

int main(int argc, char** argv) {
    pin_to_one_core();

    // Defaults come first, so that flags of the caller override them.
    std::vector<std::string> words = {argv[0], "--benchmark_repetitions=7",
                                      "--benchmark_enable_random_interleaving=true",
                                      "--benchmark_min_time=0.02"};
    words.insert(words.end(), argv + 1, argv + argc);
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    int count = static_cast<int>(arguments.size());

    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    SideBySide reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.failed() ? 1 : 0;
}
