// The math library beside glm's double types. Each benchmark runs the same loop over the same
// random values with both, in turn, so that whatever else the machine does hits the two alike, and
// reports the median time of an operation with each, in nanoseconds, and the ratio of the two.

#include "Shared/Math/Affine.h"
#include "Shared/Math/Mat4.h"
#include "Shared/Math/Quaternion.h"

#include <benchmark/benchmark.h>
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace Vexorel::PrismDrift;

constexpr std::size_t count = 512;
constexpr int passes = 8;
constexpr std::size_t bytesPerDouble = 8;

/// `count` random values, the same for any two types of the same size: unit vectors and unit
/// quaternions of four doubles, placed rotations of sixteen, and otherwise every double in -1 to 1.
template <class Value>
std::vector<Value> randomValues(std::uint64_t seed) {
    constexpr std::size_t size = sizeof(Value) / bytesPerDouble;
    std::mt19937_64 engine(seed);
    std::uniform_real_distribution<double> distribution(-1.0, 1.0);
    std::vector<Value> values;
    for (std::size_t i = 0; i < count; ++i) {
        std::array<double, size == 16 ? 4 : size> parts;
        std::generate(parts.begin(), parts.end(), [&] { return distribution(engine); });
        if constexpr (size == 4 || size == 16) {
            auto unit = std::bit_cast<Quaternion>(parts);
            unit.normalize();
            parts = std::bit_cast<decltype(parts)>(unit);
        }
        if constexpr (size == 16) {
            Mat4 placed(true);
            placed.compose(Vec3(parts[0], parts[1], parts[2]), std::bit_cast<Quaternion>(parts),
                           Vec3(1.0));
            values.push_back(std::bit_cast<Value>(placed));
        } else {
            values.push_back(std::bit_cast<Value>(parts));
        }
    }
    return values;
}

/// One library's side: an operation that puts into a result what it makes of two inputs.
template <class Result, class A, class B, class Operation>
class Side {
public:
    explicit Side(Operation operation) : mOperation(operation) {}

    /// Nanoseconds per operation.
    double run() {
        const auto start = std::chrono::steady_clock::now();
        for (int pass = 0; pass < passes; ++pass) {
            for (std::size_t i = 0; i < count; ++i) {
                mOperation(mResults[i], mA[i], mB[i]);
            }
            benchmark::ClobberMemory();
        }
        const std::chrono::duration<double, std::nano> spent =
            std::chrono::steady_clock::now() - start;
        return spent.count() / static_cast<double>(count * passes);
    }

private:
    std::vector<A> mA = randomValues<A>(1);
    std::vector<B> mB = randomValues<B>(2);
    Operation mOperation;
    std::vector<Result> mResults = randomValues<Result>(3);
};

/// What a run takes while nothing else disturbs it: the first decile.
double undisturbed(std::vector<double> times) {
    const auto decile = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 10);
    std::nth_element(times.begin(), decile, times.end());
    return *decile;
}

/// The types of one library in an operation: its result and its two inputs.
template <class Result, class A, class B>
struct Types {
    template <class Operation>
    using SideOf = Side<Result, A, B, Operation>;
};

/// Registers one operation, which each library does in the way that puts a result into its place.
template <class OurTypes, class GlmTypes, class Ours, class Theirs>
void compare(const std::string& name, Ours ours, Theirs theirs) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        typename OurTypes::template SideOf<Ours> ourSide(ours);
        typename GlmTypes::template SideOf<Theirs> glmSide(theirs);
        std::vector<double> ourTimes;
        std::vector<double> glmTimes;
        for (auto step : state) {
            static_cast<void>(step);
            ourTimes.push_back(ourSide.run());
            glmTimes.push_back(glmSide.run());
        }
        state.counters["ours_ns"] = undisturbed(ourTimes);
        state.counters["glm_ns"] = undisturbed(glmTimes);
        state.counters["ratio"] = undisturbed(ourTimes) / undisturbed(glmTimes);
    })->Iterations(401);
}

template <class V, class GlmV>
void compareVector(const std::string& type) {
    using Ours = Types<V, V, V>;
    using Glm = Types<GlmV, GlmV, GlmV>;
    const auto compareBoth = [&type](const char* name, auto both) {
        compare<Ours, Glm>(type + name, both, both);
    };
    compareBoth(" a + b", [](auto& out, const auto& a, const auto& b) { out = a + b; });
    compareBoth(" a - b", [](auto& out, const auto& a, const auto& b) { out = a - b; });
    compareBoth(" a * b", [](auto& out, const auto& a, const auto& b) { out = a * b; });
    compareBoth(" a / b", [](auto& out, const auto& a, const auto& b) { out = a / b; });
    compareBoth(" a * s", [](auto& out, const auto& a, const auto& b) { out = a * b.x; });
    compare<Types<double, V, V>, Types<double, GlmV, GlmV>>(
        type + " dot", [](double& out, const V& a, const V& b) { out = a.dot(b); },
        [](double& out, const GlmV& a, const GlmV& b) { out = glm::dot(a, b); });
    compare<Types<double, V, V>, Types<double, GlmV, GlmV>>(
        type + " length", [](double& out, const V& a, const V&) { out = a.length(); },
        [](double& out, const GlmV& a, const GlmV&) { out = glm::length(a); });
    compare<Ours, Glm>(
        type + " normalize",
        [](V& out, const V& a, const V&) {
            V unit = a;
            unit.normalize();
            out = unit;
        },
        [](GlmV& out, const GlmV& a, const GlmV&) { out = glm::normalize(a); });
}

