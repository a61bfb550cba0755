#pragma once

/// What the host library throws: a text for the user, and the effect's code where it gave one.

#include "Platform/Effect/Effect.h"

#include <stdexcept>
#include <string>

namespace Vexorel::PrismDrift::Host {

/// One line without a full stop, ready to stand behind a program's name.
class Error : public std::runtime_error {
public:
    explicit Error(const std::string& text, PF_Err code = PF_Err_NONE)
        : std::runtime_error(text), mCode(code) {}

    /// The result of the effect's command that failed, 0 if the failure was not the effect's.
    PF_Err code() const { return mCode; }

private:
    PF_Err mCode;
};

} // namespace Vexorel::PrismDrift::Host
