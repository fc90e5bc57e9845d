#include "document/tween_document.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t bytesAllocated = 0;

} // namespace

// Every allocation of this program is counted, so that a test can ask what an operation allocates. Not inlined: a compiler that
// sees through one of a pair takes it for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size)
{
    bytesAllocated += size;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace larkspool {
namespace {

constexpr std::size_t imageSize = 20'000'000;

TweenScene bigScene()
{
    TweenScene scene;
    for (int i = 0; i < 1000; ++i)
        scene.layers.append(Layer{.name = "a name too long to be kept within a string object", .keyframes = {Keyframe{}}});
    scene.layers.edit()[0].imageData = Bytes(std::vector<std::uint8_t>(imageSize, 7));
    return scene;
}

TEST(Sharing, CopyingABigSceneAllocatesNothing)
{
    const TweenScene scene = bigScene();

    bytesAllocated = 0;
    const TweenScene copy = scene;
    EXPECT_EQ(bytesAllocated, 0u);
    EXPECT_EQ(copy, scene);
}

TEST(Sharing, CopyingALayerAllocatesNothing)
{
    const TweenScene scene = bigScene();

    bytesAllocated = 0;
    const Layer copy = scene.layers[0];
    EXPECT_EQ(bytesAllocated, 0u);
    EXPECT_EQ(copy, scene.layers[0]);
}

TEST(Sharing, ChangingOneLayerOfACopyLeavesTheImageBytesShared)
{
    const TweenScene scene = bigScene();
    TweenScene copy = scene;

    bytesAllocated = 0;
    copy.layers.edit()[0].opacity = 0.5;
    EXPECT_LT(bytesAllocated, 1001 * sizeof(void*) + 2 * sizeof(Layer)) << "the list of pointers and one layer are copied";
    EXPECT_TRUE(copy.layers[0].imageData->sharesStorageWith(*scene.layers[0].imageData));
    EXPECT_TRUE(copy.layers[5].keyframes.sharesStorageWith(scene.layers[5].keyframes));
    EXPECT_EQ(scene.layers[0].opacity, 1);
}

} // namespace
} // namespace larkspool
