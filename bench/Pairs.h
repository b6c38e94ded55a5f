#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bench {

/// Seconds that `work` takes.
inline double secondsOf(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The median; of an even number, the lower middle value.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Ours and the reference, measured in turns so that other load on the machine affects both.
struct Pairs {
    std::string name;
    double limit = 0;  ///< the ratio must not exceed it
    std::vector<double> ours;
    std::vector<double> reference;
    /// The value that represents all pairs, if that is not the median.
    std::optional<double> oursOfAll = {};
    std::optional<double> referenceOfAll = {};

    double ourFigure() const { return oursOfAll ? *oursOfAll : median(ours); }
    double referenceFigure() const { return referenceOfAll ? *referenceOfAll : median(reference); }
    double ratio() const { return ourFigure() / referenceFigure(); }
};

/// Both return seconds for one unit of the same amount of work.
inline Pairs measure(std::string name, double limit, std::size_t pairs, const std::function<double()>& ours,
                     const std::function<double()>& reference) {
    Pairs result{std::move(name), limit, {}, {}};
    for (std::size_t i = 0; i < pairs; ++i) {
        result.reference.push_back(reference());
        result.ours.push_back(ours());
    }
    return result;
}

/// One member of a JSON list of figures.
inline void print(const Pairs& pairs, bool last = false, const char* unit = "s") {
    const auto [oursLeast, oursMost] = std::minmax_element(pairs.ours.begin(), pairs.ours.end());
    const auto [referenceLeast, referenceMost] = std::minmax_element(pairs.reference.begin(), pairs.reference.end());
    std::printf("  {\"name\": \"%s\", \"unit\": \"%s\", \"pairs\": %zu, \"ours\": %.4g, \"oursLeast\": %.4g, "
                "\"oursMost\": %.4g, \"reference\": %.4g, \"referenceLeast\": %.4g, \"referenceMost\": %.4g, "
                "\"ratio\": %.3f, \"limit\": %.2f}%s\n",
                pairs.name.c_str(), unit, pairs.ours.size(), pairs.ourFigure(), *oursLeast, *oursMost,
                pairs.referenceFigure(), *referenceLeast, *referenceMost, pairs.ratio(), pairs.limit, last ? "" : ",");
    std::fflush(stdout);
}

}  // namespace bench
