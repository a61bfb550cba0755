#include "Host/CommandLine/Usage.h"

#include "Host/Library/Text.h"

#include <algorithm>
#include <numeric>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

bool same(char left, char right) {
    return Host::lowerCase(left) == Host::lowerCase(right);
}

// The least number of letters to add, drop, change or swap with the next.
std::size_t editDistance(std::string_view left, std::string_view right) {
    std::vector<std::vector<std::size_t>> cost(left.size() + 1,
                                               std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t j = 0; j <= right.size(); ++j) {
            if (i == 0 || j == 0) {
                cost[i][j] = i + j;
                continue;
            }
            const bool equal = same(left[i - 1], right[j - 1]);
            cost[i][j] = std::min(
                {cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + (equal ? 0 : 1)});
            if (i > 1 && j > 1 && same(left[i - 1], right[j - 2]) &&
                same(left[i - 2], right[j - 1])) {
                cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
            }
        }
    }
    return cost.back().back();
}

} // namespace

std::string nearestHint(std::string_view written, const std::vector<std::string>& known) {
    std::size_t limit = std::max<std::size_t>(1, written.size() / 3) + 1;
    std::string hint;
    for (const std::string& name : known) {
        const std::size_t distance = editDistance(written, name);
        // A beginning that was not written to its end counts as near.
        const bool begun = written.size() > 3 && name.substr(0, written.size()) == written;
        if (const std::size_t rank = begun ? 1 : distance; rank < limit) {
            limit = rank;
            hint = "; did you mean '" + name + "'?";
        }
    }
    return hint;
}

} // namespace Vexorel::PrismDrift::CommandLine
