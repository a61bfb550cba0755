#include "Host/Color/Transfer.h"

#include "Host/Color/Formula.h"

#include <cmath>

namespace Vexorel::PrismDrift::Host {
namespace {

// What a picture may hold in half floats.
constexpr double powerTop = 65536.0;
constexpr double opticalTop = 1.5;

template <typename Steps>
Formula formulaBetween(double codedToe, double linearToe, double codedTop) {
    return {codedToe,           linearToe,
            codedTop,           Steps::toLinear(codedTop),
            Steps::toeToLinear, Steps::toeFromLinear,
            Steps::toLinear,    Steps::fromLinear};
}

struct SrgbSteps {
    static constexpr double slope = 12.92, offset = 0.055, power = 2.4;

    static double toeToLinear(double coded) { return coded / slope; }
    static double toeFromLinear(double linear) { return linear * slope; }
    static double toLinear(double coded) {
        return std::pow((coded + offset) / (1.0 + offset), power);
    }
    static double fromLinear(double linear) {
        return (1.0 + offset) * std::pow(linear, 1.0 / power) - offset;
    }
};

// With the constants that make the two parts meet, of which BT.709 gives three or four digits.
struct Bt709Steps {
    static constexpr double alpha = 1.09929682680944, beta = 0.018053968510807;
    static constexpr double slope = 4.5, power = 0.45;

    static double toeToLinear(double coded) { return coded / slope; }
    static double toeFromLinear(double linear) { return linear * slope; }
    static double toLinear(double coded) {
        return std::pow((coded + (alpha - 1.0)) / alpha, 1.0 / power);
    }
    static double fromLinear(double linear) {
        return alpha * std::pow(linear, power) - (alpha - 1.0);
    }
};

struct PqSteps {
    static constexpr double m1 = 2610.0 / 16384, m2 = 2523.0 / 4096 * 128;
    static constexpr double c1 = 3424.0 / 4096, c2 = 2413.0 / 4096 * 32, c3 = 2392.0 / 4096 * 32;
    static constexpr double codedToe = 1.0 / (1 << 17);

    static double linearToe() {
        static const double value = toLinear(codedToe);
        return value;
    }
    static double toeToLinear(double coded) { return coded * (linearToe() / codedToe); }
    static double toeFromLinear(double linear) { return linear * (codedToe / linearToe()); }
    static double toLinear(double coded) {
        const double root = std::pow(coded, 1.0 / m2);
        return std::pow((root - c1) / (c2 - c3 * root), 1.0 / m1);
    }
    static double fromLinear(double linear) {
        const double root = std::pow(linear, m1);
        return std::pow((c1 + c2 * root) / (1.0 + c3 * root), m2);
    }
};

struct HlgSteps {
    static constexpr double a = 0.17883277, b = 1.0 - 4.0 * a;

    static double c() {
        static const double value = 0.5 - a * std::log(4.0 * a);
        return value;
    }
    static double toeToLinear(double coded) { return coded * coded / 3.0; }
    static double toeFromLinear(double linear) { return std::sqrt(3.0 * linear); }
    static double toLinear(double coded) { return (std::exp((coded - c()) / a) + b) / 12.0; }
    static double fromLinear(double linear) { return a * std::log(12.0 * linear - b) + c(); }
};

using Function = Formula::Function;

double mirrored(double value, double toe, Function inToe, double top, double ofTop,
                Function function) {
    if (!std::isfinite(value)) {
        return value;
    }
    const double size = std::abs(value);
    const double result = size <= toe   ? inToe(size)
                          : size <= top ? function(size)
                                        : size * (ofTop / top);
    return std::copysign(result, value);
}

} // namespace

const Formula& formulaOf(Transfer transfer) {
    static const Formula srgb = formulaBetween<SrgbSteps>(0.04045, 0.0031308, powerTop);
    static const Formula bt709 = formulaBetween<Bt709Steps>(Bt709Steps::slope * Bt709Steps::beta,
                                                            Bt709Steps::beta, powerTop);
    static const Formula pq =
        formulaBetween<PqSteps>(PqSteps::codedToe, PqSteps::linearToe(), opticalTop);
    static const Formula hlg = formulaBetween<HlgSteps>(0.5, 1.0 / 12, opticalTop);
    return transfer == Transfer::Srgb    ? srgb
           : transfer == Transfer::Bt709 ? bt709
           : transfer == Transfer::Pq    ? pq
                                         : hlg;
}

std::string nameOf(Transfer transfer) {
    switch (transfer) {
    case Transfer::Srgb:
        return "sRGB";
    case Transfer::Bt709:
        return "BT.709";
    case Transfer::Pq:
        return "PQ";
    case Transfer::Hlg:
        return "HLG";
    default:
        return "linear light";
    }
}

double toLinear(double coded, Transfer transfer) {
    if (transfer == Transfer::Linear) {
        return coded;
    }
    const Formula& f = formulaOf(transfer);
    return mirrored(coded, f.codedToe, f.toeToLinear, f.codedTop, f.linearTop, f.toLinear);
}

double fromLinear(double linear, Transfer transfer) {
    if (transfer == Transfer::Linear) {
        return linear;
    }
    const Formula& f = formulaOf(transfer);
    return mirrored(linear, f.linearToe, f.toeFromLinear, f.linearTop, f.codedTop, f.fromLinear);
}

} // namespace Vexorel::PrismDrift::Host
