#include "Host/Frei0r/Instance.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace Vexorel::PrismDrift::Host {
namespace {

int checkedSide(unsigned side) {
    if (side == 0 || side > static_cast<unsigned>(largestSide)) {
        throw Error("a frame's side must be 1 to " + std::to_string(largestSide) + " pixels, not " +
                    std::to_string(side));
    }
    return static_cast<int>(side);
}

const Control& control(std::size_t index) {
    return SharedEffect::get().controls()[index];
}

// Rotates the bytes of each pixel by `Places` towards its end: 1 makes A, R, G, B of R, G, B, A.
// The compiler makes vector code of this form, for any alignment.
template <int Places>
void rotateBytes(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels) {
    constexpr int bits = std::endian::native == std::endian::little ? 8 * Places : -8 * Places;
    for (std::size_t i = 0; i < pixels * 4; i += 4) {
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, from + i, sizeof pixel);
        pixel = std::rotl(pixel, bits);
        std::memcpy(to + i, &pixel, sizeof pixel);
    }
}

} // namespace

Instance::Instance(unsigned width, unsigned height)
    : mWidth(checkedSide(width)), mHeight(checkedSide(height)) {
    for (const Control& each : SharedEffect::get().controls()) {
        mSettings.push_back(each.initialSetting());
    }
}

void Instance::setText(std::size_t index, const char* text) {
    const Control& popup = control(index);
    double choice = popup.initialSetting();
    if (text != nullptr && *text != '\0') {
        choice = popup.choiceOf(text);
        if (choice == 0.0) {
            warnOnce(popup.name + " takes " + popup.parameter.takes() + ", not '" + text + "'");
            return;
        }
    }
    const Platform::MutexLock lock(mMutex);
    mSettings[index] = choice;
}

void Instance::setNumber(std::size_t index, double number) {
    const double setting = control(index).nearestSetting(number);
    const Platform::MutexLock lock(mMutex);
    mSettings[index] = setting;
}

const char* Instance::text(std::size_t index) const {
    const Platform::MutexLock lock(mMutex);
    return control(index).parameter.choices[static_cast<std::size_t>(mSettings[index]) - 1].c_str();
}

double Instance::number(std::size_t index) const {
    const Platform::MutexLock lock(mMutex);
    return mSettings[index];
}

ParameterValues Instance::values() const {
    const SharedEffect& effect = SharedEffect::get();
    ParameterValues values = effect.defaultValues();
    for (std::size_t i = 0; i < mSettings.size(); ++i) {
        const Control& each = effect.controls()[i];
        const int index = each.parameter.index;
        values.set(index, each.valueAt(mSettings[i], values.constant(index).value_or(0.0)));
    }
    return values;
}

void Instance::update(const std::uint8_t* input, std::uint8_t* output) {
    const Platform::MutexLock lock(mMutex);
    bool drawn = false;
    try {
        drawn = draw(input, output);
    } catch (const std::exception& error) { // out of memory
        warnOnce(std::string("frames pass through unchanged: ") + error.what());
    }
    if (!drawn && input != output) {
        std::memmove(output, input,
                     std::size_t{4} * static_cast<std::size_t>(mWidth) *
                         static_cast<std::size_t>(mHeight));
    }
}

bool Instance::draw(const std::uint8_t* input, std::uint8_t* output) {
    if (!mInput) {
        mInput.emplace(mWidth, mHeight);
    }
    if (!mOutput) {
        mOutput.emplace(mWidth, mHeight);
    }
    const auto width = static_cast<std::size_t>(mWidth);
    for (int y = 0; y < mHeight; ++y) {
        rotateBytes<1>(mInput->row(y), input + static_cast<std::size_t>(y) * width * 4, width);
    }
    if (!SharedEffect::get().render(*mInput, *mOutput, values())) {
        return false;
    }
    for (int y = 0; y < mHeight; ++y) {
        rotateBytes<3>(output + static_cast<std::size_t>(y) * width * 4, mOutput->row(y), width);
    }
    return true;
}

} // namespace Vexorel::PrismDrift::Host
