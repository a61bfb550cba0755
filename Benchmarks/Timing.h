#pragma once

/// What the benchmarks measure with.

#include <algorithm>
#include <chrono>
#include <vector>

template <typename Function>
double milliseconds(const Function& function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// Of one value or more.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<long>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}
