#include "Host/Media/PlaneGraph.h"

#include "Host/Library/Error.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <new>
#include <string>
#include <zimg.h>

namespace Vexorel::PrismDrift::Host {
namespace {

// What zimg asks of addresses and strides, with room for wider vectors.
constexpr std::size_t alignment = 64;

std::size_t aligned(std::size_t bytes) {
    return (bytes + alignment - 1) / alignment * alignment;
}

std::uint8_t* allocated(std::size_t bytes) {
    void* memory = std::aligned_alloc(alignment, aligned(bytes) + alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<std::uint8_t*>(memory);
}

[[noreturn]] void throwFor(zimg_error_code_e result) {
    if (result == ZIMG_ERROR_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    std::array<char, 256> reason{};
    zimg_get_last_error(reason.data(), reason.size());
    throw Error("the pixels can't be converted (" + std::string(reason.data()) + ")");
}

void check(zimg_error_code_e result) {
    if (result != ZIMG_ERROR_SUCCESS) {
        throwFor(result);
    }
}

zimg_filter_graph* newGraph(const zimg_image_format& from, const zimg_image_format& to,
                            bool dithers) {
    zimg_graph_builder_params how;
    zimg_graph_builder_params_default(&how, ZIMG_API_VERSION);
    // Catmull and Rom's cubic: values that are there keep their value.
    how.resample_filter = how.resample_filter_uv = ZIMG_RESIZE_BICUBIC;
    how.filter_param_a = how.filter_param_a_uv = 0;
    how.filter_param_b = how.filter_param_b_uv = 0.5;
    how.dither_type = dithers ? ZIMG_DITHER_ORDERED : ZIMG_DITHER_NONE;
    zimg_clear_last_error();
    zimg_filter_graph* graph = zimg_filter_graph_build(&from, &to, &how);
    if (graph == nullptr) {
        throwFor(zimg_get_last_error(nullptr, 0));
    }
    return graph;
}

using Count = zimg_error_code_e (*)(const zimg_filter_graph*, unsigned*);

// How many lines one end of the graph takes, a power of two; at most the whole picture.
unsigned lineCount(const zimg_filter_graph* graph, Count count, const zimg_image_format& format) {
    unsigned lines = 0;
    check(count(graph, &lines));
    return std::bit_ceil(std::min(lines, format.height));
}

int call(void* step, unsigned y, unsigned left, unsigned right) {
    (*static_cast<const PlaneGraph::Step*>(step))(static_cast<int>(y), static_cast<int>(left),
                                                  static_cast<int>(right));
    return 0;
}

} // namespace

void PlaneLines::Free::operator()(void* memory) const {
    std::free(memory);
}

void PlaneGraph::Free::operator()(zimg_filter_graph* graph) const {
    zimg_filter_graph_free(graph);
}

PlaneLines::PlaneLines(const zimg_image_format& format, unsigned count) {
    const std::size_t valueBytes = format.pixel_type == ZIMG_PIXEL_BYTE    ? sizeof(std::uint8_t)
                                   : format.pixel_type == ZIMG_PIXEL_FLOAT ? sizeof(float)
                                                                           : sizeof(std::uint16_t);
    for (std::size_t i = 0; i < mPlanes.size(); ++i) {
        const unsigned width = i == 0 ? format.width : format.width >> format.subsample_w;
        const unsigned lines = i == 0 ? count : std::max(1U, count >> format.subsample_h);
        mPlanes[i].stride = aligned(width * valueBytes);
        mPlanes[i].mask = lines - 1;
        mPlanes[i].memory.reset(allocated(mPlanes[i].stride * lines));
    }
}

PlaneGraph::PlaneGraph(const zimg_image_format& from, const zimg_image_format& to, bool dithers)
    : mGraph(newGraph(from, to, dithers)),
      mInput(from, lineCount(mGraph.get(), &zimg_filter_graph_get_input_buffering, from)),
      mOutput(to, lineCount(mGraph.get(), &zimg_filter_graph_get_output_buffering, to)) {
    std::size_t bytes = 0;
    check(zimg_filter_graph_get_tmp_size(mGraph.get(), &bytes));
    mScratch.reset(allocated(bytes));
}

void PlaneGraph::run(const Step& fill, const Step& take) {
    zimg_image_buffer_const from{};
    zimg_image_buffer to{};
    from.version = to.version = ZIMG_API_VERSION;
    for (std::size_t i = 0; i < mInput.mPlanes.size(); ++i) {
        const PlaneLines::Plane& in = mInput.mPlanes[i];
        const PlaneLines::Plane& out = mOutput.mPlanes[i];
        from.plane[i] = {in.memory.get(), static_cast<std::ptrdiff_t>(in.stride), in.mask};
        to.plane[i] = {out.memory.get(), static_cast<std::ptrdiff_t>(out.stride), out.mask};
    }
    check(zimg_filter_graph_process(mGraph.get(), &from, &to, mScratch.get(), &call,
                                    const_cast<Step*>(&fill), &call, const_cast<Step*>(&take)));
}

} // namespace Vexorel::PrismDrift::Host
