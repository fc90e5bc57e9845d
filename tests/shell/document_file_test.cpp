#include "shell/document_file.h"

#include "platform/file_io.h"
#include "support/test_media.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string_view>

namespace larkspool {
namespace {

std::vector<std::uint8_t> bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

TweenDocument documentOf(double width)
{
    TweenDocument document;
    TweenScene scene = document.scene();
    scene.width = width;
    document.setScene(std::move(scene));
    return document;
}

TEST(DocumentFile, OfANewDocumentHasNoPathAndIsUnedited)
{
    const TweenDocument document = documentOf(640);
    const DocumentFile file(document);
    EXPECT_EQ(file.path(), "");
    EXPECT_EQ(file.displayName(), "Untitled");
    EXPECT_FALSE(file.isEdited(document));
    EXPECT_TRUE(file.isEdited(documentOf(641)));
}

TEST(DocumentFile, LookingAtAnotherSceneIsNoEdit)
{
    TweenDocument document = documentOf(640);
    document.addScene();
    document.activeSceneIndex = 0;
    const DocumentFile file(document);
    document.activeSceneIndex = 1;
    EXPECT_FALSE(file.isEdited(document));
}

TEST(DocumentFile, SavesAndOpensTheSameDocument)
{
    const TemporaryFolder folder;
    DocumentFile file(documentOf(640));
    const TweenDocument wider = documentOf(800);
    EXPECT_TRUE(file.isEdited(wider));
    EXPECT_EQ(file.save(wider, folder.path("Board.larkspool")), std::nullopt);
    EXPECT_EQ(file.displayName(), "Board");
    EXPECT_FALSE(file.isEdited(wider));

    const DocumentFile opened = DocumentFile::open(folder.path("Board.larkspool"));
    EXPECT_EQ(opened.saved().scene().width, 800);
    EXPECT_TRUE(opened.diagnostics().empty());
}

TEST(DocumentFile, KeepsTheBytesOfARepairedFileBeforeItWritesOverIt)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Old.larkspool");
    const std::vector<std::uint8_t> broken = bytesOf(R"({"version": 2, "scenes": [{"width": "wide"}]})");
    replaceFileAtomically(path, broken);
    replaceFileAtomically(folder.path("Old (as opened).larkspool"), bytesOf("mine"));

    DocumentFile file = DocumentFile::open(path);
    EXPECT_FALSE(file.diagnostics().empty());
    const std::optional<std::string> kept = file.save(file.saved(), path);
    ASSERT_EQ(kept, folder.path("Old (as opened 2).larkspool"));
    EXPECT_EQ(readWholeFile(*kept), broken);
    EXPECT_EQ(readWholeFile(folder.path("Old (as opened).larkspool")), bytesOf("mine"));
    EXPECT_EQ(file.save(file.saved(), path), std::nullopt) << "only the first time";
}

TEST(DocumentFile, WhatWasKeptIsNotKeptAgainThoughTheSaveFailed)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Old.larkspool");
    replaceFileAtomically(path, bytesOf(R"({"scenes": 3})"));
    DocumentFile file = DocumentFile::open(path);
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_THROW(file.save(file.saved(), path), FileError);
    std::filesystem::remove(path);
    EXPECT_EQ(file.save(file.saved(), path), std::nullopt);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"Old (as opened).larkspool", "Old.larkspool"}));
}

TEST(DocumentFile, SavingElsewhereLeavesTheRepairedFileAlone)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("Old.larkspool");
    const std::vector<std::uint8_t> broken = bytesOf(R"({"scenes": 3})");
    replaceFileAtomically(path, broken);
    DocumentFile file = DocumentFile::open(path);
    EXPECT_EQ(file.save(file.saved(), folder.path("New.larkspool")), std::nullopt);
    EXPECT_EQ(readWholeFile(path), broken);
}

TEST(DocumentFile, AFailedSaveChangesNothing)
{
    const TemporaryFolder folder;
    DocumentFile file(documentOf(640));
    file.save(documentOf(640), folder.path("Board.larkspool"));
    EXPECT_THROW(file.save(documentOf(800), folder.path("nowhere/Board.larkspool")), FileError);
    EXPECT_EQ(file.path(), folder.path("Board.larkspool"));
    EXPECT_TRUE(file.isEdited(documentOf(800)));
    TweenDocument unwritable = documentOf(NAN);
    EXPECT_ANY_THROW(file.save(unwritable, folder.path("Board.larkspool")));
    EXPECT_EQ(DocumentFile::open(folder.path("Board.larkspool")).saved().scene().width, 640);
}

} // namespace
} // namespace larkspool
