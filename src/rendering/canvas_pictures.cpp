#include "rendering/canvas_pictures.h"

#include "document/layer.h"
#include "platform/image_decoding.h"
#include "rendering/image_media.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace larkspool {

struct CanvasPictures::Wanted {
    enum class State { underway, atHand, failed };

    Bytes bytes;
    BlackKeySettings settings;
    CGSize size; ///< In which vector art is shown, in pixels of the raster.
    State state = State::underway;
    bool isShown = true;
};

CanvasPictures::CanvasPictures(RunLoop& mainThread, std::function<void()> pictureArrived)
    : mainThread_(std::make_shared<RunLoopLink>(mainThread)),
      pictureArrived_(std::make_shared<std::function<void()>>(std::move(pictureArrived)))
{}

CanvasPictures::~CanvasPictures()
{
    mainThread_->close();
}

void CanvasPictures::beginPainting()
{
    for (const auto& [address, wanted] : wanted_) wanted->isShown = false;
}

ImagePictures::AtHand CanvasPictures::atHand(const Layer& layer, CGSize shown)
{
    using State = Wanted::State;
    if (!layer.imageData || layer.imageData->empty()) return AtHand::all;
    const Bytes& bytes = *layer.imageData;
    const BlackKeySettings settings = blackKeySettings(layer);
    // A bitmap is the same in every size.
    const CGSize size = looksLikeVectorArt(bytes.view()) ? shown : CGSize{};
    const auto [first, last] = wanted_.equal_range(bytes.view().data());
    const auto known = std::find_if(
        first, last, [&](const auto& each) { return each.second->settings == settings && each.second->size == size; });
    if (known != last) {
        known->second->isShown = true;
        // A picture that was there once and had to make room is decoded while it is drawn: where not all have room together,
        // sending for one after the other would never end.
        return known->second->state == State::atHand ? AtHand::all : pictureAtHand(layer, shown);
    }
    const AtHand atHand = pictureAtHand(layer, shown);
    const State state = atHand == AtHand::all ? State::atHand : State::underway;
    auto wanted = std::make_shared<Wanted>(Wanted{.bytes = bytes, .settings = settings, .size = size, .state = state});
    wanted_.emplace(bytes.view().data(), wanted);
    if (state == State::underway) sendFor(wanted, layer, shown);
    return atHand;
}

void CanvasPictures::sendFor(const std::shared_ptr<Wanted>& wanted, const Layer& layer, CGSize shown)
{
    worker_.add([weak = std::weak_ptr(wanted), layer, shown, mainThread = mainThread_, arrived = std::weak_ptr(pictureArrived_)] {
        if (weak.expired()) return; // It is not shown any more, or in another size.
        auto state = Wanted::State::atHand;
        try {
            keyedPicture(layer, shown);
        } catch (const std::exception&) {
            state = Wanted::State::failed; // There is no memory for it. The canvas goes on without.
        }
        mainThread->post([weak, state, arrived] {
            const std::shared_ptr<Wanted> answered = weak.lock();
            const auto tell = arrived.lock();
            if (!answered || !tell) return;
            answered->state = state;
            if (state == Wanted::State::atHand) (*tell)();
        });
    });
}

void CanvasPictures::endPainting()
{
    std::erase_if(wanted_, [](const auto& each) { return !each.second->isShown; });
}

} // namespace larkspool
