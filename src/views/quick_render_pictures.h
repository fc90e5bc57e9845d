#pragma once

#include "shell/tasks.h"

#include <QImage>
#include <QSize>

#include <functional>
#include <memory>
#include <string>

namespace larkspool {

/// The pictures of a film that is watched. They are decoded on another thread: of several wishes meanwhile only the newest is
/// met, so that a slow machine leaves pictures out and stays in time. Lives on the main thread, which never waits for it.
class QuickRenderPictures {
public:
    /// What the file has turned out to be.
    struct Film {
        bool canBeShown = false;
        double duration = 0;           ///< Seconds.
        double frameInterval = 1.0 / 30; ///< Seconds.
    };
    /// A picture as large as it was wished for, which is on show from `start` until before `end`, in seconds.
    struct Picture {
        QImage image;
        double start = 0, end = 0;
    };
    struct Steps {
        /// Called again, with one that cannot be shown, where decoding fails later.
        std::function<void(const Film& film)> opened;
        std::function<void(const Picture& picture)> arrived;
    };

    /// Opens the file on a thread of `tasks`. When this goes, nothing more is told.
    QuickRenderPictures(const std::string& path, Tasks tasks, Steps steps);
    ~QuickRenderPictures();
    QuickRenderPictures(const QuickRenderPictures&) = delete;
    QuickRenderPictures& operator=(const QuickRenderPictures&) = delete;

    /// Asks for the picture at a time, in seconds, as large as fits into `room`, in pixels of a screen with
    /// `pixelRatio` of them to each of the toolkit's.
    void wish(double seconds, QSize room, double pixelRatio);

private:
    class Run;

    std::shared_ptr<Run> run_;
};

} // namespace larkspool
