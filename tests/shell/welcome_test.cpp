#include "shell/welcome.h"

#include "support/memory_user_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace larkspool {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

/// A program with a welcome window, whose documents are held here.
class WelcomeTest : public testing::Test {
protected:
    MemoryUserDefaults defaults;
    std::vector<TweenDocument> documents;
    std::vector<std::string> opened;
    std::vector<std::function<void(bool isOpen)>> opening; ///< The ends of those that are being opened.
    int dismissed = 0, changes = 0;
    WelcomeView welcome{{.defaults = defaults,
                         .openUntitledDocument = [this] { documents.push_back(newDocument(defaults)); },
                         .openDocument =
                             [this](const std::string& path, std::function<void(bool)> ended) {
                                 opened.push_back(path);
                                 opening.push_back(std::move(ended));
                             },
                         .dismissWelcome = [this] { ++dismissed; },
                         .openingChanged = [this] { ++changes; }}};
};

TEST_F(WelcomeTest, ALaunchShowsTheWelcomeWindowOrAnEmptyDocument)
{
    EXPECT_EQ(launchWindow(defaults), LaunchWindow::welcome);
    welcome.setShowsOnLaunch(false);
    EXPECT_FALSE(welcome.showsOnLaunch());
    EXPECT_EQ(defaults.value("lksSuppressWelcomeAtLaunch"), UserDefaults::Value(true));
    EXPECT_EQ(launchWindow(defaults), LaunchWindow::untitledDocument);

    const TweenDocument launched = newDocument(defaults);
    ASSERT_EQ(launched.scenes.size(), 1u);
    EXPECT_EQ(launched.scene().size(), (CGSize{1920, 1080}));
    EXPECT_TRUE(launched.scene().layers.empty());
}

TEST_F(WelcomeTest, APresetGivesADocumentOfItsSizeAndTheNextPlainOneIsOfTheUsualSize)
{
    struct Case {
        const char* label;
        double width, height;
    };
    const std::vector<Case> cases = {{"HD 1080 — 1920×1080", 1920, 1080},    {"HD 720 — 1280×720", 1280, 720},
                                     {"4K UHD — 3840×2160", 3840, 2160},     {"Square — 1080×1080", 1080, 1080},
                                     {"Story 9:16 — 1080×1920", 1080, 1920}, {"Portrait 4:5 — 1080×1350", 1080, 1350},
                                     {"iPhone — 1170×2532", 1170, 2532},     {"iPad — 2048×2732", 2048, 2732}};
    ASSERT_EQ(canvasPresets.size(), cases.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].label);
        EXPECT_EQ(canvasPresets[i].label, cases[i].label);
        documents.clear();
        dismissed = 0;
        welcome.createDocument(canvasPresets[i].size());
        ASSERT_EQ(documents.size(), 1u);
        EXPECT_EQ(documents.front().scene().size(), (CGSize{cases[i].width, cases[i].height}));
        EXPECT_EQ(dismissed, 1);
        EXPECT_FALSE(defaults.value("lksPendingPresetWidth"));
        EXPECT_FALSE(defaults.value("lksPendingPresetHeight"));
        EXPECT_EQ(newDocument(defaults).scene().size(), (CGSize{1920, 1080}));
    }
}

TEST_F(WelcomeTest, ASizeWithoutAnAreaMakesNoDocumentAndLeavesNothingWaiting)
{
    welcome.createDocument({0, 1080});
    welcome.createDocument({1080, -1});
    EXPECT_THAT(documents, IsEmpty());
    EXPECT_EQ(dismissed, 0);
    EXPECT_FALSE(defaults.value("lksPendingPresetHeight"));
}

