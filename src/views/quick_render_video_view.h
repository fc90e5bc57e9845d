#pragma once

#include "shell/film_task.h"
#include "views/quick_render_clock.h"
#include "views/quick_render_pictures.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <optional>
#include <string>
#include <utility>

class QStackedLayout;
class QToolButton;

namespace larkspool {

class FilmPicture;
class Slider;
class ThinProgressBar;

/// A film while it is being written, and then playing, with its sound in step. Below the picture lies how far the writing is, or
/// what plays the film: Space plays and pauses, arrows go on by a picture, with Shift by a second, Home and End to the ends.
class QuickRenderVideoView final : public QWidget {
public:
    struct Services {
        Tasks tasks;
        LoadAudioPlayer loadSound;
        std::function<void()> begun;      ///< Called when the film has begun to play, and its controls can be used.
        std::function<void()> unreadable; ///< Called when the film cannot be shown.
    };

    QuickRenderVideoView(Services services, QWidget* parent);
    ~QuickRenderVideoView() override;

    void setPictureSize(QSize size); ///< In device-independent pixels.

    /// Shows how far the writing is, 0...1, and its last frame.
    void showRendering(double progress, const LiveFrame& frame);
    /// Opens the film and plays it from its beginning. Does nothing if that is the one that is open.
    void play(const std::string& path);

    bool isPlaying() const { return clock_ && clock_->isPlaying(); }
    double time() const { return clock_ ? clock_->time() : 0; } ///< Seconds of the film.
    QWidget* firstFocus() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class TimeLabel;

    QWidget* buildTransport();
    void begin(const QuickRenderPictures::Film& film);
    void arrive(const QuickRenderPictures::Picture& picture);
    void togglePlay();
    void seek(double time);
    double pictureTime(int later) const;
    bool takeKey(int key, bool isShifted);
    /// Brings the time, the picture and the controls up to where the film is.
    void follow();
    void wishForPicture();

    Services services_;
    FilmPicture* picture_ = nullptr;
    QStackedLayout* below_ = nullptr; ///< The bar of the writing, or the transport.
    ThinProgressBar* bar_ = nullptr;
    QToolButton* play_ = nullptr;
    Slider* scrubber_ = nullptr;
    TimeLabel* times_ = nullptr;

    std::string path_;
    std::unique_ptr<QuickRenderPictures> pictures_;
    std::unique_ptr<QuickRenderClock> clock_; ///< Null until the first picture is there.
    QuickRenderPictures::Film film_;
    std::optional<std::pair<double, double>> shown_; ///< From when until when the picture is on show that is seen.
    bool resumes_ = false; ///< It played before the hand took hold of the scrubber.
    QElapsedTimer now_;
    QTimer next_;
};

} // namespace larkspool
