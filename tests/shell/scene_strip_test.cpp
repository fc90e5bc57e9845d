#include "shell/scene_strip.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TweenDocument threeScenes()
{
    TweenDocument document;
    document.scenes = {};
    for (const char* name : {"A", "B", "C"}) {
        TweenScene scene;
        scene.id = UUID::random();
        scene.name = name;
        document.scenes.append(scene);
    }
    return document;
}

TEST(SceneStrip, DurationsAreKeptInTenthsWithinTheirLimits)
{
    struct Case { double typed, kept; };
    for (const Case& c : {Case{7, 5}, Case{5, 5}, Case{0.04, 0.1}, Case{1.26, 1.3}, Case{4.97, 5.0}, Case{-2, 0.1}})
        EXPECT_DOUBLE_EQ(SceneStrip::keptTransitionDuration(c.typed), c.kept) << c.typed;
}

TEST(SceneStrip, AKindIsChosenWithHalfASecondAndKeepsTheDurationFromThen)
{
    TweenDocument document = threeScenes();
    SceneStrip::chooseTransition(document, 0, SceneTransition::Kind::fade);
    EXPECT_EQ(document.scenes[0].transition->duration, 0.5);
    EXPECT_EQ(SceneStrip::transitionText(document.scenes[0]), "0.50s");
    SceneStrip::setTransitionDuration(document, 0, 1.26);
    SceneStrip::chooseTransition(document, 0, SceneTransition::Kind::zoom);
    EXPECT_EQ(document.scenes[0].transition, (SceneTransition{.kind = SceneTransition::Kind::zoom, .duration = 1.3}));
    SceneStrip::chooseTransition(document, 0, std::nullopt);
    EXPECT_EQ(document.scenes[0].transition, std::nullopt);
    EXPECT_EQ(SceneStrip::transitionText(document.scenes[0]), "No transition");
}

TEST(SceneStrip, TheLastSceneIsJoinedToNothing)
{
    TweenDocument document = threeScenes();
    const TweenDocument before = document;
    for (const std::int64_t index : {std::int64_t{2}, std::int64_t{-1}, std::int64_t{9}}) {
        SceneStrip::chooseTransition(document, index, SceneTransition::Kind::fade);
        SceneStrip::setTransitionDuration(document, index, 1);
    }
    EXPECT_EQ(document, before);
}

TEST(SceneStrip, AnEmptyNameBringsTheNumberedOneBack)
{
    TweenDocument document = threeScenes();
    SceneStrip::renameScene(document, 1, "  Intro ");
    EXPECT_EQ(document.scenes[1].displayName(1), "Intro");
    SceneStrip::renameScene(document, 1, "");
    EXPECT_EQ(document.scenes[1].displayName(1), TweenScene().displayName(1));
}

TEST(SceneStrip, ADroppedChipComesToThePlaceOfTheOneUnderIt)
{
    TweenDocument document = threeScenes();
    document.moveScene(0, SceneStrip::dropIndex(0, 2));
    EXPECT_EQ(document.scenes[2].name, "A");
    document.moveScene(2, SceneStrip::dropIndex(2, 0));
    EXPECT_EQ(document.scenes[0].name, "A");
    const TweenDocument before = document;
    document.moveScene(1, SceneStrip::dropIndex(1, 1));
    EXPECT_EQ(document, before) << "onto itself";
}

TEST(SceneStrip, TheOnlySceneCannotBeDeleted)
{
    TweenDocument document = threeScenes();
    EXPECT_TRUE(SceneStrip::canDelete(document));
    document.deleteScene(0);
    document.deleteScene(0);
    EXPECT_FALSE(SceneStrip::canDelete(document));
}

TEST(SceneStrip, MusicThatIsReplacedLeavesItsVolume)
{
    TweenDocument document = threeScenes();
    SceneStrip::setMusic(document, "file:///a.wav", "a.wav");
    EXPECT_EQ(document.audio, (DocumentAudio{.urlString = "file:///a.wav", .volume = 1, .displayName = "a.wav"}));
    document.audio->volume = 0.4;
    SceneStrip::setMusic(document, "file:///b.wav", "b.wav");
    EXPECT_EQ(document.audio, (DocumentAudio{.urlString = "file:///b.wav", .volume = 0.4, .displayName = "b.wav"}));
}

TEST(SceneStrip, MusicKeepsTheBookmarkThatItWasChosenWith)
{
    TweenDocument document = threeScenes();
    const Bytes bookmark(std::vector<std::uint8_t>{1, 2, 3});
    SceneStrip::setMusic(document, "file:///a.wav", "a.wav", bookmark);
    EXPECT_EQ(document.audio->bookmark, bookmark);
    SceneStrip::setMusic(document, "file:///b.wav", "b.wav");
    EXPECT_EQ(document.audio->bookmark, std::nullopt) << "that of another file leads nowhere";
}

} // namespace
} // namespace larkspool
