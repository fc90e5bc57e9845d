// Draws every frame of documents on one core and prints the mean time of evaluating and of drawing one, and how the drawing
// compares with filling the frame once. Times are of the processor, so that what else runs beside matters less.
//
//     bench_drawing [--exporter cpu|gpu] [--buffers N] [NAME ...]        all single-scene documents, where none is named
//     bench_drawing --canvas [NAME ...]
//
// The second exporter draws into N frames' memory by turns, 1 if not given, and passes over frames equal to the one before. The
// canvas is the editor's, in a view of 1600 x 900 that the scene fits; its drawing holds its evaluation.
#include "bench_scenes.h"
#include "rendering/frame_composition.h"
#include "rendering/live_canvas.h"
#include "rendering/retained/compositing_renderer.h"
#include "rendering/retained/scene_layer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace larkspool;

struct Options {
    bool composites = false;
    bool isCanvas = false;
    int buffers = 1;
    std::vector<std::string> names;
};

/// Milliseconds that this thread has worked.
double worked()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

double fillMilliseconds(PixelBuffer& picture)
{
    constexpr int runs = 50;
    const auto context = makeRasterContext(picture);
    context->setFillColor({0.9, 0.9, 0.9, 1});
    const double start = worked();
    for (int i = 0; i < runs; ++i) context->fillRect({{0, 0}, {picture.width() * 1.0, picture.height() * 1.0}});
    return (worked() - start) / runs;
}

/// Draws frames one after the other.
class FrameDrawing {
public:
    FrameDrawing(CGSize size, const Options& options) : composites_(options.composites)
    {
        for (int i = 0; i < (composites_ ? options.buffers : 1); ++i)
            pictures_.emplace_back(static_cast<std::int64_t>(size.width), static_cast<std::int64_t>(size.height));
    }

    PixelBuffer& picture() { return pictures_.front(); }

    void draw(const EvaluatedFrame& frame)
    {
        if (!composites_) return Exporter::drawFrame(frame, *makeRasterContext(picture()), Exporter::sizeOf(picture()));
        if (last_ && !frame.movesByItself && *last_ == frame) return;
        std::rotate(pictures_.begin(), pictures_.begin() + 1, pictures_.end());
        renderer_->render(ExporterGPU::buildSceneLayer(frame, picture().width(), picture().height()), picture());
        last_ = frame;
    }

private:
    bool composites_;
    std::deque<PixelBuffer> pictures_;
    std::unique_ptr<CompositingRenderer> renderer_ = makeSoftwareRenderer();
    std::optional<EvaluatedFrame> last_;
};

void printDrawing(const BenchDocument& bench, const Options& options)
{
    const TweenScene scene = bench.make().scenes[0];
    FrameDrawing drawing(scene.size(), options);
    const auto frames = static_cast<int>(scene.duration * static_cast<double>(scene.fps));
    double evaluating = 0, painting = 0, slowest = 0;
    for (int i = 0; i < frames; ++i) {
        const double start = worked();
        const EvaluatedFrame frame = evaluateFrame(scene, i / static_cast<double>(scene.fps));
        const double evaluated = worked();
        drawing.draw(frame);
        const double drawn = worked();
        evaluating += evaluated - start;
        painting += drawn - evaluated;
        slowest = std::max(slowest, drawn - evaluated);
    }
    const double mean = painting / frames;
    std::printf("%-8s evaluate %6.3f ms   draw %7.3f ms a frame, slowest %7.3f ms   %5.1f fills of the frame\n",
                std::string(bench.name).c_str(), evaluating / frames, mean, slowest, mean / fillMilliseconds(drawing.picture()));
    std::fflush(stdout);
}

/// On the main thread, where results of evaluation are kept, as in the editor.
void printCanvas(const BenchDocument& bench)
{
    const TweenScene scene = bench.make().scenes[0];
    const CGSize view{1600, 900};
    const double scale = std::min(view.width / scene.width, view.height / scene.height);
    const CanvasRenderer::Placement placement{.scale = scale,
                                              .originX = (view.width - scene.width * scale) * 0.5,
                                              .originY = (view.height - scene.height * scale) * 0.5,
                                              .viewSize = view};
    PixelBuffer picture(1600, 900);
    const auto frames = static_cast<int>(scene.duration * static_cast<double>(scene.fps));
    double painting = 0, slowest = 0;
    for (int i = 0; i < frames; ++i) {
        const double start = worked();
        CanvasRenderer::paint(scene, i / static_cast<double>(scene.fps), placement, {}, *makeRasterContext(picture));
        const double painted = worked() - start;
        painting += painted;
        slowest = std::max(slowest, painted);
    }
    const double mean = painting / frames;
    std::printf("%-8s canvas %7.3f ms a redraw, slowest %7.3f ms   %5.1f fills of the view\n", std::string(bench.name).c_str(), mean,
                slowest, mean / fillMilliseconds(picture));
    std::fflush(stdout);
}

Options parsed(int count, char** arguments)
{
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument == "--exporter" && i + 1 < count)
            options.composites = std::string(arguments[++i]) == "gpu";
        else if (argument == "--canvas")
            options.isCanvas = true;
        else if (argument == "--buffers" && i + 1 < count)
            options.buffers = std::max(std::atoi(arguments[++i]), 1);
        else
            options.names.push_back(argument);
    }
    return options;
}

} // namespace

int main(int count, char** arguments)
{
    const Options options = parsed(count, arguments);
    const auto forEachWanted = [&](const auto& print) {
        for (const BenchDocument& bench : benchDocuments())
            if (options.names.empty() ? bench.name != "multi"
                                      : std::ranges::find(options.names, bench.name) != options.names.end())
                print(bench);
    };
    if (options.isCanvas) {
        forEachWanted(printCanvas);
        return 0;
    }
    // Off the main thread, where no result of evaluation is kept, as in an export.
    std::thread([&] { forEachWanted([&](const BenchDocument& bench) { printDrawing(bench, options); }); }).join();
}
