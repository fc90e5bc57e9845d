#pragma once

#include "platform/pixel_buffer.h"

#include <string>

namespace larkspool {

/// Compares a picture with tests/golden/NAME.png: no channel may be off by more than `tolerance`. Empty if they agree; else
/// what differs, and where the picture and the difference (four times as strong, on black) were written.
///
/// With LARKSPOOL_UPDATE_GOLDENS set in the environment the picture is kept as the new reference, to be looked at before it
/// is committed.
std::string differenceFromGolden(const PixelBuffer& picture, const std::string& name, int tolerance = 3);

} // namespace larkspool

/// The picture must match its reference.
#define EXPECT_GOLDEN(picture, name) EXPECT_EQ(larkspool::differenceFromGolden(picture, name), "")
