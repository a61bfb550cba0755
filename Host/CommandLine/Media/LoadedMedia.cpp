// The functions of the media module, each of which loads it where that has not been done.

#include "Host/CommandLine/Media/MediaFunctions.h"
#include "Host/CommandLine/MemoryWatch.h"
#include "Host/CommandLine/ModuleSearch.h"

#include <dlfcn.h>
#include <stdexcept>

namespace Vexorel::PrismDrift {
namespace CommandLine {
namespace {

// FFmpeg's libraries bring in about 130 others, and the loader looks for each name that one of them
// uses in all. All take a quarter less time if the ones with the most names are loaded before, on
// their own. One that is not there is not needed.
void loadLargest() {
    for (const char* library : {"librsvg-2.so.2", "libsrt-gnutls.so.1.5", "libssl.so.3"}) {
        dlopen(library, RTLD_LAZY | RTLD_LOCAL);
    }
}

const MediaFunctions& load() {
    const std::filesystem::path file =
        findModule("prismdrift_media.so", "the module for pictures and video");
    loadLargest();
    void* module = dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
    void* entry = module != nullptr ? dlsym(module, "prismdriftMedia") : nullptr;
    if (entry == nullptr) {
        throw std::runtime_error("cannot load the module for pictures and video, '" +
                                 file.string() + "': " + dlerror());
    }
    return *reinterpret_cast<MediaEntry>(entry)(&checkMemory);
}

// Loaded once, and never unloaded.
const MediaFunctions& media() {
    static const MediaFunctions& functions = load();
    return functions;
}

} // namespace

void checkLettering() {
    media().checkLettering();
}

bool canShow(const std::string& text) {
    return media().canShow(text);
}

int textHeight(const std::string& text, int width, const TextStyle& style) {
    return media().textHeight(text, width, style);
}

void drawText(Host::World& world, int x, int y, int width, const std::string& text,
              const TextStyle& style) {
    media().drawText(world, x, y, width, text, style);
}

} // namespace CommandLine

namespace Host {

using CommandLine::media;

void checkClipInput(const ClipInput& input) {
    media().checkClipInput(input);
}

std::unique_ptr<ClipReader> openClip(const ClipInput& input) {
    return media().openClip(input);
}

void checkClipOutput(const ClipOutput& output) {
    media().checkClipOutput(output);
}

std::unique_ptr<ClipWriter> openClipWriter(const ClipOutput& output, const ClipInput& input,
                                           const ClipReader& reader) {
    return media().openClipWriter(output, input, reader);
}

void checkPictureSize(const std::filesystem::path& file, int width, int height) {
    media().checkPictureSize(file, width, height);
}

std::vector<std::string> writePicture(const std::filesystem::path& file, const Picture& picture,
                                      const PictureOutput& output) {
    return media().writePicture(file, picture, output);
}

bool isPictureEnding(const std::string& ending) {
    return media().isPictureEnding(ending);
}

std::string pictureEndings() {
    return media().pictureEndings();
}

std::string mediaVersions() {
    return media().mediaVersions();
}

PictureTransfer transferOf(const Picture& picture, ClipKind kind) {
    return media().transferOf(picture, kind);
}

} // namespace Host
} // namespace Vexorel::PrismDrift
