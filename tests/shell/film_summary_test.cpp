#include "shell/film_summary.h"

#include <gtest/gtest.h>

namespace larkspool {
namespace {

TweenScene sceneOf(double width, double height, double duration, double endPause)
{
    TweenScene scene;
    scene.width = width;
    scene.height = height;
    scene.duration = duration;
    scene.endPause = endPause;
    scene.fps = 30;
    return scene;
}

TEST(FilmSummary, TellsTheFilmThatTheChoicesComeTo)
{
    const TweenScene first = sceneOf(1001, 500, 2, 1), second = sceneOf(640, 480, 3, 0);
    struct Case {
        const char* what;
        FilmJob job;
        FilmSummary film;
    };
    for (const Case& c : {Case{"one scene, without its pause, with even sides", {.scenes = {first}}, {1000, 500, 30, 2, false}},
                          Case{"all scenes, of the first one's size, with pauses",
                               {.form = FilmJob::Form::allScenes, .scenes = {first, second}},
                               {1000, 500, 30, 6, false}},
                          Case{"half the size", {.scenes = {second}, .outputScale = 0.5}, {320, 240, 30, 3, false}}}) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(filmSummary(c.job), c.film);
    }
}

TEST(FilmSummary, IsNotThereForAJobThatNoFilmCanComeOf)
{
    EXPECT_FALSE(filmSummary({}));
    EXPECT_FALSE(filmSummary({.scenes = {sceneOf(1e9, 1e9, 1, 0)}}));
}

TEST(FilmSummary, HasSoundWhereThereIsSomeToWrite)
{
    FilmJob job{.scenes = {sceneOf(64, 64, 1, 0)}};
    job.sound.audio = Exporter::ExportAudio{.url = "/music.wav", .duration = 1};
    EXPECT_TRUE(filmSummary(job)->hasSound);
}

} // namespace
} // namespace larkspool
