#pragma once

#include "foundation/shared_bytes.h"
#include "platform/run_loop.h"
#include "platform/worker_thread.h"
#include "rendering/drawing_style.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace larkspool {

/// The pictures of one live canvas's image layers: they are decoded, cut by their black key, and rendered where they are vector
/// art, on a thread of its own. Meanwhile the canvas is painted without them, and with vector art in the size that it had before;
/// of the sizes that are asked for one after the other only the last is waited for. For the main thread.
class CanvasPictures final : public ImagePictures {
public:
    /// `pictureArrived` is called on the main thread when a picture can be painted that could not before. `mainThread` must
    /// outlive this.
    CanvasPictures(RunLoop& mainThread, std::function<void()> pictureArrived);

    /// Waits for nothing. No call comes afterwards.
    ~CanvasPictures() override;
    CanvasPictures(const CanvasPictures&) = delete;
    CanvasPictures& operator=(const CanvasPictures&) = delete;

    void beginPainting() override;
    AtHand atHand(const Layer& layer, CGSize shown) override;
    void endPainting() override;

private:
    struct Wanted;

    void sendFor(const std::shared_ptr<Wanted>& wanted, const Layer& layer, CGSize shown);

    std::shared_ptr<RunLoopLink> mainThread_;
    std::shared_ptr<std::function<void()>> pictureArrived_; ///< Goes with the canvas, answers underway or not.
    std::multimap<const std::uint8_t*, std::shared_ptr<Wanted>> wanted_; ///< By the address of the bytes, which are kept there.
    WorkerThread worker_;
};

} // namespace larkspool
