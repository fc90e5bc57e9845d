#include "views/document_opener.h"

#include "support/test_media.h"
#include "views/window_test.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace larkspool {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Documents that are read when the test says so, and windows that are names alone.
class DocumentOpenerTest : public testing::Test {
protected:
    DocumentOpenerTest() { DocumentFile(TweenDocument()).save(TweenDocument(), board()); }

    std::string board() const { return folder.path("Board.larkspool"); }
    void read()
    {
        for (const auto& one : std::exchange(work, {})) one();
    }
    void turn()
    {
        for (const auto& one : std::exchange(steps, {})) one();
    }
    DocumentOpener::Ended note()
    {
        return [this](bool isOpen) { ends.push_back(isOpen); };
    }

    const TemporaryFolder folder;
    std::deque<std::function<void()>> work, steps;
    std::vector<std::string> shown, again, failed;
    std::vector<bool> ends;
    RecentDocuments recents{""};
    DocumentOpener opener{{.tasks = {.detach = [this](std::function<void()> one) { work.push_back(std::move(one)); },
                                     .onMain = [this](std::function<void()> one) { steps.push_back(std::move(one)); }},
                           .recents = recents,
                           .showAgain =
                               [this](const std::string& path) {
                                   if (std::ranges::find(shown, path) == shown.end()) return false;
                                   again.push_back(path);
                                   return true;
                               },
                           .show = [this](DocumentFile file) { shown.push_back(file.path()); },
                           .tellFailure = [this](const std::string& path, const std::string&) { failed.push_back(path); }}};
};

TEST_F(DocumentOpenerTest, ReadsBesideTheWindowsAndShowsTheDocumentWhenItIsThere)
{
    opener.open(board(), note());
    EXPECT_TRUE(opener.isReading());
    EXPECT_THAT(shown, IsEmpty()) << "the main thread goes on at once";
    read();
    EXPECT_THAT(shown, IsEmpty());
    EXPECT_THAT(ends, IsEmpty());
    turn();
    EXPECT_THAT(shown, ElementsAre(board()));
    EXPECT_THAT(ends, ElementsAre(true));
    EXPECT_THAT(recents.paths(), ElementsAre(board()));
    EXPECT_FALSE(opener.isReading());
}

TEST_F(DocumentOpenerTest, ADocumentThatIsAskedForAgainMeanwhileHasOneWindow)
{
    opener.open(board(), note());
    opener.open(board(), note());
    EXPECT_EQ(work.size(), 1u);
    read();
    turn();
    EXPECT_THAT(shown, ElementsAre(board()));
    EXPECT_THAT(ends, ElementsAre(true, true));
}

TEST_F(DocumentOpenerTest, ADocumentThatIsOpenIsShownAgain)
{
    opener.open(board());
    read();
    turn();
    opener.open(board(), note());
    EXPECT_THAT(again, ElementsAre(board()));
    EXPECT_THAT(ends, ElementsAre(true));
    EXPECT_TRUE(work.empty());
    EXPECT_THAT(shown, ElementsAre(board()));
}

TEST_F(DocumentOpenerTest, WhatCannotBeReadIsToldAndNotRemembered)
{
    opener.open(folder.path("nowhere.larkspool"), note());
    read();
    turn();
    EXPECT_THAT(failed, ElementsAre(folder.path("nowhere.larkspool")));
    EXPECT_THAT(ends, ElementsAre(false));
    EXPECT_THAT(recents.paths(), IsEmpty());
    opener.open(folder.path(""), note());
    opener.open(folder.path("nowhere.larkspool"), note());
    EXPECT_EQ(work.size(), 2u) << "it is tried anew";
    read();
    turn();
    EXPECT_EQ(failed.size(), 3u) << "a folder is no document";
}

TEST_F(DocumentOpenerTest, ARelativePathIsCompleted)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path(""));
    opener.open("Board.larkspool");
    std::filesystem::current_path(before);
    read();
    turn();
    EXPECT_THAT(shown, ElementsAre(board()));
}

} // namespace
} // namespace larkspool
