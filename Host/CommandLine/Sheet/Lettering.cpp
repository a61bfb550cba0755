#include "Host/CommandLine/Sheet/Lettering.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <memory>
#include <new>
#include <pango/pangocairo.h>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

struct Deleter {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(PangoLayout* layout) const { g_object_unref(layout); }
    void operator()(PangoFontDescription* font) const { pango_font_description_free(font); }
    void operator()(gchar* text) const { g_free(text); }
};

template <typename Type>
using Owned = std::unique_ptr<Type, Deleter>;

// A text, broken into lines, and a surface that takes its coverage.
class Layout {
public:
    Layout(const std::string& text, int width, const TextStyle& style, int height = 1)
        : mSurface(cairo_image_surface_create(CAIRO_FORMAT_A8, width, height)),
          mCairo(cairo_create(mSurface.get())),
          mLayout(pango_cairo_create_layout(mCairo.get())) {
        if (cairo_status(mCairo.get()) != CAIRO_STATUS_SUCCESS) {
            throw std::bad_alloc();
        }
        const Owned<PangoFontDescription> font(
            pango_font_description_from_string("DejaVu Sans, Sans"));
        pango_font_description_set_absolute_size(font.get(),
                                                 static_cast<double>(style.size) * PANGO_SCALE);
        if (style.bold) {
            pango_font_description_set_weight(font.get(), PANGO_WEIGHT_BOLD);
        }
        pango_layout_set_font_description(mLayout.get(), font.get());
        pango_layout_set_width(mLayout.get(), width * PANGO_SCALE);
        pango_layout_set_wrap(mLayout.get(), PANGO_WRAP_WORD_CHAR);
        if (style.centred) {
            pango_layout_set_alignment(mLayout.get(), PANGO_ALIGN_CENTER);
        }
        const Owned<gchar> valid(g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size())));
        pango_layout_set_text(mLayout.get(), valid.get(), -1);
    }

    int height() const {
        int height = 0;
        pango_layout_get_pixel_size(mLayout.get(), nullptr, &height);
        return height;
    }

    int unknownLetters() const { return pango_layout_get_unknown_glyphs_count(mLayout.get()); }

    // Draws the text and calls `take(row, coverage)` for each row of the surface, with one byte for
    // each pixel.
    template <typename Take>
    void draw(const Take& take) const {
        pango_cairo_show_layout(mCairo.get(), mLayout.get());
        cairo_surface_flush(mSurface.get());
        const unsigned char* row = cairo_image_surface_get_data(mSurface.get());
        for (int y = 0; y < cairo_image_surface_get_height(mSurface.get()); ++y) {
            take(y, row);
            row += cairo_image_surface_get_stride(mSurface.get());
        }
    }

private:
    Owned<cairo_surface_t> mSurface;
    Owned<cairo_t> mCairo;
    Owned<PangoLayout> mLayout;
};

} // namespace

void checkLettering() {
    if (!canShow("Aa0")) {
        throw Host::Error("there is no font to label pictures with; install one, Debian's "
                          "fonts-dejavu-core for example");
    }
}

bool canShow(const std::string& text) {
    return Layout(text, 1, {}).unknownLetters() == 0;
}

int textHeight(const std::string& text, int width, const TextStyle& style) {
    return Layout(text, width, style).height();
}

void drawText(Host::World& world, int x, int y, int width, const std::string& text,
              const TextStyle& style) {
    const Layout layout(text, width, style, std::max(1, textHeight(text, width, style)));
    const int left = std::max(0, -x);
    const int right = std::min(width, world.width() - x);
    layout.draw([&](int line, const unsigned char* cover) {
        if (y + line < 0 || y + line >= world.height()) {
            return;
        }
        for (int column = left; column < right; ++column) {
            blendPixel(world.row(y + line) + static_cast<std::ptrdiff_t>(x + column) * 4,
                       style.shade, cover[column]);
        }
    });
}

} // namespace Vexorel::PrismDrift::CommandLine
