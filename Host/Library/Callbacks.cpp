#include "Host/Library/Callbacks.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>

namespace Vexorel::PrismDrift::Host {
namespace {

// Adds one published parameter. Throws Error where it contradicts those before it.
void addPublished(PF_ProgressInfo& command, const PF_ParamDef& definition) {
    std::vector<Parameter>& published = *command.published;
    Parameter parameter = parameterFromDefinition(definition);
    const bool taken = std::any_of(published.begin(), published.end(), [&](const Parameter& other) {
        return other.id == parameter.id;
    });
    if (taken) {
        throw Error("two parameters have the id " + std::to_string(parameter.id),
                    PF_Err_BAD_CALLBACK_PARAM);
    }
    parameter.index = static_cast<int>(published.size()) + 1;
    if (parameter.kind == ParameterKind::GroupStart) {
        if (!command.openGroup.empty() || parameter.name.empty()) {
            throw Error("a parameter group has no name or stands inside another",
                        PF_Err_BAD_CALLBACK_PARAM);
        }
        command.openGroup = parameter.name;
    } else {
        parameter.group = command.openGroup;
    }
    if (parameter.kind == ParameterKind::GroupEnd) {
        if (command.openGroup.empty()) {
            throw Error("a parameter group ends that didn't start", PF_Err_BAD_CALLBACK_PARAM);
        }
        command.openGroup.clear();
    }
    published.push_back(std::move(parameter));
}

// Runs a callback's body and turns what it throws into a code for the effect, which no exception
// may reach.
template <typename Body>
PF_Err codeOf(PF_ProgressInfo& command, const Body& body) {
    try {
        body();
        return PF_Err_NONE;
    } catch (const Error& error) {
        command.refusal = error.what();
        return error.code() == PF_Err_NONE ? PF_Err_BAD_CALLBACK_PARAM : error.code();
    } catch (const std::bad_alloc&) {
        return PF_Err_OUT_OF_MEMORY;
    } catch (const std::exception& error) {
        command.refusal = error.what();
        return PF_Err_BAD_CALLBACK_PARAM;
    }
}

PF_Err addParam(PF_ProgPtr command, std::int32_t index, PF_ParamDef* definition) {
    if (command == nullptr || command->published == nullptr || definition == nullptr ||
        index != -1) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    return codeOf(*command, [&] { addPublished(*command, *definition); });
}

PF_Err checkoutParam(PF_ProgPtr command, std::int32_t index, std::int32_t time, std::int32_t step,
                     std::uint32_t scale, PF_ParamDef* definition) {
    if (command == nullptr || command->values == nullptr || definition == nullptr || scale == 0) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    return codeOf(*command, [&] {
        PF_ParamDef value{};
        if (index == 0) {
            value.param_type = PF_Param_LAYER;
            value.u.ld = *command->input;
        } else {
            // at() refuses an index that has no value, before it is used here.
            const double now = command->values->at(index, {time, step, scale});
            value = definitionAt(command->values->parameters()[static_cast<std::size_t>(index) - 1],
                                 now);
        }
        *definition = value;
    });
}

// A checked-out value is the effect's own copy, so that nothing is to be taken back: an effect may
// leave a value checked out, or check one in that it never checked out.
PF_Err checkinParam(PF_ProgPtr command, PF_ParamDef* definition) {
    if (command == nullptr || command->values == nullptr || definition == nullptr) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    return PF_Err_NONE;
}

// The address of the first pixel, or `pixels` where the effect brings its own.
template <typename Pixel>
PF_Err pixelData(PF_LayerDef* world, void* pixels, Pixel** pixel) {
    if (world == nullptr || pixel == nullptr ||
        world->rowbytes < world->width * std::int64_t{sizeof(Pixel)}) {
        return PF_Err_BAD_CALLBACK_PARAM;
    }
    *pixel = static_cast<Pixel*>(pixels != nullptr ? pixels : world->data);
    return PF_Err_NONE;
}

} // namespace

PF_InData makeInData(PF_ProgressInfo& command, SPBasicSuite* suites) {
    static PF_UtilCallbacks utils = {
        {&std::sprintf, &std::strcpy}, &pixelData<PF_Pixel8>, &pixelData<PF_Pixel16>};
    PF_InData data{};
    data.inter = {&checkoutParam, &checkinParam, &addParam};
    data.utils = &utils;
    data.effect_ref = &command;
    data.time_step = 1;
    data.time_scale = 1;
    data.downsample_x = data.downsample_y = {1, 1};
    data.pica_basicP = suites;
    return data;
}

void fail(const std::string& what, PF_Err code, const PF_OutData& out, const std::string& refusal) {
    std::string text = "the effect could not " + what + ": ";
    if ((out.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) != 0) {
        text.append(out.return_msg, strnlen(out.return_msg, sizeof out.return_msg));
    } else if (!refusal.empty()) {
        text += refusal;
    } else if (code == PF_Err_OUT_OF_MEMORY) {
        text += "there is not enough memory";
    } else {
        text += "it gave the error " + std::to_string(code);
    }
    throw Error(text, code);
}

PF_OutData give(PF_EffectMain entry, PF_Cmd name, PF_ProgressInfo& command, SPBasicSuite* suites,
                const char* purpose) {
    PF_InData in = makeInData(command, suites);
    PF_OutData out{};
    const PF_Err code = entry(name, &in, &out, nullptr, nullptr, nullptr);
    if (code != PF_Err_NONE) {
        fail(purpose, code, out, command.refusal);
    }
    return out;
}

} // namespace Vexorel::PrismDrift::Host
