#include "editing/gesture.h"

namespace larkspool {

bool Gesture::end(std::string_view actionName)
{
    if (commit_.state().scene() == before_) return false;
    commit_.onCommit(actionName, before_);
    return true;
}

} // namespace larkspool
