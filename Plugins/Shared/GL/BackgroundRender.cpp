#include "Shared/GL/BackgroundRender.h"

#include "Shared/GL/FullFrame.h"

namespace Vexorel::PrismDrift {
namespace {

const char* const kToPremultipliedRgba = R"(    colourOut = colourOut * multiplier16bit;
    colourOut = vec4(colourOut.g, colourOut.b, colourOut.a, colourOut.r);
    colourOut = vec4(colourOut.a * colourOut.r, colourOut.a * colourOut.g,
                     colourOut.a * colourOut.b, colourOut.a);
)";

} // namespace

BackgroundRender::BackgroundRender()
    : mShader(kFullFrameVertexSource, fullFrameFragmentSource(kToPremultipliedRgba)) {
    bindFullFrameAttributes(mShader);
}

BackgroundRender::~BackgroundRender() {
    deleteVertices(mVertexArray, mVertexBuffer);
}

void BackgroundRender::draw(unsigned int texture, float multiplier) {
    drawFullFrame(mShader, mVertexArray, mVertexBuffer, texture, multiplier);
}

} // namespace Vexorel::PrismDrift
