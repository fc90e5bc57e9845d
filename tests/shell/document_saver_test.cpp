#include "shell/document_saver.h"

#include "platform/file_io.h"
#include "support/test_media.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// The same one every time.
TweenDocument documentOf(double width)
{
    TweenDocument document;
    document.scenes = {TweenScene{.id = {1, 1}, .width = width}};
    return document;
}

/// Documents that are written when the test says so. They are told apart by the width of their scene.
class DocumentSaverTest : public testing::Test {
protected:
    static std::shared_ptr<DocumentFile> newFile() { return std::make_shared<DocumentFile>(documentOf(1)); }

    void save(const std::shared_ptr<DocumentFile>& of, double width, const char* name)
    {
        saver.save(of, documentOf(width), folder.path(name),
                   [this](const std::string& path, const std::optional<std::string>& why) {
                       (why ? failed : ended).push_back(std::filesystem::path(path).filename().string());
                   });
    }
    void save(double width, const char* name = "a") { save(file, width, name); }
    void write()
    {
        for (const auto& one : std::exchange(work, {})) one();
    }
    void turn()
    {
        for (const auto& one : std::exchange(steps, {})) one();
    }
    void writeAll()
    {
        while (!work.empty()) {
            write();
            turn();
        }
    }
    double widthIn(const char* name) const { return DocumentFile::open(folder.path(name)).saved().scene().width; }

    const TemporaryFolder folder;
    std::deque<std::function<void()>> work, steps;
    std::vector<std::string> ended, failed;
    DocumentSaver saver{Tasks{.detach = [this](std::function<void()> one) { work.push_back(std::move(one)); },
                              .onMain = [this](std::function<void()> one) { steps.push_back(std::move(one)); }}};
    const std::shared_ptr<DocumentFile> file = newFile();
};

TEST_F(DocumentSaverTest, WritesBesideTheWindowsAndNotesItWhenItIsDone)
{
    save(2);
    EXPECT_TRUE(saver.isSaving(*file));
    EXPECT_THAT(folder.names(), IsEmpty()) << "the main thread goes on at once";
    write();
    EXPECT_EQ(widthIn("a"), 2);
    EXPECT_EQ(file->path(), "") << "another thread touches nothing of the window's";
    EXPECT_TRUE(file->isEdited(documentOf(2)));
    EXPECT_THAT(ended, IsEmpty());
    turn();
    EXPECT_EQ(file->path(), folder.path("a"));
    EXPECT_FALSE(file->isEdited(documentOf(2)));
    EXPECT_THAT(ended, ElementsAre("a"));
    EXPECT_FALSE(saver.isSaving(*file));
}

TEST_F(DocumentSaverTest, WhatIsEditedMeanwhileLeavesTheDocumentEdited)
{
    TweenDocument document = documentOf(2);
    saver.save(file, document, folder.path("a"), [](const std::string&, const std::optional<std::string>&) {});
    TweenScene scene = document.scene();
    scene.width = 3;
    document.setScene(std::move(scene));
    writeAll();
    EXPECT_EQ(widthIn("a"), 2);
    EXPECT_TRUE(file->isEdited(document));
    EXPECT_FALSE(file->isEdited(documentOf(2)));
}

TEST_F(DocumentSaverTest, ASecondSaveWaitsForTheFirst)
{
    save(2);
    save(3);
    EXPECT_THAT(work, SizeIs(1)) << "never two writers of one file";
    write();
    EXPECT_THAT(work, IsEmpty()) << "also not before the first has been noted";
    turn();
    EXPECT_THAT(work, SizeIs(1));
    EXPECT_TRUE(saver.isSaving(*file));
    EXPECT_EQ(widthIn("a"), 2);
    writeAll();
    EXPECT_EQ(widthIn("a"), 3);
    EXPECT_FALSE(file->isEdited(documentOf(3)));
    EXPECT_THAT(ended, ElementsAre("a", "a"));
}

TEST_F(DocumentSaverTest, OfSavesThatWaitTheLastOneWins)
{
    for (const double width : {2.0, 3.0, 4.0, 5.0}) save(width);
    writeAll();
    EXPECT_EQ(widthIn("a"), 5);
    EXPECT_THAT(ended, ElementsAre("a", "a")) << "the first one, which had begun, and the last";
    EXPECT_FALSE(saver.isSaving(*file));
}

TEST_F(DocumentSaverTest, SavingElsewhereDuringASaveWritesBothFilesAndStaysThere)
{
    save(2);
    EXPECT_EQ(saver.pathToBe(*file), folder.path("a"));
    save(3, "b");
    EXPECT_EQ(saver.pathToBe(*file), folder.path("b"));
    EXPECT_THAT(work, SizeIs(1)) << "or an earlier save might end as the last";
    writeAll();
    EXPECT_EQ(widthIn("a"), 2);
    EXPECT_EQ(widthIn("b"), 3);
    EXPECT_EQ(file->path(), folder.path("b"));
    EXPECT_FALSE(file->isEdited(documentOf(3)));
    EXPECT_THAT(ended, ElementsAre("a", "b"));
}

