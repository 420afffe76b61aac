#include "support/ffmpeg_peer.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

// The headers are C and not written for our warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wold-style-cast"
extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
}
#pragma GCC diagnostic pop

namespace bench
{

namespace
{

constexpr int plane_of[] = {2, 0, 1};  // red, green and blue among the planes green, blue, red

void require(bool made, const char *what)
{
    if (!made) {
        std::fprintf(stderr, "ffmpeg peer: no %s\n", what);
        std::exit(1);
    }
}

// The format in which the filter reads a grid; red varies fastest.
void write_cube(const std::filesystem::path &path, int points, const std::vector<std::uint8_t> &grid)
{
    std::ofstream file(path);
    file << "LUT_3D_SIZE " << points << '\n';
    for (int b = 0; b < points; ++b)
        for (int g = 0; g < points; ++g)
            for (int r = 0; r < points; ++r) {
                const std::uint8_t *vertex = &grid[static_cast<std::size_t>(((r * points + g) * points + b) * 3)];
                file << vertex[0] / 255.0 << ' ' << vertex[1] / 255.0 << ' ' << vertex[2] / 255.0 << '\n';
            }
    require(static_cast<bool>(file), "file");
}

std::uint16_t *sample(AVFrame *frame, int channel, int pixel)
{
    const int plane = plane_of[channel];
    std::uint8_t *line = frame->data[plane] + std::ptrdiff_t{pixel / frame->width} * frame->linesize[plane];
    return reinterpret_cast<std::uint16_t *>(line) + pixel % frame->width;
}

}  // namespace

struct FfmpegPeer::State {
    AVFilterGraph *graph = nullptr;
    AVFilterContext *source = nullptr;
    AVFilterContext *lut = nullptr;
    AVFilterContext *sink = nullptr;
    AVFrame *in = nullptr;
    AVFrame *out = nullptr;
};

FfmpegPeer::FfmpegPeer(int points, const std::vector<std::uint8_t> &grid, const std::string &interpolation, int width,
                       int height)
    : state_(std::make_unique<State>())
{
    State &s = *state_;
    const auto cube = std::filesystem::temp_directory_path() / "teska_bench_grid.cube";
    write_cube(cube, points, grid);
    s.graph = avfilter_graph_alloc();
    require(s.graph != nullptr, "graph");
    s.graph->nb_threads = 1;
    const std::string format = "video_size=" + std::to_string(width) + "x" + std::to_string(height) +
                               ":pix_fmt=" + std::to_string(AV_PIX_FMT_GBRP16) + ":time_base=1/25:pixel_aspect=1/1";
    const std::string table = "file=" + cube.string() + ":interp=" + interpolation;
    const auto make = [&](AVFilterContext **filter, const char *kind, const char *arguments) {
        require(avfilter_graph_create_filter(filter, avfilter_get_by_name(kind), kind, arguments, nullptr, s.graph) >=
                    0,
                kind);
    };
    make(&s.source, "buffer", format.c_str());
    make(&s.lut, "lut3d", table.c_str());
    make(&s.sink, "buffersink", nullptr);
    require(avfilter_link(s.source, 0, s.lut, 0) >= 0 && avfilter_link(s.lut, 0, s.sink, 0) >= 0 &&
                avfilter_graph_config(s.graph, nullptr) >= 0,
            "links");
    std::filesystem::remove(cube);
    require(av_buffersink_get_format(s.sink) == AV_PIX_FMT_GBRP16, "planes behind the filter");

    s.in = av_frame_alloc();
    s.out = av_frame_alloc();
    require(s.in != nullptr && s.out != nullptr, "frames");
    s.in->format = AV_PIX_FMT_GBRP16;
    s.in->width = width;
    s.in->height = height;
    require(av_frame_get_buffer(s.in, 0) >= 0, "buffer");
}

FfmpegPeer::~FfmpegPeer()
{
    av_frame_free(&state_->in);
    av_frame_free(&state_->out);
    avfilter_graph_free(&state_->graph);
}

void FfmpegPeer::load(const std::vector<std::uint8_t> &red, const std::vector<std::uint8_t> &green,
                      const std::vector<std::uint8_t> &blue)
{
    const std::vector<std::uint8_t> *const planes[] = {&red, &green, &blue};
    AVFrame *const frame = state_->in;
    for (std::size_t c = 0; c < 3; ++c)
        for (std::size_t i = 0; i < planes[c]->size(); ++i)
            *sample(frame, static_cast<int>(c), static_cast<int>(i)) =
                static_cast<std::uint16_t>((*planes[c])[i] * 257);
}

void FfmpegPeer::convert()
{
    av_frame_unref(state_->out);
    require(av_buffersrc_add_frame_flags(state_->source, state_->in, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0 &&
                av_buffersink_get_frame(state_->sink, state_->out) >= 0,
            "frame");
}

std::vector<std::uint8_t> FfmpegPeer::plane(int channel) const
{
    std::vector<std::uint8_t> bytes;
    for (int i = 0; i < state_->out->width * state_->out->height; ++i)
        bytes.push_back(static_cast<std::uint8_t>((*sample(state_->out, channel, i) + 128) / 257));
    return bytes;
}

}  // namespace bench
