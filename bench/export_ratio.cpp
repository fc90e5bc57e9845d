// Exports documents and prints the time of each as a ratio to the encoder alone on the very same pictures, held in memory. Both
// are medians of runs that take turns.
//
//     bench_export_ratio [--runs N] [--memory] [NAME ...]        cards and still, where none is named
//
// With --memory it prints instead how much memory an export takes at its peak above that of the encoder alone, each in a process
// of its own, for the document as it is and drawn out to twelve times its length.
#include "bench_scenes.h"
#include "encoder_floor.h"
#include "export/exporter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace larkspool;

/// Takes pictures in for the encoder alone to encode.
class CapturingWriter final : public AssetWriter {
public:
    CapturingWriter(std::string path, const FilmSettings& settings, PlanarFilm& film)
        : path_(std::move(path)), settings_(settings), film_(film)
    {
    }

    bool startWriting() override { return static_cast<bool>(std::ofstream(path_)); } // An empty file, to take the film's name.
    std::shared_ptr<PixelBuffer> nextPixelBuffer() override { return std::make_shared<PixelBuffer>(settings_.width, settings_.height); }
    bool append(std::shared_ptr<PixelBuffer> picture, std::int64_t) override
    {
        film_.append(*picture);
        return true;
    }
    bool appendRepeat(std::int64_t) override
    {
        film_.appendRepeat();
        return true;
    }
    bool finishWriting() override { return true; }
    std::optional<PlatformError> error() const override { return std::nullopt; }

private:
    std::string path_;
    FilmSettings settings_;
    PlanarFilm& film_;
};

std::string temporaryFilm()
{
    return (std::filesystem::temp_directory_path() / ("larkspool-bench-" + UUID::random().string() + ".mp4")).string();
}

void exportDocument(const TweenDocument& document, const std::string& path, const Exporter::ExportOptions& options)
{
    if (document.scenes.size() == 1)
        Exporter::exportMP4(document.scenes[0], path, 0, std::nullopt, {}, options);
    else
        Exporter::exportMP4(document.scenes, path, std::nullopt, {}, options);
}

PlanarFilm capturedFilm(const TweenDocument& document)
{
    const TweenScene& first = document.scenes[0];
    PlanarFilm film(static_cast<int>(first.width), static_cast<int>(first.height), static_cast<int>(first.fps));
    Exporter::ExportOptions options;
    options.makeWriter = [&film](const std::string& path, const FilmSettings& settings) {
        return std::make_unique<CapturingWriter>(path, settings, film);
    };
    const std::string path = temporaryFilm();
    exportDocument(document, path, options);
    std::filesystem::remove(path);
    return film;
}

double secondsOf(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return values[values.size() / 2];
}

double exportSeconds(const TweenDocument& document)
{
    const std::string path = temporaryFilm();
    const double seconds = secondsOf([&] { exportDocument(document, path, {}); });
    std::filesystem::remove(path);
    return seconds;
}

void printRatio(const BenchDocument& bench, int runs)
{
    const TweenDocument document = bench.make();
    const PlanarFilm film = capturedFilm(document);
    std::vector<double> floors, exports;
    for (int run = 0; run < runs; ++run) {
        floors.push_back(encodeAlone(film).wallSeconds);
        exports.push_back(exportSeconds(document));
    }
    std::printf("%-8s %5lld frames, %4lld of them distinct   encoder alone %6.2f s   export %6.2f s   ratio %.3f\n",
                std::string(bench.name).c_str(), static_cast<long long>(film.frameCount()),
                static_cast<long long>(film.distinctFrameCount()), median(floors), median(exports), median(exports) / median(floors));
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

void printMemory(const BenchDocument& bench)
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
        const double peak = peakMegabytes([&] { exportSeconds(document); });
        std::printf("%-8s %6.1f s of film   encoder alone %6.1f MB   export %6.1f MB   above it %6.1f MB\n", std::string(bench.name).c_str(),
                    document.totalDuration(), floor, peak, peak - floor);
        std::fflush(stdout);
    }
}

} // namespace

int main(int count, char** arguments)
{
    int runs = 3;
    bool memory = false;
    std::vector<std::string> names;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--runs" && i + 1 < count)
            runs = std::max(std::atoi(arguments[++i]), 1);
        else if (argument == "--memory")
            memory = true;
        else
            names.push_back(argument);
    }
    if (names.empty()) names = {"cards", "still"};

    for (const BenchDocument& bench : benchDocuments()) {
        if (std::ranges::find(names, bench.name) == names.end()) continue;
        if (memory)
            printMemory(bench);
        else
            printRatio(bench, runs);
    }
}
