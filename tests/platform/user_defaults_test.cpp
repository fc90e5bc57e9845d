#include "platform/user_defaults.h"
#include "support/memory_user_defaults.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <vector>

namespace larkspool {
namespace {

namespace fs = std::filesystem;

/// A folder of its own for each test, gone with it.
class FileUserDefaultsTest : public testing::Test {
protected:
    FileUserDefaultsTest()
    {
        std::string name = (fs::temp_directory_path() / "larkspool-defaults-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the test");
        folder = name;
        path = (folder / "larkspool" / "defaults.json").string();
    }
    ~FileUserDefaultsTest() override { fs::remove_all(folder); }

    void writeFile(std::string_view text) const
    {
        fs::create_directories(fs::path(path).parent_path());
        std::ofstream(path) << text;
    }
    std::string readFile() const
    {
        std::stringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    fs::path folder;
    std::string path;
};

TEST(UserDefaults, WhatIsMissingOrOfAnotherTypeReadsAsNothing)
{
    const MemoryUserDefaults defaults({{"flag", true}, {"number", 2.75}, {"text", "words"}, {"huge", 1e300}, {"whole", -3.0}});
    EXPECT_TRUE(defaults.boolean("flag"));
    EXPECT_FALSE(defaults.boolean("text"));
    EXPECT_FALSE(defaults.boolean("missing"));
    EXPECT_EQ(defaults.number("number"), 2.75);
    EXPECT_EQ(defaults.number("flag"), 0);
    EXPECT_EQ(defaults.number("missing"), 0);
    EXPECT_EQ(defaults.integer("number"), 2);
    EXPECT_EQ(defaults.integer("whole"), -3);
    EXPECT_EQ(defaults.integer("huge"), 0);
    EXPECT_EQ(defaults.integer("missing"), 0);
    EXPECT_EQ(defaults.string("text"), "words");
    EXPECT_EQ(defaults.string("number"), "");
    EXPECT_EQ(defaults.string("missing"), "");
}

/// A key of the table, as it is written in the store, with what it reads as where nothing is stored.
struct Setting {
    const char* key;
    UserDefaults::Value fallback;
    std::function<UserDefaults::Value(const UserDefaults&)> read;
};

std::vector<Setting> settings()
{
    const auto boolean = [](const char* name, bool fallback, const BooleanKey& key) {
        return Setting{name, fallback, [key](const UserDefaults& defaults) { return defaults.boolean(key); }};
    };
    const auto number = [](const char* name, double fallback, const NumberKey& key) {
        return Setting{name, fallback, [key](const UserDefaults& defaults) { return defaults.number(key); }};
    };
    const auto integer = [](const char* name, double fallback, const IntegerKey& key) {
        return Setting{name, fallback,
                       [key](const UserDefaults& defaults) { return static_cast<double>(defaults.integer(key)); }};
    };
    const auto string = [](const char* name, const char* fallback, const StringKey& key) {
        return Setting{name, std::string(fallback), [key](const UserDefaults& defaults) { return defaults.string(key); }};
    };
    return {boolean("lksSuppressWelcomeAtLaunch", false, DefaultsKey::suppressWelcomeAtLaunch),
            boolean("lksUseGPUExporter", false, DefaultsKey::useGPUExporter),
            boolean("lksAssistantEnabled", false, DefaultsKey::assistantEnabled),
            string("lksAssistantAPIKey", "", DefaultsKey::assistantAPIKey),
            string("lksAssistantModel", "claude-sonnet-4-6", DefaultsKey::assistantModel),
            number("lksPendingPresetWidth", 0, DefaultsKey::pendingPresetWidth),
            number("lksPendingPresetHeight", 0, DefaultsKey::pendingPresetHeight),
            boolean("lksHideOffCanvas", false, DefaultsKey::hideOffCanvas),
            boolean("lksKeyframeAtPlayhead", true, DefaultsKey::keyframeAtPlayhead),
            boolean("lksSizeAspectLocked", false, DefaultsKey::sizeAspectLocked),
            boolean("lksScaleAspectLocked", false, DefaultsKey::scaleAspectLocked),
            boolean("lksRipplePushBefore", false, DefaultsKey::ripplePushBefore),
            boolean("lksRipplePushAfter", false, DefaultsKey::ripplePushAfter),
            string("lksRippleScope", "all", DefaultsKey::rippleScope),
            string("lksPlayMode", "once", DefaultsKey::playMode),
            string("lksMixMatchCategories", "fill,strokeColor", DefaultsKey::mixMatchCategories),
            number("lksMixMatchBias", 0, DefaultsKey::mixMatchBias),
            boolean("lksMixMatchAsSet", false, DefaultsKey::mixMatchAsSet),
            boolean("lksShowLayers", true, DefaultsKey::showLayers),
            boolean("lksShowInspector", true, DefaultsKey::showInspector),
            boolean("lksShowTimeline", true, DefaultsKey::showTimeline),
            boolean("lksShowSceneStrip", true, DefaultsKey::showSceneStrip),
            boolean("lksCollapsedLayers", false, DefaultsKey::collapsedLayers),
            boolean("lksCollapsedInspector", false, DefaultsKey::collapsedInspector),
            boolean("lksCollapsedTimeline", false, DefaultsKey::collapsedTimeline),
            string("lksLastExportTarget", "current", DefaultsKey::lastExportTarget),
            integer("lksExportMotionBlurSamples", 1, DefaultsKey::exportMotionBlurSamples),
            boolean("lksExportIncludeAudio", true, DefaultsKey::exportIncludeAudio),
            number("lksExportOutputScale", 1, DefaultsKey::exportOutputScale),
            string("lksTimelinePlayheadSnap", "frame", DefaultsKey::timelinePlayheadSnap),
            boolean("lksTimelineSnapToSpans", true, DefaultsKey::timelineSnapToSpans),
            boolean("lksTimelineSnapToKeyframes", true, DefaultsKey::timelineSnapToKeyframes),
            boolean("lksTimelineSnapToPulses", true, DefaultsKey::timelineSnapToPulses),
            boolean("lksShownVideoLinkedNotice", false, DefaultsKey::shownVideoLinkedNotice),
            string("lksLastUsedFontName", "", DefaultsKey::lastUsedFontName)};
}

/// Another value of the same type.
UserDefaults::Value otherThan(const UserDefaults::Value& value)
{
    if (const bool* flag = std::get_if<bool>(&value)) return !*flag;
    if (const double* number = std::get_if<double>(&value)) return *number + 4;
    return std::string("another");
}

TEST(DefaultsKey, ReadsWhatIsStoredAndItsFallbackWhenThatIsMissingRemovedOrOfAnotherType)
{
    for (const Setting& setting : settings()) {
        SCOPED_TRACE(setting.key);
        MemoryUserDefaults defaults;
        EXPECT_EQ(setting.read(defaults), setting.fallback);
        const UserDefaults::Value stored = otherThan(setting.fallback);
        defaults.set(setting.key, stored);
        EXPECT_EQ(setting.read(defaults), stored);
        defaults.remove(setting.key);
        EXPECT_EQ(setting.read(defaults), setting.fallback);
        const bool isText = std::holds_alternative<std::string>(setting.fallback);
        defaults.set(setting.key, isText ? UserDefaults::Value(1.0) : UserDefaults::Value(std::string("words")));
        EXPECT_EQ(setting.read(defaults), setting.fallback);
    }
}

TEST(UserDefaults, ObserversHearOfEveryChangeAndOfNothingElse)
{
    MemoryUserDefaults defaults({{"old", 1.0}});
    std::vector<std::string> changes;
    Observation observation = defaults.observe([&](std::string_view key) {
        const auto stored = defaults.value(key);
        changes.push_back(std::string(key) + (stored ? " set" : " removed"));
    });
    defaults.set("flag", true);
    defaults.set("flag", true);
    defaults.set("flag", 1.0);
    defaults.remove("old");
    defaults.remove("old");
    EXPECT_EQ(changes, (std::vector<std::string>{"flag set", "flag set", "old removed"}));
    observation.end();
    defaults.set("flag", false);
    EXPECT_EQ(changes.size(), 3u);
}

TEST(PendingPresetSize, IsHandedOutOnceIfBothSidesAreAboveZero)
{
    MemoryUserDefaults defaults({{"lksPendingPresetWidth", 1080.0}, {"lksPendingPresetHeight", 1350.0}, {"lksOther", 1.0}});
    EXPECT_EQ(takePendingPresetSize(defaults), (CGSize{1080, 1350}));
    EXPECT_FALSE(defaults.value("lksPendingPresetWidth"));
    EXPECT_FALSE(defaults.value("lksPendingPresetHeight"));
    EXPECT_TRUE(defaults.value("lksOther"));
    EXPECT_EQ(takePendingPresetSize(defaults), std::nullopt);
}

TEST(PendingPresetSize, StaysWhereItIsIfASideIsNotAboveZero)
{
    struct Case { const char* what; double width, height; };
    for (const Case& c : {Case{"no width", 0, 1080}, Case{"no height", 1080, 0}, Case{"negative", -1, 1080}}) {
        SCOPED_TRACE(c.what);
        MemoryUserDefaults defaults({{"lksPendingPresetWidth", c.width}, {"lksPendingPresetHeight", c.height}});
        EXPECT_EQ(takePendingPresetSize(defaults), std::nullopt);
        EXPECT_EQ(defaults.number("lksPendingPresetWidth"), c.width);
        EXPECT_EQ(defaults.number("lksPendingPresetHeight"), c.height);
    }

    MemoryUserDefaults heightAlone({{"lksPendingPresetHeight", 1080.0}});
    EXPECT_EQ(takePendingPresetSize(heightAlone), std::nullopt);
    EXPECT_TRUE(heightAlone.value("lksPendingPresetHeight"));
}

TEST_F(FileUserDefaultsTest, EveryChangeIsThereForTheNextStart)
{
    {
        FileUserDefaults defaults(path);
        defaults.set("flag", true);
        defaults.set("number", 0.1);
        defaults.set("whole", 1920.0);
        defaults.set("text", "wörds \"quoted\"");
        defaults.set("gone", 1.0);
        defaults.set("number", 0.2);
        defaults.remove("gone");
        EXPECT_FALSE(defaults.writeFailure());
    }
    const FileUserDefaults defaults(path);
    EXPECT_TRUE(defaults.boolean("flag"));
    EXPECT_EQ(defaults.number("number"), 0.2);
    EXPECT_EQ(defaults.integer("whole"), 1920);
    EXPECT_EQ(defaults.string("text"), "wörds \"quoted\"");
    EXPECT_FALSE(defaults.value("gone"));
}

TEST_F(FileUserDefaultsTest, TheirFolderIsForThisUserAlone)
{
    FileUserDefaults(path).set("flag", true);
    EXPECT_EQ(fs::status(fs::path(path).parent_path()).permissions(), fs::perms::owner_all);
}

TEST_F(FileUserDefaultsTest, WithoutAFileThereAreNoneAndReadingMakesNone)
{
    const FileUserDefaults defaults(path);
    EXPECT_FALSE(defaults.value("flag"));
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(FileUserDefaultsTest, RemovingWhatIsNotThereWritesNothing)
{
    FileUserDefaults(path).remove("flag");
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(FileUserDefaultsTest, ADamagedFileIsEmptyAndReplacedWithTheNextChange)
{
    for (const char* damaged : {"", "{", "[1,2]", "null", "{\"flag\":true} more", "\xFF\xFE"}) {
        SCOPED_TRACE(damaged);
        writeFile(damaged);
        FileUserDefaults defaults(path);
        EXPECT_FALSE(defaults.value("flag"));
        defaults.set("number", 3.0);
        EXPECT_EQ(FileUserDefaults(path).number("number"), 3);
    }
}

TEST_F(FileUserDefaultsTest, ValuesOfUnknownTypesAreLeftOutAndTheRestIsRead)
{
    writeFile(R"({"list":[1],"none":null,"object":{"a":1},"huge":1e999,"flag":true})");
    const FileUserDefaults defaults(path);
    EXPECT_TRUE(defaults.boolean("flag"));
    for (const char* key : {"list", "none", "object", "huge"}) EXPECT_FALSE(defaults.value(key)) << key;
}

TEST_F(FileUserDefaultsTest, AChangeThatCannotBeWrittenHoldsAndIsTold)
{
    std::ofstream(folder / "larkspool") << "a file where the folder should be";
    FileUserDefaults defaults(path);
    defaults.set("flag", true);
    EXPECT_TRUE(defaults.boolean("flag"));
    ASSERT_TRUE(defaults.writeFailure());
    EXPECT_FALSE(defaults.writeFailure()->localizedDescription.empty());

    fs::remove(folder / "larkspool");
    defaults.set("number", 1.0);
    EXPECT_FALSE(defaults.writeFailure());
    EXPECT_TRUE(FileUserDefaults(path).boolean("flag")) << "with the next change that can";
}

TEST_F(FileUserDefaultsTest, WithoutAPathTheyAreKeptInMemory)
{
    FileUserDefaults defaults("");
    defaults.set("flag", true);
    EXPECT_TRUE(defaults.boolean("flag"));
    EXPECT_FALSE(defaults.writeFailure());
}

/// Sets an environment variable, or removes it, until it goes out of scope.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : name_(name)
    {
        if (const char* before = std::getenv(name)) before_ = before;
        assign(value);
    }
    ~ScopedVariable() { assign(before_ ? before_->c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void assign(const char* value)
    {
        if (value) setenv(name_, value, 1);
        else unsetenv(name_);
    }

    const char* name_;
    std::optional<std::string> before_;
};

TEST(UserDefaultsPath, GoesByTheEnvironment)
{
    struct Case { const char *what, *config, *home, *expected; };
    for (const Case& c : {Case{"config folder", "/c", "/h", "/c/larkspool/defaults.json"},
                          Case{"home", nullptr, "/h", "/h/.config/larkspool/defaults.json"},
                          Case{"empty config folder", "", "/h", "/h/.config/larkspool/defaults.json"},
                          Case{"relative config folder", "c", "/h", "/h/.config/larkspool/defaults.json"},
                          Case{"neither", nullptr, nullptr, ""}, Case{"relative home", nullptr, "h", ""}}) {
        SCOPED_TRACE(c.what);
        const ScopedVariable config("XDG_CONFIG_HOME", c.config), home("HOME", c.home);
        EXPECT_EQ(FileUserDefaults::userDefaultsPath(), c.expected);
    }
}

} // namespace
} // namespace larkspool
