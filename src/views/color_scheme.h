#pragma once

#include "views/theme.h"

namespace larkspool {

/// The scheme that the person has chosen: LARKSPOOL_COLOR_SCHEME, "light" or "dark", or else what the desktop's settings prefer.
/// Dark where neither says anything. Waits for the desktop's answer, but not long.
Theme::Scheme preferredColorScheme();

} // namespace larkspool
