#include "Shared/GL/ScreenRender.h"

#include "Shared/GL/FullFrame.h"

namespace Vexorel::PrismDrift {
namespace {

const char* const kToStraightArgb = R"(    if (colourOut.a == 0.0) {
        colourOut = vec4(0.0);
    } else {
        colourOut = vec4(colourOut.a, colourOut.r / colourOut.a, colourOut.g / colourOut.a,
                         colourOut.b / colourOut.a);
    }
    colourOut = colourOut / multiplier16bit;
)";

} // namespace

ScreenRender::ScreenRender()
    : mShader(kFullFrameVertexSource, fullFrameFragmentSource(kToStraightArgb)) {
    bindFullFrameAttributes(mShader);
}

ScreenRender::~ScreenRender() {
    deleteVertices(mVertexArray, mVertexBuffer);
}

void ScreenRender::draw(unsigned int texture, float multiplier) {
    drawFullFrame(mShader, mVertexArray, mVertexBuffer, texture, multiplier);
}

} // namespace Vexorel::PrismDrift
