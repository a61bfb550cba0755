// Pictures of any bytes. What is read, and small, is written without loss and read again.

#include "Host/Library/Error.h"
#include "Host/Media/Picture.h"
#include "Tests/Fuzz/SmallLimits.h"
#include "Tests/Fuzz/Target.h"

#include <cstring>
#include <new>

extern "C" {
#include <libavutil/mem.h>
}

using namespace Vexorel::PrismDrift::Host;

namespace {

// Without `hidden`, the colour of what is fully transparent may differ.
void expectEqualPixels(const World& left, const World& right, bool hidden) {
    ASSERT_EQ(left.width(), right.width());
    ASSERT_EQ(left.height(), right.height());
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            const std::uint8_t* one = left.row(y) + std::ptrdiff_t{4} * x;
            const std::uint8_t* other = right.row(y) + std::ptrdiff_t{4} * x;
            const bool isHidden = !hidden && *one == 0;
            ASSERT_EQ(std::memcmp(one, other, isHidden ? 1 : 4), 0) << x << ", " << y;
        }
    }
}

bool isOpaque(const World& world) {
    for (int y = 0; y < world.height(); ++y) {
        for (int x = 0; x < world.width(); ++x) {
            if (world.row(y)[std::size_t{4} * static_cast<std::size_t>(x)] != 255) {
                return false;
            }
        }
    }
    return true;
}

void expectRoundTrip(const Picture& picture, const std::string& ending) {
    static Fuzz::MemoryFile file;
    const EncodedPicture encoded = encodedPicture(picture, {ending});
    file.fill(encoded.bytes.data(), encoded.bytes.size());
    const Picture again = readPicture(file.path("." + ending));
    SCOPED_TRACE(ending);
    if (encoded.losses.empty() || isOpaque(picture.world)) {
        expectEqualPixels(picture.world, again.world, ending != "webp");
    }
    if (ending == "png") {
        EXPECT_EQ(picture.colorProfile, again.colorProfile);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fuzz::MemoryFile file;
    av_max_alloc(Fuzz::largestBlock);
    file.fill(data, size);
    std::optional<Picture> picture;
    try {
        picture = readPicture(file.path(), {Fuzz::mostPixels, Fuzz::mostMetadata});
    } catch (const Error& error) {
        EXPECT_EQ(std::string_view(error.what()).rfind("cannot read '", 0), 0U) << error.what();
        return 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
    EXPECT_TRUE(picture->world.width() > 0 && picture->world.height() > 0);
    EXPECT_LE(std::int64_t{picture->world.width()} * picture->world.height(), Fuzz::mostPixels);
    EXPECT_LE(picture->colorProfile.size(), std::size_t{Fuzz::mostMetadata});
    EXPECT_TRUE(picture->depth.bits >= 1 && picture->depth.bits <= 64) << picture->depth.bits;
    constexpr int small = 32;
    if (picture->world.width() <= small && picture->world.height() <= small) {
        static const std::string endings[] = {"png", "tiff", "webp", "bmp", "pam", "sgi", "qoi"};
        expectRoundTrip(*picture, endings[size % std::size(endings)]);
    }
    return 0;
}
