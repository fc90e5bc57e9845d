#pragma once

#include "canvas/media_files.h"
#include "canvas/video_links.h"
#include "shell/editor_view.h"
#include "shell/tasks.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// A panel that asks for files. Folders cannot be chosen.
struct OpenPanel {
    std::string message;
    std::string_view typesName;                   ///< "Images", for a person.
    std::span<const std::string_view> types{};    ///< Endings without a dot, in lower case.
    bool allowsMultipleSelection = false;
};

/// Shows the panel and returns the paths that a person chose, in the order of choice; none if the panel was cancelled.
using RunOpenPanel = std::function<std::vector<std::string>(const OpenPanel& panel)>;

/// Something that a person is told, or asked, in front of the window.
struct Alert {
    enum class Style { informational, warning };

    Style style = Style::informational;
    std::string title;
    std::string text{};
    std::vector<std::string> buttons; ///< The first is the default.
    std::size_t cancelButton = 0;     ///< Chosen by Escape and by closing.
};

/// Shows the alert and returns the index of the button that was pressed.
using RunAlert = std::function<std::size_t(const Alert& alert)>;

/// @name What panels offer.
/// @{
OpenPanel imagesPanel();
OpenPanel videosPanel();
OpenPanel replaceImagePanel();
OpenPanel replaceVideoPanel();
OpenPanel musicPanel();
OpenPanel locateVideoPanel(const MissingVideoEntry& entry);
/// @}

/// Tells what it means that videos are linked.
Alert videoLinkedNotice();

/// Asks where a file is: "Locate…", "Skip", and "Skip All" where others are asked for behind it.
Alert locateVideoAlert(const MissingVideoEntry& entry, std::size_t remaining);

/// Brings the files that a person chooses or drops into an editor's document, and keeps the links to them alive. Files are read on
/// another thread, and what comes of them is one step of undo; nothing is added before all are read. Lives on the main thread.
class MediaFlow {
public:
    /// What it asks of the world around it. Panels and alerts may close the window, and the flow with it.
    struct Services {
        Tasks tasks;
        RunOpenPanel runPanel;
        RunAlert runAlert;
        std::function<void(const std::string& words)> tell; ///< A plain word in passing, of a line or a few.
        std::function<void()> changed;                      ///< Called when the document has changed, or a reading has ended.
        std::function<void()> progressed;                   ///< Called with every file that was read, maybe hundreds at once.
        std::function<std::string()> documentFolder = [] { return std::string(); }; ///< Empty for none.
        const Bookmarks* bookmarks = &systemBookmarks();
    };

    /// The editor outlives it.
    MediaFlow(EditorView& editor, Services services);
    /// Stops what is being read.
    ~MediaFlow();
    MediaFlow(const MediaFlow&) = delete;
    MediaFlow& operator=(const MediaFlow&) = delete;

    /// @name Of the layer panel: asks for files and adds them in the middle of the scene.
    /// @{
    void addImageLayers();
    void addVideoLayers();
    /// @}

    /// @name Of the canvas: around a point of the scene.
    /// @{
    void insertImageLayer(CGPoint at);
    void insertVideoLayer(CGPoint at);
    /// What was dropped, whatever it is. A single sound becomes the music of a document that has none.
    void importMediaFiles(std::vector<std::string> paths, CGPoint at, double cascadeOffset = droppedCascade);
    /// @}

    /// @name Asks for one file, for a layer or for the document.
    /// @{
    void replaceImageMedia(const UUID& layerID);
    void replaceVideoMedia(const UUID& layerID);
    void pickAudioFile();
    /// @}

    /// Mends the links of a document that was opened: first without a word, then by asking. What is mended by one answer is one
    /// step.
    void reconnectMissingVideosIfNeeded();

    /// Tells once in a person's life how videos are kept.
    void showVideoLinkedNoticeIfNeeded();

    /// @name Files that are being read.
    /// @{
    struct Progress {
        std::size_t done = 0, total = 0;
    };
    std::optional<Progress> progress() const; ///< Nothing while none are.
    /// Nothing comes of the files that are being read.
    void stop();
    /// @}

private:
    struct Reading;
    using Take = std::function<void(ReadMedia media)>;

    void chooseAndRead(const OpenPanel& panel, WantedMedia wanted, Take take);
    void read(std::vector<std::string> paths, WantedMedia wanted, Take take);
    void finish(const std::shared_ptr<Reading>& reading, const Take& take);
    void addLayers(const ReadMedia& media, std::optional<Edit> edit);
    void place(ReadMedia media, CGPoint at, double cascadeOffset);
    void takeSounds(ReadMedia& media);
    void setMusic(const std::string& path);
    void tellRefused(const ReadMedia& media) const;
    void relinkViaBookmarks();
    void relink(std::span<const VideoRelink> relinks, const MediaPlaces& places);
    MediaPlaces places() const { return {services_.documentFolder()}; }

    EditorView& editor_;
    Services services_;
    std::vector<std::shared_ptr<Reading>> readings_;
    std::shared_ptr<const int> isAlive_ = std::make_shared<const int>(0); ///< Goes with this, so that steps on the way can tell.
};

} // namespace larkspool
