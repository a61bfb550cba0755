// How pictures stand for light: by their profiles, their tags, and by what they are.

#include "Host/Media/PictureTransfer.h"
#include "Host/Media/PictureColours.h"
#include "Tests/Host/MediaTest.h"

#include <cmath>
#include <lcms2.h>

extern "C" {
#include <libavutil/frame.h>
}

using namespace Vexorel::PrismDrift::Host;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Curve = std::shared_ptr<cmsToneCurve>;

Curve owned(cmsToneCurve* curve) {
    return {curve, &cmsFreeToneCurve};
}
Curve gamma(double exponent) {
    return owned(cmsBuildGamma(nullptr, exponent));
}
/// A table of so many values of 16 bits.
Curve table(std::size_t size, double (*light)(double)) {
    std::vector<std::uint16_t> values;
    for (std::size_t i = 0; i < size; ++i) {
        const double value = light(static_cast<double>(i) / static_cast<double>(size - 1));
        values.push_back(static_cast<std::uint16_t>(std::lround(65535 * value)));
    }
    return owned(
        cmsBuildTabulatedToneCurve16(nullptr, static_cast<cmsUInt32Number>(size), values.data()));
}

double srgb(double coded) {
    return coded <= 0.04045 ? coded / 12.92 : std::pow((coded + 0.055) / 1.055, 2.4);
}
double pq(double coded) {
    const double root = std::pow(coded, 1 / 78.84375);
    return std::pow(std::max(0.0, root - 0.8359375) / (18.8515625 - 18.6875 * root), 8192 / 1305.0);
}
double hlg(double coded) {
    return coded <= 0.5 ? coded * coded / 3
                        : (std::exp((coded - 0.55991073) / 0.17883277) + 0.28466892) / 12;
}

constexpr cmsCIExyYTRIPLE bt709{{0.64, 0.33, 1}, {0.3, 0.6, 1}, {0.15, 0.06, 1}};

Bytes profile(const Curve& red, const Curve& green, const Curve& blue, const char* name = nullptr,
              const cmsCIExyYTRIPLE& primaries = bt709) {
    const cmsCIExyY white{0.3127, 0.329, 1};
    cmsToneCurve* curves[] = {red.get(), green.get(), blue.get()};
    void* made = cmsCreateRGBProfile(&white, &primaries, red ? curves : nullptr);
    if (name != nullptr) {
        cmsMLU* text = cmsMLUalloc(nullptr, 1);
        cmsMLUsetASCII(text, "en", "US", name);
        cmsWriteTag(made, cmsSigProfileDescriptionTag, text);
        cmsMLUfree(text);
    }
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(made, nullptr, &size);
    Bytes bytes(size);
    cmsSaveProfileToMem(made, bytes.data(), &size);
    cmsCloseProfile(made);
    return bytes;
}
Bytes profile(const Curve& curve, const char* name) {
    return profile(curve, curve, curve, name);
}