TEST_F(DocumentSaverTest, NoFileIsLeftOutBetweenTwoSavesIntoAnother)
{
    save(2);
    save(3, "b");
    save(4);
    writeAll();
    EXPECT_EQ(widthIn("b"), 3);
    EXPECT_EQ(widthIn("a"), 4);
    EXPECT_EQ(file->path(), folder.path("a"));
    EXPECT_THAT(ended, ElementsAre("a", "b", "a"));
}

TEST_F(DocumentSaverTest, AFailureIsToldAndTheNextSaveGoesOn)
{
    save(2, "nowhere/a");
    save(3, "b");
    writeAll();
    EXPECT_THAT(failed, ElementsAre("a"));
    EXPECT_THAT(ended, ElementsAre("b"));
    EXPECT_EQ(file->path(), folder.path("b"));

    save(4, "nowhere/c");
    writeAll();
    EXPECT_THAT(failed, ElementsAre("a", "c"));
    EXPECT_EQ(file->path(), folder.path("b"));
    EXPECT_FALSE(file->isEdited(documentOf(3))) << "that is what its file has";
    EXPECT_TRUE(file->isEdited(documentOf(4)));
}

TEST_F(DocumentSaverTest, TwoDocumentsAreSavedSideBySide)
{
    save(2);
    save(newFile(), 3, "b");
    EXPECT_THAT(work, SizeIs(2));
    writeAll();
    EXPECT_EQ(widthIn("a"), 2);
    EXPECT_EQ(widthIn("b"), 3);
}

TEST_F(DocumentSaverTest, TwoDocumentsIntoOneFileFollowOneAnother)
{
    const std::shared_ptr<DocumentFile> other = newFile();
    DocumentFile(TweenDocument()).save(TweenDocument(), folder.path("a"));
    std::filesystem::create_symlink(folder.path("a"), folder.path("link"));
    save(2);
    save(other, 3, "link");
    save(4);
    EXPECT_THAT(work, SizeIs(1));
    write();
    turn();
    EXPECT_THAT(work, SizeIs(1));
    EXPECT_EQ(widthIn("a"), 2);
    write();
    turn();
    EXPECT_EQ(widthIn("a"), 3);
    EXPECT_FALSE(saver.isSaving(*other));
    writeAll();
    EXPECT_EQ(widthIn("a"), 4) << "the last one that was asked for";
}

TEST_F(DocumentSaverTest, ADocumentWhoseWindowIsGoneIsWrittenAllTheSame)
{
    save(newFile(), 2, "a"); // Nobody else holds it.
    save(newFile(), 3, "a");
    writeAll();
    EXPECT_EQ(widthIn("a"), 3);
}

TEST_F(DocumentSaverTest, WithoutAThreadTheDocumentIsSavedAllTheSame)
{
    DocumentSaver alone{Tasks{.detach =
                                  [](const std::function<void()>&) {
                                      throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
                                  },
                              .onMain = [this](std::function<void()> one) { steps.push_back(std::move(one)); }}};
    int endings = 0;
    const auto note = [&](const std::string&, const std::optional<std::string>& failure) {
        EXPECT_FALSE(failure);
        ++endings;
    };
    alone.save(file, documentOf(2), folder.path("a"), note);
    alone.save(file, documentOf(3), folder.path("b"), note);
    EXPECT_EQ(widthIn("a"), 2);
    EXPECT_EQ(endings, 0) << "whoever saves is told later, as always";
    while (!steps.empty()) turn();
    EXPECT_EQ(widthIn("b"), 3);
    EXPECT_EQ(endings, 2);
    EXPECT_FALSE(alone.isSaving(*file));
    EXPECT_EQ(file->path(), folder.path("b"));
}

TEST_F(DocumentSaverTest, WhatItsFileIsToHaveIsWhatWasAskedForLast)
{
    const auto widthToBe = [this] { return saver.savedToBe(*file).scene().width; };
    EXPECT_EQ(widthToBe(), 1);
    save(2);
    EXPECT_EQ(widthToBe(), 2) << "while it is written";
    save(3, "nowhere/b");
    EXPECT_EQ(widthToBe(), 3) << "while it waits";
    write();
    turn();
    EXPECT_EQ(widthToBe(), 3);
    writeAll();
    EXPECT_EQ(widthToBe(), 2) << "the other one failed";
}

TEST_F(DocumentSaverTest, ARepairedFileIsKeptOnceHoweverManySavesThereAre)
{
    constexpr std::string_view broken = R"({"version": 2, "scenes": [{"width": "wide"}]})";
    replaceFileAtomically(folder.path("Old.larkspool"), std::vector<std::uint8_t>(broken.begin(), broken.end()));
    const auto old = std::make_shared<DocumentFile>(DocumentFile::open(folder.path("Old.larkspool")));
    save(old, 2, "Old.larkspool");
    save(old, 3, "Old.larkspool");
    writeAll();
    EXPECT_THAT(folder.names(), ElementsAre("Old (as opened).larkspool", "Old.larkspool"));
    EXPECT_EQ(widthIn("Old.larkspool"), 3);
}

} // namespace
} // namespace larkspool
