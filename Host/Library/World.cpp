#include "Host/Library/World.h"

#include "Host/Library/Error.h"

#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

// Rows start at multiples of this, for wide vector instructions. All pixel sizes divide it.
constexpr std::size_t alignment = 64;

// Asks for large pages. The system clears a page when it is touched first, and for a picture of
// several thousand small ones that takes longer than to draw it.
void preferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
    constexpr std::size_t large = std::size_t{1} << 21;
    if (bytes < 2 * large) {
        return;
    }
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* first = memory;
    if (std::align(page, large, first, bytes) != nullptr) {
        madvise(first, bytes / page * page,
                MADV_HUGEPAGE); // only advice: a failure changes nothing
    }
#endif
}

} // namespace

std::size_t bytesPerPixel(PF_PixelFormat format) {
    switch (format) {
    case PF_PixelFormat_ARGB32:
        return sizeof(PF_Pixel8);
    case PF_PixelFormat_ARGB64:
        return sizeof(PF_Pixel16);
    case PF_PixelFormat_ARGB128:
        return sizeof(PF_PixelFloat);
    default:
        throw Error("no pixel format has the number " + std::to_string(format) +
                    "; a world has 8 bits, 16 bits or floats");
    }
}

void World::Free::operator()(void* memory) const {
    std::free(memory);
}

World::World(int width, int height, PF_PixelFormat format) : mFormat(format) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height) + " pixels";
    if (width < 0 || height < 0 || width > largestSide || height > largestSide) {
        throw Error("a picture of " + size + " is too large: the limit is " +
                    std::to_string(largestSide) + " a side");
    }
    const std::size_t pixels = static_cast<std::size_t>(width) * bytesPerPixel(format);
    const std::size_t rowBytes = (pixels / alignment + 1) * alignment;
    const std::size_t bytes = rowBytes * static_cast<std::size_t>(height) + alignment;
    mMemory.reset(std::calloc(bytes, 1));
    if (!mMemory) {
        throw Error("not enough memory for a picture of " + size);
    }
    preferLargePages(mMemory.get(), bytes);
    void* first = mMemory.get();
    std::size_t space = bytes;
    mLayer.data = std::align(alignment, bytes - alignment, first, space);
    mLayer.rowbytes = static_cast<std::int32_t>(rowBytes);
    mLayer.width = width;
    mLayer.height = height;
}

World::World(World&& other) noexcept
    : mMemory(std::move(other.mMemory)),
      mLayer(std::exchange(other.mLayer, {})),
      mFormat(other.mFormat) {}

World& World::operator=(World&& other) noexcept {
    mMemory = std::move(other.mMemory);
    mLayer = std::exchange(other.mLayer, {});
    mFormat = other.mFormat;
    return *this;
}

std::size_t World::pixelBytes() const {
    return bytesPerPixel(mFormat);
}

} // namespace Vexorel::PrismDrift::Host
