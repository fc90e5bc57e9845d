#pragma once

#include "foundation/uuid.h"
#include "platform/run_loop.h"
#include "rendering/drawing_style.h"
#include "rendering/video_view_logic.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace larkspool {

/// The videos of one live canvas: for each layer the picture that was fetched last, and a player's clock. Pictures are fetched
/// by a thread of its own, the latest one wanted first of all; painting never waits for it. For the main thread.
class CanvasVideos final : public VideoPictures {
public:
    /// `pictureArrived` is called on the main thread when there is a new picture to paint. `mainThread` must outlive the thread
    /// that fetches, and so this.
    CanvasVideos(RunLoop& mainThread, std::function<void()> pictureArrived);

    /// Waits for a fetch that has begun. No call comes afterwards.
    ~CanvasVideos() override;
    CanvasVideos(const CanvasVideos&) = delete;
    CanvasVideos& operator=(const CanvasVideos&) = delete;

    /// The folder of the document's file, for videos that lie beside it.
    void setDocumentFolder(std::string folder) { documentFolder_ = std::move(folder); }

    std::string_view documentFolder() const override { return documentFolder_; }
    void beginPainting(bool scenePlaying, double now) override;
    ImageRef picture(const Layer& layer, const std::string& path, double sourceTime) override;
    void endPainting() override;

private:
    struct View;
    class Fetcher;

    double wantedTime(View& view, const std::string& path, double sourceTime, const BlackKeySettings& settings);

    std::string documentFolder_;
    std::map<UUID, std::shared_ptr<View>> views_;
    bool scenePlaying_ = false;
    double now_ = 0;
    std::unique_ptr<Fetcher> fetcher_;
};

} // namespace larkspool
