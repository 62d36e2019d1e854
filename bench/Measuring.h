#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace zeb::bench {

template <typename Function>
double secondsOf(const Function& function) {
    const auto begin = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

template <typename Function>
double nanosecondsOf(const Function& function) {
    return secondsOf(function) * 1e9;
}

/// Of two in the middle the greater. There must be a sample.
inline double medianOf(std::vector<double> samples) {
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

}  // namespace zeb::bench
