#include "PrismDrift/Sources/PrismDriftRender.h"

#include "Shared/GL/AEOpenglMainFrameBuffer.h"
#include "Shared/GL/FullFrame.h"

#include <array>

namespace Vexorel::PrismDrift {

using namespace gl33core;

namespace {

const char* const kVertexSource = R"(#version 330
in vec2 position;
in vec2 input_uv;
out vec2 uv;

void main()
{
    uv = input_uv;
    gl_Position = vec4(position, 0.0, 1.0);
}
)";

const char* const kFragmentSource = R"(#version 330
uniform sampler2D videoTexture;
uniform float multiplier16bit;
uniform vec3 channelOpacity;
uniform vec2 viewSize;
uniform float rTransform[6];
uniform float gTransform[6];
uniform float bTransform[6];
in vec2 uv;
out vec4 colourOut;

// The source wraps around. It holds the host's A, R, G, B.
vec4 readTexture(sampler2D tex, vec2 coords)
{
    coords = mod(coords, vec2(1.0, 1.0));
    vec4 color = texture(tex, coords);
    return vec4(color.g, color.b, color.a, color.r);
}

vec2 transform(float affine[6], vec2 pos)
{
    float x = affine[0] * pos.x + affine[2] * pos.y + affine[4];
    float y = affine[1] * pos.x + affine[3] * pos.y + affine[5];
    return vec2(x, y);
}

// The column and row of the frame's copy that holds a position; the copy at the origin is 0, 0.
ivec2 rowColumn(vec2 fragCoords)
{
    vec2 offset = fragCoords;
    vec2 bounds = viewSize * 0.5;
    offset.x = mix(0.0, offset.x - (sign(offset.x) * bounds.x), step(bounds.x, abs(offset.x)));
    offset.y = mix(0.0, offset.y - (sign(offset.y) * bounds.y), step(bounds.y, abs(offset.y)));
    return ivec2(int(sign(offset.x) * ceil(abs(offset.x) / viewSize.x)),
                 int(sign(offset.y) * ceil(abs(offset.y) / viewSize.y)));
}

void main()
{
    vec2 P = gl_FragCoord.xy;

    float r = readTexture(videoTexture, transform(rTransform, P) / viewSize).r;
    r = mix(mix(r, 0.0, abs(channelOpacity.r)), mix(r, 1.0, abs(channelOpacity.r)),
            step(0.0, channelOpacity.r));

    float g = readTexture(videoTexture, transform(gTransform, P) / viewSize).g;
    g = mix(mix(g, 0.0, abs(channelOpacity.g)), mix(g, 1.0, abs(channelOpacity.g)),
            step(0.0, channelOpacity.g));

    float b = readTexture(videoTexture, transform(bTransform, P) / viewSize).b;
    b = mix(mix(b, 0.0, abs(channelOpacity.b)), mix(b, 1.0, abs(channelOpacity.b)),
            step(0.0, channelOpacity.b));

    float a = readTexture(videoTexture, uv).a;

    colourOut = vec4(r, g, b, a) * multiplier16bit;
    colourOut = vec4(colourOut.a * colourOut.r, colourOut.a * colourOut.g,
                     colourOut.a * colourOut.b, colourOut.a);
}
)";

void sendTransform(const OpenglShader& shader, const char* name, const Affine& t) {
    const std::array<float, 6> elements{static_cast<float>(t.a), static_cast<float>(t.b),
                                        static_cast<float>(t.c), static_cast<float>(t.d),
                                        static_cast<float>(t.e), static_cast<float>(t.f)};
    shader.setUniform1fv(name, elements.data(), static_cast<int>(elements.size()));
}

} // namespace

PrismDriftRender::PrismDriftRender()
    : mShader(std::make_unique<OpenglShader>(kVertexSource, kFragmentSource)) {
    bindFullFrameAttributes(*mShader);
}

PrismDriftRender::~PrismDriftRender() {
    mShader.reset();
    deleteVertices(mVertexArray, mVertexBuffer);
}

void PrismDriftRender::composeTransform() {
    const AEOpenglMainFrameBuffer& frame = *AEOpenglMainFrameBuffer::mainFrameBuffer();
    const Vec2 centre = centreOf(frame.width(), frame.height());
    const auto [r, g, b] = shiftFactors(mOrder);
    mRTransform = channelTransform(r, mShiftDistance, mShiftAngle, mChannelScale.x, centre);
    mGTransform = channelTransform(g, mShiftDistance, mShiftAngle, mChannelScale.y, centre);
    mBTransform = channelTransform(b, mShiftDistance, mShiftAngle, mChannelScale.z, centre);
}

void PrismDriftRender::draw(unsigned int texture, float multiplier) {
    // x, y, u, v
    static constexpr std::array<float, 24> positions{1,  -1, 1, 0, //
                                                     1,  1,  1, 1, //
                                                     -1, 1,  0, 1, //
                                                     -1, 1,  0, 1, //
                                                     -1, -1, 0, 0, //
                                                     1,  -1, 1, 0};
    constexpr int stride = 4 * sizeof(float);
    bindVertices(mVertexArray, mVertexBuffer, positions.data(), sizeof positions);
    composeTransform();
    mShader->useProgram();
    mShader->setAttribute2fv(0, nullptr, stride);
    mShader->setAttribute2fv(1, reinterpret_cast<const float*>(2 * sizeof(float)), stride);
    mShader->setUniformTexture("videoTexture", static_cast<int>(GL_TEXTURE_2D),
                               static_cast<int>(texture), 0);
    mShader->setUniform1f("multiplier16bit", multiplier);
    mShader->setUniform3f("channelOpacity", mChannelOpacity);
    const AEOpenglMainFrameBuffer& frame = *AEOpenglMainFrameBuffer::mainFrameBuffer();
    mShader->setUniform2f("viewSize", static_cast<float>(frame.width()),
                          static_cast<float>(frame.height()));
    sendTransform(*mShader, "rTransform", mRTransform);
    sendTransform(*mShader, "gTransform", mGTransform);
    sendTransform(*mShader, "bTransform", mBTransform);
    drawVertices(*mShader);
}

} // namespace Vexorel::PrismDrift
