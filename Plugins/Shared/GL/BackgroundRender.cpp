#include "Shared/GL/BackgroundRender.h"

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
    colourOut = colourOut * multiplier16bit;
    colourOut = vec4(colourOut.g, colourOut.b, colourOut.a, colourOut.r);
    colourOut = vec4(colourOut.a * colourOut.r, colourOut.a * colourOut.g,
                     colourOut.a * colourOut.b, colourOut.a);
}
)";

} // namespace

BackgroundRender::BackgroundRender() : mShader(kFullFrameVertexSource, kFragmentSource) {
    bindFullFrameAttributes(mShader);
}

BackgroundRender::~BackgroundRender() {
    deleteVertices(mVertexArray, mVertexBuffer);
}

void BackgroundRender::draw(unsigned int texture, float multiplier) {
    drawFullFrame(mShader, mVertexArray, mVertexBuffer, texture, multiplier);
}

} // namespace Vexorel::PrismDrift
