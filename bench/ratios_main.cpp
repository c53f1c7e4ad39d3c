// Runs the benchmarks of a program and tells each one's time as a multiple of the first in its family. The family of
// "sanitize/in_place" is "sanitize"; names without a "/" are all of one family.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            // Of repetitions the median counts, a single run for itself.
            const bool counts =
                run.repetitions > 1 ? run.aggregate_name == "median" : run.run_type == Run::RT_Iteration;
            if (counts && !run.error_occurred) times_.push_back({run.run_name.str(), run.GetAdjustedCPUTime()});
        }
    }

    void Finalize() override {
        std::map<std::string, Time> first;
        for (const Time& time : times_) {
            const std::size_t slash = time.name.find('/');
            const std::string family = slash == std::string::npos ? std::string() : time.name.substr(0, slash);
            const auto [found, is_first] = first.emplace(family, time);
            if (!is_first && found->second.cpu > 0) {
                std::printf("%s: %.2f times the time of %s\n", time.name.c_str(), time.cpu / found->second.cpu,
                            found->second.name.c_str());
            }
        }
        ConsoleReporter::Finalize();
    }

private:
    struct Time {
        std::string name;
        double cpu; ///< for one iteration
    };
    std::vector<Time> times_;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
}
