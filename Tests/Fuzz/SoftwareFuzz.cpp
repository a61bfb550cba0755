// The renderer in software, with worlds of any shape and settings of any value, in memory that ends
// where the worlds do.

#include "Host/Library/Error.h"
#include "Host/Software/Drawing.h"
#include "Tests/Fuzz/Target.h"

#include <cstring>
#include <memory>

using namespace Vexorel::PrismDrift;
using namespace Vexorel::PrismDrift::Host;

namespace {

// A world with its rows from the first or from the last, and memory for no byte more.
class Memory {
public:
    Memory(Fuzz::Values& input, PF_PixelFormat format) : mPixelBytes(bytesPerPixel(format)) {
        mLayer.width = input.take<std::uint8_t>() % 80 + 1;
        mLayer.height = input.take<std::uint8_t>() % 20 + 1;
        const auto shape = input.take<std::uint8_t>();
        const auto row = static_cast<std::int32_t>(rowSize()) + shape / 2 % 64;
        mSize =
            static_cast<std::size_t>(row) * static_cast<std::size_t>(mLayer.height - 1) + rowSize();
        mBytes = std::make_unique<std::uint8_t[]>(mSize);
        const bool isUpwards = shape % 2 != 0;
        mLayer.rowbytes = isUpwards ? -row : row;
        mLayer.data = mBytes.get() + (isUpwards ? mSize - rowSize() : 0);
    }

    void fill(Fuzz::Values& input) {
        std::uint32_t random = input.take<std::uint32_t>();
        for (std::size_t i = 0; i < mSize; ++i) {
            random = random * 1664525U + 1013904223U;
            const auto given = input.empty() ? std::uint8_t{0} : input.take<std::uint8_t>();
            mBytes[i] = static_cast<std::uint8_t>(given ^ (random >> 24U));
        }
    }

    std::size_t rowSize() const { return mPixelBytes * static_cast<std::size_t>(mLayer.width); }
    const PF_LayerDef& layer() const { return mLayer; }
    template <typename Byte>
    Pixels<Byte> pixels() const {
        return {static_cast<Byte*>(mLayer.data), mLayer.rowbytes, mLayer.width, mLayer.height};
    }

private:
    std::size_t mPixelBytes;
    std::size_t mSize = 0;
    std::unique_ptr<std::uint8_t[]> mBytes;
    PF_LayerDef mLayer{};
};

// Of one pixel; which bits a NaN has is left open.
bool areSame(const std::uint8_t* one, const std::uint8_t* other, PF_PixelFormat format) {
    if (format != PF_PixelFormat_ARGB128) {
        return std::memcmp(one, other, bytesPerPixel(format)) == 0;
    }
    std::uint32_t left[4];
    std::uint32_t right[4];
    std::memcpy(left, one, sizeof left);
    std::memcpy(right, other, sizeof right);
    const auto isNan = [](std::uint32_t bits) { return (bits & 0x7FFFFFFFU) > 0x7F800000U; };
    return std::equal(left, left + 4, right, [&](std::uint32_t a, std::uint32_t b) {
        return a == b || (isNan(a) && isNan(b));
    });
}

SoftwareSettings settingsFrom(Fuzz::Values& input) {
    SoftwareSettings settings;
    settings.values.order = static_cast<ChannelOrder>(input.take<std::int8_t>());
    settings.values.distance = input.take<float>();
    settings.values.angle = input.take<float>();
    for (std::size_t i = 0; i < 3; ++i) {
        settings.values.scale[i] = input.take<float>();
        settings.values.lightness[i] = input.take<float>();
    }
    settings.threads = input.take<std::uint8_t>() % 4;
    return settings;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Values input(data, size);
    constexpr PF_PixelFormat formats[] = {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64,
                                          PF_PixelFormat_ARGB128};
    const PF_PixelFormat format = formats[input.take<std::uint8_t>() % 3];
    Memory source(input, format);
    Fuzz::Values again = input;
    const Memory result(input, format);
    const Memory plain(again, format); // of the same shape
    const SoftwareSettings settings = settingsFrom(input);
    source.fill(input);
    renderInSoftware(source.layer(), result.layer(), format, settings);
    draw({source.pixels<const std::uint8_t>(), plain.pixels<std::uint8_t>(), format, settings},
         plainSteps());
    const auto right = plain.pixels<std::uint8_t>();
    const auto from = source.pixels<const std::uint8_t>();
    const auto to = result.pixels<std::uint8_t>();
    for (int y = 0; y < to.height; ++y) {
        for (int x = 0; x < to.width; ++x) {
            const std::size_t pixel = static_cast<std::size_t>(x) * bytesPerPixel(format);
            EXPECT_TRUE(areSame(to.row(y) + pixel, right.row(y) + pixel, format));
            const bool isDrawn = y < from.height && x < from.width;
            EXPECT_TRUE(!isDrawn || std::memcmp(from.row(y) + pixel, to.row(y) + pixel,
                                                bytesPerPixel(format) / 4) == 0);
        }
    }
    return 0;
}
