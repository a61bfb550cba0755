#pragma once

/// What the math tests share: the library, values as rows of doubles, compared to the bit or within
/// a tolerance, and seeded random input.

#include "Shared/Math/Barycentric.h"
#include "Shared/Math/Box3.h"
#include "Shared/Math/Euler.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"
#include "Shared/Math/Range.h"
#include "Shared/Math/Rect.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <random>
#include <utility>

namespace Vexorel::PrismDrift::Testing {

constexpr double pi = 3.14159265358979323846;

template <class Value>
auto partsOf(const Value& value) {
    std::array<double, sizeof(Value) / sizeof(double)> parts;
    std::memcpy(parts.data(), &value, sizeof(Value));
    return parts;
}

template <class Value>
testing::AssertionResult isNear(const Value& actual, const Value& expected, double limit = 1e-12) {
    const auto near = testing::Pointwise(testing::DoubleNear(limit), partsOf(expected));
    return testing::AssertionResult(testing::Matches(near)(partsOf(actual)))
           << testing::PrintToString(partsOf(actual)) << " for "
           << testing::PrintToString(partsOf(expected));
}

/// Equal to the last bit, except that zeros of either sign are the same.
template <class Value>
testing::AssertionResult isSame(const Value& actual, const Value& expected) {
    return isNear(actual, expected, 0.0);
}

/// Each first value must be the second, to the last bit.
template <class Value>
void expectSame(std::initializer_list<std::pair<Value, Value>> rows) {
    for (auto row = rows.begin(); row != rows.end(); ++row) {
        EXPECT_TRUE(isSame(row->first, row->second)) << "row " << row - rows.begin() + 1;
    }
}

/// A value after a change by a member function or another, with these arguments.
template <class Value, class Change, class... Arguments>
Value changed(Value value, Change change, Arguments... arguments) {
    std::invoke(change, value, arguments...);
    return value;
}

/// Uniform values from -range to range, the same ones in every run.
class Random {
public:
    double operator()(double range = 10.0) { return mDistribution(mEngine) * range; }
    template <class Value>
    Value make(double range = 10.0) {
        decltype(partsOf(std::declval<Value>())) parts;
        std::generate(parts.begin(), parts.end(), [&] { return (*this)(range); });
        return std::apply([](auto... part) { return Value(part...); }, parts);
    }

private:
    std::mt19937_64 mEngine{20240229};
    std::uniform_real_distribution<double> mDistribution{-1.0, 1.0};
};

} // namespace Vexorel::PrismDrift::Testing
