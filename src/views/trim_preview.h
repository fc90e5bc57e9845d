#pragma once

#include "timeline/video_clip_track.h"

#include <QImage>
#include <QWidget>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace larkspool {

/// The picture of a film at the edge that is being trimmed, which floats above it, within the
/// window that it is a child of. Pictures are decoded on a thread of its own:
/// while one is on its way the last one stays, and of several wishes meanwhile only the newest is met.
class TrimPreview final : public QWidget {
public:
    explicit TrimPreview(QWidget* parent);
    ~TrimPreview() override;

    /// Shows it above `edge`, a point of the window: the upper end of the trimmed edge.
    void show(const VideoTrimOverlayState& state, QPoint edge);
    /// Hides it, and closes the film.
    void end();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Wish {
        std::string path; ///< Empty to close the film.
        double seconds = 0;
        double pixelRatio = 1;
    };

    void wish(Wish wish);
    void work();

    VideoTrimOverlayState state_;
    QImage picture_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<Wish> wish_;
    bool isOver_ = false;
    std::thread worker_; ///< Started with the first wish.
};

} // namespace larkspool
