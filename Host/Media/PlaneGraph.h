#pragma once

/// Pictures in planes, converted line by line by zimg. Internal to the media library.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

struct zimg_filter_graph;
struct zimg_image_format;

namespace Vexorel::PrismDrift::Host {

/// Lines of the three planes at one end of a conversion. Only the last few are kept.
class PlaneLines {
public:
    /// For this many lines of the first plane, a power of two. Throws std::bad_alloc.
    PlaneLines(const zimg_image_format& format, unsigned count);

    /// A line of a plane, from 0. `Value` is a byte for formats of 8 bits, 16 bits for deeper ones
    /// and a float for floats.
    template <typename Value>
    Value* row(int plane, int y) const {
        const auto& [memory, stride, mask] = mPlanes[static_cast<std::size_t>(plane)];
        return reinterpret_cast<Value*>(memory.get() + (static_cast<unsigned>(y) & mask) * stride);
    }

private:
    friend class PlaneGraph;
    struct Free {
        void operator()(void* memory) const;
    };
    struct Plane {
        std::unique_ptr<std::uint8_t, Free> memory;
        std::size_t stride = 0;
        unsigned mask = 0; // of a line's number
    };
    std::array<Plane, 3> mPlanes;
};

/// One conversion, for as many pictures as one likes, one at a time.
class PlaneGraph {
public:
    /// Rounds to the nearest, or with `dithers` to one of the two levels around a value, by its
    /// place. Throws Error with zimg's reason, and std::bad_alloc.
    PlaneGraph(const zimg_image_format& from, const zimg_image_format& to, bool dithers = false);

    const PlaneLines& input() const { return mInput; }
    const PlaneLines& output() const { return mOutput; }

    /// Columns `left` to `right`, the end not included, of the lines from `y` on: as many as share
    /// a line of chroma. The numbers are those of planes that have a value for each pixel.
    using Step = std::function<void(int y, int left, int right)>;

    /// Converts a picture. `fill` puts lines into the input, as far as they are needed; `take` gets
    /// them from the output. Neither may throw. Throws Error.
    void run(const Step& fill, const Step& take);

private:
    struct Free {
        void operator()(zimg_filter_graph* graph) const;
    };
    std::unique_ptr<zimg_filter_graph, Free> mGraph;
    PlaneLines mInput, mOutput;
    std::unique_ptr<std::uint8_t, PlaneLines::Free> mScratch;
};

} // namespace Vexorel::PrismDrift::Host
