#include "document/tween_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {
namespace {

/// A document with a scene for each name, the `active`th of which is shown.
TweenDocument documentWith(const std::vector<std::string>& names, std::int64_t active = 0)
{
    TweenDocument document;
    document.scenes = {};
    for (const std::string& name : names) document.scenes.append(TweenScene{.name = name});
    document.activeSceneIndex = active;
    return document;
}

std::vector<std::string> names(const TweenDocument& document)
{
    std::vector<std::string> list;
    for (std::size_t i = 0; i < document.scenes.size(); ++i) list.push_back(document.scenes[i].displayName(i));
    return list;
}

using testing::ElementsAre;

TEST(TweenDocument, ANewOneHasOneSceneOfTheDefaultSize)
{
    const TweenDocument document;
    EXPECT_EQ(document.version, 2);
    EXPECT_EQ(document.activeSceneIndex, 0);
    EXPECT_FALSE(document.audio);
    ASSERT_EQ(document.scenes.size(), 1u);

    const TweenScene& scene = document.scenes[0];
    EXPECT_NE(scene.id, UUID());
    EXPECT_FALSE(scene.name);
    EXPECT_EQ(scene.size(), (CGSize{1920, 1080}));
    EXPECT_EQ(scene.fps, 60);
    EXPECT_EQ(scene.duration, 5);
    EXPECT_EQ(scene.endPause, 0);
    EXPECT_EQ(scene.background, ColorRGBA::white);
    EXPECT_TRUE(scene.layers.empty());
    EXPECT_FALSE(scene.transition);
}

TEST(TweenDocument, TheTypeOfItsFilesIsNamed)
{
    EXPECT_EQ(TweenDocument::readableContentType, "com.quorbel.Larkspool.document");
}

TEST(TweenDocument, StartingScenesTakeAPresetWhoseSidesAreBothAboveZero)
{
    struct Case { const char* preset; std::optional<CGSize> size; CGSize expected; };
    for (const Case& c : {Case{"none", std::nullopt, {1920, 1080}},
                          Case{"whole", CGSize{1080, 1350}, {1080, 1350}},
                          Case{"no width", CGSize{0, 1080}, {1920, 1080}},
                          Case{"no height", CGSize{1080, 0}, {1920, 1080}},
                          Case{"negative", CGSize{-1, 1080}, {1920, 1080}}}) {
        SCOPED_TRACE(c.preset);
        const Array<TweenScene> scenes = TweenDocument::defaultStartingScenes(c.size);
        ASSERT_EQ(scenes.size(), 1u);
        EXPECT_EQ(scenes[0].size(), c.expected);
    }
}

TEST(TweenScene, AnEmptyOrMissingNameShowsAsANumber)
{
    EXPECT_EQ(TweenScene{}.displayName(0), "Scene 1");
    EXPECT_EQ((TweenScene{.name = ""}.displayName(2)), "Scene 3");
    EXPECT_EQ((TweenScene{.name = "Intro"}.displayName(2)), "Intro");
}

TEST(TweenDocument, TheActiveSceneIsReadAndWrittenAtTheClampedIndex)
{
    struct Case { std::int64_t index; const char* read; std::vector<std::string> written; };
    constexpr auto lowest = std::numeric_limits<std::int64_t>::min(), highest = std::numeric_limits<std::int64_t>::max();
    for (const Case& c : {Case{-4, "a", {"new", "b"}}, Case{0, "a", {"new", "b"}}, Case{1, "b", {"a", "new"}},
                          Case{99, "b", {"a", "new"}}, Case{lowest, "a", {"new", "b"}}, Case{highest, "b", {"a", "new"}}}) {
        SCOPED_TRACE(c.index);
        TweenDocument document = documentWith({"a", "b"}, c.index);
        EXPECT_EQ(*document.scene().name, c.read);
        document.setScene(TweenScene{.name = "new"});
        EXPECT_EQ(names(document), c.written);
        EXPECT_EQ(document.activeSceneIndex, c.index) << "left as it is stored";
    }
}

TEST(TweenDocument, WithoutScenesTheActiveOneIsFreshAndAWriteIsDropped)
{
    TweenDocument document = documentWith({});
    EXPECT_EQ(document.scene().size(), (CGSize{1920, 1080}));
    EXPECT_NE(document.scene().id, document.scene().id);
    document.setScene(TweenScene{.name = "lost"});
    EXPECT_TRUE(document.scenes.empty());
}

TEST(TweenDocument, DurationsAddUpWithoutTheEndPauses)
{
    TweenDocument document;
    document.scenes = {TweenScene{.duration = 2, .endPause = 10}, TweenScene{.duration = 3}, TweenScene{.duration = 4.5}};
    EXPECT_EQ(document.totalDuration(), 9.5);
    EXPECT_EQ(documentWith({}).totalDuration(), 0);

    struct Case { std::int64_t index; double start; };
    for (const Case& c : {Case{-1, 0}, Case{0, 0}, Case{1, 2}, Case{2, 5}, Case{3, 0}, Case{4, 0},
                          Case{std::numeric_limits<std::int64_t>::min(), 0}, Case{std::numeric_limits<std::int64_t>::max(), 0}}) {
        SCOPED_TRACE(c.index);
        EXPECT_EQ(document.sceneStartTime(c.index), c.start);
    }
}

TEST(TweenDocument, AnAddedSceneLooksLikeTheActiveOneButIsEmpty)
{
    TweenDocument document = documentWith({"a", "b", "c"}, 1);
    TweenScene active{.name = "b", .width = 800, .height = 600, .fps = 24, .duration = 7, .endPause = 2,
                      .background = ColorRGBA::black, .layers = {Layer{}}};
    active.transition = SceneTransition{.duration = 1};
    document.setScene(active);

    document.addScene();
    EXPECT_EQ(document.activeSceneIndex, 3);
    EXPECT_THAT(names(document), ElementsAre("a", "b", "c", "Scene 4"));
    const TweenScene added = document.scene();
    EXPECT_NE(added.id, active.id);
    EXPECT_FALSE(added.name);
    EXPECT_EQ(added.size(), (CGSize{800, 600}));
    EXPECT_EQ(added.fps, 24);
    EXPECT_EQ(added.duration, 7);
    EXPECT_EQ(added.endPause, 0);
    EXPECT_EQ(added.background, ColorRGBA::black);
    EXPECT_TRUE(added.layers.empty());
    EXPECT_FALSE(added.transition);
}

TEST(TweenDocument, ASceneCanBeAddedWhereThereIsNone)
{
    TweenDocument document = documentWith({}, 7);
    document.addScene();
    ASSERT_EQ(document.scenes.size(), 1u);
    EXPECT_EQ(document.activeSceneIndex, 0);
    EXPECT_EQ(document.scene().size(), (CGSize{1920, 1080}));
}

TEST(TweenDocument, AnAddedSceneFollowsTheClampedActiveOne)
{
    TweenDocument document = documentWith({"a", "b"}, 99);
    document.scenes.edit()[1].fps = 25;
    document.addScene();
    EXPECT_EQ(document.scene().fps, 25);
    EXPECT_EQ(document.activeSceneIndex, 2);
}

TEST(TweenDocument, DeletingKeepsTheActiveSceneOrTakesTheOneBefore)
{
    struct Case { const char* what; std::int64_t active, index; std::vector<std::string> left; std::int64_t activeAfter; };
    for (const Case& c : {Case{"one behind the active", 1, 2, {"a", "b"}, 1},
                          Case{"one before the active", 2, 0, {"b", "c"}, 1},
                          Case{"the active one", 1, 1, {"a", "c"}, 0},
                          Case{"the active one, first of all", 0, 0, {"b", "c"}, 0},
                          Case{"with an index stored too high", 99, 0, {"b", "c"}, 1},
                          Case{"the last, with an index stored too high", 99, 2, {"a", "b"}, 1},
                          Case{"with an index stored too low", -4, 2, {"a", "b"}, 0},
                          Case{"below the list", 1, -1, {"a", "b", "c"}, 1},
                          Case{"beyond the list", 1, 3, {"a", "b", "c"}, 1}}) {
        SCOPED_TRACE(c.what);
        TweenDocument document = documentWith({"a", "b", "c"}, c.active);
        document.deleteScene(c.index);
        EXPECT_EQ(names(document), c.left);
        EXPECT_EQ(document.activeSceneIndex, c.activeAfter);
    }
}

TEST(TweenDocument, TheLastSceneIsNeverDeleted)
{
    TweenDocument document = documentWith({"a"}, 5);
    const TweenDocument before = document;
    document.deleteScene(0);
    EXPECT_EQ(document, before);
}

TEST(TweenDocument, ADuplicateFollowsItsSourceAndBecomesActive)
{
    TweenDocument document = documentWith({"a", "b", "c"}, 1);
    document.scenes.edit()[1].layers = {Layer{.name = "box", .keyframes = {Keyframe{}}, .spans = {TimeSpan{}}}};
    document.scenes.edit()[1].transition = SceneTransition{.kind = SceneTransition::Kind::push, .duration = 2};
    document.duplicateActiveScene();

    EXPECT_THAT(names(document), ElementsAre("a", "b", "b Copy", "c"));
    EXPECT_EQ(document.activeSceneIndex, 2);
    EXPECT_NE(document.scenes[2].id, document.scenes[1].id);
    TweenScene renamed = document.scenes[2];
    renamed.id = document.scenes[1].id;
    renamed.name = "b";
    EXPECT_EQ(renamed, document.scenes[1]) << "the ids within stay";
}

TEST(TweenDocument, ADuplicatesNameComesFromTheStoredOneEvenIfThatIsEmpty)
{
    struct Case { std::optional<SharedString> name; const char *shown, *copied; };
    for (const Case& c : {Case{"", "Scene 3", " Copy"}, Case{std::nullopt, "Scene 3", "Scene 3 Copy"},
                          Case{"Intro", "Intro", "Intro Copy"}}) {
        SCOPED_TRACE(c.copied);
        TweenDocument document = documentWith({"a", "b", "c"}, 2);
        document.scenes.edit()[2].name = c.name;
        EXPECT_EQ(document.scenes[2].displayName(2), c.shown);
        document.duplicateActiveScene();
        EXPECT_EQ(*document.scenes[3].name, c.copied);
    }
}

TEST(TweenDocument, WithoutScenesNothingIsDuplicated)
{
    TweenDocument document = documentWith({}, 3);
    document.duplicateActiveScene();
    EXPECT_TRUE(document.scenes.empty());
    EXPECT_EQ(document.activeSceneIndex, 3);
}

TEST(TweenDocument, ASceneMovesToAnInsertionPointOfTheListAsItStands)
{
    struct Case { const char* what; std::int64_t from, to; std::vector<std::string> order; std::int64_t activeAfter; };
    for (const Case& c : {Case{"before itself", 1, 1, {"a", "b", "c"}, 1},
                          Case{"behind itself", 1, 2, {"a", "b", "c"}, 1},
                          Case{"to the end", 1, 3, {"a", "c", "b"}, 2},
                          Case{"first to the end", 0, 3, {"b", "c", "a"}, 0},
                          Case{"last to the start", 2, 0, {"c", "a", "b"}, 2},
                          Case{"far beyond the end", 0, 99, {"b", "c", "a"}, 0},
                          Case{"far before the start", 2, -99, {"c", "a", "b"}, 2},
                          Case{"last beyond the end", 2, 99, {"a", "b", "c"}, 1},
                          Case{"from below the list", -1, 2, {"a", "b", "c"}, 1},
                          Case{"from beyond the list", 3, 0, {"a", "b", "c"}, 1}}) {
        SCOPED_TRACE(c.what);
        TweenDocument document = documentWith({"a", "b", "c"}, 1);
        document.moveScene(c.from, c.to);
        EXPECT_EQ(names(document), c.order);
        EXPECT_EQ(document.activeSceneIndex, c.activeAfter);
    }
}

TEST(TweenDocument, AMoveThatChangesNothingLeavesTheStoredIndexToo)
{
    TweenDocument document = documentWith({"a", "b"}, 99);
    document.moveScene(0, 0);
    document.moveScene(0, 1);
    EXPECT_EQ(document.activeSceneIndex, 99);
    document.moveScene(0, 2);
    EXPECT_EQ(document.activeSceneIndex, 0) << "the scene that was read through 99 is now the first";
}

TEST(TweenDocument, MovingNothingInAnEmptyDocumentIsHarmless)
{
    TweenDocument document = documentWith({});
    document.moveScene(0, 0);
    document.moveScene(0, 1);
    EXPECT_TRUE(document.scenes.empty());
}

std::vector<std::string> letters(int count)
{
    std::vector<std::string> list;
    for (int i = 0; i < count; ++i) list.emplace_back(1, static_cast<char>('a' + i));
    return list;
}

TEST(TweenDocument, AMoveKeepsTheActiveSceneAndLosesNone)
{
    EXPECT_TRUE(rc::check([] {
        const int count = *rc::gen::inRange(1, 7);
        const auto anyIndex = rc::gen::inRange(-3, count + 4);
        TweenDocument document = documentWith(letters(count), *anyIndex);
        const std::int64_t from = *anyIndex, to = *anyIndex;
        const UUID active = document.scene().id;

        // The same move with a marker: put down at the insertion point, it stays there while the scene is taken out.
        std::vector<std::string> expected = letters(count);
        if (from >= 0 && from < count) {
            const std::string moved = std::exchange(expected[static_cast<std::size_t>(from)], "taken");
            expected.insert(expected.begin() + std::clamp<std::int64_t>(to, 0, count), moved);
            std::erase(expected, "taken");
        }

        document.moveScene(from, to);
        RC_ASSERT(names(document) == expected);
        RC_ASSERT(document.scene().id == active);
    }));
}

TEST(TweenDocument, DeletingTakesOneSceneAndKeepsTheActiveOneUnlessItIsThat)
{
    EXPECT_TRUE(rc::check([] {
        const int count = *rc::gen::inRange(2, 7);
        const int active = *rc::gen::inRange(0, count), index = *rc::gen::inRange(0, count);
        TweenDocument document = documentWith(letters(count), active);
        std::vector<std::string> expected = letters(count);
        expected.erase(expected.begin() + index);
        const std::string shown = active != index ? letters(count)[static_cast<std::size_t>(active)]
                                                  : expected[static_cast<std::size_t>(std::max(active - 1, 0))];

        document.deleteScene(index);
        RC_ASSERT(names(document) == expected);
        RC_ASSERT(document.scene().name->string() == shown);
    }));
}

TEST(TweenDocument, ACopyIsAnIndependentValue)
{
    const TweenDocument original = documentWith({"a", "b"});
    TweenDocument copy = original;
    copy.moveScene(0, 2);
    copy.scenes.edit()[0].layers.append(Layer{});
    EXPECT_THAT(names(original), ElementsAre("a", "b"));
    EXPECT_TRUE(original.scenes[1].layers.empty());
}

} // namespace
} // namespace larkspool