TEST(PictureTransfer, ProfilesAreKnownByTheirCurves) {
    const double parts709[] = {1 / 0.45, 1 / 1.09929682680944, 0.09929682680944 / 1.09929682680944,
                               1 / 4.5, 4.5 * 0.018053968510807};
    const double partsSrgb[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    const Curve exactSrgb = owned(cmsBuildParametricToneCurve(nullptr, 4, partsSrgb));
    const Curve exact709 = owned(cmsBuildParametricToneCurve(nullptr, 4, parts709));
    Bytes broken = profile(exactSrgb, "Broken");
    broken.resize(200);
    const struct {
        Bytes bytes;
        std::optional<Transfer> transfer;
        const char* reason;
    } rows[] = {
        {profile(exactSrgb, "One"), Transfer::Srgb, "its colour profile 'One' says so"},
        {profile(table(1024, &srgb), "A"), Transfer::Srgb, "its colour profile 'A' says so"},
        {profile(table(256, &srgb), "B"), Transfer::Srgb, "its colour profile 'B' says so"},
        {profile(exact709, "C"), Transfer::Bt709, "its colour profile 'C' says so"},
        {profile(gamma(1), "D"), Transfer::Linear, "its colour profile 'D' says so"},
        {profile(table(4096, &pq), "E"), Transfer::Pq, "its colour profile 'E' says so"},
        {profile(table(4096, &hlg), "F"), Transfer::Hlg, "its colour profile 'F' says so"},
        {profile(gamma(563 / 256.0), "Adobe RGB (1998)"),
         {},
         "its colour profile 'Adobe RGB (1998)' has a gamma of 2.2"},
        {profile(gamma(1.8), ""), {}, "its colour profile has a gamma of 1.8"},
        {profile(table(512, [](double x) { return x < 0.5 ? 0.0 : 2 * x - 1; }), "Steep"),
         {},
         "its colour profile 'Steep' has a curve of its own, none of sRGB, BT.709, linear light, "
         "PQ "
         "and HLG"},
        {profile(exactSrgb, exactSrgb, gamma(2.2), "Mixed"),
         {},
         "its colour profile 'Mixed' has a curve of its own, none of sRGB, BT.709, linear light, "
         "PQ "
         "and HLG"},
        {profile(nullptr, "Bare"),
         {},
         "its colour profile 'Bare' has no curves for red, green and "
         "blue"},
        {broken, {}, "its colour profile can't be read"},
        {Bytes(128), {}, "its colour profile can't be read"},
    };
    for (const auto& [bytes, transfer, reason] : rows) {
        const PictureTransfer found = transferOfProfile(bytes);
        EXPECT_EQ(found.transfer, transfer) << reason;
        EXPECT_EQ(found.reason, reason);
    }
}

class PictureTransferTest : public MediaTest {};

TEST_F(PictureTransferTest, GoesByProfileThenTagThenKind) {
    const auto withTag = [](AVColorTransferCharacteristic tag) {
        auto frame =
            std::shared_ptr<AVFrame>(av_frame_alloc(), [](AVFrame* f) { av_frame_free(&f); });
        frame->color_trc = tag;
        Picture picture{World(1, 1), {}};
        picture.source = frame;
        return picture;
    };
    const struct {
        AVColorTransferCharacteristic tag;
        std::optional<Transfer> transfer;
    } tags[] = {
        {AVCOL_TRC_BT709, Transfer::Bt709},     {AVCOL_TRC_SMPTE170M, Transfer::Bt709},
        {AVCOL_TRC_BT2020_10, Transfer::Bt709}, {AVCOL_TRC_BT2020_12, Transfer::Bt709},
        {AVCOL_TRC_SMPTE2084, Transfer::Pq},    {AVCOL_TRC_ARIB_STD_B67, Transfer::Hlg},
        {AVCOL_TRC_LINEAR, Transfer::Linear},   {AVCOL_TRC_IEC61966_2_1, Transfer::Srgb},
        {AVCOL_TRC_GAMMA22, std::nullopt},      {AVCOL_TRC_LOG, std::nullopt},
    };
    for (const auto& [tag, transfer] : tags) {
        const PictureTransfer found = transferOf(withTag(tag), ClipKind::Video);
        EXPECT_EQ(found.transfer, transfer) << found.reason;
    }
    EXPECT_EQ(transferOf(withTag(AVCOL_TRC_GAMMA28), ClipKind::Still).reason,
              "it is tagged 'bt470bg'");
    Picture floats = withTag(AVCOL_TRC_UNSPECIFIED);
    floats.depth = halfFloats;
    EXPECT_EQ(transferOf(floats, ClipKind::Sequence).transfer, Transfer::Linear);
    EXPECT_EQ(transferOf({World(1, 1), {}}, ClipKind::Still).transfer, Transfer::Srgb);
    const PictureTransfer video = transferOf({World(1, 1), {}}, ClipKind::Video);
    EXPECT_FALSE(video.transfer);
    EXPECT_EQ(video.reason, "nothing says how its values stand for light");

    Picture picture{noise(4, 4, false), {}};
    picture.colorProfile = profile(gamma(1), "Light");
    writePicture(path("a.png"), picture);
    EXPECT_EQ(transferOf(readPicture(path("a.png")), ClipKind::Still).transfer, Transfer::Linear);
}

TEST_F(PictureTransferTest, GoesByTheGammaOfAPng) {
    const struct {
        const char* gamma; // as the chunk has it
        std::optional<Transfer> transfer;
        const char* reason;
    } rows[] = {
        {"\0\0\xb1\x8f", Transfer::Srgb, "its gamma is that of sRGB"}, // 0.45455
        {"\0\x01\x86\xa0", Transfer::Linear, "its gamma is 1"},
        {"\0\0\xd9\x03", {}, "it has a gamma of 1.8"}, // 0.55555
    };
    writePicture(path("a.png"), {noise(4, 4, false), {}});
    std::ostringstream whole;
    whole << std::ifstream(path("a.png"), std::ios::binary).rdbuf();
    for (const auto& [gamma, transfer, reason] : rows) {
        std::string chunk = "gAMA" + std::string(gamma, 4);
        std::uint32_t check = ~0U; // the chunk's CRC
        for (const char byte : chunk) {
            check ^= static_cast<std::uint8_t>(byte);
            for (int bit = 0; bit < 8; ++bit) {
                check = check >> 1 ^ (check & 1 ? 0xEDB88320U : 0U);
            }
        }
        for (int shift = 24; shift >= 0; shift -= 8) {
            chunk += static_cast<char>(~check >> shift);
        }
        constexpr std::size_t headerEnd = 33;
        std::string bytes = whole.str();
        bytes.insert(headerEnd, std::string("\0\0\0\4", 4) + chunk);
        std::ofstream(path("b.png"), std::ios::binary) << bytes;
        const PictureTransfer found = transferOf(readPicture(path("b.png")), ClipKind::Still);
        EXPECT_EQ(found.transfer, transfer);
        EXPECT_EQ(found.reason, reason);
    }
}

TEST_F(PictureTransferTest, AProfileBecomesTagsOrALine) {
    const Curve pqCurve = table(4096, &pq);
    const Curve srgbCurve = table(1024, &srgb);
    const cmsCIExyYTRIPLE p3{{0.68, 0.32, 1}, {0.265, 0.69, 1}, {0.15, 0.06, 1}};
    const cmsCIExyYTRIPLE bt2020{{0.708, 0.292, 1}, {0.17, 0.797, 1}, {0.131, 0.046, 1}};
    const cmsCIExyYTRIPLE adobe{{0.64, 0.33, 1}, {0.21, 0.71, 1}, {0.15, 0.06, 1}};
    const struct {
        Curve curve;
        cmsCIExyYTRIPLE primaries;
        AVColorTransferCharacteristic transfer;
        AVColorPrimaries tag;
        const char* losses;
    } rows[] = {
        {srgbCurve, bt709, AVCOL_TRC_IEC61966_2_1, AVCOL_PRI_BT709, ""},
        {srgbCurve, p3, AVCOL_TRC_IEC61966_2_1, AVCOL_PRI_SMPTE432, ""},
        {pqCurve, bt2020, AVCOL_TRC_SMPTE2084, AVCOL_PRI_BT2020, ""},
        {gamma(563 / 256.0), adobe, AVCOL_TRC_UNSPECIFIED, AVCOL_PRI_UNSPECIFIED,
         "video has no tag for the picture's transfer (its colour profile 'Test' has a gamma of "
         "2.2) and the picture's primaries, which have no name\n"},
    };
    for (const auto& [curve, primaries, transfer, tag, losses] : rows) {
        Picture picture{noise(64, 48, false), {}};
        picture.colorProfile = profile(curve, curve, curve, "Test", primaries);
        writePicture(path("i.png"), picture);
        ClipInput input;
        input.file = path("i.png");
        ClipOutput output;
        output.file = path("o.mkv");
        std::string warnings;
        output.warn = [&](const std::string& text) { warnings += text + "\n"; };
        const auto reader = openClip(input);
        const auto writer = openClipWriter(output, input, *reader);
        writer->write(std::move(*reader->next()));
        writer->finish();
        EXPECT_EQ(warnings, losses + std::string("a video has no place for the colour profile\n"));
        input.file = output.file;
        const auto item = openClip(input)->next();
        const auto& source = std::get<ClipFrame>(*item).picture.source;
        EXPECT_EQ(source->color_trc, transfer);
        EXPECT_EQ(source->color_primaries, tag);
    }
}

} // namespace
