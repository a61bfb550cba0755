#include "Host/Software/Drawing.h"

#include "Host/Library/Bands.h"

#include <algorithm>

namespace Vexorel::PrismDrift::Host {
namespace {

// Rows of a channel that were taken out of the source. The rows of the result need two
// neighbouring ones, and the next row mostly needs the second of these again.
template <typename Mixing>
class TakenRows {
public:
    using Value = typename Mixing::Value;

    explicit TakenRows(std::size_t width) : mWidth(width) {
        for (Taken& taken : mRows) {
            taken.values.resize(width + rowSlack);
        }
    }

    const Value* row(const RowSteps<Mixing>& steps, const Pixels<const std::uint8_t>& source,
                     std::size_t channel, int y, int other) {
        for (const Taken& taken : mRows) {
            if (taken.y == y) {
                return taken.values.data();
            }
        }
        Taken& taken = mRows[0].y == other ? mRows[1] : mRows[0];
        taken.y = y;
        steps.take(source.row(y), channel, mWidth, taken.values.data());
        return taken.values.data();
    }

private:
    struct Taken {
        int y = -1;
        std::vector<Value> values;
    };

    std::size_t mWidth;
    std::array<Taken, 2> mRows;
};

template <typename Mixing>
struct ChannelRows {
    using Value = typename Mixing::Value;

    ChannelRows(std::size_t width, std::size_t columns)
        : taken(width), mixed(width + rowSlack), finished(columns + rowSlack) {}

    TakenRows<Mixing> taken;
    std::vector<Value> mixed;    // along the columns
    std::vector<Value> finished; // along the rows too
};

// What is drawn by one thread: some of the rows, with memory of its own.
template <typename Mixing>
class Band {
public:
    using Value = typename Mixing::Value;

    Band(const Drawing& drawing, const RowSteps<Mixing>& steps, const FramePlan<Mixing>& plan,
         int begin, int end)
        : mDrawing(drawing), mSteps(steps), mPlan(plan), mBegin(begin), mEnd(end) {
        const ChannelRows<Mixing> rows(plan.isNeutral ? 1 : size(drawing.input.width), columns());
        mChannels.assign(plan.channels.size(), rows);
    }

    void draw() {
        for (int y = mBegin; y < mEnd; ++y) {
            const std::uint8_t* source = mDrawing.input.row(y);
            if (mPlan.isNeutral) {
                mSteps.copy(source, columns(), mDrawing.output.row(y));
                continue;
            }
            std::array<const Value*, 3> rows{};
            for (std::size_t channel = 0; channel < rows.size(); ++channel) {
                rows[channel] = finishedRow(channel, y);
            }
            mSteps.put(mPlan, rows, source, columns(), mDrawing.output.row(y));
        }
    }

private:
    static std::size_t size(int side) { return static_cast<std::size_t>(side); }
    std::size_t columns() const {
        return size(std::min(mDrawing.input.width, mDrawing.output.width));
    }

    const Value* finishedRow(std::size_t channel, int y) {
        const ChannelPlan<Mixing>& plan = mPlan.channels[channel];
        ChannelRows<Mixing>& rows = mChannels[channel];
        const int first = plan.rows.first[size(y)];
        const int second = std::min(first + 1, mDrawing.input.height - 1);
        const auto share = plan.rows.share[size(y)];
        const Value* row = rows.taken.row(mSteps, mDrawing.input, channel, first, second);
        if (share != 0) {
            const Value* next = rows.taken.row(mSteps, mDrawing.input, channel, second, first);
            mSteps.mixRows(row, next, share, size(mDrawing.input.width), rows.mixed.data());
            row = rows.mixed.data();
        }
        mSteps.mixColumns(plan, row, columns(), rows.finished.data());
        return rows.finished.data();
    }

    const Drawing& mDrawing;
    const RowSteps<Mixing>& mSteps;
    const FramePlan<Mixing>& mPlan;
    int mBegin, mEnd;
    std::vector<ChannelRows<Mixing>> mChannels;
};

template <typename Mixing>
void drawBands(const Drawing& drawing, const RowSteps<Mixing>& steps,
               const FramePlan<Mixing>& plan) {
    const int rows = std::min(drawing.input.height, drawing.output.height);
    const int columns = std::min(drawing.input.width, drawing.output.width);
    const std::size_t count = bandCount(static_cast<std::size_t>(columns),
                                        static_cast<std::size_t>(rows), drawing.settings.threads);
    std::vector<Band<Mixing>> bands;
    bands.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        bands.emplace_back(drawing, steps, plan, bandEdge(i, count, rows),
                           bandEdge(i + 1, count, rows));
    }
    runBands(count, [&bands](std::size_t band) { bands[band].draw(); });
}

} // namespace

void draw(const Drawing& drawing, const SoftwareSteps& steps) {
    const int width = drawing.input.width;
    const int height = drawing.input.height;
    const int columns = std::min(width, drawing.output.width);
    const int rows = std::min(height, drawing.output.height);
    const ChannelValues& values = drawing.settings.values;
    switch (drawing.format) {
    case PF_PixelFormat_ARGB32:
        drawBands(drawing, steps.bytes, planBytes(values, width, height, columns, rows));
        break;
    case PF_PixelFormat_ARGB64:
        drawBands(drawing, steps.words, planFloats<32768>(values, width, height, columns, rows));
        break;
    default:
        drawBands(drawing, steps.floats, planFloats<1>(values, width, height, columns, rows));
        break;
    }
}

} // namespace Vexorel::PrismDrift::Host
