#pragma once

/// Runs something many times and compares what the process holds after a tenth with what it holds
/// at the end. scripts/soak shows the figures as a table.

#include <functional>
#include <limits>

namespace Testing {

/// What the process holds.
struct Figures {
    double resident = 0.0;  ///< MiB, as the system sees it
    double kept = 0.0;      ///< the same once the C library has given back what is free
    double allocated = 0.0; ///< MiB, as the C library does: less than the resident memory grows by
                            ///< if freed memory can't be used again
    int files = 0, threads = 0, mappings = 0, names = 0, contexts = 0;
};

/// A limit for what isn't ours: its memory is shown and may grow.
constexpr double kAnyGrowth = std::numeric_limits<double>::infinity();

/// `for (Meter meter(1000, names); meter.next();)` runs its body 1000 times, or fewer: the
/// environment's PRISMDRIFT_SOAK_PART divides that, by 100 unless it is set. At the end it fails
/// the test if anything grew, and prints the figures.
class Meter {
public:
    /// `names` counts what is to stay equal besides, such as GL names. The resident memory of a
    /// whole run may grow by `limit` MiB, if so much of it is free.
    explicit Meter(
        int count, std::function<int()> names = [] { return 0; }, double limit = 1.0);

    bool next();

    /// From 0.
    int index() const { return mDone; }

    /// About a hundred times: for a look at what is expensive to look at.
    bool isChecked() const { return mDone % mEvery == 0; }

private:
    Figures measure() const;
    void judge(const Figures& end) const;

    std::function<int()> mNames;
    double mLimit;
    int mCount, mEvery;
    int mDone = -1;
    Figures mTenth;
};

} // namespace Testing
