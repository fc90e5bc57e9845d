#include "shell/scene_pictures.h"

#include "shell/hand_run_tasks.h"

#include <gtest/gtest.h>

#include <future>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace larkspool {
namespace {

constexpr CGSize strip{4, 2};

TweenScene sceneNamed(const char* name)
{
    return {.id = UUID::random(), .name = SharedString(name)};
}

/// A picture that can be told from all others by its address.
ImageRef anyPicture()
{
    return makeImage(PixelBuffer(4, 2));
}

class ScenePicturesTest : public testing::Test {
protected:
    /// The scenes as they are now.
    void update() { pictures->update({a, b}, strip); }
    ImageRef picture(const TweenScene& scene) const { return pictures->picture(scene.id); }

    TweenScene a = sceneNamed("A"), b = sceneNamed("B");
    HandRunTasks tasks;
    std::vector<std::string> drawn; ///< The names of the scenes.
    int arrived = 0;
    std::unique_ptr<ScenePictures> pictures = std::make_unique<ScenePictures>(
        tasks.tasks(), [this] { ++arrived; },
        [this](const TweenScene& scene, CGSize) {
            drawn.push_back(scene.name->string());
            return anyPicture();
        });
};

TEST_F(ScenePicturesTest, AreDrawnOneAfterTheOtherOnAnotherThread)
{
    update();
    EXPECT_EQ(picture(a), nullptr);
    EXPECT_TRUE(drawn.empty()) << "nothing is drawn by who asks";
    tasks.work();
    EXPECT_EQ(picture(a), nullptr) << "nothing comes but by the main thread";
    EXPECT_EQ(tasks.waitingWork(), 0u) << "one at a time";
    tasks.drain();
    EXPECT_NE(picture(a), nullptr);
    EXPECT_EQ(arrived, 1);
    tasks.workAndDrain();
    EXPECT_EQ(drawn, (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(arrived, 2);
    update();
    EXPECT_EQ(tasks.waitingWork(), 0u) << "both are up to date";
}

TEST_F(ScenePicturesTest, ASlowDrawingHoldsNobodyUp)
{
    std::promise<void> slow;
    std::thread worker;
    std::promise<std::function<void()>> answer;
    pictures = std::make_unique<ScenePictures>(
        Tasks{.detach = [&](std::function<void()> work) { worker = std::thread(std::move(work)); },
              .onMain = [&](std::function<void()> step) { answer.set_value(std::move(step)); }},
        [this] { ++arrived; },
        [ready = slow.get_future().share()](const TweenScene&, CGSize) {
            ready.wait();
            return anyPicture();
        });
    pictures->update({a}, strip); // Would not come back if it waited.
    pictures->update({a}, strip);
    EXPECT_EQ(picture(a), nullptr);
    slow.set_value();
    answer.get_future().get()();
    EXPECT_NE(picture(a), nullptr);
    EXPECT_EQ(arrived, 1);
    worker.join();
}

TEST_F(ScenePicturesTest, TheOldPictureStaysUntilTheNewOneIsThere)
{
    update();
    tasks.workAndDrain();
    tasks.workAndDrain();
    const ImageRef before = picture(a);
    a.name = SharedString("A changed");
    EXPECT_FALSE(pictures->isUpToDate(a, strip));
    update();
    EXPECT_EQ(picture(a), before);
    tasks.work();
    EXPECT_EQ(picture(a), before);
    tasks.drain();
    EXPECT_NE(picture(a), before);
    EXPECT_TRUE(pictures->isUpToDate(a, strip));
}

TEST_F(ScenePicturesTest, OfChangesThatFollowOneAnotherTheLastIsDrawn)
{
    update();
    tasks.work();
    for (const char* name : {"A1", "A2", "A3"}) {
        a.name = SharedString(name);
        update();
    }
    tasks.drain();
    EXPECT_NE(picture(a), nullptr) << "as it was, which is more than nothing";
    while (tasks.waitingWork() > 0) tasks.workAndDrain();
    EXPECT_EQ(drawn, (std::vector<std::string>{"A", "B", "A3"})) << "what has no picture goes first";
    EXPECT_TRUE(pictures->isUpToDate(a, strip));
}

TEST_F(ScenePicturesTest, AnotherSizeIsDrawnAnew)
{
    update();
    tasks.workAndDrain();
    tasks.workAndDrain();
    EXPECT_FALSE(pictures->isUpToDate(a, {8, 4}));
    pictures->update({a}, {8, 4});
    tasks.workAndDrain();
    EXPECT_TRUE(pictures->isUpToDate(a, {8, 4}));
}

TEST_F(ScenePicturesTest, NothingComesForASceneThatIsGone)
{
    update();
    tasks.work();
    pictures->update({b}, strip);
    tasks.drain();
    EXPECT_EQ(picture(a), nullptr);
    EXPECT_EQ(arrived, 0);
    tasks.workAndDrain();
    EXPECT_NE(picture(b), nullptr);
    pictures->update({}, strip);
    EXPECT_EQ(picture(b), nullptr) << "nothing is kept of it";
}

TEST_F(ScenePicturesTest, NothingComesAfterTheStripIsGone)
{
    struct Case {
        const char* when;
        bool hasBegun;
    };
    for (const Case& c : {Case{"while it is drawn", true}, Case{"before it is", false}}) {
        SCOPED_TRACE(c.when);
        drawn.clear();
        auto gone = std::make_unique<ScenePictures>(
            tasks.tasks(), [this] { ++arrived; },
            [this](const TweenScene& scene, CGSize) {
                drawn.push_back(scene.name->string());
                return anyPicture();
            });
        gone->update({a}, strip);
        if (c.hasBegun) tasks.work();
        gone.reset();
        if (!c.hasBegun) tasks.work();
        tasks.drain();
        EXPECT_EQ(drawn.size(), c.hasBegun ? 1u : 0u);
        EXPECT_EQ(arrived, 0);
        EXPECT_EQ(tasks.waitingWork(), 0u);
    }
}

TEST_F(ScenePicturesTest, ASceneThatCannotBeDrawnIsTriedOnceAndKeepsItsPicture)
{
    int calls = 0;
    pictures = std::make_unique<ScenePictures>(
        tasks.tasks(), [this] { ++arrived; },
        [&](const TweenScene&, CGSize) -> ImageRef {
            ++calls;
            if (calls == 2) throw std::bad_alloc();
            return calls == 1 ? anyPicture() : nullptr;
        });
    pictures->update({a}, strip);
    tasks.workAndDrain();
    const ImageRef first = picture(a);
    for (const char* name : {"no memory", "no picture"}) {
        a.name = SharedString(name);
        pictures->update({a}, strip);
        tasks.workAndDrain();
        pictures->update({a}, strip);
        EXPECT_EQ(tasks.waitingWork(), 0u) << name;
        EXPECT_EQ(picture(a), first) << name;
    }
    EXPECT_EQ(calls, 3);
}

TEST(MiddleOfScene, IsTheFilmAtHalfOfTheScene)
{
    // A box is there in the second half of the first second alone, and a scene of 1.5 s has its middle in there.
    TweenScene scene{.id = UUID::random(), .width = 4, .height = 2, .duration = 1.5};
    scene.layers = {
        Layer{.id = UUID::random(), .fill = ColorRGBA{1, 0, 0, 1}, .size = {4, 2}, .spans = {TimeSpan{.start = 0.5, .end = 1}}}};
    const ImageRef picture = middleOfScene(scene, strip);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->size(), strip);
    const std::uint8_t* pixel = picture->pixels().data();
    EXPECT_EQ(std::vector<int>(pixel, pixel + 4), (std::vector{0, 0, 255, 255})) << "blue, green, red, alpha";
    EXPECT_EQ(middleOfScene(scene, {0, 2}), nullptr);
}

} // namespace
} // namespace larkspool
