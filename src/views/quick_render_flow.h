#pragma once

#include "shell/playback.h"
#include "shell/quick_render.h"
#include "views/sink_audio_player.h"

#include <QPointer>

#include <functional>

class QWidget;

namespace larkspool {

class QuickRenderSheet;

/// The quick render of one window, with its sheet. If it goes, a rendering is stopped and the film is removed.
class QuickRenderFlow {
public:
    struct Services {
        EditorView& editor;
        Playback& playback; ///< Stops when a quick render begins.
        Tasks tasks;
        std::function<TweenDocument()> document; ///< The document with its media where they are found now.
        std::function<void()> sheetChanged;      ///< Called when the sheet has come or gone.
        LoadAudioPlayer loadSound = loadSinkAudioPlayer;
        FilmExporter exporter = FilmExporter::reference();
    };

    /// Over `window`, which outlives it.
    QuickRenderFlow(QWidget& window, Services services);
    ~QuickRenderFlow();
    QuickRenderFlow(const QuickRenderFlow&) = delete;
    QuickRenderFlow& operator=(const QuickRenderFlow&) = delete;

    /// Renders the active scene and plays it; at once if it has not changed since the last time. Does nothing while it is open.
    void start(QuickRender::From from);
    void close();
    bool isOpen() const { return render_.state().has_value(); }

private:
    void showState();
    void removeUnreadable() const;

    QWidget& window_;
    Services services_;
    QuickRender render_;
    QPointer<QuickRenderSheet> sheet_;
};

} // namespace larkspool
