#pragma once

#include "document/layer.h"

namespace larkspool {

/// What a viewport shows on the canvas of a list of layers: all but the picture-in-picture zooms, at every depth, so that no
/// viewport shows itself or another. A frame leaves out those at the top alone.
Array<Layer> filteredLayers(const Array<Layer>& layers);

/// The first picture-in-picture zoom of the list that has a child of this id, into `layers`; null if there is none. Neither the
/// zoom nor the child is looked for any deeper.
const Layer* findPIPParentZoom(const UUID& child, const Array<Layer>& layers);

} // namespace larkspool