using glm::dmat4;
using glm::dquat;
using glm::dvec2;
using glm::dvec3;
using glm::dvec4;

void compareMatrices() {
    compare<Types<Vec3, Vec3, Vec3>, Types<dvec3, dvec3, dvec3>>(
        "Vec3 cross", [](Vec3& out, const Vec3& a, const Vec3& b) { out = a.cross(b); },
        [](dvec3& out, const dvec3& a, const dvec3& b) { out = glm::cross(a, b); });
    const auto affine = randomValues<Affine>(4).front();
    const glm::dmat3x2 glmAffine(affine.a, affine.b, affine.c, affine.d, affine.e, affine.f);
    compare<Types<Vec2, Vec2, Vec2>, Types<dvec2, dvec2, dvec2>>(
        "Affine on points",
        [affine](Vec2& out, const Vec2& p, const Vec2&) { out = affine.getTransform(p); },
        [glmAffine](dvec2& out, const dvec2& p, const dvec2&) { out = glmAffine * dvec3(p, 1.0); });
    compare<Types<Mat4, Mat4, Mat4>, Types<dmat4, dmat4, dmat4>>(
        "Mat4 product", [](Mat4& out, const Mat4& a, const Mat4& b) { Mat4::mult(a, b, out); },
        [](dmat4& out, const dmat4& a, const dmat4& b) { out = a * b; });
    compare<Types<Mat4, Mat4, Mat4>, Types<dmat4, dmat4, dmat4>>(
        "Mat4 inverse", [](Mat4& out, const Mat4& m, const Mat4&) { m.getInverse(out); },
        [](dmat4& out, const dmat4& m, const dmat4&) { out = glm::inverse(m); });
    compare<Types<double, Mat4, Mat4>, Types<double, dmat4, dmat4>>(
        "Mat4 determinant", [](double& out, Mat4& m, const Mat4&) { out = m.determinant(); },
        [](double& out, const dmat4& m, const dmat4&) { out = glm::determinant(m); });
    const auto onVector = [](auto& out, auto& m, const auto& v) { out = m * v; };
    compare<Types<Vec4, Mat4, Vec4>, Types<dvec4, dmat4, dvec4>>("Mat4 on a Vec4", onVector,
                                                                 onVector);
    compare<Types<Vec3, Mat4, Vec3>, Types<dvec3, dmat4, dvec3>>(
        "Mat4 on a point", onVector,
        [](dvec3& out, const dmat4& m, const dvec3& p) { out = dvec3(m * dvec4(p, 1.0)); });
}

void compareRotations() {
    using Ours = Types<Quaternion, Quaternion, Quaternion>;
    using Glm = Types<dquat, dquat, dquat>;
    compare<Ours, Glm>(
        "Quaternion product",
        [](Quaternion& out, const Quaternion& a, const Quaternion& b) {
            out.multiplyQuaternions(a, b);
        },
        [](dquat& out, const dquat& a, const dquat& b) { out = a * b; });
    compare<Types<Vec3, Quaternion, Vec3>, Types<dvec3, dquat, dvec3>>(
        "Quaternion on a Vec3",
        [](Vec3& out, const Quaternion& q, const Vec3& v) {
            out = Quaternion::quaternionMulVec3(q, v);
        },
        [](dvec3& out, const dquat& q, const dvec3& v) { out = q * v; });
    compare<Ours, Glm>(
        "Quaternion slerp",
        [](Quaternion& out, const Quaternion& a, const Quaternion& b) {
            out = a;
            out.slerp(b, 0.3);
        },
        [](dquat& out, const dquat& a, const dquat& b) { out = glm::slerp(a, b, 0.3); });
    compare<Types<Mat4, Quaternion, Quaternion>, Types<dmat4, dquat, dquat>>(
        "Mat4 from a Quaternion",
        [](Mat4& out, const Quaternion& q, const Quaternion&) { out.setWithQuaternion(q); },
        [](dmat4& out, const dquat& q, const dquat&) { out = glm::mat4_cast(q); });
    compare<Types<Quaternion, Mat4, Quaternion>, Types<dquat, dmat4, dquat>>(
        "Quaternion from a Mat4",
        [](Quaternion& out, const Mat4& m, const Quaternion&) { out.setWithMat4(m); },
        [](dquat& out, const dmat4& m, const dquat&) { out = glm::quat_cast(m); });
}

} // namespace

int main(int argc, char** argv) {
    compareVector<Vec2, glm::dvec2>("Vec2");
    compareVector<Vec3, glm::dvec3>("Vec3");
    compareVector<Vec4, glm::dvec4>("Vec4");
    compareMatrices();
    compareRotations();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
}
