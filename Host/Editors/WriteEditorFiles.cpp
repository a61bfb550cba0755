// Writes the files that show the effect in Kdenlive and Shotcut, below a folder that stands for
// /usr/share.
//   prismdrift_write_editor_files FOLDER

#include "Host/Editors/Kdenlive.h"
#include "Host/Editors/Shotcut.h"
#include "Host/Library/ReplaceFile.h"
#include "Host/Presentation/Presentation.h"

#include <cstdio>
#include <exception>
#include <filesystem>

using namespace Vexorel::PrismDrift::Host;

namespace {

void write(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    replaceFile(file, text.data(), text.size());
}

void writeAllFiles(const std::filesystem::path& folder) {
    // MLT names a frei0r module after its file, and an OpenFX plug-in after its identifier.
    const std::string frei0r = "frei0r.prismdrift";
    const std::string openFx = std::string("openfx.") + openFxIdentifier;
    const std::string name = effectName;
    const auto effects = folder / "kdenlive/effects";
    write(effects / "prismdrift_frei0r.xml", kdenliveEffect(frei0r, name, frei0rFields()));
    write(effects / "prismdrift_openfx.xml",
          kdenliveEffect(openFx, name + " (OpenFX)", openFxFields()));
    const auto filter = folder / "shotcut/qml/filters/prismdrift";
    write(filter / "meta.qml", shotcutMetadata(frei0r, frei0rFields()));
    write(filter / "ui.qml", shotcutPanel(frei0rFields()));
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: prismdrift_write_editor_files FOLDER\n", stderr);
        return 2;
    }
    try {
        writeAllFiles(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "prismdrift_write_editor_files: %s\n", error.what());
        return 1;
    }
    return 0;
}
