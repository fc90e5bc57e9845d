// Exports documents and prints the time of each as a ratio to the encoder alone on the very same pictures, held in memory. Both
// are medians of runs that take turns, each in a process of its own, so that none finds memory as another left it.
//
//     bench_export_ratio [--exporter cpu|gpu] [--runs N] [--workers N] [--memory | --scaling] [NAME ...]
//
// Of documents it takes cards, still and multi, where none is named; of exporters the first.
//
// A second line tells the size and the quality of the film against those of one pass of the encoder over the same pictures. As many
// workers export as the machine has use for, unless told otherwise.
//
// With --memory it prints instead how much memory an export takes at its peak above that of the encoder alone, each in a process
// of its own, for the document as it is and drawn out to twelve times its length. With --scaling it prints how much less time two
// workers take than one to draw four chunks of it, repeated as often as that takes, without an encoder.
#include "bench_scenes.h"
#include "encoder_floor.h"
#include "export/exporter.h"
#include "export/exporter_gpu.h"
#include "export/film_grid.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace larkspool;

/// Takes pictures in, one chunk after the other, for the encoder alone to encode.
class CapturingEncoder final : public ChunkEncoder {
public:
    explicit CapturingEncoder(PlanarFilm& film) : film_(film) {}

    void beginChunk(std::int64_t firstFrame, std::int64_t) override { chunk_ = {.firstFrame = firstFrame}; }
    void setPicture(const PixelBuffer& picture, const PixelRect&) override { picture_ = &picture; }
    void encodeFrame() override
    {
        if (picture_)
            film_.append(*picture_);
        else
            film_.appendRepeat();
        picture_ = nullptr;
        chunk_.pictures.push_back({});
    }
    bool codeHeldFrame() override { return false; }
    std::int64_t codedFrames() const override { return static_cast<std::int64_t>(chunk_.pictures.size()); }
    FilmChunk takeChunk() override { return std::exchange(chunk_, {}); }

private:
    PlanarFilm& film_;
    const PixelBuffer* picture_ = nullptr; ///< That was not taken in yet.
    FilmChunk chunk_;
};

/// Gives what it is asked to encode to encoders of another kind, and writes nothing.
class IdleWriter final : public AssetWriter {
public:
    using MakeEncoder = std::function<std::unique_ptr<ChunkEncoder>()>;

    IdleWriter(std::string path, const FilmSettings& settings, MakeEncoder makeEncoder)
        : path_(std::move(path)), settings_(settings), makeEncoder_(std::move(makeEncoder))
    {
    }

    void startWriting() override { std::ofstream{path_}; } // An empty file, to take the film's name.
    std::unique_ptr<ChunkEncoder> makeEncoder() override { return makeEncoder_(); }
    std::unique_ptr<PixelBuffer> makePixelBuffer() override { return std::make_unique<PixelBuffer>(settings_.width, settings_.height); }
    void append(const FilmChunk&) override {}
    void finishWriting() override {}

private:
    std::string path_;
    FilmSettings settings_;
    MakeEncoder makeEncoder_;
};

std::string temporaryFilm()
{
    return (std::filesystem::temp_directory_path() / ("larkspool-bench-" + UUID::random().string() + ".mp4")).string();
}

/// How films are exported.
struct Way {
    bool composites = false; ///< By the second exporter.
    int workers = 0;
};

void exportDocument(const TweenDocument& document, const std::string& path, const Way& way, Exporter::ExportOptions options = {})
{
    options.workers = way.workers;
    const auto write = [&](const auto&... arguments) {
        way.composites ? ExporterGPU::exportMP4(arguments...) : Exporter::exportMP4(arguments...);
    };
    const std::optional<Exporter::ExportAudio> silence;
    const std::vector<Exporter::VideoAudioClip> noClips;
    if (document.scenes.size() == 1)
        write(document.scenes[0], path, 0, silence, noClips, options);
    else
        write(document.scenes, path, silence, noClips, options);
}

