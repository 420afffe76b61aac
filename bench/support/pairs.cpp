#include "support/pairs.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace bench
{

namespace
{

// Keeps the rates of every benchmark.
class PairReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &context) override
    {
        PrintBasicContext(&GetErrorStream(), context);
        return true;
    }

    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            const auto items = run.counters.find("items_per_second");
            if (run.error_occurred || run.run_type != Run::RT_Iteration || items == run.counters.end())
                continue;
            const std::string &name = run.run_name.function_name;
            const auto slash = name.rfind('/');
            rates_[name.substr(0, slash)][name.substr(slash + 1)].push_back(items->second.value);
        }
    }

    // False when a case lacks one of its halves.
    [[nodiscard]] bool print_ratios() const
    {
        bool complete = true;
        std::printf("%-48s %10s %10s %8s\n", "million items a second", "ours", "peer", "ratio");
        for (const auto &[name, sides] : rates_) {
            const auto ours = sides.find("ours");
            const auto peer = sides.find("peer");
            if (ours == sides.end() || peer == sides.end()) {
                complete = false;
                continue;
            }
            const double our_rate = median(ours->second);
            const double peer_rate = median(peer->second);
            std::printf("%-48s %10.1f %10.1f %8.2f\n", name.c_str(), our_rate * 1e-6, peer_rate * 1e-6,
                        our_rate / peer_rate);
        }
        return complete;
    }

private:
    static double median(std::vector<double> rates)
    {
        const auto middle = rates.begin() + static_cast<std::ptrdiff_t>(rates.size() / 2);
        std::nth_element(rates.begin(), middle, rates.end());
        return *middle;
    }

    std::map<std::string, std::map<std::string, std::vector<double>>> rates_;
};

}  // namespace

int run_pairs(int argc, char **argv)
{
    std::string defaults[] = {"--benchmark_repetitions=25", "--benchmark_min_time=0.01",
                              "--benchmark_enable_random_interleaving=true"};
    std::vector<char *> arguments = {argv[0]};
    for (std::string &argument : defaults)
        arguments.push_back(argument.data());
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    PairReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.print_ratios() ? 0 : 1;
}

}  // namespace bench
