#pragma once

#include "Host/Library/Error.h"

/// The message of the Error that `action` throws, with the effect's code behind it where there is
/// one: "it failed [516]". Empty for no error.
template <typename Action>
std::string errorOf(const Action& action) {
    try {
        action();
    } catch (const Vexorel::PrismDrift::Host::Error& error) {
        const std::string code = " [" + std::to_string(error.code()) + "]";
        return error.what() + (error.code() == 0 ? "" : code);
    }
    return "";
}
