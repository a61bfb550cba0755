#include "Shared/GL/ScreenRender.h"

#include "Shared/GL/FullFrame.h"

namespace Vexorel::PrismDrift {
namespace {

const char* const kFragmentSource = R"(#version 330
uniform sampler2D videoTexture;
uniform float multiplier16bit;
in vec2 uv;
out vec4 colourOut;

void main()
{
    colourOut = texture(videoTexture, uv);
    if (colourOut.a == 0.0) {
        colourOut = vec4(0.0);
    } else {
        colourOut = vec4(colourOut.a, colourOut.r / colourOut.a, colourOut.g / colourOut.a,
                         colourOut.b / colourOut.a);
    }
    colourOut = colourOut / multiplier16bit;
}
)";

} // namespace

ScreenRender::ScreenRender() : mShader(kFullFrameVertexSource, kFragmentSource) {
    bindFullFrameAttributes(mShader);
}

ScreenRender::~ScreenRender() {
    deleteVertices(mVertexArray, mVertexBuffer);
}

void ScreenRender::draw(unsigned int texture, float multiplier) {
    drawFullFrame(mShader, mVertexArray, mVertexBuffer, texture, multiplier);
}

} // namespace Vexorel::PrismDrift
