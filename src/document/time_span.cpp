#include "document/time_span.h"

namespace larkspool {

bool isIntro(SpanEffect::Kind kind)
{
    switch (kind) {
    case SpanEffect::Kind::fadeIn:
    case SpanEffect::Kind::popIn:
    case SpanEffect::Kind::bounceIn:
    case SpanEffect::Kind::slideInLeft:
    case SpanEffect::Kind::slideInRight:
    case SpanEffect::Kind::slideInTop:
    case SpanEffect::Kind::slideInBottom:
    case SpanEffect::Kind::typeOn:
    case SpanEffect::Kind::blinkingCursorStart:
    case SpanEffect::Kind::drawOn: return true;
    case SpanEffect::Kind::fadeOut:
    case SpanEffect::Kind::popOut:
    case SpanEffect::Kind::bounceOut:
    case SpanEffect::Kind::slideOutLeft:
    case SpanEffect::Kind::slideOutRight:
    case SpanEffect::Kind::slideOutTop:
    case SpanEffect::Kind::slideOutBottom:
    case SpanEffect::Kind::deleteOff:
    case SpanEffect::Kind::blinkingCursorEnd:
    case SpanEffect::Kind::eraseOff: return false;
    }
    return false;
}

} // namespace larkspool
