#include "PrismDrift/Sources/Parameters.h"

#include <array>
#include <cstring>

namespace Vexorel::PrismDrift {
namespace {

/// With every byte 0, which `{}` doesn't promise for the union.
PF_ParamDef clearedParameter() {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    return def;
}

struct Row {
    ParameterIndex index;
    PF_ParamType type;
    const char* name; ///< null for none
    float low, high, initial;
};

constexpr std::array<Row, kParameterCount - 1> kRows{{
    {kChannelOrder, PF_Param_POPUP, "Channel Order", 0, 0, 0},
    {kShiftAngle, PF_Param_ANGLE, "Shift Angle", 0, 0, 0},
    {kShiftDistance, PF_Param_FLOAT_SLIDER, "Shift Distance", -1000, 1000, 0},
    {kScaleGroup, PF_Param_GROUP_START, "Channel Scale", 0, 0, 0},
    {kScaleR, PF_Param_FLOAT_SLIDER, "R Channel", 0, 200, 100},
    {kScaleG, PF_Param_FLOAT_SLIDER, "G Channel", 0, 200, 100},
    {kScaleB, PF_Param_FLOAT_SLIDER, "B Channel", 0, 200, 100},
    {kScaleGroupEnd, PF_Param_GROUP_END, nullptr, 0, 0, 0},
    {kLightnessGroup, PF_Param_GROUP_START, "Channel Lightness", 0, 0, 0},
    {kLightnessR, PF_Param_FLOAT_SLIDER, "R Channel", -100, 100, 0},
    {kLightnessG, PF_Param_FLOAT_SLIDER, "G Channel", -100, 100, 0},
    {kLightnessB, PF_Param_FLOAT_SLIDER, "B Channel", -100, 100, 0},
    {kLightnessGroupEnd, PF_Param_GROUP_END, nullptr, 0, 0, 0},
}};

void describePopup(PF_ParamDef& def) {
    def.flags = PF_ParamFlag_CANNOT_TIME_VARY | PF_ParamFlag_CANNOT_INTERP | PF_ParamFlag_SUPERVISE;
    def.u.pd.value = 1;
    def.u.pd.dephault = 1;
    def.u.pd.num_choices = 6;
    def.u.pd.u.namesptr = "RGB|RBG|GRB|GBR|BRG|BGR";
}

void describeSlider(PF_ParamDef& def, const Row& row) {
    PF_FloatSliderDef& slider = def.u.fs_d;
    slider.value = row.initial;
    slider.dephault = row.initial;
    slider.valid_min = slider.slider_min = row.low;
    slider.valid_max = slider.slider_max = row.high;
    slider.precision = 2;
    slider.curve_tolerance = 0.05F;
}

/// Reads parameters one after the other and keeps the host's first error.
class ParameterReader {
public:
    explicit ParameterReader(const PF_InData* in_data) : mInData(in_data) {}

    /// Checks the parameter out unless there was an error before, and in again in any case. Returns
    /// what `value` makes of it.
    template <typename Value>
    auto read(std::int32_t index, Value value) {
        PF_ParamDef def = clearedParameter();
        if (mErr == PF_Err_NONE) {
            mErr = mInData->inter.checkout_param(mInData->effect_ref, index, mInData->current_time,
                                                 mInData->time_step, mInData->time_scale, &def);
        }
        const auto result = value(def);
        const PF_Err err = mInData->inter.checkin_param(mInData->effect_ref, &def);
        if (mErr == PF_Err_NONE) {
            mErr = err;
        }
        return result;
    }

    double readSlider(std::int32_t index) {
        return read(index, [](const PF_ParamDef& def) { return def.u.fs_d.value; });
    }

    PF_Err err() const { return mErr; }

private:
    const PF_InData* mInData;
    PF_Err mErr = PF_Err_NONE;
};

} // namespace

PF_Err publishParameters(const PF_InData* in_data, PF_OutData* out_data) {
    out_data->num_params = kParameterCount;
    for (const Row& row : kRows) {
        PF_ParamDef def = clearedParameter();
        def.uu.id = row.index;
        def.param_type = row.type;
        if (row.name != nullptr) {
            in_data->utils->ansi.strcpy(def.name, row.name);
        }
        if (row.type == PF_Param_POPUP) {
            describePopup(def);
        } else if (row.type == PF_Param_FLOAT_SLIDER) {
            describeSlider(def, row);
        }
        const PF_Err err = in_data->inter.add_param(in_data->effect_ref, -1, &def);
        if (err != PF_Err_NONE) {
            return err;
        }
    }
    return PF_Err_NONE;
}

PF_Err readParameters(const PF_InData* in_data, FrameParameters& values) {
    ParameterReader reader(in_data);
    values.angle = reader.read(kShiftAngle, [](const PF_ParamDef& def) { return def.u.ad.value; });
    values.distance = static_cast<float>(reader.readSlider(kShiftDistance));
    for (std::int32_t i = 0; i < 3; ++i) {
        values.lightness[i] = reader.readSlider(kLightnessR + i);
    }
    for (std::int32_t i = 0; i < 3; ++i) {
        values.scale[i] = reader.readSlider(kScaleR + i);
    }
    const auto choice = reader.read(kChannelOrder, [](const PF_ParamDef& def) {
        return static_cast<std::uint32_t>(def.u.pd.value);
    });
    values.order = static_cast<std::int32_t>(choice - 1U);
    return reader.err();
}

} // namespace Vexorel::PrismDrift
