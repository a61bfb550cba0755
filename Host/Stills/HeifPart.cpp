#include "Host/Stills/HeifPart.h"

#include "Host/Library/Error.h"

#include <cstring>
#include <libheif/heif.h>
#include <memory>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

struct Deleter {
    void operator()(heif_context* context) const { heif_context_free(context); }
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
    void operator()(heif_image* image) const { heif_image_release(image); }
    void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
    void operator()(heif_color_profile_nclx* colours) const {
        heif_nclx_color_profile_free(colours);
    }
};

template <typename Object>
using Owned = std::unique_ptr<Object, Deleter>;

void check(const heif_error& error) {
    if (error.code != heif_error_Ok) {
        throw Error("it is damaged or cut off (" + tidied(error.message) + ")");
    }
}

// What the function makes at the place that it is called with.
template <typename Object, typename Function>
Owned<Object> made(const Function& function) {
    Object* object = nullptr;
    const heif_error error = function(&object);
    Owned<Object> owned(object);
    check(error);
    return owned;
}

Owned<heif_image> decoded(const heif_image_handle& picture, bool isDeep) {
    const bool hasAlpha = heif_image_handle_has_alpha_channel(&picture) != 0;
    const heif_chroma deep =
        hasAlpha ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBB_LE;
    const heif_chroma bytes = hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    const Owned<heif_decoding_options> options(heif_decoding_options_alloc());
    options->strict_decoding = 1;
    return made<heif_image>([&](heif_image** image) {
        return heif_decode_image(&picture, image, heif_colorspace_RGB, isDeep ? deep : bytes,
                                 options.get());
    });
}

void describe(const heif_image_handle& picture, int bits, ImageSpec& spec) {
    spec.set_format(bits > 8 ? TypeDesc::UINT16 : TypeDesc::UINT8);
    spec.attribute("oiio:BitsPerSample", bits);
    std::vector<std::uint8_t> profile(heif_image_handle_get_raw_color_profile_size(&picture));
    if (!profile.empty() &&
        heif_image_handle_get_raw_color_profile(&picture, profile.data()).code == heif_error_Ok) {
        spec.attribute("ICCProfile", TypeDesc(TypeDesc::UINT8, static_cast<int>(profile.size())),
                       profile.data());
    }
    heif_color_profile_nclx* found = nullptr;
    const heif_error error = heif_image_handle_get_nclx_color_profile(&picture, &found);
    const Owned<heif_color_profile_nclx> colours(found);
    if (error.code == heif_error_Ok && colours != nullptr) {
        spec.attribute(heifPrimaries, static_cast<int>(colours->color_primaries));
        spec.attribute(heifTransfer, static_cast<int>(colours->transfer_characteristics));
    }
}

// Numbers of fewer than 16 bits stand in the upper ones.
void copyRow(const std::uint8_t* from, int bits, std::size_t bytes, std::byte* to) {
    if (bits <= 8) {
        std::memcpy(to, from, bytes);
        return;
    }
    for (std::size_t at = 0; at + 1 < bytes; at += 2) {
        const unsigned value = from[at] | static_cast<unsigned>(from[at + 1]) << 8U;
        const auto filled =
            static_cast<std::uint16_t>(value << (16 - bits) | value >> (2 * bits - 16));
        std::memcpy(to + at, &filled, sizeof filled);
    }
}

} // namespace

HeifPart heifPart(const std::string& file, const ImageSpec& spec) {
    const Owned<heif_context> context(heif_context_alloc());
    check(heif_context_read_from_file(context.get(), file.c_str(), nullptr));
    const auto picture = made<heif_image_handle>([&](heif_image_handle** handle) {
        return heif_context_get_primary_image_handle(context.get(), handle);
    });
    if (heif_image_handle_is_premultiplied_alpha(picture.get()) != 0) {
        throw Error("its colours are multiplied by alpha, which isn't read in a HEIF");
    }
    const auto image =
        decoded(*picture, heif_image_handle_get_luma_bits_per_pixel(picture.get()) > 8);
    const int bits = heif_image_get_bits_per_pixel_range(image.get(), heif_channel_interleaved);
    const int width = heif_image_get_width(image.get(), heif_channel_interleaved);
    const int height = heif_image_get_height(image.get(), heif_channel_interleaved);
    const bool hasAlpha = heif_image_handle_has_alpha_channel(picture.get()) != 0;
    if (width != spec.width || height != spec.height || spec.nchannels != (hasAlpha ? 4 : 3)) {
        throw Error("it is damaged: it holds " + std::to_string(width) + "x" +
                    std::to_string(height) + " pixels, not " + std::to_string(spec.width) + "x" +
                    std::to_string(spec.height) + " as it says");
    }
    StoredPart part{spec, {}};
    describe(*picture, bits, part.spec);
    part.pixels.resize(part.spec.image_bytes(true));
    int stride = 0;
    const std::uint8_t* rows =
        heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
    for (int y = 0; y < height; ++y) {
        copyRow(rows + static_cast<std::ptrdiff_t>(stride) * y, bits,
                part.spec.scanline_bytes(true), part.row(y));
    }
    return {std::move(part), heif_context_get_number_of_top_level_images(context.get())};
}

} // namespace Vexorel::PrismDrift::Host
