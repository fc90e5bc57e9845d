// Reads a 1080p H.264 film in sequence as a video layer does, and prints the time of a picture and how that compares with
// FFmpeg's own decoding and conversion to BGRA of the same film in the same run; then two places of one film by turns, compared
// with reading the two one after the other. The film is made by the `ffmpeg` command unless one is named.
#include "platform/image_generator.h"
#include "rendering/video_media.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

namespace {

using namespace larkspool;

constexpr int framesPerSecond = 30;
constexpr int frames = 240;
constexpr int offset = 90; ///< Pictures between the two places.
constexpr int runs = 3;

struct Cost {
    double wall = 1e300, cpu = 1e300; ///< Milliseconds; of the whole process, all threads.
};

double milliseconds(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// The least of several runs, for one of the pictures.
Cost best(const auto& work)
{
    Cost least;
    for (int i = 0; i < runs; ++i) {
        const double wall = milliseconds(CLOCK_MONOTONIC), cpu = milliseconds(CLOCK_PROCESS_CPUTIME_ID);
        work();
        least.wall = std::min(least.wall, (milliseconds(CLOCK_MONOTONIC) - wall) / frames);
        least.cpu = std::min(least.cpu, (milliseconds(CLOCK_PROCESS_CPUTIME_ID) - cpu) / frames);
    }
    return least;
}

void print(const char* what, const Cost& cost, const Cost& floor)
{
    std::printf("%-34s %6.2f ms wall %5.2f x   %6.2f ms CPU %5.2f x\n", what, cost.wall, cost.wall / floor.wall, cost.cpu,
                cost.cpu / floor.cpu);
}

void require(bool holds, const char* what)
{
    if (!holds) throw std::runtime_error(what);
}

/// Decodes by FFmpeg alone, with its own choice of threads, and converts the first pictures to BGRA by its own choice of
/// conversion. Returns how many.
int decodeAlone(const std::string& path)
{
    AVFormatContext* film = nullptr;
    require(avformat_open_input(&film, path.c_str(), nullptr, nullptr) >= 0, "the film cannot be opened");
    avformat_find_stream_info(film, nullptr);
    const AVCodec* decoder = nullptr;
    const int index = av_find_best_stream(film, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    require(index >= 0, "the film has no pictures");
    AVCodecContext* codec = avcodec_alloc_context3(decoder);
    avcodec_parameters_to_context(codec, film->streams[index]->codecpar);
    codec->thread_count = 0;
    require(avcodec_open2(codec, decoder, nullptr) >= 0, "the film cannot be decoded");
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    SwsContext* scaler = nullptr;
    std::vector<std::uint8_t> pixels;
    int count = 0;
    const auto receive = [&] {
        while (count < frames && avcodec_receive_frame(codec, frame) >= 0) {
            scaler = sws_getCachedContext(scaler, frame->width, frame->height, static_cast<AVPixelFormat>(frame->format),
                                          frame->width, frame->height, AV_PIX_FMT_BGRA, SWS_BICUBIC, nullptr, nullptr, nullptr);
            pixels.resize(static_cast<std::size_t>(frame->width) * static_cast<std::size_t>(frame->height) * 4);
            std::uint8_t* const rows[4] = {pixels.data()};
            const int bytesPerRow[4] = {frame->width * 4};
            sws_scale(scaler, frame->data, frame->linesize, 0, frame->height, rows, bytesPerRow);
            ++count;
        }
    };
    while (count < frames && av_read_frame(film, packet) >= 0) {
        if (packet->stream_index == index) avcodec_send_packet(codec, packet);
        av_packet_unref(packet);
        receive();
    }
    avcodec_send_packet(codec, nullptr);
    receive();
    sws_freeContext(scaler);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&codec);
    avformat_close_input(&film);
    return count;
}

double timeOf(int frame)
{
    return static_cast<double>(frame) / framesPerSecond;
}

void readInSequence(const std::string& path, int first)
{
    Exporter::releaseVideoGenerators();
    for (int i = 0; i < frames; ++i) require(Exporter::exportFrame(path, timeOf(first + i)) != nullptr, "a picture is missing");
}

void readByTurns(const std::string& path)
{
    Exporter::releaseVideoGenerators();
    for (int i = 0; i < frames; ++i) {
        require(Exporter::exportFrame(path, timeOf(i)) != nullptr, "a picture is missing");
        require(Exporter::exportFrame(path, timeOf(offset + i)) != nullptr, "a picture is missing");
    }
}

std::string madeFilm(const std::string& folder)
{
    const std::string path = folder + "/film.mp4";
    const std::string command = "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=s=1920x1080:r=30:d=12 -c:v libx264 "
                                "-pix_fmt yuv420p -preset veryfast '" +
                                path + "'";
    require(std::system(command.c_str()) == 0, "ffmpeg cannot make the film");
    return path;
}

} // namespace

int main(int count, char** arguments)
try {
    av_log_set_level(AV_LOG_QUIET);
    std::string folder = (std::filesystem::temp_directory_path() / "larkspool-bench-XXXXXX").string();
    require(mkdtemp(folder.data()) != nullptr, "no temporary folder");
    const std::string film = count > 1 ? arguments[1] : madeFilm(folder);

    require(decodeAlone(film) == frames, "the film is too short");
    const Cost alone = best([&] { decodeAlone(film); });
    const Cost sequence = best([&] { readInSequence(film, 0); });
    const Cost separate = best([&] { readInSequence(film, 0), readInSequence(film, offset); });
    const Cost turns = best([&] { readByTurns(film); });
    std::puts("for each picture, and against the line that begins its group");
    print("FFmpeg alone: decode, convert", alone, alone);
    print("the film in sequence", sequence, alone);
    print("two places one after the other", separate, separate);
    print("two places by turns", turns, separate);
    std::filesystem::remove_all(folder);
} catch (const std::exception& failure) {
    std::fprintf(stderr, "bench_video: %s\n", failure.what());
    return 1;
}
