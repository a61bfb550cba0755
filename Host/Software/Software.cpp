#include "Host/Software/Software.h"

#include "Host/Library/Error.h"
#include "Host/Software/Drawing.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>

namespace Vexorel::PrismDrift::Host {
namespace {

std::string sizeOf(const PF_LayerDef& world) {
    return std::to_string(world.width) + "x" + std::to_string(world.height);
}

void check(const PF_LayerDef& world, std::ptrdiff_t bytes, const std::string& name) {
    if (world.data == nullptr) {
        throw Error("the " + name + " world has no memory");
    }
    if (world.width < 1 || world.height < 1 || world.width > largestSide ||
        world.height > largestSide) {
        throw Error("the " + name + " world has " + sizeOf(world) + " pixels; a side has 1 to " +
                    std::to_string(largestSide));
    }
    if (std::abs(std::ptrdiff_t{world.rowbytes}) < world.width * bytes) {
        throw Error("a row of the " + name + " world has " + std::to_string(world.rowbytes) +
                    " bytes; its pixels take " + std::to_string(world.width * bytes));
    }
}

// The memory from the first byte of any row to behind the last.
struct Extent {
    const std::uint8_t *begin, *end;
};

Extent extentOf(const PF_LayerDef& world, std::ptrdiff_t bytes) {
    const auto* first = static_cast<const std::uint8_t*>(world.data);
    const std::ptrdiff_t toLast = std::ptrdiff_t{world.rowbytes} * (world.height - 1);
    return {first + std::min<std::ptrdiff_t>(toLast, 0),
            first + std::max<std::ptrdiff_t>(toLast, 0) + world.width * bytes};
}

void checkApart(const PF_LayerDef& input, const PF_LayerDef& output, std::ptrdiff_t bytes) {
    const Extent in = extentOf(input, bytes);
    const Extent out = extentOf(output, bytes);
    const std::less<> isBefore;
    if (isBefore(in.begin, out.end) && isBefore(out.begin, in.end)) {
        throw Error("the input and the output world share memory; a frame can't be drawn in place");
    }
}

template <typename Work>
auto withMemory(const PF_LayerDef& input, const Work& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        throw Error("not enough memory to draw a frame of " + sizeOf(input) + " pixels",
                    PF_Err_OUT_OF_MEMORY);
    }
}

} // namespace

void renderInSoftware(const PF_LayerDef& input, const PF_LayerDef& output, PF_PixelFormat format,
                      const SoftwareSettings& settings) {
    const auto bytes = static_cast<std::ptrdiff_t>(bytesPerPixel(format));
    check(input, bytes, "input");
    check(output, bytes, "output");
    checkApart(input, output, bytes);
    withMemory(input, [&] {
        draw({{static_cast<const std::uint8_t*>(input.data), input.rowbytes, input.width,
               input.height},
              {static_cast<std::uint8_t*>(output.data), output.rowbytes, output.width,
               output.height},
              format,
              settings},
             vectorSteps());
    });
}

void renderInSoftware(const World& input, World& output, const SoftwareSettings& settings) {
    if (input.format() != output.format()) {
        throw Error("the input and the output world have different pixel formats");
    }
    renderInSoftware(input.layer(), output.layer(), input.format(), settings);
}

bool isNeutral(const World& input, const SoftwareSettings& settings) {
    const int width = input.width();
    const int height = input.height();
    const ChannelValues& values = settings.values;
    return withMemory(input.layer(), [&] {
        switch (input.format()) {
        case PF_PixelFormat_ARGB64:
            return planFloats<32768>(values, width, height, width, height).isNeutral;
        case PF_PixelFormat_ARGB128:
            return planFloats<1>(values, width, height, width, height).isNeutral;
        default:
            return false;
        }
    });
}

std::string softwareUnit() {
    const std::string unit = vectorSteps().unit;
    return unit.rfind("AVX3", 0) == 0 ? "AVX-512" : unit; // the vector library's name for it
}

} // namespace Vexorel::PrismDrift::Host