TEST_F(WelcomeTest, APendingSizeOfWidthZeroIsNotConsumed)
{
    defaults.set(DefaultsKey::pendingPresetWidth, 0.0);
    defaults.set(DefaultsKey::pendingPresetHeight, 1080.0);
    EXPECT_EQ(newDocument(defaults).scene().size(), (CGSize{1920, 1080}));
    EXPECT_EQ(defaults.value("lksPendingPresetWidth"), UserDefaults::Value(0.0));
    EXPECT_EQ(defaults.value("lksPendingPresetHeight"), UserDefaults::Value(1080.0));
}

TEST_F(WelcomeTest, ACustomSizeTakesTheSameWayAndCancellingMakesNothing)
{
    const auto finish = [this](std::optional<double> width, std::optional<double> height) {
        welcome.finishCustomSize(width, height);
    };
    welcome.customSheetVisible = true;
    CustomSizeSheet{.onFinish = finish}.cancel();
    EXPECT_FALSE(welcome.customSheetVisible);
    EXPECT_THAT(documents, IsEmpty());
    EXPECT_EQ(dismissed, 0);

    welcome.customSheetVisible = true;
    EXPECT_TRUE((CustomSizeSheet{.onFinish = finish, .widthText = " 640 ", .heightText = "1e2"}.create()));
    EXPECT_FALSE(welcome.customSheetVisible);
    ASSERT_EQ(documents.size(), 1u);
    EXPECT_EQ(documents.front().scene().size(), (CGSize{640, 100}));
    EXPECT_EQ(dismissed, 1);
    EXPECT_FALSE(defaults.value("lksPendingPresetWidth"));
}

TEST_F(WelcomeTest, AFileThatCannotBeOpenedLeavesTheWindow)
{
    welcome.openRecent("/films/b.larkspool");
    opening.back()(/*isOpen=*/false);
    EXPECT_EQ(dismissed, 0);
    welcome.openRecent("/films/a.larkspool");
    opening.back()(/*isOpen=*/true);
    EXPECT_EQ(dismissed, 1);
    EXPECT_THAT(opened, ElementsAre("/films/b.larkspool", "/films/a.larkspool"));
}

TEST_F(WelcomeTest, TheWindowStaysWhileAFileIsOpenedAndTakesNoOtherMeanwhile)
{
    welcome.openRecent("/films/a.larkspool");
    EXPECT_EQ(welcome.openingPath(), "/films/a.larkspool");
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(dismissed, 0);
    welcome.openRecent("/films/a.larkspool"); // The second click of two.
    welcome.openRecent("/films/b.larkspool");
    EXPECT_THAT(opened, ElementsAre("/films/a.larkspool"));
    opening.back()(/*isOpen=*/true);
    EXPECT_EQ(welcome.openingPath(), "");
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(dismissed, 1);
}

TEST(WelcomeViewAlone, MayGoWhileAFileIsOpened)
{
    MemoryUserDefaults defaults;
    std::function<void(bool)> end;
    int dismissed = 0;
    {
        WelcomeView welcome({.defaults = defaults,
                             .openUntitledDocument = [] {},
                             .openDocument = [&](const std::string&, std::function<void(bool)> ended) { end = std::move(ended); },
                             .dismissWelcome = [&] { ++dismissed; }});
        welcome.openRecent("/films/a.larkspool");
    }
    end(/*isOpen=*/true);
    EXPECT_EQ(dismissed, 0);
}

TEST(CustomSizeSheet, OnlyASizeThatAPictureCanHaveIsCreated)
{
    struct Case {
        const char* what;
        const char* width;
        const char* height;
        std::optional<CGSize> size;
    };
    for (const Case& c :
         {Case{"whole numbers", "1080", "1350", CGSize{1080, 1350}}, Case{"a fraction", "99.5", "20", CGSize{99.5, 20}},
          Case{"the smallest", "1", "1", CGSize{1, 1}}, Case{"the longest side", "32767", "1", CGSize{32767, 1}},
          Case{"too long", "32768", "1", {}}, Case{"too many pixels", "16385", "16384", {}},
          Case{"nothing typed", "", "1080", {}}, Case{"no number", "1920", "tall", {}}, Case{"zero", "0", "1080", {}},
          Case{"below zero", "1920", "-1080", {}}, Case{"less than a pixel", "0.5", "1080", {}},
          Case{"infinite", "inf", "1080", {}}, Case{"beyond any number", "1e999", "1080", {}},
          Case{"no number at all", "nan", "1080", {}}}) {
        SCOPED_TRACE(c.what);
        int finished = 0;
        const CustomSizeSheet sheet{.onFinish = [&](auto, auto) { ++finished; }, .widthText = c.width, .heightText = c.height};
        EXPECT_EQ(sheet.size(), c.size);
        EXPECT_EQ(sheet.create(), c.size.has_value());
        EXPECT_EQ(finished, c.size ? 1 : 0);
    }
}

