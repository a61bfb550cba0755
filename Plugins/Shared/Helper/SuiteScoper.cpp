#include "Shared/Helper/SuiteScoper.h"

namespace Vexorel::PrismDrift {

void reportSuiteError(const PF_InData* in_data, PF_OutData* out_data, const char* text) {
    out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
    in_data->utils->ansi.sprintf(out_data->return_msg, "%s", text);
}

} // namespace Vexorel::PrismDrift
