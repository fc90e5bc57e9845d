#include "shell/export_sheet.h"

#include "support/memory_user_defaults.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace larkspool {

namespace {

using testing::ElementsAre;
using Value = UserDefaults::Value;

/// Scenes called Intro and Outro around one without a name; the last is active.
TweenDocument threeScenes()
{
    TweenDocument document;
    document.scenes = {TweenScene{.name = "Intro"}, TweenScene{}, TweenScene{.name = "Outro"}};
    document.activeSceneIndex = 2;
    return document;
}

MemoryUserDefaults withTarget(const std::string& stored)
{
    return MemoryUserDefaults({{"lksLastExportTarget", stored}});
}

} // namespace

TEST(ExportSheet, OpensWithTheTargetOfLastTimeWhereTheDocumentHasIt)
{
    const ExportTarget current = ExportTarget::currentScene();
    struct Case {
        std::string stored;
        ExportTarget target;
    };
    for (const Case& c :
         {Case{"all", ExportTarget::allScenes()}, Case{"current", current}, Case{"scene:0", ExportTarget::specificScene(0)},
          Case{"scene:2", ExportTarget::specificScene(2)}, Case{"scene:3", current}, Case{"scene:7", current},
          Case{"scene:-1", current}, Case{"scene:", current}, Case{"scene:1x", current}, Case{"scene: 1", current},
          Case{"scene:1.0", current}, Case{"scene:99999999999999999999", current}, Case{"", current}, Case{"All", current},
          Case{"1", current}}) {
        SCOPED_TRACE(c.stored);
        EXPECT_EQ(startExport(threeScenes(), "Board", withTarget(c.stored)).target, c.target);
    }
}

TEST(ExportSheet, SettingsThatAreMissingOrOfAnotherTypeHaveTheirDefaults)
{
    const FilmChoices otherwise{
        .target = ExportTarget::currentScene(), .motionBlurSamples = 1, .includeAudio = true, .outputScale = 1};
    EXPECT_EQ(storedFilmChoices(MemoryUserDefaults(), 3), otherwise);
    EXPECT_EQ(storedFilmChoices(MemoryUserDefaults({{"lksLastExportTarget", true},
                                                    {"lksExportMotionBlurSamples", Value("8")},
                                                    {"lksExportIncludeAudio", 0.0},
                                                    {"lksExportOutputScale", Value("half")}}),
                                3),
              otherwise);
}

TEST(ExportSheet, TakesOverAllChoicesOfLastTime)
{
    for (const FilmChoices& choices :
         {FilmChoices{ExportTarget::allScenes(), -2, false, 0.25}, FilmChoices{ExportTarget::currentScene(), 16, true, 1},
          FilmChoices{ExportTarget::specificScene(1), 4, true, 0.75}}) {
        MemoryUserDefaults defaults;
        storeFilmChoices(defaults, choices);
        EXPECT_EQ(storedFilmChoices(defaults, 3), choices);
        EXPECT_EQ(startExport(threeScenes(), "Board", defaults).choices(), choices);
    }
}

TEST(ExportSheet, StoresTheChoicesUnderTheirKeys)
{
    MemoryUserDefaults defaults;
    storeFilmChoices(defaults, {ExportTarget::specificScene(12), 8, false, 0.5});
    EXPECT_EQ(defaults.value("lksLastExportTarget"), Value("scene:12"));
    EXPECT_EQ(defaults.value("lksExportMotionBlurSamples"), Value(8.0));
    EXPECT_EQ(defaults.value("lksExportIncludeAudio"), Value(false));
    EXPECT_EQ(defaults.value("lksExportOutputScale"), Value(0.5));

    storeFilmChoices(defaults, {.target = ExportTarget::allScenes()});
    EXPECT_EQ(defaults.value("lksLastExportTarget"), Value("all"));
    storeFilmChoices(defaults, {.target = ExportTarget::currentScene()});
    EXPECT_EQ(defaults.value("lksLastExportTarget"), Value("current"));
}

TEST(ExportSheet, AbsurdNumbersOfSamplesAreHeld)
{
    const auto samples = [](double stored) {
        return storedFilmChoices(MemoryUserDefaults({{"lksExportMotionBlurSamples", stored}}), 1).motionBlurSamples;
    };
    EXPECT_EQ(samples(4.9), 4);
    EXPECT_EQ(samples(1e300), std::numeric_limits<int>::max());
    EXPECT_EQ(samples(-1e300), -std::numeric_limits<int>::max());
    EXPECT_EQ(samples(std::numeric_limits<double>::quiet_NaN()), 1);
}

