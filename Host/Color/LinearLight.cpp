#include "Host/Color/LinearLight.h"

#include "Host/Color/Formula.h"
#include "Host/Library/Bands.h"
#include "Host/Library/Error.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr std::uint32_t signBit = 0x80000000U;

// Most values lie on few octaves, so a table answers: each octave of positive floats is cut into
// equal intervals, which the top bits of a float number, and a cubic runs through four values of
// the formula in each.
class Curve {
public:
    using Whole = double (*)(double, Transfer);

    // The formula is used from `first` up to `last`, `whole` elsewhere.
    Curve(Formula::Function formula, double first, double last, Transfer transfer, Whole whole)
        : mTransfer(transfer),
          mWhole(whole),
          // Behind the first, which belongs to the simple part.
          mFirst(std::bit_cast<std::uint32_t>(static_cast<float>(first)) + 1),
          mCount(std::bit_cast<std::uint32_t>(static_cast<float>(last)) - mFirst),
          mFirstInterval(mFirst >> lowBits) {
        const std::uint32_t end = ((mFirst + mCount) >> lowBits) + 1;
        for (std::uint32_t interval = mFirstInterval; interval < end; ++interval) {
            const double from = std::bit_cast<float>(interval << lowBits);
            const double to = std::bit_cast<float>((interval + 1) << lowBits);
            mCubics.push_back(through(formula(from), formula(from + (to - from) / 3.0),
                                      formula(to - (to - from) / 3.0), formula(to)));
        }
    }

    float at(float value) const {
        const auto bits = std::bit_cast<std::uint32_t>(value);
        const std::uint32_t size = bits & ~signBit;
        if (size - mFirst >= mCount) {
            return byFormula(value);
        }
        const Cubic& cubic = mCubics[(size >> lowBits) - mFirstInterval];
        constexpr double unit = 1.0 / (1U << lowBits);
        const double t = static_cast<std::int32_t>(size & lowMask) * unit;
        const double result = cubic.c0 + t * (cubic.c1 + t * (cubic.c2 + t * cubic.c3));
        return std::bit_cast<float>(std::bit_cast<std::uint32_t>(static_cast<float>(result)) |
                                    (bits & signBit));
    }

private:
    static constexpr unsigned lowBits = 17; // which leave 64 intervals an octave
    static constexpr std::uint32_t lowMask = (1U << lowBits) - 1;

    // Of where a value lies in its interval, from 0 to 1.
    struct Cubic {
        double c0, c1, c2, c3;
    };

    // At 0, 1/3, 2/3 and 1.
    static Cubic through(double f0, double f1, double f2, double f3) {
        return {f0, (18.0 * f1 - 11.0 * f0 - 9.0 * f2 + 2.0 * f3) / 2.0,
                (2.0 * f0 - 5.0 * f1 + 4.0 * f2 - f3) * 4.5, (f3 - f0 + 3.0 * (f1 - f2)) * 4.5};
    }

    float byFormula(float value) const {
        constexpr double most = std::numeric_limits<float>::max();
        const double result = mWhole(static_cast<double>(value), mTransfer);
        return static_cast<float>(std::isinf(value) ? result : std::clamp(result, -most, most));
    }

    Transfer mTransfer;
    Whole mWhole;
    std::uint32_t mFirst, mCount; // of the floats that the table is for
    std::uint32_t mFirstInterval;
    std::vector<Cubic> mCubics;
};

struct Curves {
    explicit Curves(Transfer transfer, const Formula& formula)
        : toLinear(formula.toLinear, formula.codedToe, formula.codedTop, transfer, &Host::toLinear),
          fromLinear(formula.fromLinear, formula.linearToe, formula.linearTop, transfer,
                     &Host::fromLinear) {}

    Curve toLinear, fromLinear;
};

template <Transfer transfer>
const Curves& madeOnce() {
    static const auto& curves = *new Curves(transfer, formulaOf(transfer));
    return curves;
}

const Curves& curvesOf(Transfer transfer) {
    return transfer == Transfer::Srgb    ? madeOnce<Transfer::Srgb>()
           : transfer == Transfer::Bt709 ? madeOnce<Transfer::Bt709>()
           : transfer == Transfer::Pq    ? madeOnce<Transfer::Pq>()
                                         : madeOnce<Transfer::Hlg>();
}

void apply(const Curve& curve, std::uint8_t* row, int width) {
    for (int x = 0; x < width; ++x) {
        for (std::size_t i = 1; i < 4; ++i) {
            std::uint8_t* at = row + (static_cast<std::size_t>(x) * 4 + i) * sizeof(float);
            float value = 0.0F;
            std::memcpy(&value, at, sizeof value);
            value = curve.at(value);
            std::memcpy(at, &value, sizeof value);
        }
    }
}

void apply(World& world, Transfer transfer, Curve Curves::*direction) {
    if (world.format() != PF_PixelFormat_ARGB128) {
        throw Error("linear light takes a world of floats");
    }
    if (transfer == Transfer::Linear) {
        return;
    }
    const Curve& curve = curvesOf(transfer).*direction;
    const std::size_t count = bandCount(static_cast<std::size_t>(world.width()),
                                        static_cast<std::size_t>(world.height()));
    runBands(count, [&](std::size_t band) {
        const int end = bandEdge(band + 1, count, world.height());
        for (int y = bandEdge(band, count, world.height()); y < end; ++y) {
            apply(curve, world.row(y), world.width());
        }
    });
}

} // namespace

void toLinear(World& world, Transfer transfer) {
    apply(world, transfer, &Curves::toLinear);
}

void fromLinear(World& world, Transfer transfer) {
    apply(world, transfer, &Curves::fromLinear);
}

} // namespace Vexorel::PrismDrift::Host
