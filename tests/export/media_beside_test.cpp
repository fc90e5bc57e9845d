#include "export/media_beside.h"

#include <set>

#include <gtest/gtest.h>

namespace larkspool {

namespace {

TweenDocument documentWithBed(const std::string& reference)
{
    TweenDocument document;
    document.audio = DocumentAudio{.urlString = reference};
    return document;
}

Exporter::FileExists only(std::set<std::string> files)
{
    return [files = std::move(files)](const std::string& path) { return files.contains(path); };
}

Layer video(const std::string& reference)
{
    Layer layer{.kind = Layer::Kind::video};
    layer.videoURL = reference;
    return layer;
}

} // namespace

TEST(MediaBeside, ARelativeReferenceIsFoundInTheFolderOfTheDocument)
{
    struct Case {
        const char* when;
        std::string reference;
        std::set<std::string> files;
        std::string found;
    };
    const Case cases[] = {
        {"beside the document", "bed.m4a", {"/films/bed.m4a"}, "/films/bed.m4a"},
        {"in a folder of its own", "media/bed.m4a", {"/films/media/bed.m4a"}, "/films/media/bed.m4a"},
        {"as a URL with an escape", "file:my%20bed.m4a", {"/films/my bed.m4a"}, "/films/my bed.m4a"},
        {"in the folder that the program runs in, too", "bed.m4a", {"bed.m4a", "/films/bed.m4a"}, "bed.m4a"},
        {"nowhere", "bed.m4a", {}, "bed.m4a"},
        {"absolute", "/bed.m4a", {"/films/bed.m4a"}, "/bed.m4a"},
        {"an absolute URL", "file:///bed.m4a", {"/films/bed.m4a"}, "file:///bed.m4a"},
        {"no name", "", {"/films/", "/films"}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.when);
        const TweenDocument found = withMediaBeside(documentWithBed(c.reference), "/films/doc.larkspool", only(c.files));
        EXPECT_EQ(found.audio->urlString.string(), c.found);
    }
}

TEST(MediaBeside, VideosAreFoundInAllScenesAndGroups)
{
    Layer inner{.kind = Layer::Kind::group}, outer{.kind = Layer::Kind::group};
    inner.children = {video("deep.mp4")};
    outer.children = {inner, video("shallow.mp4")};
    Layer text{.kind = Layer::Kind::text};
    text.videoURL = "shallow.mp4";
    TweenDocument document;
    document.scenes = {TweenScene{}, TweenScene{}};
    document.scenes.edit()[0].layers = {outer};
    document.scenes.edit()[1].layers = {video("shallow.mp4"), text, video("gone.mp4")};

    const TweenDocument found =
        withMediaBeside(document, "/films/doc.larkspool", only({"/films/deep.mp4", "/films/shallow.mp4"}));
    EXPECT_EQ(found.scenes[0].layers[0].children[0].children[0].videoURL, "/films/deep.mp4");
    EXPECT_EQ(found.scenes[0].layers[0].children[1].videoURL, "/films/shallow.mp4");
    EXPECT_EQ(found.scenes[1].layers[0].videoURL, "/films/shallow.mp4");
    EXPECT_EQ(found.scenes[1].layers[1].videoURL, "shallow.mp4"); // No video: left alone.
    EXPECT_EQ(found.scenes[1].layers[2].videoURL, "gone.mp4");
    EXPECT_EQ(document.scenes[1].layers[0].videoURL, "shallow.mp4"); // What was given is as it was.
}

TEST(MediaBeside, ADocumentWithoutMediaStaysAsItIs)
{
    TweenDocument document;
    document.scenes = {};
    EXPECT_EQ(withMediaBeside(document, "doc.larkspool", only({})), document);
}

} // namespace larkspool
