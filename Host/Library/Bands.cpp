#include "Host/Library/Bands.h"

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

namespace Vexorel::PrismDrift::Host {
namespace {

// Memory doesn't keep up with more threads, and each may have rows of its own to fill.
std::size_t processors() {
    constexpr unsigned most = 16;
    static const unsigned count = std::clamp(std::thread::hardware_concurrency(), 1U, most);
    return count;
}

} // namespace

std::size_t bandCount(std::size_t columns, std::size_t rows, std::size_t most) {
    constexpr std::size_t fewestPixels = std::size_t{1} << 16;
    const std::size_t threads = std::min(most > 0 ? most : processors(), rows);
    return std::clamp<std::size_t>(columns * rows / fewestPixels, 1,
                                   std::max<std::size_t>(threads, 1));
}

int bandEdge(std::size_t band, std::size_t count, int rows) {
    return static_cast<int>(static_cast<std::size_t>(rows) * band / count);
}

void runBands(std::size_t count, const std::function<void(std::size_t)>& work) {
    std::vector<std::thread> threads;
    std::size_t next = 1; // the first band is this thread's
    try {
        threads.reserve(count);
        for (; next < count; ++next) {
            threads.emplace_back([&work, next] { work(next); });
        }
    } catch (const std::exception&) { // no more threads or memory: this one does the rest
        for (; next < count; ++next) {
            work(next);
        }
    }
    work(0);
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace Vexorel::PrismDrift::Host
