// Linear light: transfer functions against the standards' figures, the formulas worked out in
// another way, and the way there and back.

#include "Host/Color/LinearLight.h"
#include "Tests/Host/ErrorOf.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

using namespace Vexorel::PrismDrift::Host;

namespace {

constexpr Transfer transfers[] = {Transfer::Linear, Transfer::Srgb, Transfer::Bt709, Transfer::Pq,
                                  Transfer::Hlg};
constexpr double step = 1.0 / 65535; // of 16 bits
constexpr float infinity = std::numeric_limits<float>::infinity();

using Direction = void (*)(World&, Transfer);
constexpr Direction forth = &toLinear;
constexpr Direction back = &fromLinear;

/// The values as colours of a world, three to a pixel, changed one way or both.
std::vector<float> changed(const std::vector<float>& values, Transfer transfer,
                           std::initializer_list<Direction> directions) {
    constexpr std::size_t columns = 300;
    const std::size_t rows = values.size() / (3 * columns) + 1;
    World world(columns, static_cast<int>(rows), PF_PixelFormat_ARGB128);
    const auto at = [&](std::size_t i) -> float& {
        auto* row = reinterpret_cast<float*>(world.row(static_cast<int>(i / (3 * columns))));
        return row[i % (3 * columns) / 3 * 4 + i % 3 + 1];
    };
    for (std::size_t i = 0; i < values.size(); ++i) {
        at(i) = values[i];
        (&at(i / 3 * 3))[-1] = 0.3F; // alpha
    }
    std::vector<float> results;
    for (const Direction direction : directions) {
        direction(world, transfer);
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
        results.push_back(at(i));
        EXPECT_EQ((&at(i / 3 * 3))[-1], 0.3F);
    }
    return results;
}

/// Light of a coded value from 0 to 1.5, by formulas written down from the other direction: what
/// is searched for is the light that is coded so.
double lightOf(double coded, Transfer transfer) {
    const auto code = [transfer](double light) {
        const double root = std::exp(0.1593017578125 * std::log(light));
        switch (transfer) {
        case Transfer::Srgb:
            return light < 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 5.0 / 12) - 0.055;
        case Transfer::Bt709:
            return light < 0.01805397 ? 4.5 * light
                                      : 1.0992968268 * std::pow(light, 0.45) - 0.0992968268;
        case Transfer::Pq:
            return std::pow((0.8359375 + 18.8515625 * root) / (1 + 18.6875 * root), 78.84375);
        case Transfer::Hlg:
            return light < 1.0 / 12 ? std::sqrt(3 * light)
                                    : 0.17883277 * std::log(12 * light - 0.28466892) + 0.55991073;
        default:
            return light;
        }
    };
    double least = 0;
    double most = 400;
    for (int i = 0; i < 90; ++i) {
        const double middle = i < 45 && least > 0 ? std::sqrt(least * most) : (least + most) / 2;
        (code(middle) < coded ? least : most) = middle;
    }
    return most;
}

TEST(LinearLight, HasTheStandardsAnchors) {
    const struct {
        Transfer transfer;
        double coded, linear, tolerance;
    } rows[] = {
        {Transfer::Srgb, 0.04045, 0.0031308, 1e-7}, {Transfer::Srgb, 0.5, 0.21404114, 1e-8},
        {Transfer::Srgb, 2.0, 4.953846, 1e-6},      {Transfer::Bt709, 0.081, 0.018, 1e-9},
        {Transfer::Bt709, 0.409, 0.18, 4e-4},       {Transfer::Bt709, 0.5, 0.2597, 1e-4},
        {Transfer::Pq, 0.508078, 0.01, 1e-7},       {Transfer::Pq, 0.58069, 0.0203, 1e-5},
        {Transfer::Pq, 0.751827, 0.1, 1e-6},        {Transfer::Pq, 0.902572, 0.4, 1e-5},
        {Transfer::Hlg, 0.5, 1.0 / 12, 1e-12},      {Transfer::Hlg, 0.25, 1.0 / 48, 1e-12},
        {Transfer::Hlg, 0.75, 0.26496, 1e-5},       {Transfer::Linear, 0.3, 0.3, 0},
    };
    for (const auto& [transfer, coded, linear, tolerance] : rows) {
        EXPECT_NEAR(toLinear(coded, transfer), linear, tolerance) << nameOf(transfer) << coded;
    }
    for (const Transfer transfer : transfers) {
        const std::vector<float> fixed{0, 1, -0.0F, -1, infinity, -infinity};
        for (const Direction direction : {forth, back}) {
            EXPECT_EQ(changed(fixed, transfer, {direction}), fixed) << nameOf(transfer);
            EXPECT_TRUE(std::signbit(changed(fixed, transfer, {direction})[2]));
            EXPECT_TRUE(std::isnan(changed({NAN}, transfer, {direction})[0]));
            const float huge = changed({-3e38F}, transfer, {direction})[0];
            EXPECT_TRUE(std::isfinite(huge) && huge < -1e10F);
        }
    }
}