TEST(ExportSheet, TakesASnapshotOfTheDocument)
{
    TweenDocument document = threeScenes();
    const ExportSheetState sheet = startExport(document, "Board", withTarget("all"));
    EXPECT_EQ(sheet.baseName, "Board");
    EXPECT_EQ(sheet.activeIdx, 2);
    EXPECT_EQ(sheet.filename, "Board (All Scenes) Export.mp4");
    document.scenes.edit()[0].name = "Changed";
    EXPECT_EQ(sheet.scenes[0].name, "Intro");
    EXPECT_NE(sheet.id, startExport(document, "Board", withTarget("all")).id);
}

TEST(ExportSheet, ADocumentWithoutANameIsCalledLikeTheProgram)
{
    EXPECT_EQ(startExport(threeScenes(), "", withTarget("all")).filename, "Larkspool (All Scenes) Export.mp4");
}

TEST(ExportFilename, NamesTheScenesInParentheses)
{
    const Array<TweenScene> one{TweenScene{.name = "Intro"}}, three = threeScenes().scenes, none;
    struct Case {
        const char* when;
        ExportTarget target;
        const Array<TweenScene>& scenes;
        std::int64_t active;
        const char* name;
    };
    for (const Case& c : {Case{"all of three", ExportTarget::allScenes(), three, 0, "Board (All Scenes) Export.mp4"},
                          Case{"all of one", ExportTarget::allScenes(), one, 0, "Board (All Scenes) Export.mp4"},
                          Case{"the current one of one", ExportTarget::currentScene(), one, 0, "Board Export.mp4"},
                          Case{"the current one of none", ExportTarget::currentScene(), none, 0, "Board Export.mp4"},
                          Case{"the current one", ExportTarget::currentScene(), three, 2, "Board (Outro) Export.mp4"},
                          Case{"without a name", ExportTarget::currentScene(), three, 1, "Board (Scene 2) Export.mp4"},
                          Case{"beyond the last", ExportTarget::currentScene(), three, 3, "Board Export.mp4"},
                          Case{"before the first", ExportTarget::currentScene(), three, -1, "Board Export.mp4"},
                          Case{"a scene", ExportTarget::specificScene(0), three, 2, "Board (Intro) Export.mp4"},
                          Case{"the one scene by its number", ExportTarget::specificScene(0), one, 0, "Board (Intro) Export.mp4"},
                          Case{"a scene that is not there", ExportTarget::specificScene(3), three, 2, "Board Export.mp4"}}) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(exportFilename("Board", c.target, c.scenes, c.active), c.name);
    }
}

TEST(ExportSheet, TheFilenameFollowsTheTargetWhileItIsAGeneratedOne)
{
    ExportSheetState sheet = startExport(threeScenes(), "Board", withTarget("all"));
    chooseTarget(sheet, ExportTarget::specificScene(0));
    EXPECT_EQ(sheet.target, ExportTarget::specificScene(0));
    EXPECT_EQ(sheet.filename, "Board (Intro) Export.mp4");
    chooseTarget(sheet, ExportTarget::currentScene());
    EXPECT_EQ(sheet.filename, "Board (Outro) Export.mp4");

    sheet.filename = "Board (Scene 2) Export.mp4"; // Typed, but what the sheet would have offered for another scene.
    chooseTarget(sheet, ExportTarget::allScenes());
    EXPECT_EQ(sheet.filename, "Board (All Scenes) Export.mp4");
}

TEST(ExportSheet, ATypedFilenameStaysWhenTheTargetChanges)
{
    for (const char* typed : {"Launch.mp4", "Board (All Scenes) Export", "Board Export.mp4", ""}) {
        SCOPED_TRACE(typed);
        ExportSheetState sheet = startExport(threeScenes(), "Board", withTarget("all"));
        sheet.filename = typed;
        chooseTarget(sheet, ExportTarget::specificScene(1));
        EXPECT_EQ(sheet.target, ExportTarget::specificScene(1));
        EXPECT_EQ(sheet.filename, typed);
    }
}

TEST(ExportSheet, OffersAllScenesTheCurrentOneAndEachByName)
{
    EXPECT_THAT(exportTargetChoices(threeScenes().scenes),
                ElementsAre(ExportTargetChoice{"All Scenes", ExportTarget::allScenes()},
                            ExportTargetChoice{"Current Scene", ExportTarget::currentScene()},
                            ExportTargetChoice{"Intro", ExportTarget::specificScene(0)},
                            ExportTargetChoice{"Scene 2", ExportTarget::specificScene(1)},
                            ExportTargetChoice{"Outro", ExportTarget::specificScene(2)}));
}

} // namespace larkspool
