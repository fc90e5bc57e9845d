#pragma once

#include "platform/audio_player.h"
#include "shell/quick_render.h"
#include "views/sheet.h"

class QLabel;
class QPushButton;

namespace larkspool {

class FailureNote;
class QuickRenderVideoView;

/// The sheet of a quick render: how far it is, then its film, or why there is none.
class QuickRenderSheet final : public Sheet {
public:
    struct Steps {
        Tasks tasks;                      ///< Where the film is decoded.
        LoadAudioPlayer loadSound;        ///< Gives null where there is no sound.
        std::function<void()> onClose;
        std::function<void()> unreadable; ///< Called when the film that it plays cannot be shown.
    };

    QuickRenderSheet(QWidget& window, Steps steps);

    void show(const QuickRenderState& state);

    const QuickRenderVideoView& video() const { return *video_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void tell(const QString& words);
    void showFailure(const QString& words);
    /// Gives the picture the room that the window has for it.
    void fitCard();

    Steps steps_;
    QuickRenderVideoView* video_ = nullptr;
    FailureNote* failure_ = nullptr;
    QLabel* words_ = nullptr;
    QPushButton* close_ = nullptr;
    std::size_t phase_ = std::variant_npos; ///< The one that is shown.
};

} // namespace larkspool
