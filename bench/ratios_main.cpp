// Runs the benchmarks of a program and prints ratios of their times. Names are FAMILY/WAY or FAMILY/WAY/SIZE; numbers
// of threads count as sizes. Each way is a multiple of the way "this", or else of the first way, of its family and
// size. Each size is a multiple of the first size of its way. Names without a "/" are ways of one family.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            // The median of repetitions counts, or a single run.
            const bool counts =
                run.repetitions > 1 ? run.aggregate_name == "median" : run.run_type == Run::RT_Iteration;
            if (!counts || run.error_occurred) continue;
            const double time = run.run_name.time_type.empty() ? run.GetAdjustedCPUTime() : run.GetAdjustedRealTime();
            // Interleaved runs finish in any order; these numbers give the order of registration.
            times_.emplace(std::pair(run.family_index, run.per_family_instance_index), make_time(run.run_name, time));
        }
    }

    void Finalize() override {
        std::map<std::string, const Time*> bases, smallest;
        for (const auto& [order, time] : times_) {
            const auto [base, is_first] = bases.emplace(time.family + "/" + time.size, &time);
            if (!is_first && time.way == "this") base->second = &time;
        }
        for (const auto& [order, time] : times_) {
            print(time, *bases.at(time.family + "/" + time.size));
            if (!time.size.empty()) print(time, *smallest.emplace(time.family + "/" + time.way, &time).first->second);
        }
        ConsoleReporter::Finalize();
    }

private:
    struct Time {
        std::string name, family, way, size;
        double one; ///< iteration
    };

    static Time make_time(const benchmark::BenchmarkName& name, double one) {
        const std::string& function = name.function_name;
        const std::size_t slash = function.find('/');
        Time time{function, {}, function, name.args, one};
        if (slash != std::string::npos) {
            time.family = function.substr(0, slash);
            time.way = function.substr(slash + 1);
        }
        for (const std::string* part : {&name.args, &name.threads})
            if (!part->empty()) time.name += "/" + *part;
        if (time.size.empty()) time.size = name.threads;
        return time;
    }

    static void print(const Time& time, const Time& base) {
        if (&time == &base || base.one <= 0) return;
        std::printf("%s: %.2f times the time of %s\n", time.name.c_str(), time.one / base.one, base.name.c_str());
    }

    std::map<std::pair<std::int64_t, std::int64_t>, Time> times_;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
}
