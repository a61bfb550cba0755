// Presets: what is read is what was saved, and what is refused changes nothing.

#include "Host/CommandLine/Preset.h"
#include "Host/Library/Error.h"
#include "Host/Library/HostedEffect.h"
#include "Tests/Fuzz/Target.h"
#include "Tests/Host/FakeEffect.h"

using namespace Vexorel::PrismDrift::CommandLine;
using namespace Vexorel::PrismDrift::Host;

namespace {

void expectEqual(const ParameterValues& left, const ParameterValues& right) {
    for (const Parameter& parameter : left.parameters()) {
        if (!parameter.hasValue()) {
            continue;
        }
        EXPECT_EQ(left.constant(parameter.index), right.constant(parameter.index));
        const Keyframes* keyframes = left.keyframes(parameter.index);
        const Keyframes* others = right.keyframes(parameter.index);
        ASSERT_EQ(keyframes != nullptr, others != nullptr);
        EXPECT_TRUE(keyframes == nullptr || keyframes->text() == others->text());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const HostedEffect effect(&FakeEffect::entry);
    static Fuzz::MemoryFile file;
    file.fill(data, size);
    const ParameterValues defaults = effect.defaultValues();
    ParameterValues values = defaults;
    try {
        loadPreset(file.path(), values);
    } catch (const Error& error) {
        Fuzz::expectHolds(error.what(), "the preset '" + file.path().string() + "'");
        expectEqual(values, defaults);
        return 0;
    }
    const std::string text = presetText(values);
    file.fill(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    ParameterValues saved = defaults;
    loadPreset(file.path(), saved);
    expectEqual(saved, values);
    return 0;
}
