#pragma once

#include "shell/commands.h"
#include "shell/media_flow.h"

#include <QTimer>

#include <deque>

class QWidget;

namespace larkspool {

class MediaNotice;

/// All that a window has for media: panels and alerts, the files that are being read, and what is told of them. Panels and alerts
/// come from the event loop and never in the midst of a call, so that the window may go while they are open.
class MediaSurfaces {
public:
    struct Services {
        EditorView& editor;
        Tasks tasks;
        std::function<void()> changed; ///< Called when the document has changed, or a sheet has come or gone.
        std::function<std::string()> documentFolder; ///< Empty for none.
        std::function<bool()> isBusy;                ///< What was read waits for as long as a person is in the midst of something.
        RunOpenPanel runPanel{};                     ///< The toolkit's own, where none is given.
        RunAlert runAlert{};                         ///< Sheets over the window, where none is given.
    };

    /// Over `window`; what is told is shown in `canvas`. Both outlive it.
    MediaSurfaces(QWidget& window, QWidget& canvas, Services services);
    ~MediaSurfaces();
    MediaSurfaces(const MediaSurfaces&) = delete;
    MediaSurfaces& operator=(const MediaSurfaces&) = delete;

    /// Whether a panel or an alert is open.
    bool isOpen() const { return asking_ > 0; }

    /// Asks for what the command works with: `replaceImage` and `replaceVideo` for the first selected layer. Does nothing for others.
    void open(Command command);
    /// Asks for files of a kind of layer and puts them around `at`. Does nothing for kinds that need no file.
    void insert(Layer::Kind kind, CGPoint at);
    /// Asks for the files of a button of the layer panel, in the middle of the scene.
    void add(Layer::Kind kind);
    void pickMusic();
    /// What was dropped, `at` a point of the scene.
    void take(std::vector<std::string> paths, CGPoint at);
    /// Asks for the videos of a document that has just been opened, if there are missing ones.
    void reconnect();

private:
    using Ask = std::function<void(MediaFlow& flow)>;

    /// Soon, if no panel or alert is open then.
    void askSoon(Ask ask);
    void whenFree(std::function<void()> step);
    void runSteps();
    void tell(const std::string& words);
    void showChange();
    void changeSoon();
    void reconnectNow();
    template <typename Answer, typename Question>
    std::function<Answer(const Question&)> asking(std::function<Answer(const Question&)> run);

    Services services_;
    int asking_ = 0;                          ///< How many panels and alerts are open, one in the loop of the other.
    bool isReconnecting_ = false;
    std::string untold_;                      ///< What is told in the next alert, which would cover it.
    std::deque<std::function<void()>> steps_; ///< They wait until a person is free.
    QTimer whenFree_, change_;
    MediaNotice* notice_;
    std::shared_ptr<const int> isAlive_ = std::make_shared<const int>(0); ///< Goes with this, so that what is on the way can tell.
    std::unique_ptr<MediaFlow> flow_;
};

} // namespace larkspool
