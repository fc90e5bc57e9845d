#include "app/program.h"
#include "app/scratch_folder.h"
#include "document/file_format.h"
#include "platform/file_io.h"
#include "rendering/frame_composition.h"
#include "support/film_probe.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

constexpr const char* examples = LARKSPOOL_SOURCE_FOLDER "/examples/";

/// One frame of an example, and what it was found to look like.
struct Frame {
    const TweenScene* scene = nullptr;
    double time = 0;
    std::size_t hash = 0;
};

std::size_t pixelHash(const PixelBuffer& picture)
{
    std::string pixels;
    for (int y = 0; y < picture.height(); ++y)
        pixels.append(reinterpret_cast<const char*>(picture.row(y)), static_cast<std::size_t>(picture.width()) * 4);
    return std::hash<std::string>()(pixels);
}

/// At a third of the scene's size, where edges fall between pixels.
std::size_t hashOf(const Frame& frame)
{
    return pixelHash(*Exporter::renderSceneToImage(*frame.scene, frame.time, {frame.scene->width / 3, frame.scene->height / 3}));
}

/// Some frames of every scene, in the order of the film.
std::vector<Frame> framesOf(const TweenDocument& document)
{
    constexpr int framesOfScene = 5;
    std::vector<Frame> frames;
    for (const TweenScene& scene : document.scenes)
        for (int i = 0; i < framesOfScene; ++i) frames.push_back({&scene, scene.duration * i / framesOfScene});
    return frames;
}

void hashInAnyOrder(std::vector<Frame>& frames, unsigned seed)
{
    std::vector<Frame*> order;
    for (Frame& frame : frames) order.push_back(&frame);
    std::shuffle(order.begin(), order.end(), std::mt19937(seed));
    for (Frame* frame : order) frame->hash = hashOf(*frame);
}

TEST(AFrame, IsTheSameInAnyOrderAndOnAnyThread)
{
    for (const char* name : {"gallery.larkspool", "tour.larkspool", "effects-and-easing.larkspool"}) {
        SCOPED_TRACE(name);
        const TweenDocument document = decodeDocument(readWholeFile(std::string(examples) + name));
        std::vector<Frame> expected = framesOf(document);
        for (Frame& frame : expected) frame.hash = hashOf(frame);
        EXPECT_NE(expected.front().hash, expected.back().hash) << "the film moves";

        std::vector<std::vector<Frame>> found(3, framesOf(document));
        {
            std::vector<std::jthread> threads;
            for (unsigned i = 0; i < found.size(); ++i)
                threads.emplace_back([&frames = found[i], i] { hashInAnyOrder(frames, i); });
        }
        for (const std::vector<Frame>& frames : found)
            for (std::size_t i = 0; i < frames.size(); ++i) EXPECT_EQ(frames[i].hash, expected[i].hash) << "frame " << i;
    }
}

TEST(AFrame, IsTheSameInEveryProcess)
{
    const ScratchFolder folder;
    const std::string path = std::string(examples) + "gallery.larkspool";
    const TweenDocument document = decodeDocument(readWholeFile(path));
    const TweenScene& scene = document.scenes.front();
    for (const double time : {4.5, 1.25}) {
        SCOPED_TRACE(time);
        const std::size_t expected = pixelHash(*Exporter::renderSceneToImage(scene, time, scene.size()));
        for (const char* picture : {"first.png", "second.png"}) {
            const ProgramResult result =
                runProgram({.arguments = {"frame", path, "--at", fmt::format("{}", time), "-o", folder.file(picture)}});
            ASSERT_EQ(result.status, 0) << result.error;
            EXPECT_EQ(pixelHash(decodedFrames(folder.file(picture)).at(0)), expected);
        }
        EXPECT_EQ(folder.read("first.png"), folder.read("second.png"));
    }
}

} // namespace
} // namespace larkspool
