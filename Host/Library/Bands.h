#pragma once

/// Work on a picture's rows by several threads at once.

#include <cstddef>
#include <functional>

namespace Vexorel::PrismDrift::Host {

/// In how many bands to divide a picture of that size: at most one per processor, up to 16, or
/// `most` if that isn't 0. A small picture gets fewer, since a thread costs some microseconds.
std::size_t bandCount(std::size_t columns, std::size_t rows, std::size_t most = 0);

/// The first row of a band; with `band` as the count, the end of the last one.
int bandEdge(std::size_t band, std::size_t count, int rows);

/// Calls `work` for each band, the first on the calling thread, the others on threads of their own
/// as far as the system has any. Returns when all are done. `work` must not throw.
void runBands(std::size_t count, const std::function<void(std::size_t band)>& work);

} // namespace Vexorel::PrismDrift::Host
