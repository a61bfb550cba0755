// Stills of the formats that OpenImageIO reads, with any bytes. The library has no instrumentation,
// so what counts is that nothing crashes or hangs, and that no picture is larger than allowed.

#include "Host/Library/Error.h"
#include "Host/Media/Picture.h"
#include "Host/Media/StillLibrary.h"
#include "Tests/Fuzz/SmallLimits.h"
#include "Tests/Fuzz/Target.h"

#include <new>

using namespace Vexorel::PrismDrift::Host;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fuzz::MemoryFile file;
    file.fill(data, size);
    // A Targa is known by its name alone; the others' names say nothing.
    const std::filesystem::path name = file.path(".tga");
    if (libraryFor(name).openImageIOFormat.empty()) {
        return 0;
    }
    ReadLimits limits;
    limits.pixels = Fuzz::mostPixels;
    limits.metadata = Fuzz::mostMetadata;
    PictureRequest request;
    request.worlds = size % 2 == 0 ? WorldDepth::Stored : WorldDepth::Bits8;
    try {
        const Picture picture = readPicture(name, limits, request);
        EXPECT_TRUE(picture.world.width() > 0 && picture.world.height() > 0);
        EXPECT_LE(std::int64_t{picture.world.width()} * picture.world.height(), Fuzz::mostPixels);
        EXPECT_LE(picture.colorProfile.size(), std::size_t{Fuzz::mostMetadata});
        EXPECT_TRUE(picture.depth.bits >= 1 && picture.depth.bits <= 64) << picture.depth.bits;
        EXPECT_TRUE(!picture.isAssociated || picture.world.format() == PF_PixelFormat_ARGB128);
    } catch (const Error& error) {
        EXPECT_EQ(std::string_view(error.what()).rfind("cannot read '", 0), 0U) << error.what();
    } catch (const std::bad_alloc&) { // NOLINT(bugprone-empty-catch): refused, too
    }
    return 0;
}