PlanarFilm capturedFilm(const TweenDocument& document, const Way& way)
{
    const TweenScene& first = document.scenes[0];
    PlanarFilm film(static_cast<int>(first.width), static_cast<int>(first.height), static_cast<int>(first.fps));
    Exporter::ExportOptions options;
    options.makeWriter = [&film](const std::string& path, const FilmSettings& settings) {
        return std::make_unique<IdleWriter>(path, settings, [&film] { return std::make_unique<CapturingEncoder>(film); });
    };
    const std::string path = temporaryFilm();
    exportDocument(document, path, {.composites = way.composites, .workers = 1}, options); // One, so that frames come in order.
    std::filesystem::remove(path);
    return film;
}

struct Times {
    double wallSeconds = 0;
    double processorSeconds = 0; ///< Of all threads.
};

double seconds(const timeval& time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

/// How long `work` takes in a process of its own.
Times timesOf(const std::function<void()>& work)
{
    int channel[2] = {};
    if (pipe(channel) != 0) throw std::runtime_error("there is no pipe");
    const pid_t child = fork();
    if (child == 0) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        _exit(write(channel[1], &wall, sizeof wall) == sizeof wall ? 0 : 1);
    }
    close(channel[1]);
    Times times;
    const bool isTold = read(channel[0], &times.wallSeconds, sizeof times.wallSeconds) == sizeof times.wallSeconds;
    close(channel[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (!isTold) throw std::runtime_error("a run failed");
    times.processorSeconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
    return times;
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

void printQuality(std::string_view name, const FilmQuality& exported, const FilmQuality& onePass)
{
    std::printf("%-8s export %9lld bytes, %.2f dB   one pass %9lld bytes, %.2f dB   %+.1f %%, %+.2f dB\n", std::string(name).c_str(),
                static_cast<long long>(exported.bytes), exported.psnr, static_cast<long long>(onePass.bytes), onePass.psnr,
                100 * (static_cast<double>(exported.bytes) / static_cast<double>(onePass.bytes) - 1), exported.psnr - onePass.psnr);
}

void printRatio(const BenchDocument& bench, int runs, const Way& way)
{
    const TweenDocument document = bench.make();
    const PlanarFilm film = capturedFilm(document, way);
    std::vector<double> floors, exports, processorFloors, processorExports;
    const std::string path = temporaryFilm();
    for (int run = 0; run < runs; ++run) {
        const Times floor = timesOf([&] { encodeAlone(film); });
        floors.push_back(floor.wallSeconds);
        processorFloors.push_back(floor.processorSeconds);
        const Times exported = timesOf([&] { exportDocument(document, path, way); });
        exports.push_back(exported.wallSeconds);
        processorExports.push_back(exported.processorSeconds);
    }
    std::printf("%-8s %5lld frames, %4lld of them distinct   encoder alone %6.2f s   export %6.2f s   ratio %.3f\n",
                std::string(bench.name).c_str(), static_cast<long long>(film.frameCount()),
                static_cast<long long>(film.distinctFrameCount()), median(floors), median(exports), median(exports) / median(floors));
    std::printf("%-8s processor time, all threads             encoder alone %6.2f s   export %6.2f s   ratio %.3f\n",
                std::string(bench.name).c_str(), median(processorFloors), median(processorExports),
                median(processorExports) / median(processorFloors));
    printQuality(bench.name, qualityOf(path, film), qualityOf(encodeAlone(film).film, film));
    std::filesystem::remove(path);
    std::fflush(stdout);
}

/// The peak of the memory of a process that does `work` alone, in megabytes.
double peakMegabytes(const std::function<void()>& work)
{
    const pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

void printMemory(const BenchDocument& bench, const Way& way)
{
    for (const int stretch : {1, 12}) {
        TweenDocument document = bench.make();
        for (TweenScene& scene : document.scenes.edit()) scene.duration *= stretch;
        const TweenScene& first = document.scenes[0];
        const auto frames = static_cast<std::int64_t>(document.totalDuration() * static_cast<double>(first.fps));
        const double floor = peakMegabytes([&] {
            PlanarFilm film(static_cast<int>(first.width), static_cast<int>(first.height), static_cast<int>(first.fps));
            film.append(PixelBuffer(static_cast<std::int64_t>(first.width), static_cast<std::int64_t>(first.height)));
            while (film.frameCount() < frames) film.appendRepeat();
            encodeAlone(film);
        });
        const std::string path = temporaryFilm();
        const double peak = peakMegabytes([&] { exportDocument(document, path, way); });
        std::filesystem::remove(path);
        std::printf("%-8s %6.1f s of film   encoder alone %6.1f MB   export %6.1f MB   above it %6.1f MB\n", std::string(bench.name).c_str(),
                    document.totalDuration(), floor, peak, peak - floor);
        std::fflush(stdout);
    }
}

/// Takes frames and makes nothing of them.
class IdleEncoder final : public ChunkEncoder {
public:
    void beginChunk(std::int64_t firstFrame, std::int64_t) override { chunk_ = {.firstFrame = firstFrame}; }
    void setPicture(const PixelBuffer&, const PixelRect&) override {}
    void encodeFrame() override { chunk_.pictures.push_back({.frame = chunk_.firstFrame + codedFrames()}); }
    bool codeHeldFrame() override { return false; }
    std::int64_t codedFrames() const override { return static_cast<std::int64_t>(chunk_.pictures.size()); }
    FilmChunk takeChunk() override { return std::exchange(chunk_, {}); }

private:
    FilmChunk chunk_;
};

void printScaling(const BenchDocument& bench, int runs, const Way& way)
{
    TweenDocument document = bench.make();
    const Array<TweenScene> scenes = document.scenes;
    const double wanted = static_cast<double>(4 * FilmGrid::longestChunk) / static_cast<double>(scenes[0].fps);
    while (document.totalDuration() < wanted)
        for (const TweenScene& scene : scenes) document.scenes.edit().push_back(scene);
    Exporter::ExportOptions options;
    options.makeWriter = [](const std::string& path, const FilmSettings& settings) {
        return std::make_unique<IdleWriter>(path, settings, [] { return std::make_unique<IdleEncoder>(); });
    };
    const std::string path = temporaryFilm();
    const auto secondsBy = [&](int workers) {
        return timesOf([&] { exportDocument(document, path, {.composites = way.composites, .workers = workers}, options); }).wallSeconds;
    };
    std::vector<double> one, two;
    for (int run = 0; run < runs; ++run) {
        one.push_back(secondsBy(1));
        two.push_back(secondsBy(2));
    }
    std::filesystem::remove(path);
    std::printf("%-8s drawing   one worker %6.2f s   two %6.2f s   ratio %.2f\n", std::string(bench.name).c_str(), median(one), median(two),
                median(one) / median(two));
    std::fflush(stdout);
}

} // namespace

int main(int count, char** arguments)
{
    int runs = 3;
    Way way;
    bool memory = false, scaling = false;
    std::vector<std::string> names;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--runs" && i + 1 < count)
            runs = std::max(std::atoi(arguments[++i]), 1);
        else if (argument == "--workers" && i + 1 < count)
            way.workers = std::max(std::atoi(arguments[++i]), 0);
        else if (argument == "--exporter" && i + 1 < count)
            way.composites = std::string(arguments[++i]) == "gpu";
        else if (argument == "--memory")
            memory = true;
        else if (argument == "--scaling")
            scaling = true;
        else
            names.push_back(argument);
    }
    if (names.empty()) names = {"cards", "still", "multi"};

    for (const BenchDocument& bench : benchDocuments()) {
        if (std::ranges::find(names, bench.name) == names.end()) continue;
        if (memory)
            printMemory(bench, way);
        else if (scaling)
            printScaling(bench, runs, way);
        else
            printRatio(bench, runs, way);
    }
}
