#pragma once

#include "foundation/shared_bytes.h"
#include "platform/run_loop.h"
#include "rendering/drawing_style.h"
#include "rendering/worker_thread.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace larkspool {

/// The pictures of one live canvas's image layers: a large one is decoded, and cut by its black key, on a thread of its own, and
/// the canvas is painted without it meanwhile. For the main thread.
class CanvasPictures final : public ImagePictures {
public:
    /// `pictureArrived` is called on the main thread when a picture can be painted that could not before. `mainThread` must
    /// outlive this.
    CanvasPictures(RunLoop& mainThread, std::function<void()> pictureArrived);

    /// Waits for a picture that is being decoded. No call comes afterwards.
    ~CanvasPictures() override;
    CanvasPictures(const CanvasPictures&) = delete;
    CanvasPictures& operator=(const CanvasPictures&) = delete;

    void beginPainting() override;
    bool isAtHand(const Layer& layer) override;
    void endPainting() override;

private:
    struct Wanted;

    void sendFor(const std::shared_ptr<Wanted>& wanted);

    RunLoop& mainThread_;
    std::shared_ptr<std::function<void()>> pictureArrived_; ///< Goes with the canvas, answers underway or not.
    std::multimap<const std::uint8_t*, std::shared_ptr<Wanted>> wanted_; ///< By the address of the bytes, which are kept there.
    WorkerThread worker_;
};

} // namespace larkspool
