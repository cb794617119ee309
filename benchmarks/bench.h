#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <malloc.h>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

// What every benchmark shares: samples taken in turn with those of a reference in
// the same run, their medians, and the one line that tells the result.
namespace bench {

using benchmark::ClobberMemory;
using benchmark::DoNotOptimize;

// Which figure the target judges, and which side of it is good. The ratio is
// value / reference.
enum class Judge { RatioAtMost, RatioAtLeast, ValueAtMost, ValueAtLeast };

// Constant facts of one benchmark. A ValueAt... benchmark may go without a
// reference: leave its name empty, and "reference" and "ratio" are null.
struct Description {
    std::string name; // With hyphens, as ./bench takes it.
    std::string unit; // Of the value and of the reference.
    std::string referenceName;
    Judge judge = Judge::RatioAtMost;
    double target = 0;
    double quantile = 0.5; // Of the samples, that is told as value and reference; the median by itself.
    double orRatio = 0;    // A ratio up to this meets a ValueAtMost target as well: then the machine is slow.
};

// A median of fewer samples than this is not told.
inline constexpr size_t k_FewestRuns = 5;

inline double Median(std::vector<double> samples) {
    if (samples.empty())
        return 0;
    std::sort(samples.begin(), samples.end());
    size_t const middle = samples.size() / 2;
    return samples.size() % 2 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
}

// The sample that this part of all are not above.
inline double Quantile(std::vector<double> samples, double part) {
    if (part == 0.5 || samples.empty())
        return Median(std::move(samples));
    std::sort(samples.begin(), samples.end());
    auto const rank = static_cast<size_t>(std::ceil(part * static_cast<double>(samples.size())));
    return samples[std::clamp<size_t>(rank, 1, samples.size()) - 1];
}

// Seconds that one call takes.
template <class Work>
double Seconds(Work&& work) {
    auto const start = std::chrono::steady_clock::now();
    work();
    ClobberMemory();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Bytes that the process holds from the allocator now.
inline size_t AllocatedBytes() {
    auto const info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// The samples of one benchmark and its report. One thread only.
class Benchmark {
public:
    Benchmark(Description description, int argc, char** argv) : m_description(std::move(description)) {
        for (int i = 1; i < argc; ++i) {
            m_header |= std::strcmp(argv[i], "--header") == 0;
            m_row |= std::strcmp(argv[i], "--row") == 0;
        }
    }

    // True if the caller wants the table's heading and no measurement: Report prints it.
    bool HeaderOnly() const { return m_header; }

    // Takes `runs` samples of each in turn, so that a slow minute of the machine
    // slows both. Each function returns one figure in the benchmark's unit.
    void Run(size_t runs, std::function<double()> const& value, std::function<double()> const& reference = {}) {
        if (m_header)
            return;
        for (size_t i = 0; i < runs; ++i) {
            // Who goes first changes: neither always finds the caches warm.
            if (reference && i % 2)
                AddReference(reference());
            AddValue(value());
            if (reference && i % 2 == 0)
                AddReference(reference());
        }
    }

    void AddValue(double sample) { m_values.push_back(sample); }
    void AddReference(double sample) { m_references.push_back(sample); }

    // Something beside the figure did not hold: the target is not met, whatever the
    // figure says.
    void Fail(std::string const& why) {
        std::fprintf(stderr, "%s: %s\n", m_description.name.c_str(), why.c_str());
        m_failed = true;
    }

    // Prints the result. Returns the exit code: 0 if it was measured, met or not.
    int Report() const {
        if (m_header) {
            std::printf("%-22s %14s %-10s %9s %8s  %-4s %s\n", "name", "value", "unit", "ratio", "target", "met",
                        "reference");
            return 0;
        }
        bool const compared = !m_description.referenceName.empty();
        if (m_values.size() < k_FewestRuns || (compared && m_references.size() < k_FewestRuns)) {
            std::fprintf(stderr, "%s: fewer than %zu runs were measured\n", m_description.name.c_str(), k_FewestRuns);
            return 1;
        }
        double const value = Quantile(m_values, m_description.quantile);
        double const reference = Quantile(m_references, m_description.quantile);
        double const ratio = reference != 0 ? value / reference : 0;
        if (ByRatio() && reference == 0) {
            std::fprintf(stderr, "%s: the reference measured nothing\n", m_description.name.c_str());
            return 1;
        }
        if (m_row)
            PrintRow(value, ratio, compared);
        else
            PrintJson(value, reference, ratio, compared);
        return 0;
    }

private:
    bool ByRatio() const {
        return m_description.judge == Judge::RatioAtMost || m_description.judge == Judge::RatioAtLeast;
    }

    bool Met(double value, double ratio) const {
        if (m_failed)
            return false;
        double const figure = ByRatio() ? ratio : value;
        bool const atMost = m_description.judge == Judge::RatioAtMost || m_description.judge == Judge::ValueAtMost;
        if (m_description.judge == Judge::ValueAtMost && ratio > 0 && ratio <= m_description.orRatio)
            return true;
        return atMost ? figure <= m_description.target : figure >= m_description.target;
    }

    void PrintRow(double value, double ratio, bool compared) const {
        char ratioText[32] = "-";
        if (compared)
            std::snprintf(ratioText, sizeof ratioText, "%.3g", ratio);
        std::printf("%-22s %14.6g %-10s %9s %8g  %-4s %s\n", m_description.name.c_str(), value,
                    m_description.unit.c_str(), ratioText, m_description.target, Met(value, ratio) ? "yes" : "no",
                    m_description.referenceName.c_str());
    }

    void PrintJson(double value, double reference, double ratio, bool compared) const {
        nlohmann::ordered_json line;
        line["name"] = m_description.name;
        line["unit"] = m_description.unit;
        line["value"] = value;
        line["reference"] = compared ? nlohmann::ordered_json(reference) : nlohmann::ordered_json();
        line["reference_name"] = m_description.referenceName;
        line["ratio"] = compared ? nlohmann::ordered_json(ratio) : nlohmann::ordered_json();
        line["target"] = m_description.target;
        line["met"] = Met(value, ratio);
        line["runs"] = m_values.size();
        line["min"] = *std::min_element(m_values.begin(), m_values.end());
        line["max"] = *std::max_element(m_values.begin(), m_values.end());
        std::printf("%s\n", line.dump().c_str());
    }

    Description const m_description;
    bool m_header = false;
    bool m_row = false;
    bool m_failed = false;
    std::vector<double> m_values;
    std::vector<double> m_references;
};

} // namespace bench
