#include "timeline/sheet_ripple.h"

#include "timeline/ripple_settings.h"

namespace larkspool {

SheetRipple::SheetRipple(UserDefaults& defaults)
    : defaults_(&defaults),
      initialRippleBefore_(defaults.boolean(DefaultsKey::ripplePushBefore)),
      initialRippleAfter_(defaults.boolean(DefaultsKey::ripplePushAfter)),
      ripple_(retimeRipple(editorRippleMode(defaults)))
{}

void SheetRipple::choose(RetimeRipple ripple)
{
    ripple_ = ripple;
    write(ripple == RetimeRipple::before || ripple == RetimeRipple::both,
          ripple == RetimeRipple::after || ripple == RetimeRipple::both);
}

void SheetRipple::restore()
{
    write(initialRippleBefore_, initialRippleAfter_);
    ripple_ = retimeRipple(rippleMode(initialRippleBefore_, initialRippleAfter_));
}

void SheetRipple::write(bool pushBefore, bool pushAfter)
{
    defaults_->set(DefaultsKey::ripplePushBefore, pushBefore);
    defaults_->set(DefaultsKey::ripplePushAfter, pushAfter);
}

} // namespace larkspool
