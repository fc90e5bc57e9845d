#pragma once

#include "foundation/uuid.h"
#include "platform/run_loop.h"
#include "platform/worker_thread.h"
#include "rendering/drawing_style.h"
#include "rendering/video_view_logic.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace larkspool {

/// The videos of one live canvas: for each layer the picture that was fetched last, and a player's clock. Files are looked for,
/// and pictures fetched, the latest one wanted first of all, by a thread of its own; painting never waits for it. For the main
/// thread.
class CanvasVideos final : public VideoPictures {
public:
    /// `pictureArrived` is called on the main thread when there is a new picture to paint, or a file is found or missed.
    /// `mainThread` must outlive this.
    CanvasVideos(RunLoop& mainThread, std::function<void()> pictureArrived);

    /// Waits for nothing. No call comes afterwards.
    ~CanvasVideos() override;
    CanvasVideos(const CanvasVideos&) = delete;
    CanvasVideos& operator=(const CanvasVideos&) = delete;

    /// The folder of the document's file, for videos that lie beside it.
    void setDocumentFolder(std::string folder);

    File file(const std::string& reference) override;
    void beginPainting(bool scenePlaying, double now) override;
    ImageRef picture(const Layer& layer, const std::string& path, double sourceTime) override;
    void endPainting() override;

private:
    struct View;
    struct SoughtFile;

    void seek(const std::string& reference, const std::shared_ptr<SoughtFile>& sought);
    void fetch(const std::shared_ptr<View>& view, const VideoFrameRequests::Request& request);
    double wantedTime(View& view, const std::string& path, double sourceTime, const BlackKeySettings& settings);

    std::shared_ptr<RunLoopLink> mainThread_;
    std::shared_ptr<std::function<void()>> pictureArrived_; ///< Goes with the canvas, answers underway or not.
    std::string documentFolder_;
    std::map<std::string, std::shared_ptr<SoughtFile>> files_; ///< By reference.
    std::map<UUID, std::shared_ptr<View>> views_;
    bool scenePlaying_ = false;
    double now_ = 0;
    std::shared_ptr<VideoFrameCache> cache_ = std::make_shared<VideoFrameCache>(); ///< For the worker alone.
    WorkerThread worker_;
};

} // namespace larkspool