TEST(LinearLight, IsExactToTheFormulas) {
    for (const Transfer transfer : transfers) {
        SCOPED_TRACE(nameOf(transfer));
        std::vector<float> coded;
        for (int i = 1; i < 9000; ++i) {
            coded.push_back(static_cast<float>(i * 1.4999 / 9000)); // below PQ's pole
            coded.push_back(-coded.back());
        }
        const std::vector<float> linear = changed(coded, transfer, {forth});
        double worst = 0;
        for (std::size_t i = 0; i < coded.size(); i += 2) {
            const double right = lightOf(coded[i], transfer);
            // As coded values, where levels are equal, and the light's own precision.
            const double error = fromLinear(right, transfer) - fromLinear(linear[i], transfer);
            worst = std::max(worst, std::abs(error) / std::max(1.0F, coded[i]));
            EXPECT_EQ(linear[i + 1], -linear[i]);
        }
        EXPECT_LE(worst, step / 50) << "the standards round constants";
        worst = 0;
        const std::vector<float> again = changed(linear, transfer, {back});
        for (std::size_t i = 0; i < linear.size(); ++i) {
            const double right = fromLinear(linear[i], transfer);
            worst = std::max(worst, std::abs(again[i] - right) / std::max(1.0, std::abs(right)));
        }
        EXPECT_LE(worst, step / 250);
    }
}

TEST(LinearLight, ReturnsEveryLevelAndEveryHalfFloat) {
    std::vector<float> levels, halves;
    std::vector<double> spacings;
    for (int i = 0; i < 65536; ++i) {
        levels.push_back(static_cast<float>(i * step));
        const int exponent = i / 1024 % 32;
        const double mantissa = i % 1024 + (exponent == 0 ? 0 : 1024);
        if (exponent < 31) {
            spacings.push_back(std::ldexp(1.0, std::max(exponent, 1) - 25));
            halves.push_back(static_cast<float>(mantissa * spacings.back() * (i < 32768 ? 1 : -1)));
        }
    }
    for (const Transfer transfer : transfers) {
        SCOPED_TRACE(nameOf(transfer));
        const std::vector<float> sameLevels = changed(levels, transfer, {forth, back});
        const std::vector<float> sameHalves = changed(halves, transfer, {forth, back});
        for (std::size_t i = 0; i < levels.size(); ++i) {
            ASSERT_NEAR(sameLevels[i], levels[i], step / 100);
        }
        for (std::size_t i = 0; i < halves.size(); ++i) {
            ASSERT_NEAR(sameHalves[i], halves[i], spacings[i] / 20);
        }
        for (const Direction direction : {forth, back}) { // nothing runs backwards
            const std::vector<float> results = changed(levels, transfer, {direction});
            EXPECT_TRUE(std::is_sorted(results.begin(), results.end()));
        }
    }
    World bytes(1, 1);
    EXPECT_EQ(errorOf([&] { toLinear(bytes, Transfer::Srgb); }),
              "linear light takes a world of floats");
}

} // namespace
