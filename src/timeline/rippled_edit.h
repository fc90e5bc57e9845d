#pragma once

#include "editing/edit.h"
#include "timeline/ripple_state.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace larkspool {

/// Whether and where ripple goes along with one edit.
struct RippleSetting {
    TimelineRippleMode mode = TimelineRippleMode::none;
    std::optional<LayerIDs> scopeLayerIDs{}; ///< The layers that take part; absent for all.
};

/// An edit, and how many other items it has rippled, to be announced: one number for each ripple that moved any.
struct RippledEdit {
    Edit edit;
    std::vector<std::size_t> rippled{};
};

} // namespace larkspool
