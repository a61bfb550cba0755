#pragma once

/// A small host of the OpenFX standard. It counts the pictures that are fetched, and makes any call
/// of its suites fail.

#include "Host/OpenFX/Standard.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace Testing {

struct OpenFXProperties {
    using Value = std::variant<int, double, std::string, void*>;
    std::map<std::string, std::vector<Value>> values;
};

/// A picture with pixels of R, G, B, A between two guards.
struct OpenFXPicture {
    OpenFXPicture() = default;
    OpenFXPicture(const char* depth, const OfxRectI& bounds, bool upsideDown = false);

    /// Channel 0 is red, 3 alpha; values are the depth's own.
    double get(int x, int y, int channel) const;
    void set(int x, int y, int channel, double number);
    bool hasGuards() const;
    double white() const;

    OpenFXProperties properties;
    OfxRectI bounds{};

private:
    std::size_t at(int x, int y, int channel) const;

    std::size_t mValueBytes = 0, mRowBytes = 0;
    bool mUpsideDown = false;
    std::vector<std::uint8_t> mMemory;
};

struct OpenFXParameter {
    std::string type;
    OpenFXProperties properties;
    std::function<double(double time)> value;
};

struct OpenFXClip {
    OpenFXProperties properties;
    OpenFXPicture* picture = nullptr; ///< null: none at any time
    OfxRectD region{};
};

/// A description or an instance.
struct OpenFXEffect {
    OpenFXProperties properties;
    std::vector<std::string> order; ///< of the parameters
    std::map<std::string, OpenFXParameter> parameters;
    std::map<std::string, OpenFXClip> clips;
};

/// The host: one for the process.
struct OpenFXHost {
    static OfxHost* get();

    inline static std::atomic<int> calls{0};
    /// The number of the call that fails from 1, and with what; 0 for none.
    inline static std::atomic<int> failing{0};
    inline static std::atomic<OfxStatus> failure{kOfxStatFailed};
    /// The function that failed last.
    inline static const char* failed = "";
    inline static std::atomic<int> openPictures{0};
    inline static std::set<std::string> missingSuites;
    inline static std::mutex messageMutex;
    inline static std::string message;
};

} // namespace Testing
