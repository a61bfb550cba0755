// The functions that a frei0r host calls. None throws: a failure is reported on standard error and
// changes nothing.

// The header gives its functions neither C linkage nor default visibility.
#pragma GCC visibility push(default)
extern "C" {
#include <frei0r.h>
}
#pragma GCC visibility pop

#include "Host/Frei0r/Instance.h"
#include "Host/Presentation/Presentation.h"

#include <cstring>
#include <exception>

using namespace Vexorel::PrismDrift::Host;

namespace {

template <typename Body>
void guarded(const Body& body) noexcept {
    try {
        body();
    } catch (const std::exception& error) {
        warnOnce(error.what());
    }
}

// The control with this number, or null: hosts may ask for more than there are.
const Control* controlAt(int index) {
    const std::vector<Control>& controls = SharedEffect::get().controls();
    return index >= 0 && static_cast<std::size_t>(index) < controls.size()
               ? &controls[static_cast<std::size_t>(index)]
               : nullptr;
}

Instance& instanceOf(f0r_instance_t instance) {
    return *static_cast<Instance*>(instance);
}

} // namespace

// 1, since some hosts take 0 for a failure and others a negative number.
int f0r_init() {
    guarded([] { SharedEffect::get().begin(); });
    return 1;
}

void f0r_deinit() {
    guarded([] { SharedEffect::get().end(); });
}

void f0r_get_plugin_info(f0r_plugin_info_t* info) {
    *info = {};
    info->name = effectName;
    info->author = effectAuthor;
    info->plugin_type = F0R_PLUGIN_TYPE_FILTER;
    info->color_model = F0R_COLOR_MODEL_RGBA8888;
    info->frei0r_version = FREI0R_MAJOR_VERSION;
    info->major_version = PRISMDRIFT_VERSION_MAJOR;
    info->minor_version = PRISMDRIFT_VERSION_MINOR;
    info->explanation = effectSummary;
    guarded([&] { info->num_params = static_cast<int>(SharedEffect::get().controls().size()); });
}

void f0r_get_param_info(f0r_param_info_t* info, int index) {
    *info = {};
    guarded([&] {
        if (const Control* control = controlAt(index)) {
            info->name = control->name.c_str();
            info->type = control->isText() ? F0R_PARAM_STRING : F0R_PARAM_DOUBLE;
            info->explanation = control->explanation.c_str();
        }
    });
}

f0r_instance_t f0r_construct(unsigned int width, unsigned int height) {
    f0r_instance_t instance = nullptr;
    guarded([&] { instance = new Instance(width, height); });
    return instance;
}

void f0r_destruct(f0r_instance_t instance) {
    delete static_cast<Instance*>(instance);
}

void f0r_set_param_value(f0r_instance_t instance, f0r_param_t param, int index) {
    guarded([&] {
        const Control* control = controlAt(index);
        if (control == nullptr || param == nullptr) {
            return;
        }
        if (control->isText()) {
            f0r_param_string text = nullptr;
            std::memcpy(&text, param, sizeof text);
            instanceOf(instance).setText(static_cast<std::size_t>(index), text);
        } else {
            double number = 0.0;
            std::memcpy(&number, param, sizeof number);
            instanceOf(instance).setNumber(static_cast<std::size_t>(index), number);
        }
    });
}

void f0r_get_param_value(f0r_instance_t instance, f0r_param_t param, int index) {
    guarded([&] {
        const Control* control = controlAt(index);
        if (control == nullptr || param == nullptr) {
            return;
        }
        if (control->isText()) {
            const char* text = instanceOf(instance).text(static_cast<std::size_t>(index));
            std::memcpy(param, &text, sizeof text);
        } else {
            const double number = instanceOf(instance).number(static_cast<std::size_t>(index));
            std::memcpy(param, &number, sizeof number);
        }
    });
}

// The time is ignored: hosts fill it in differently, and the effect doesn't depend on it.
void f0r_update(f0r_instance_t instance, double /*time*/, const uint32_t* inframe,
                uint32_t* outframe) {
    guarded([&] {
        instanceOf(instance).update(reinterpret_cast<const std::uint8_t*>(inframe),
                                    reinterpret_cast<std::uint8_t*>(outframe));
    });
}
