#pragma once

#include "platform/user_defaults.h"
#include "timeline/retime_row.h"

namespace larkspool {

/// The choice of ripple in a sheet: the two push switches of the settings, written at once while the sheet is open, so that the
/// timeline shows them. The settings outlive the sheet.
class SheetRipple {
public:
    explicit SheetRipple(UserDefaults& defaults);

    RetimeRipple ripple() const { return ripple_; }
    TimelineRippleMode mode() const { return rippleMode(ripple_); }
    void choose(RetimeRipple ripple);
    /// Puts the switches back as they were when the sheet was opened.
    void restore();

private:
    void write(bool pushBefore, bool pushAfter);

    UserDefaults* defaults_;
    bool initialRippleBefore_;
    bool initialRippleAfter_;
    RetimeRipple ripple_;
};

} // namespace larkspool
