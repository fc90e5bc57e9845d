// Lays a bed and ten clips beside a silent film of a minute, as an export does in its second stage, and prints the time and how
// that compares with FFmpeg's AAC encoder alone on as much sound in the same run. The media are made by the `ffmpeg` command.
#include "export/audio_mix.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
}

namespace {

using namespace larkspool;

constexpr int seconds = 60;
constexpr int clips = 10;
constexpr int runs = 5;

double milliseconds(const auto& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void require(bool holds, const char* what)
{
    if (!holds) throw std::runtime_error(what);
}

void make(const std::string& arguments)
{
    require(std::system(("ffmpeg -nostdin -v error -y " + arguments).c_str()) == 0, "the ffmpeg command failed");
}

/// Encodes noise, the hardest sound that there is.
void encodeAlone()
{
    const AVCodec* encoder = avcodec_find_encoder(AV_CODEC_ID_AAC);
    AVCodecContext* codec = avcodec_alloc_context3(encoder);
    codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    codec->sample_rate = SampleStream::sampleRate;
    codec->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
    require(avcodec_open2(codec, encoder, nullptr) >= 0, "the encoder cannot be opened");
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    std::uint32_t noise = 1;
    for (int done = 0; done < seconds * SampleStream::sampleRate; done += codec->frame_size) {
        frame->format = codec->sample_fmt;
        frame->sample_rate = codec->sample_rate;
        frame->nb_samples = codec->frame_size;
        frame->pts = done;
        av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout);
        require(av_frame_get_buffer(frame, 0) >= 0, "there is no memory");
        for (int i = 0; i < 2 * frame->nb_samples; ++i) {
            noise = noise * 1664525 + 1013904223;
            reinterpret_cast<float*>(frame->data[i % 2])[i / 2] = static_cast<float>(noise >> 8) / (1 << 24) * 0.5F - 0.25F;
        }
        require(avcodec_send_frame(codec, frame) >= 0, "encoding failed");
        while (avcodec_receive_packet(codec, packet) >= 0) av_packet_unref(packet);
        av_frame_unref(frame);
    }
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&codec);
}

double best(const auto& work)
{
    double least = 1e300;
    for (int i = 0; i < runs; ++i) least = std::min(least, milliseconds(work));
    return least;
}

} // namespace

int main()
{
    av_log_set_level(AV_LOG_QUIET);
    try {
        std::string folder = (std::filesystem::temp_directory_path() / "larkspool-bench-XXXXXX").string();
        require(mkdtemp(folder.data()) != nullptr, "there is no temporary folder");
        const std::string length = std::to_string(seconds);
        make("-f lavfi -i testsrc2=s=1920x1080:r=30:d=" + length + " -c:v libx264 -preset ultrafast -pix_fmt yuv420p " + folder +
             "/silent.mp4");
        make("-f lavfi -i anoisesrc=c=pink:a=0.5:r=44100:d=" + length + " -ac 2 -b:a 192k " + folder + "/bed.mp3");
        make("-f lavfi -i testsrc2=s=320x180:r=30:d=8 -f lavfi -i anoisesrc=c=pink:a=0.4:r=44100:d=8 -ac 2 -c:v libx264 -c:a "
             "aac " +
             folder + "/clip.mp4");

        std::vector<Exporter::VideoAudioClip> places;
        for (int i = 0; i < clips; ++i)
            places.push_back({.url = folder + "/clip.mp4", .outputStart = 5.5 * i, .sourceStart = 0.25 * i, .duration = 5});
        const Exporter::ExportAudio bed{.url = folder + "/bed.mp3", .duration = seconds, .fadeOutLast = 1, .volume = 0.7F};

        const double alone = best(encodeAlone);
        const double sound = best([&] { Exporter::muxAudio(folder + "/silent.mp4", bed, places, folder + "/film.mp4", {}); });
        std::printf("sound of %d s, a bed and %d clips: %.0f ms (at most 1500), %.2f of the encoder alone (%.0f ms)\n", seconds,
                    clips, sound, sound / alone, alone);
        std::filesystem::remove_all(folder);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
