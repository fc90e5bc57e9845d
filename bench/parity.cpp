// Draws the frames of documents by both exporters' ways and prints, for each document, the worst frame: its peak signal-to-noise
// ratio, and the greatest difference of a channel. With --check, each frame is also composited from nothing, and must be the one
// that grew from frame to frame.
//
//     bench_parity [--every N] [--check] [--write FOLDER] NAME|FILE ...
//
// --write leaves the worst frames as pictures: reference, composited, and their difference.
#include "bench_scenes.h"
#include "document/file_format.h"
#include "platform/file_io.h"
#include "platform/png_writer.h"
#include "rendering/frame_composition.h"
#include "rendering/retained/compositing_renderer.h"
#include "rendering/retained/scene_layer.h"
#include "rendering/video_export_readers.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace larkspool;

struct Options {
    int every = 1;
    bool check = false;
    std::string folder;
    std::vector<std::string> documents;
};

/// Pixels that are off by more are counted.
constexpr int muchOff = 48;

struct Difference {
    double psnr = INFINITY;
    int greatest = 0;
    int x = 0, y = 0; ///< Of the greatest.
    int muchOffPixels = 0;
};

Difference differenceOf(const PixelBuffer& a, const PixelBuffer& b)
{
    Difference result;
    double squares = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            int greatest = 0;
            for (int channel = 0; channel < 3; ++channel) {
                const int difference = std::abs(a.row(y)[4 * x + channel] - b.row(y)[4 * x + channel]);
                squares += static_cast<double>(difference) * difference;
                greatest = std::max(greatest, difference);
            }
            if (greatest > muchOff) ++result.muchOffPixels;
            if (greatest <= result.greatest) continue;
            result.greatest = greatest;
            result.x = x;
            result.y = y;
        }
    const double mean = squares / (3.0 * a.width() * a.height());
    result.psnr = mean > 0 ? 10 * std::log10(255.0 * 255.0 / mean) : INFINITY;
    return result;
}

bool areEqual(const PixelBuffer& a, const PixelBuffer& b)
{
    for (int y = 0; y < a.height(); ++y)
        if (std::memcmp(a.row(y), b.row(y), static_cast<std::size_t>(a.width()) * 4) != 0) return false;
    return true;
}

struct Worst {
    Difference difference;
    std::string where;
};

class Pair {
public:
    explicit Pair(const TweenScene& scene)
        : scene_(scene),
          reference(static_cast<std::int64_t>(scene.width), static_cast<std::int64_t>(scene.height)),
          composited(static_cast<std::int64_t>(scene.width), static_cast<std::int64_t>(scene.height)),
          renderer_(makeSoftwareRenderer())
    {}

    void draw(double time)
    {
        const EvaluatedFrame frame = evaluateFrame(scene_, time);
        Exporter::drawFrame(frame, *makeRasterContext(reference), Exporter::sizeOf(reference));
        const CompositingNode root = ExporterGPU::buildSceneLayer(frame, composited.width(), composited.height());
        renderer_->render(root, composited);
    }

    bool isAsFromNothing(double time)
    {
        PixelBuffer fresh(composited.width(), composited.height());
        makeSoftwareRenderer()->render(ExporterGPU::buildSceneLayer(scene_, time, fresh.width(), fresh.height()), fresh);
        return areEqual(fresh, composited);
    }

private:
    const TweenScene& scene_;

public:
    PixelBuffer reference, composited;

private:
    std::unique_ptr<CompositingRenderer> renderer_;
};

void writePicture(const std::string& path, const PixelBuffer& pixels)
{
    replaceFileAtomically(path, encodePng(pixels));
}

void writePictures(const std::string& stem, const TweenScene& scene, double time)
{
    Pair pair(scene);
    pair.draw(time);
    PixelBuffer difference(pair.reference.width(), pair.reference.height());
    for (int y = 0; y < difference.height(); ++y)
        for (int x = 0; x < difference.width() * 4; ++x)
            difference.row(y)[x] = x % 4 == 3 ? 255
                                              : static_cast<std::uint8_t>(std::min(
                                                    4 * std::abs(pair.reference.row(y)[x] - pair.composited.row(y)[x]), 255));
    writePicture(stem + "-reference.png", pair.reference);
    writePicture(stem + "-composited.png", pair.composited);
    writePicture(stem + "-difference.png", difference);
}

void compare(const std::string& name, const TweenDocument& document, const Options& options)
{
    Worst quality, channel;
    int frames = 0, unequal = 0, muchOffPixels = 0;
    std::size_t number = 0;
    const TweenScene* worstScene = nullptr;
    double worstTime = 0;
    for (const TweenScene& scene : document.scenes) {
        Pair pair(scene);
        const int count = std::max(static_cast<int>(std::lround(scene.duration * static_cast<double>(scene.fps))), 1);
        for (int i = 0; i < count; i += options.every) {
            const double time = i / static_cast<double>(scene.fps);
            pair.draw(time);
            const Difference difference = differenceOf(pair.reference, pair.composited);
            muchOffPixels += difference.muchOffPixels;
            const std::string where = "scene " + std::to_string(number) + " frame " + std::to_string(i);
            if (difference.psnr < quality.difference.psnr) quality = {difference, where};
            if (difference.greatest > channel.difference.greatest) {
                channel = {difference, where};
                worstScene = &scene;
                worstTime = time;
            }
            if (options.check && !pair.isAsFromNothing(time)) {
                if (unequal == 0) std::printf("%s: %s is not the frame composited from nothing\n", name.c_str(), where.c_str());
                ++unequal;
            }
            ++frames;
        }
        ++number;
    }
    std::printf(
        "%-22s %5d frames   worst %6.2f dB (%s)   greatest difference %3d at %d, %d (%s), %d pixels off by more than %d%s\n",
        name.c_str(), frames, quality.difference.psnr, quality.where.c_str(), channel.difference.greatest, channel.difference.x,
        channel.difference.y, channel.where.c_str(), muchOffPixels, muchOff,
        unequal > 0 ? ("   " + std::to_string(unequal) + " frames depend on those before").c_str() : "");
    std::fflush(stdout);
    if (!options.folder.empty() && worstScene) writePictures(options.folder + "/" + name, *worstScene, worstTime);
}

void compareNamed(const std::string& name, const Options& options)
{
    for (const BenchDocument& bench : benchDocuments())
        if (bench.name == name) return compare(name, bench.make(), options);
    const std::size_t slash = name.rfind('/');
    const std::string stem = name.substr(slash == std::string::npos ? 0 : slash + 1);
    compare(stem.substr(0, stem.rfind('.')), decodeDocument(readWholeFile(name)), options);
}

Options parsed(int count, char** arguments)
{
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--check")
            options.check = true;
        else if (argument == "--every" && i + 1 < count)
            options.every = std::max(std::atoi(arguments[++i]), 1);
        else if (argument == "--write" && i + 1 < count)
            options.folder = arguments[++i];
        else
            options.documents.push_back(argument);
    }
    return options;
}

} // namespace

int main(int count, char** arguments)
{
    const Options options = parsed(count, arguments);
    // Off the main thread, where no result of evaluation is kept, as in an export.
    std::thread([&] {
        for (const std::string& name : options.documents) compareNamed(name, options);
        resetActiveVideoExportReaders();
    }).join();
}
