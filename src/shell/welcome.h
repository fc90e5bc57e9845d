#pragma once

#include "document/tween_document.h"
#include "platform/user_defaults.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// A size of canvas that is offered to new documents and to scenes.
struct CanvasPreset {
    std::string_view label;
    double width; ///< Canvas pixels.
    double height;

    CGSize size() const { return {width, height}; }
};

inline constexpr std::array canvasPresets = {
    CanvasPreset{"HD 1080 — 1920×1080", 1920, 1080},    CanvasPreset{"HD 720 — 1280×720", 1280, 720},
    CanvasPreset{"4K UHD — 3840×2160", 3840, 2160},     CanvasPreset{"Square — 1080×1080", 1080, 1080},
    CanvasPreset{"Story 9:16 — 1080×1920", 1080, 1920}, CanvasPreset{"Portrait 4:5 — 1080×1350", 1080, 1350},
    CanvasPreset{"iPhone — 1170×2532", 1170, 2532},     CanvasPreset{"iPad — 2048×2732", 2048, 2732},
};

/// The window that a launch without a document shows first.
enum class LaunchWindow { welcome, untitledDocument };
LaunchWindow launchWindow(const UserDefaults& defaults);

/// A new document, of the size that waits for it if there is one. It takes that size away.
TweenDocument newDocument(UserDefaults& defaults);

/// The sheet that asks for the size of a new canvas.
struct CustomSizeSheet {
    enum class Field { width, height };
    /// Gets the size that was typed, or neither side.
    using OnFinish = std::function<void(std::optional<double> width, std::optional<double> height)>;

    static constexpr std::string_view title = "Custom Canvas Size";
    static constexpr std::array<std::string_view, 2> fieldLabels = {"Width", "Height"};

    OnFinish onFinish{};
    std::string widthText = "1920"; ///< As typed.
    std::string heightText = "1080";
    std::optional<Field> focused = Field::width;

    /// What is typed. Nothing unless there can be a picture of that size.
    std::optional<CGSize> size() const;

    /// "Create". False, and nothing is handed over, while there is no size.
    bool create() const;
    /// "Cancel".
    void cancel() const;
};

/// The window that greets: new documents, and those of late. The steps of the flow are given to it; it opens no windows itself.
class WelcomeView {
public:
    struct Highlight {
        std::string_view title;
        std::string_view text;
        std::string_view symbol;
    };

    static constexpr std::string_view windowID = "welcome";
    static constexpr std::string_view productName = "Larkspool";
    static constexpr std::string_view tagline = "An animation tool for product UI motion.";
    static constexpr std::array highlights = {
        Highlight{"Multi-scene timelines", "Stack scenes with transitions. Each scene gets its own layers, spans, and pulses.",
                  "rectangle.stack"},
        Highlight{"Animate anything",
                  "Per-property keyframes on every layer kind, with easing, hold-on-wait, and ripple editing.", "diamond"},
        Highlight{"Effects made for interfaces",
                  "Fades, slides, bounces, typing and pulses on every layer, with true motion blur on export.", "wand.and.stars"},
    };
    static constexpr std::string_view newDocumentHeading = "Start a new document";
    static constexpr std::string_view recentHeading = "Recent";
    static constexpr std::string_view customSizeLabel = "Custom Size…";
    static constexpr std::string_view showOnLaunchLabel = "Show on launch";

    struct Services {
        UserDefaults& defaults;
        std::function<void()> openUntitledDocument;
        /// Opens the file, soon. `ended` is called on the main thread in the end; `isOpen` tells whether there is a window of it.
        std::function<void(const std::string& path, std::function<void(bool isOpen)> ended)> openDocument;
        std::function<void()> dismissWelcome;
        std::function<void()> openingChanged{}; ///< Called when `openingPath` has changed. May be absent.
    };

    explicit WelcomeView(Services services) : services_(std::move(services)) {}
    WelcomeView(const WelcomeView&) = delete;
    WelcomeView& operator=(const WelcomeView&) = delete;

    /// A new document of that size. Nothing happens unless both sides are above 0.
    void createDocument(CGSize size);
    /// The same for a size that was asked for; nothing if there is none.
    void finishCustomSize(std::optional<double> width, std::optional<double> height);
    /// Opens the file. The window stays until it is open, and if it cannot be opened. While one file is being opened, no other is
    /// taken. This may go meanwhile.
    void openRecent(const std::string& path);
    /// The file that is being opened; empty for none.
    const std::string& openingPath() const { return *openingPath_; }

    bool showsOnLaunch() const;
    void setShowsOnLaunch(bool shows);

    bool customSheetVisible = false;

private:
    void setOpeningPath(const std::string& path);

    Services services_;
    std::shared_ptr<std::string> openingPath_ = std::make_shared<std::string>(); ///< Watched by the file that is being opened.
};

/// The files that were opened or saved of late, the last one first. They are kept in a file of their own.
class RecentDocuments {
public:
    static constexpr std::size_t maximumCount = 10;

    /// Reads the list. A file that is missing or damaged counts as an empty list. An empty path keeps the list in memory alone.
    explicit RecentDocuments(std::string path = recentDocumentsPath());

    /// Absolute paths.
    const std::vector<std::string>& paths() const { return paths_; }
    /// Puts the file at the front. Relative paths are completed.
    void note(const std::string& documentPath);
    void remove(const std::string& documentPath);
    void clear();

    /// By what name a file is noted: relative paths completed, without dots; as it is where there is no working folder.
    static std::string notedPath(const std::string& documentPath);
    /// Beside the settings of this user. Empty if the environment names no place for them.
    static std::string recentDocumentsPath();

private:
    void read();
    void write() const;

    std::string path_;
    std::vector<std::string> paths_;
};

} // namespace larkspool
