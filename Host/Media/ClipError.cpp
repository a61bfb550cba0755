#include "Host/Media/ClipError.h"

#include <new>

namespace Vexorel::PrismDrift::Host {

std::string nameOf(const std::filesystem::path& input) {
    return input == "-" ? "standard input" : "'" + input.string() + "'";
}

std::string cannotRead(const std::filesystem::path& file) {
    return "cannot read " + nameOf(file) + ": ";
}

std::string cannotWrite(const std::filesystem::path& file) {
    return "cannot write " + (file == "-" ? "to standard output" : "'" + file.string() + "'") +
           ": ";
}

void rethrowWithPrefix(const std::string& prefix) {
    try {
        throw;
    } catch (const ClipError& error) {
        throw ClipError(error.reason(), error.settings(), prefix + error.what());
    } catch (const Error& error) {
        throw Error(prefix + error.what(), error.code());
    } catch (const std::bad_alloc&) {
        throw Error(prefix + "there is not enough memory");
    }
}

} // namespace Vexorel::PrismDrift::Host
