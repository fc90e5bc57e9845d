#include "rendering/canvas_pictures.h"

#include "document/layer.h"
#include "rendering/image_media.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace larkspool {

struct CanvasPictures::Wanted {
    enum class State { underway, atHand, failed };

    Bytes bytes;
    BlackKeySettings settings;
    State state = State::underway;
    bool isShown = true;
};

CanvasPictures::CanvasPictures(RunLoop& mainThread, std::function<void()> pictureArrived)
    : mainThread_(mainThread), pictureArrived_(std::make_shared<std::function<void()>>(std::move(pictureArrived)))
{
}

CanvasPictures::~CanvasPictures() = default;

void CanvasPictures::beginPainting()
{
    for (const auto& [address, wanted] : wanted_) wanted->isShown = false;
}

bool CanvasPictures::isAtHand(const Layer& layer)
{
    using State = Wanted::State;
    if (!layer.imageData || layer.imageData->empty()) return true;
    const Bytes& bytes = *layer.imageData;
    const BlackKeySettings settings = blackKeySettings(layer);
    const auto [first, last] = wanted_.equal_range(bytes.view().data());
    const auto known = std::find_if(first, last, [&](const auto& each) { return each.second->settings == settings; });
    if (known != last) {
        known->second->isShown = true;
        // A picture that was there once and had to make room is decoded while it is drawn: where not all have room together,
        // sending for one after the other would never end.
        return known->second->state == State::atHand;
    }
    const bool isThere = isPictureAtHand(bytes, settings);
    const State state = isThere ? State::atHand : State::underway;
    auto wanted = std::make_shared<Wanted>(Wanted{.bytes = bytes, .settings = settings, .state = state});
    wanted_.emplace(bytes.view().data(), wanted);
    if (!isThere) sendFor(wanted);
    return isThere;
}

void CanvasPictures::sendFor(const std::shared_ptr<Wanted>& wanted)
{
    worker_.add([this, weak = std::weak_ptr(wanted), bytes = wanted->bytes, settings = wanted->settings] {
        if (weak.expired()) return; // It is not shown any more.
        auto state = Wanted::State::atHand;
        try {
            preparePicture(bytes, settings);
        } catch (const std::exception&) {
            state = Wanted::State::failed; // There is no memory for it. The canvas goes on without.
        }
        mainThread_.post([weak, state, arrived = std::weak_ptr(pictureArrived_)] {
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