/// A folder of its own for each test, gone with it.
class RecentDocumentsTest : public testing::Test {
protected:
    RecentDocumentsTest()
    {
        std::string name = (fs::temp_directory_path() / "larkspool-recents-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the test");
        folder = name;
        path = (folder / "larkspool" / "recent-documents.json").string();
    }
    ~RecentDocumentsTest() override { fs::remove_all(folder); }

    void writeFile(std::string_view text) const
    {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path) << text;
    }

    fs::path folder;
    std::string path;
};

TEST_F(RecentDocumentsTest, TheLastFileStandsFirstAndEachStandsOnce)
{
    {
        RecentDocuments recents(path);
        for (const char* document : {"/a", "/b", "/c", "/a", "/x/../b"}) recents.note(document);
        EXPECT_THAT(recents.paths(), ElementsAre("/b", "/a", "/c"));
    }
    RecentDocuments later(path);
    EXPECT_THAT(later.paths(), ElementsAre("/b", "/a", "/c"));
    later.remove("/a");
    later.remove("/gone");
    EXPECT_THAT(RecentDocuments(path).paths(), ElementsAre("/b", "/c"));
    later.clear();
    EXPECT_THAT(RecentDocuments(path).paths(), IsEmpty());
}

TEST_F(RecentDocumentsTest, NoMoreThanTenAreKept)
{
    RecentDocuments recents(path);
    for (int i = 1; i <= 12; ++i) recents.note("/" + std::to_string(i));
    EXPECT_EQ(recents.paths().size(), 10u);
    EXPECT_EQ(recents.paths().front(), "/12");
    EXPECT_EQ(recents.paths().back(), "/3");
}

TEST_F(RecentDocumentsTest, WhatIsNoListIsEmptyAndWhatIsNoPathIsLeftOut)
{
    for (const char* damaged : {"", "{", "7", "{\"a\": 1}"}) {
        SCOPED_TRACE(damaged);
        writeFile(damaged);
        EXPECT_THAT(RecentDocuments(path).paths(), IsEmpty());
    }
    writeFile(R"(["/a", 7, "relative", "/a", "", "/zero\u0000byte", ["/deep"], "/b"])");
    EXPECT_THAT(RecentDocuments(path).paths(), ElementsAre("/a", "/b"));
    writeFile(R"(["/1","/2","/3","/4","/5","/6","/7","/8","/9","/10","/11"])");
    EXPECT_EQ(RecentDocuments(path).paths().size(), 10u);
}

TEST_F(RecentDocumentsTest, AListThatCannotBeWrittenHoldsInMemory)
{
    RecentDocuments recents("/proc/no-such-folder/recent-documents.json");
    recents.note("/a");
    RecentDocuments inMemory("");
    inMemory.note("/b");
    EXPECT_THAT(recents.paths(), ElementsAre("/a"));
    EXPECT_THAT(inMemory.paths(), ElementsAre("/b"));
}

TEST_F(RecentDocumentsTest, TheFolderOfTheSettingsIsForThisUserAlone)
{
    RecentDocuments(path).note("/a");
    EXPECT_EQ(fs::status(fs::path(path).parent_path()).permissions() & fs::perms::all, fs::perms::owner_all);
}

} // namespace
} // namespace larkspool
